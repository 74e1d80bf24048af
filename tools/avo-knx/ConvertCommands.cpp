// encode, decode and check: one conversion from the command line.

#include "Commands.h"
#include "Conversion.h"
#include "Hex.h"
#include "ValueSyntax.h"

#include <ostream>

namespace AvoKnx {
namespace {

int RunConversion(Context& context, Operation operation) {
  const ConversionRequest request = MakeConversionRequest(operation, context.arguments);
  Converter converter(context.log);
  const ConversionResult result = converter.Run(request);
  if (context.json) {
    context.out << ResultJson(request, result) << '\n';
  } else {
    context.ShowLibraryLines(result.log);
    if (result.accepted) {
      switch (operation) {
      case Operation::Encode:
        context.out << FormatHex(result.groupValue->GetRawData().GetBytes()) << '\n';
        break;
      case Operation::Decode:
        context.out << FormatValue(*result.value) << '\n';
        break;
      case Operation::Check:
        context.out << "valid\n";
        break;
      }
    } else {
      if (operation == Operation::Check) {
        context.out << "invalid\n";
        context.err << "avo-knx: check: " << result.reason << '\n';
      } else {
        context.err << "avo-knx: " << OperationName(operation) << " refused: " << result.reason
                    << '\n';
      }
    }
  }
  return result.accepted ? kSuccess : kRefused;
}

int RunEncode(Context& context) { return RunConversion(context, Operation::Encode); }
int RunDecode(Context& context) { return RunConversion(context, Operation::Decode); }
int RunCheck(Context& context) { return RunConversion(context, Operation::Check); }

const char kValueSyntaxHelp[] = R"(VALUE, by the value type:
  integers      42, -5               floats        21.5, -4e-3, nan, inf
  booleans      0 or 1               strings       "Küche" (a JSON string)
  dates         2024-05-06           times of day  10:20:30, Mon 10:20:30
  date + time   2024-05-06T10:20:30  no value      null
  byte arrays   01AB (hex)
)";

const char kDptHelp[] = R"(DPT is written 9.001, 9.1 or 9 (the main number's general row, 9.x).
--path catalogue (the default) converts through Avo::KnxValueConverter and its
DPT catalogue; --path bridge through the group value bridge
(Avo::VelValueToGroupValue, Avo::GroupValueToVelValue).
)";

} // namespace

const Command& EncodeCommand() {
  static const Command command{
      "encode", "VALUE of a DPT to the bytes of its group value", ConversionOptions(), RunEncode,
      std::string(R"(usage: avo-knx encode [--path catalogue|bridge] [--type N] DPT VALUE

Encodes VALUE as a group value of DPT and prints its bytes in upper-case hex.
VALUE is read as the value type that the path's table gives for the DPT
(the catalogue row, or the main-type table of the bridge); --type N reads it
as value type N instead (avo-knx types, avo-knx dpts list the types).

The catalogue cannot write DPT 2.x, 3.x and 18.x values (its row's value type
and the converter's own type test exclude each other): use --path bridge.

)") + kDptHelp +
          "\n" + kValueSyntaxHelp + R"(
examples:
  avo-knx encode 9.001 21.5                  0C33
  avo-knx encode 1.001 1                     01
  avo-knx encode --path bridge 3.007 9       09
  avo-knx encode 10.001 Mon 10:20:30         2A141E
  avo-knx encode 16.001 '"Küche"'            4BFC636865000000000000000000
  avo-knx encode --json 9.001 21.5
)"};
  return command;
}

const Command& DecodeCommand() {
  static const Command command{
      "decode", "bytes of a group value to the VALUE of a DPT", ConversionOptions(), RunDecode,
      std::string(R"(usage: avo-knx decode [--path catalogue|bridge] [--bits N] DPT HEX

Decodes the bytes of a group value of DPT and prints the value. HEX is
written 0C33, "0c 33" or 0x0C33. The group value's defined size is the DPT's
standard size when the bytes just hold it (01 is a 1-bit value for DPT 1),
otherwise 8 bits per byte; --bits N sets it (6 is the bus's short form).

)") + kDptHelp +
          "\n" + kValueSyntaxHelp + R"(
examples:
  avo-knx decode 9.001 0C33                  21.5
  avo-knx decode --path bridge 10.001 2A141E Mon 10:20:30
  avo-knx decode 5.001 0x80                  128
  avo-knx decode --bits 6 1.001 01           1
)"};
  return command;
}

const Command& CheckCommand() {
  static const Command command{"check", "whether a group value is valid for a DPT",
                               ConversionOptions(), RunCheck,
                               R"(usage: avo-knx check [--bits N] DPT HEX

Asks Avo::CheckGroupValue whether the group value is acceptable for DPT and
prints "valid" (exit status 0) or "invalid" (exit status 1). The check
accepts DPTs that the catalogue does not know. HEX and --bits as for decode.

examples:
  avo-knx check 9.001 0C33                   valid
  avo-knx check 9.001 0C33AA                 invalid (unexpected bit size)
  avo-knx check 10.001 18141E                invalid (hour 24)
)"};
  return command;
}

} // namespace AvoKnx
