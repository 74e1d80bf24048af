#include "Conversion.h"

#include "Hex.h"
#include "Json.h"
#include "ValueSyntax.h"

#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/KnxKelMapping.h"

#include <algorithm>
#include <exception>
#include <utility> // std::move

namespace AvoKnx {
namespace {

// Main numbers whose catalogue row can convert group values but never write
// one: the row's value type and the converter's own type test exclude each
// other, so every value is refused by one or the other.
bool IsCatalogueReadOnly(std::uint16_t mainNumber) {
  return mainNumber == 2 || mainNumber == 3 || mainNumber == 18;
}

std::string CatalogueReadOnlyReason(const Dpt& dpt) {
  return "DPT " + std::to_string(dpt.mainNumber) +
         ".x values cannot be written through the catalogue: the row's value type and the "
         "converter's own type test exclude each other; use --path bridge";
}

// The KNXDPT of a catalogue conversion: the main number's standard size
// where it fits the record (variable-size main numbers give 0).
KNXDPT ToKnxDpt(const Dpt& dpt) {
  const unsigned int bits = Avo::KnxValueConverter::GetStandardBitSize(dpt.mainNumber);
  return KNXDPT(static_cast<std::uint8_t>(bits <= 255 ? bits : 0), dpt.mainNumber, dpt.subNumber);
}

// A group value of the bytes: its defined size is --bits, else the main
// number's standard size when the bytes are just enough for it (so 01 is a
// 1-bit value for DPT 1), else 8 bits per byte.
KnxStack::GroupValue MakeGroupValue(std::vector<std::uint8_t> bytes,
                                    const ConversionRequest& request) {
  const unsigned int standard = Avo::KnxValueConverter::GetStandardBitSize(request.dpt.mainNumber);
  const auto byteCount = static_cast<unsigned int>(bytes.size());
  unsigned int bits = 8 * byteCount;
  if (request.bits) {
    bits = *request.bits;
  } else if (standard != 0 && standard != Avo::KnxValueConverter::kVariableBitSize &&
             byteCount == (standard + 7) / 8) {
    bits = standard;
  }
  return KnxStack::GroupValue(KnxStack::BinaryData(std::move(bytes)), bits);
}

template <class T>
std::optional<T> FromBoost(boost::optional<T>&& value) {
  return value ? std::optional<T>(std::move(*value)) : std::nullopt;
}

// A reason stays on its result line.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
  return text;
}

} // namespace

const char* OperationName(Operation operation) {
  switch (operation) {
  case Operation::Encode:
    return "encode";
  case Operation::Decode:
    return "decode";
  case Operation::Check:
    return "check";
  }
  return "";
}

const char* PathName(ConversionPath path) {
  return path == ConversionPath::Bridge ? "bridge" : "catalogue";
}

const std::vector<OptionSpec>& ConversionOptions() {
  static const std::vector<OptionSpec> options = {{"path", true}, {"type", true}, {"bits", true}};
  return options;
}

ConversionRequest MakeConversionRequest(Operation operation, const Arguments& arguments) {
  const std::vector<std::string>& words = arguments.Positionals();
  const char* name = OperationName(operation);
  if (words.size() < 2) {
    throw UsageError(std::string(name) + " needs a DPT and " +
                     (operation == Operation::Encode ? "a VALUE" : "a HEX group value"));
  }
  ConversionRequest request;
  request.operation = operation;
  request.dpt = ParseDpt(words[0]);
  request.operand = words[1];
  for (std::size_t i = 2; i < words.size(); ++i) {
    request.operand += ' ';
    request.operand += words[i];
  }
  if (const auto path = arguments.Value("path")) {
    if (*path == "bridge") {
      request.path = ConversionPath::Bridge;
    } else if (*path != "catalogue") {
      throw UsageError("path '" + *path + "' is not 'catalogue' or 'bridge'");
    }
  }
  if (operation == Operation::Check) {
    if (arguments.Value("path") == std::optional<std::string>("catalogue")) {
      throw UsageError("check always asks Avo::CheckGroupValue of the bridge (--path bridge)");
    }
    request.path = ConversionPath::Bridge;
  }
  if (const auto type = arguments.Value("type")) {
    if (operation != Operation::Encode) {
      throw UsageError("--type applies to encode only");
    }
    request.type = ParseValueType(*type);
  }
  if (const auto bits = arguments.Value("bits")) {
    if (operation == Operation::Encode) {
      throw UsageError("--bits applies to decode and check only");
    }
    request.bits = static_cast<unsigned>(ParseUnsigned(*bits, 65535, "bit size"));
  }
  return request;
}

Converter::Converter(LibraryLog& log) : m_log(log) {
  m_catalogue.Init();
  m_log.Discard();
}

VelValueType Converter::ExpectedValueType(const ConversionRequest& request) {
  if (request.path == ConversionPath::Bridge) {
    return Avo::KnxKelMapping::GetIvtFromDpt(request.dpt.Packed());
  }
  // The lookup logs when the DPT has no row; the conversion says so again.
  const VelValueType type = m_catalogue.GetEntry(ToKnxDpt(request.dpt)).GetValueType();
  m_log.Discard();
  return type;
}

void Converter::Encode(const ConversionRequest& request, const VELVALUE& value,
                       ConversionResult& result) {
  if (request.path == ConversionPath::Bridge) {
    result.groupValue = FromBoost(Avo::VelValueToGroupValue(value, request.dpt.Packed()));
    result.accepted = result.groupValue.has_value();
    return;
  }
  KNXDPT dpt = ToKnxDpt(request.dpt);
  KnxStack::GroupValue groupValue;
  result.accepted = m_catalogue.ToKnxValue(dpt, value, groupValue);
  if (result.accepted) {
    result.groupValue = std::move(groupValue);
  } else if (IsCatalogueReadOnly(request.dpt.mainNumber)) {
    result.reason = CatalogueReadOnlyReason(request.dpt);
  }
}

void Converter::Decode(const ConversionRequest& request, const KnxStack::GroupValue& groupValue,
                       ConversionResult& result) {
  if (request.path == ConversionPath::Bridge) {
    result.value = FromBoost(Avo::GroupValueToVelValue(groupValue, request.dpt.Packed()));
    result.accepted = result.value.has_value();
  } else {
    KNXDPT dpt = ToKnxDpt(request.dpt);
    VELVALUE value;
    result.accepted = m_catalogue.FromKnxValue(dpt, groupValue, value);
    if (result.accepted) {
      result.value = std::move(value);
    }
  }
  if (result.value) {
    result.valueType = result.value->ivt;
  }
}

ConversionResult Converter::Run(const ConversionRequest& request) {
  ConversionResult result;
  result.valueType = request.type ? *request.type : ExpectedValueType(request);
  if (request.operation == Operation::Encode) {
    result.value = ParseValue(request.operand, result.valueType);
  } else {
    result.groupValue = MakeGroupValue(ParseHex(request.operand), request);
  }
  m_log.Discard();
  try {
    switch (request.operation) {
    case Operation::Encode:
      Encode(request, *result.value, result);
      break;
    case Operation::Decode:
      Decode(request, *result.groupValue, result);
      break;
    case Operation::Check:
      result.accepted = Avo::CheckGroupValue(*result.groupValue, request.dpt.Packed());
      break;
    }
  } catch (const std::exception& error) {
    result.accepted = false;
    result.reason = std::string("the library threw an exception: ") + error.what();
  } catch (...) {
    result.accepted = false;
    result.reason = "the library threw an exception";
  }
  result.log = m_log.Take();
  if (!result.accepted && result.reason.empty()) {
    const LibraryLogLine* problem = FirstProblem(result.log);
    result.reason = problem != nullptr ? problem->text
                    : request.operation == Operation::Check
                        ? "the library found the group value invalid"
                        : "the library refused without a log line";
  }
  return result;
}

std::string ResultLine(const ConversionRequest& request, const ConversionResult& result) {
  if (!result.accepted) {
    return "ERR " + OneLine(result.reason);
  }
  switch (request.operation) {
  case Operation::Encode: {
    const std::string hex = FormatHex(result.groupValue->GetRawData().GetBytes());
    return hex.empty() ? "OK" : "OK " + hex;
  }
  case Operation::Decode:
    return "OK " + FormatValue(*result.value);
  case Operation::Check:
    return "OK valid";
  }
  return "OK";
}

std::string ResultJson(const ConversionRequest& request, const ConversionResult& result) {
  JsonObject json;
  json.String("command", OperationName(request.operation))
      .String("path", PathName(request.path))
      .String("dpt", FormatDpt(request.dpt))
      .Number("valueType", result.valueType)
      .String("valueTypeName", VELVALUE::GetNameFromValueType(result.valueType));
  if (result.value) {
    const std::string text = FormatValue(*result.value);
    if (IsJsonLiteral(*result.value, text)) {
      json.Raw("value", text);
    } else {
      json.String("value", text);
    }
  }
  if (result.groupValue) {
    json.String("hex", FormatHex(result.groupValue->GetRawData().GetBytes()))
        .Number("bits", result.groupValue->GetDefinedSize());
  }
  if (request.operation == Operation::Check) {
    json.Bool("valid", result.accepted);
  }
  json.String("result", result.accepted ? "OK" : "ERR");
  if (!result.accepted) {
    json.String("reason", result.reason);
  }
  json.Raw("log", LinesAsJson(result.log));
  return json.Text();
}

std::string UsageErrorJson(const std::string& reason) {
  return JsonObject().String("result", "ERR").String("reason", reason).Raw("log", "[]").Text();
}

} // namespace AvoKnx
