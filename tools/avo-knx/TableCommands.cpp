// dpts and types: the library's tables as the user sees them.

#include "Commands.h"
#include "Json.h"
#include "ValueSyntax.h"

#include "Dpt.h"

#include "AvoObjectModel/KnxKelMapping.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include <algorithm>
#include <ostream>

namespace AvoKnx {
namespace {

std::string Column(const std::string& text, std::size_t width) {
  std::string column = text;
  column.resize(std::max(column.size() + 1, width), ' ');
  return column;
}

void RequireNoArguments(const Context& context, const char* command) {
  if (!context.arguments.Positionals().empty()) {
    throw UsageError(std::string(command) + " takes no arguments");
  }
}

int RunDpts(Context& context) {
  RequireNoArguments(context, "dpts");
  Avo::KnxValueConverter catalogue;
  catalogue.Init();
  const std::vector<LibraryLogLine> lines = context.log.Take();
  context.ShowLibraryLines(lines);
  if (!context.json) {
    context.out << Column("DPT", 9) << Column("BITS", 6) << Column("VALUE TYPE", 13)
                << Column("SUBTYPE", 20) << Column("CONVERTER", 35) << "RANGE\n";
  }
  for (const Avo::DptValueEntry& row : catalogue.GetDptValueMap()) {
    const Dpt dpt{row.GetDpt().mainNumber, row.GetDpt().subNumber};
    const Avo::KnxConverterDescription converter =
        row.GetConverter() != nullptr ? Avo::DescribeKnxConverter(*row.GetConverter())
                                      : Avo::KnxConverterDescription();
    const std::string typeName = VELVALUE::GetNameFromValueType(row.GetValueType());
    const std::string subtypeName = VelDP::GetNameFromValueSubType(row.GetValueSubType());
    if (context.json) {
      context.out << JsonObject()
                         .String("dpt", FormatDpt(dpt))
                         .Number("bits", row.GetDpt().bitSize)
                         .Number("valueType", row.GetValueType())
                         .String("valueTypeName", typeName)
                         .Number("subtype", row.GetValueSubType())
                         .String("subtypeName", subtypeName)
                         .String("converter", converter.className)
                         .String("range", converter.range)
                         .Text()
                  << '\n';
    } else {
      context.out << Column(FormatDpt(dpt), 9) << Column(std::to_string(row.GetDpt().bitSize), 6)
                  << Column(std::to_string(row.GetValueType()) + " " + typeName, 13)
                  << Column(std::to_string(row.GetValueSubType()) + " " + subtypeName, 20)
                  << Column(converter.className, 35) << converter.range << '\n';
    }
  }
  return kSuccess;
}

int RunTypes(Context& context) {
  RequireNoArguments(context, "types");
  if (!context.json) {
    context.out << Column("MAIN", 6) << Column("VALUE TYPE", 16) << Column("SUBTYPE", 19)
                << Column("DEFAULT", 22) << "TEXT FORM\n";
  }
  for (const auto& row : Avo::KnxKelMapping::GetDptMainTypes()) {
    const std::string defaultText =
        Avo::KnxKelMapping::GetDefaultValueFromDpt(row.mainNumber << 16, false);
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

const Command& DptsCommand() {
  static const Command command{"dpts",
                               "the DPT catalogue: value types, converters, ranges",
                               {},
                               RunDpts,
                               R"(usage: avo-knx dpts

Lists the DPT catalogue that Avo::KnxValueConverter fills in Init, by DPT:
the bit size, the value type and subtype that its values carry, the converter
class and the range it holds (internal minimum and maximum, then the bus
side's). A main.x row serves every sub number of its main number that has no
row of its own; DPTs without a row are accepted unconverted.

example:
  avo-knx dpts
)"};
  return command;
}

const Command& TypesCommand() {
  static const Command command{"types",
                               "the DPT main-type table with default values",
                               {},
                               RunTypes,
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
