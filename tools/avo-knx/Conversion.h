#pragma once
// One conversion as avo-knx runs it: encode a value, decode a group value or
// check one, through the DPT catalogue (Avo::KnxValueConverter) or the group
// value bridge (Avo::VelValueToGroupValue / Avo::GroupValueToVelValue).

#include "Arguments.h"
#include "Dpt.h"
#include "LibraryLog.h"

#include "AvoObjectModel/KnxValueConverter.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <optional>
#include <string>
#include <vector>

namespace AvoKnx {

enum class Operation { Encode, Decode, Check };
enum class ConversionPath { Catalogue, Bridge };

const char* OperationName(Operation operation);
const char* PathName(ConversionPath path);

/// What the user asked for.
struct ConversionRequest {
  Operation operation = Operation::Encode;
  ConversionPath path = ConversionPath::Catalogue;
  Dpt dpt;
  std::string operand;              ///< VALUE (encode) or HEX (decode, check), as written
  std::optional<VelValueType> type; ///< --type: the value type of VALUE (encode)
  std::optional<unsigned> bits;     ///< --bits: the defined size of the group value (decode, check)
};

/// The options of a conversion, beside the common ones.
const std::vector<OptionSpec>& ConversionOptions();

/// The request of "encode|decode|check [options] DPT VALUE|HEX": the words
/// after the DPT make up the operand, joined by one blank (so "Mon 10:20:30"
/// and "0c 33" need no quotes). Throws UsageError.
ConversionRequest MakeConversionRequest(Operation operation, const Arguments& arguments);

/// What came of it.
struct ConversionResult {
  bool accepted = false;             ///< false: the library refused
  VelValueType valueType = ivtEmpty; ///< of the value, or the one the DPT expects
  std::optional<VELVALUE> value;     ///< encode: the value read; decode: the value produced
  std::optional<KnxStack::GroupValue> groupValue; ///< encode: produced; decode, check: read
  std::string reason;                             ///< why the library refused
  std::vector<LibraryLogLine> log;                ///< the library's lines of this conversion
};

/// Runs conversions with one catalogue converter, initialised once.
class Converter {
public:
  explicit Converter(LibraryLog& log);

  /// Throws UsageError for a malformed operand or a value outside its type's
  /// range; never lets an exception of the library escape.
  ConversionResult Run(const ConversionRequest& request);

private:
  VelValueType ExpectedValueType(const ConversionRequest& request);
  void Encode(const ConversionRequest& request, const VELVALUE& value, ConversionResult& result);
  void Decode(const ConversionRequest& request, const KnxStack::GroupValue& groupValue,
              ConversionResult& result);

  LibraryLog& m_log;
  Avo::KnxValueConverter m_catalogue;
};

/// "OK <hex>", "OK <value>", "OK valid" or "ERR <reason>" (a batch result).
std::string ResultLine(const ConversionRequest& request, const ConversionResult& result);
/// The result as one JSON object.
std::string ResultJson(const ConversionRequest& request, const ConversionResult& result);
/// A batch line that could not be run, as one JSON object.
std::string UsageErrorJson(const std::string& reason);

} // namespace AvoKnx
