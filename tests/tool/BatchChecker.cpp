// Checks avo-knx batch against the library itself, line by line.
//
//   avo_knx_batch_checker generate SEED COUNT INPUT
//       writes COUNT batch lines of random conversions (and a few malformed
//       lines), drawn from SEED
//   avo_knx_batch_checker verify|verify-json SEED COUNT INPUT OUTPUT
//       draws the same lines again, checks that INPUT holds them, runs each
//       conversion through the library and compares the expected result with
//       the tool's line in OUTPUT (a result line, or a JSON object)
//
// Values and results are written here with a formatter of the checker's own,
// so that the tool's value syntax is checked, not restated.

#include "JsonReader.h"
#include "LogCapture.h"

#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/KnxKelMapping.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

// --- The checker's own value syntax ----------------------------------------------

std::string Hex(const Bytes& bytes) {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    char pair[3];
    static_cast<void>(std::snprintf(pair, sizeof pair, "%02X", byte));
    text += pair;
  }
  return text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') {
      quoted += '\\';
    }
    quoted += character;
  }
  return quoted + "\"";
}

std::string Padded(unsigned number, std::size_t width) {
  std::string text = std::to_string(number);
  return std::string(text.size() < width ? width - text.size() : 0, '0') + text;
}
std::string DateText(const VELTIME& time) {
  return Padded(time.year, 4) + "-" + Padded(time.month, 2) + "-" + Padded(time.day, 2);
}
std::string ClockText(const VELTIME& time) {
  return Padded(time.hour, 2) + ":" + Padded(time.minute, 2) + ":" + Padded(time.second, 2);
}
std::string DptText(std::uint16_t main, std::uint16_t sub) {
  return std::to_string(main) + "." + (sub == 0 ? std::string("x") : Padded(sub, 3));
}

std::string Syntax(const VELVALUE& value) {
  const VELTIME& time = value.tmVal;
  switch (value.ivt) {
  case ivtNone:
  case ivtEmpty:
    return "null";
  case ivtBool:
  case ivtByte:
    return std::to_string(value.byVal);
  case ivtWord:
    return std::to_string(value.wVal);
  case ivtDWord:
    return std::to_string(value.dwVal);
  case ivtInteger:
    return std::to_string(value.lVal);
  case ivtFloat: {
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof text, value.dblVal).ptr);
  }
  case ivtString:
    return Quoted(value.strVal);
  case ivtDate:
    return DateText(time);
  case ivtTime:
  case ivtDayTime: {
    static const char* const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    std::string day;
    for (unsigned bit = 0; bit < 7; ++bit) {
      day = time.weekday == (1U << bit) ? std::string(kDays[bit]) + " " : day;
    }
    return day + ClockText(time);
  }
  case ivtDateTime:
    return DateText(time) + "T" + ClockText(time);
  default:
    throw std::runtime_error("the checker draws no value of type " + std::to_string(value.ivt));
  }
}

bool IsJsonLiteral(const VELVALUE& value) {
  const bool number = value.ivt == ivtFloat ? std::isfinite(value.dblVal) : value.ivt <= ivtDWord;
  return number || value.ivt == ivtString;
}

// --- Drawing the lines ---------------------------------------------------------------

enum class Kind { Encode, Decode, Check, Malformed };

struct Case {
  Kind kind = Kind::Malformed;
  bool bridge = false;
  std::uint16_t main = 0, sub = 0;
  VELVALUE value;
  Bytes bytes;
  std::string line;
};

// The DPTs drawn from: every catalogue family, bridge-only and unknown numbers.
const std::vector<std::pair<std::uint16_t, std::uint16_t>> kDpts = {
    {1, 1},  {2, 1},  {3, 7},  {4, 1},  {5, 1},    {5, 6},  {6, 1},     {6, 20}, {7, 1},
    {8, 1},  {9, 1},  {9, 4},  {9, 0},  {10, 1},   {11, 1}, {12, 1},    {13, 1}, {14, 0},
    {16, 1}, {17, 1}, {18, 1}, {19, 1}, {20, 102}, {26, 1}, {232, 600}, {99, 1}};

class Drawer {
public:
  explicit Drawer(unsigned seed) : m_random(seed) {}

  Case Draw(Avo::KnxValueConverter& catalogue) {
    Case drawn;
    if (Below(50) == 0) {
      static const char* const kMalformed[] = {"",
                                               "frobnicate 9.001 1",
                                               "encode 9.001",
                                               "decode 9.001 0G",
                                               "encode 0.1 1",
                                               "encode 5.001 256",
                                               "decode --bits x 1 01",
                                               "encode 16.001 \"open"};
      drawn.line = kMalformed[Below(8)];
      return drawn;
    }
    const auto dpt = kDpts[Below(static_cast<unsigned>(kDpts.size()))];
    drawn.main = dpt.first;
    drawn.sub = dpt.second;
    drawn.kind = static_cast<Kind>(Below(3));
    drawn.bridge = drawn.kind == Kind::Check || Below(2) == 1;
    const std::string dptText = DptSpelling(drawn.main, drawn.sub);
    const std::string path = drawn.kind == Kind::Check || !drawn.bridge ? "" : " --path bridge";
    if (drawn.kind == Kind::Encode) {
      const VelValueType type =
          drawn.bridge ? Avo::KnxKelMapping::GetIvtFromDpt(Packed(drawn))
                       : catalogue.GetEntry(KNXDPT(0, drawn.main, drawn.sub)).GetValueType();
      drawn.value = Value(type);
      drawn.line = "encode" + (Below(2) ? path + " " + dptText + " " + Syntax(drawn.value)
                                        : " " + dptText + " " + Syntax(drawn.value) + path);
    } else {
      const unsigned size = (Avo::KnxValueConverter::GetStandardBitSize(drawn.main) + 7) / 8;
      drawn.bytes.resize(Below(8) == 0 ? Below(5) : (size == 0 || size > 14 ? 2 : size));
      for (std::uint8_t& byte : drawn.bytes) {
        byte = static_cast<std::uint8_t>(Below(256));
      }
      drawn.line = std::string(drawn.kind == Kind::Decode ? "decode" : "check") + path + " " +
                   dptText + " " + HexSpelling(drawn.bytes);
    }
    return drawn;
  }

  static Avo::PackedDpt Packed(const Case& drawn) {
    return (static_cast<Avo::PackedDpt>(drawn.main) << 16) | drawn.sub;
  }

private:
  unsigned Below(unsigned bound) {
    return std::uniform_int_distribution<unsigned>(0, bound - 1)(m_random);
  }

  std::string DptSpelling(std::uint16_t main, std::uint16_t sub) {
    const std::string spelling[] = {std::to_string(main) + "." + std::to_string(sub),
                                    std::to_string(main) + "." + Padded(sub, 3),
                                    sub == 0 ? std::to_string(main) : ""};
    const std::string& chosen = spelling[Below(3)];
    return chosen.empty() ? spelling[0] : chosen;
  }

  // The same bytes in the spellings avo-knx reads.
  std::string HexSpelling(const Bytes& bytes) {
    std::string text = Hex(bytes);
    if (text.empty()) {
      return "0x"; // no bytes
    }
    switch (Below(3)) {
    case 0:
      return text;
    case 1:
      return "0x" + text;
    default: {
      std::string spaced;
      for (std::size_t i = 0; i < text.size(); i += 2) {
        spaced += (i == 0 ? "" : " ") + std::string(1, static_cast<char>(std::tolower(text[i]))) +
                  text[i + 1];
      }
      return spaced;
    }
    }
  }

  std::string Text() {
    static const char* const kPieces[] = {"a", "Z", "7", " ", "\"", "\\", "é", "ü", "€", "/", "x"};
    std::string text;
    for (unsigned count = Below(17); count > 0; --count) {
      text += kPieces[Below(11)];
    }
    return text;
  }

  VELVALUE Value(VelValueType type) {
    VELVALUE value(type);
    switch (type) {
    case ivtBool:
      value.byVal = static_cast<std::uint8_t>(Below(2));
      break;
    case ivtByte:
      value.byVal = static_cast<std::uint8_t>(Below(256));
      break;
    case ivtWord:
      value.wVal = static_cast<std::uint16_t>(Below(65536));
      break;
    case ivtDWord:
      value.dwVal = static_cast<std::uint32_t>(m_random());
      break;
    case ivtInteger:
      value.lVal = Below(2) ? static_cast<std::int32_t>(Below(70000)) - 35000
                            : static_cast<std::int32_t>(m_random());
      break;
    case ivtFloat:
      value.dblVal = Below(4) == 0 ? std::ldexp(static_cast<double>(m_random()) - 2147483648.0,
                                                static_cast<int>(Below(40)) - 20)
                                   : (static_cast<int>(Below(200000)) - 60000) / 100.0;
      break;
    case ivtString:
      value.strVal = Text();
      break;
    case ivtDate:
      value.tmVal.SetDate(static_cast<unsigned short>(1985 + Below(110)),
                          static_cast<unsigned char>(1 + Below(12)),
                          static_cast<unsigned char>(1 + Below(31)), true);
      break;
    case ivtTime:
    case ivtDayTime:
      value.tmVal.Clear(true);
      value.tmVal.hour = static_cast<std::uint8_t>(Below(24));
      value.tmVal.minute = static_cast<std::uint8_t>(Below(60));
      value.tmVal.second = static_cast<std::uint8_t>(Below(60));
      value.tmVal.weekday = static_cast<std::uint16_t>(Below(8) == 0 ? 0 : 1U << Below(7));
      value.tmVal.timeOfDayOnly = 1;
      value.tmVal.isValid = true;
      break;
    case ivtDateTime:
      value.tmVal.SetDateTime(
          static_cast<unsigned short>(1890 + Below(280)), static_cast<unsigned char>(1 + Below(12)),
          static_cast<unsigned char>(1 + Below(28)), static_cast<unsigned char>(Below(24)),
          static_cast<unsigned char>(Below(60)), static_cast<unsigned char>(Below(60)), true);
      break;
    default:
      break; // the empty type: null
    }
    return value;
  }

  std::mt19937 m_random;
};

// --- What the library says ----------------------------------------------------------

struct Expected {
  bool ok = false;
  std::string result; // the hex, the value's syntax, "valid", or the reason
  std::optional<VELVALUE> value;
  std::vector<AvoTest::LogLine> log;
};

KnxStack::GroupValue GroupValueOf(const Case& drawn) {
  const unsigned standard = Avo::KnxValueConverter::GetStandardBitSize(drawn.main);
  const auto size = static_cast<unsigned>(drawn.bytes.size());
  const bool fits = standard != 0 && standard != Avo::KnxValueConverter::kVariableBitSize &&
                    size == (standard + 7) / 8;
  return KnxStack::GroupValue(KnxStack::BinaryData(drawn.bytes), fits ? standard : 8 * size);
}

Expected Expect(const Case& drawn, Avo::KnxValueConverter& catalogue) {
  Expected expected;
  AvoTest::ScopedLogCapture capture(log4cplus::WARN_LOG_LEVEL);
  const unsigned bits = Avo::KnxValueConverter::GetStandardBitSize(drawn.main);
  KNXDPT dpt(static_cast<std::uint8_t>(bits <= 255 ? bits : 0), drawn.main, drawn.sub);
  try {
    if (drawn.kind == Kind::Encode) {
      boost::optional<KnxStack::GroupValue> written;
      if (drawn.bridge) {
        written = Avo::VelValueToGroupValue(drawn.value, Drawer::Packed(drawn));
      } else if (KnxStack::GroupValue group; catalogue.ToKnxValue(dpt, drawn.value, group)) {
        written = group;
      }
      expected.ok = written.has_value();
      expected.result = written ? Hex(written->GetRawData().GetBytes()) : "";
    } else if (drawn.kind == Kind::Decode) {
      if (drawn.bridge) {
        const auto read = Avo::GroupValueToVelValue(GroupValueOf(drawn), Drawer::Packed(drawn));
        expected.value = read ? std::optional<VELVALUE>(*read) : std::nullopt;
      } else if (VELVALUE read; catalogue.FromKnxValue(dpt, GroupValueOf(drawn), read)) {
        expected.value = read;
      }
      expected.ok = expected.value.has_value();
    } else {
      expected.ok = Avo::CheckGroupValue(GroupValueOf(drawn), Drawer::Packed(drawn));
      expected.result = expected.ok ? "valid" : "";
    }
  } catch (const std::exception& error) {
    expected.ok = false;
    expected.result = std::string("the library threw an exception: ") + error.what();
  }
  expected.log = capture.Lines();
  if (expected.ok && expected.value) {
    expected.result = Syntax(*expected.value);
  }
  if (!expected.ok && expected.result.empty()) {
    const bool readOnly = drawn.main == 2 || drawn.main == 3 || drawn.main == 18;
    if (drawn.kind == Kind::Encode && !drawn.bridge && readOnly) {
      expected.result =
          "DPT " + std::to_string(drawn.main) +
          ".x values cannot be written through the catalogue: the row's value type and the "
          "converter's own type test exclude each other; use --path bridge";
    } else if (!expected.log.empty()) {
      expected.result = expected.log.front().text;
    } else {
      expected.result = drawn.kind == Kind::Check ? "the library found the group value invalid"
                                                  : "the library refused without a log line";
    }
  }
  return expected;
}

// --- Comparing ----------------------------------------------------------------------------

std::string ExpectedLine(const Expected& expected) {
  if (!expected.ok) {
    return "ERR " + expected.result;
  }
  return expected.result.empty() ? "OK" : "OK " + expected.result;
}

// A decoded string is compared by its content: JSON has more than one way
// to escape a character.
bool IsDecodedString(const Expected& expected) {
  return expected.ok && expected.value && expected.value->ivt == ivtString;
}

bool SameLine(const Expected& expected, const std::string& line) {
  if (IsDecodedString(expected)) {
    return line.rfind("OK ", 0) == 0 &&
           ToolTest::JsonReader::Read(line.substr(3)).string == expected.value->strVal;
  }
  return line == ExpectedLine(expected);
}

void CheckJson(const Case& drawn, const Expected& expected, const std::string& line) {
  const ToolTest::JsonValue object = ToolTest::JsonReader::Read(line);
  auto require = [&line](bool holds, const std::string& what) {
    if (!holds) {
      throw std::runtime_error(what + " in " + line);
    }
  };
  require(object["result"].string == (expected.ok ? "OK" : "ERR"), "wrong result");
  if (drawn.kind == Kind::Malformed) {
    return;
  }
  require(object["command"].string == (drawn.kind == Kind::Encode   ? "encode"
                                       : drawn.kind == Kind::Decode ? "decode"
                                                                    : "check"),
          "wrong command");
  require(object["path"].string == (drawn.bridge ? "bridge" : "catalogue"), "wrong path");
  require(object["dpt"].string == DptText(drawn.main, drawn.sub), "wrong DPT");
  if (!expected.ok) {
    require(object["reason"].string == expected.result, "wrong reason");
  } else if (drawn.kind == Kind::Encode) {
    require(object["hex"].string == expected.result, "wrong hex");
  } else if (drawn.kind == Kind::Decode) {
    const ToolTest::JsonValue& value = object["value"];
    if (IsDecodedString(expected)) {
      require(value.string == expected.value->strVal, "wrong string");
    } else {
      require((IsJsonLiteral(*expected.value) ? value.text : value.string) == expected.result,
              "wrong value");
    }
    require(std::stoi(object["valueType"].text) == expected.value->ivt, "wrong value type");
  }
  const ToolTest::JsonValue& log = object["log"];
  require(log.items.size() == expected.log.size(), "wrong number of log lines");
  for (std::size_t i = 0; i < log.items.size(); ++i) {
    require(log.items[i]["text"].string == expected.log[i].text &&
                log.items[i]["function"].string == expected.log[i].function,
            "wrong log line " + std::to_string(i));
  }
}

int Run(const std::vector<std::string>& args) {
  const std::string& mode = args.at(0);
  const auto seed = static_cast<unsigned>(std::stoul(args.at(1)));
  const unsigned long count = std::stoul(args.at(2));
  Avo::KnxValueConverter catalogue;
  catalogue.Init();
  Drawer drawer(seed);
  std::vector<Case> cases;
  {
    const AvoTest::ScopedLogCapture quiet; // looking up a DPT without a row logs
    for (unsigned long i = 0; i < count; ++i) {
      cases.push_back(drawer.Draw(catalogue));
    }
  }
  if (mode == "generate") {
    std::ofstream input(args.at(3));
    for (const Case& drawn : cases) {
      input << drawn.line << '\n';
    }
    return input ? 0 : 1;
  }
  std::ifstream input(args.at(3)), output(args.at(4));
  unsigned failures = 0;
  std::string inputLine, outputLine;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    if (!std::getline(input, inputLine) || inputLine != cases[i].line) {
      throw std::runtime_error("the input file does not hold the drawn line " +
                               std::to_string(i + 1));
    }
    if (!std::getline(output, outputLine)) {
      throw std::runtime_error("the output ends after " + std::to_string(i) + " lines");
    }
    const Case& drawn = cases[i];
    try {
      if (drawn.kind == Kind::Malformed) {
        const bool err = mode == "verify"
                             ? outputLine.rfind("ERR ", 0) == 0
                             : ToolTest::JsonReader::Read(outputLine)["result"].string == "ERR";
        if (!err) {
          throw std::runtime_error("a malformed line must give ERR, got: " + outputLine);
        }
        continue;
      }
      const Expected expected = Expect(drawn, catalogue);
      if (mode == "verify" && !SameLine(expected, outputLine)) {
        throw std::runtime_error("expected: " + ExpectedLine(expected) +
                                 "\n     got: " + outputLine);
      }
      if (mode == "verify-json") {
        CheckJson(drawn, expected, outputLine);
      }
    } catch (const std::exception& error) {
      if (++failures <= 20) {
        std::cerr << "line " << i + 1 << ": " << drawn.line << "\n  " << error.what() << '\n';
      }
    }
  }
  if (std::getline(output, outputLine)) {
    throw std::runtime_error("the output has more lines than the input");
  }
  std::cout << cases.size() << " lines checked, " << failures << " differ\n";
  return failures == 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  try {
    return Run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& error) {
    std::cerr << "avo_knx_batch_checker: " << error.what() << '\n';
    return 1;
  }
}
