// types (and dpts): the library's tables as the user sees them.

#include "Commands.h"
#include "Json.h"
#include "ValueSyntax.h"

#include "AvoObjectModel/KnxKelMapping.h"

#include <algorithm>
#include <ostream>

namespace AvoKnx {
namespace {

std::string Column(const std::string& text, std::size_t width) {
  std::string column = text;
  column.resize(std::max(column.size() + 1, width), ' ');
  return column;
}

int RunTypes(Context& context) {
  if (!context.arguments.Positionals().empty()) {
    throw UsageError("types takes no arguments");
  }
  if (!context.json) {
    context.out << Column("MAIN", 6) << Column("VALUE TYPE", 16) << Column("SUBTYPE", 19)
                << Column("DEFAULT", 22) << "TEXT FORM\n";
  }
  for (const auto& row : Avo::KnxKelMapping::GetDptMainTypes()) {
    const std::string defaultText = Avo::KnxKelMapping::GetDefaultValueFromDpt(row.mainNumber << 16, false);
    VELVALUE defaultValue;
    defaultValue.Deserialize(defaultText);
    const std::string defaultSyntax = FormatValue(defaultValue);
    const std::string typeName = VELVALUE::GetNameFromValueType(row.valueType);
    const std::string subtypeName = VelDP::GetNameFromValueSubType(row.valueSubType);
    if (context.json) {
      JsonObject json;
      json.Number("main", row.mainNumber)
          .Number("valueType", row.valueType)
          .String("valueTypeName", typeName)
          .Number("subtype", row.valueSubType)
          .String("subtypeName", subtypeName);
      if (IsJsonLiteral(defaultValue, defaultSyntax)) {
        json.Raw("default", defaultSyntax);
      } else {
        json.String("default", defaultSyntax);
      }
      context.out << json.String("defaultText", defaultText).Text() << '\n';
    } else {
      context.out << Column(std::to_string(row.mainNumber), 6)
                  << Column(std::to_string(row.valueType) + " " + typeName, 16)
                  << Column(std::to_string(row.valueSubType) + " " + subtypeName, 19)
                  << Column(defaultSyntax, 22) << defaultText << '\n';
    }
  }
  return kSuccess;
}

} // namespace

const Command& TypesCommand() {
  static const Command command{"types", "the DPT main-type table with default values", {}, RunTypes,
                               R"(usage: avo-knx types

Lists the main-type table of Avo::KnxKelMapping: for every DPT main number it
knows, the value type and subtype of its values and its default value (in the
value syntax, and as the text form that the library hands out). The group
value bridge (--path bridge) takes its value types from this table; main
numbers of the empty type carry no value and the bridge refuses them.

example:
  avo-knx types
)"};
  return command;
}

} // namespace AvoKnx
