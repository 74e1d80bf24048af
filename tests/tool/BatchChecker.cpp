// Checks avo-knx batch against the library itself, line by line.
//
//   avo_knx_batch_checker SEED COUNT INPUT
//       writes COUNT batch lines drawn from SEED: random conversions on every
//       catalogue family, bridge-only and unknown DPTs, and a few malformed lines
//   avo_knx_batch_checker SEED COUNT LINES OBJECTS
//       draws the same lines again, runs each conversion through the library
//       and compares its result with the tool's result line (LINES, from
//       `batch`) and JSON object (OBJECTS, from `batch --json`)
//
// Values are written here with a formatter of the checker's own, so that the
// tool's value syntax is checked, not restated.

#include "LogCapture.h"

#include "AvoObjectModel/GroupValueVelValue.h"
#include "AvoObjectModel/KnxKelMapping.h"
#include "AvoObjectModel/KnxValueConverter.h"

#include <charconv>
#include <cmath>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using Byte = std::uint8_t;
using Bytes = std::vector<Byte>;

// --- The checker's own value syntax ----------------------------------------------

std::string Hex(const Bytes& bytes, const char* digits = "0123456789ABCDEF", const char* gap = "") {
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += (text.empty() ? "" : gap) + std::string{digits[byte >> 4], digits[byte & 15]};
  }
  return text;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) {
    quoted += (character == '"' || character == '\\' ? "\\" : "") + std::string(1, character);
  }
  return quoted + "\"";
}

std::string Digits(unsigned number, std::size_t width) {
  const std::string text = std::to_string(number);
  return std::string(width > text.size() ? width - text.size() : 0, '0') + text;
}
std::string DateText(const VELTIME& time) {
  return Digits(time.year, 4) + "-" + Digits(time.month, 2) + "-" + Digits(time.day, 2);
}
std::string ClockText(const VELTIME& time) {
  return Digits(time.hour, 2) + ":" + Digits(time.minute, 2) + ":" + Digits(time.second, 2);
}

std::string Syntax(const VELVALUE& value) {
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
    return DateText(value.tmVal);
  case ivtTime:
  case ivtDayTime: {
    static const char* const kDays[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    std::string day;
    for (unsigned bit = 0; bit < 7; ++bit) {
      day = value.tmVal.weekday == (1U << bit) ? std::string(kDays[bit]) + " " : day;
    }
    return day + ClockText(value.tmVal);
  }
  case ivtDateTime:
    return DateText(value.tmVal) + "T" + ClockText(value.tmVal);
  default:
    throw std::runtime_error("the checker draws no value of type " + std::to_string(value.ivt));
  }
}

// --- Reading what the tool wrote ------------------------------------------------------

// The content of the JSON string whose opening quote is at `at`; moves `at`
// past its closing quote. Only control characters come as \u escapes.
std::string ReadString(const std::string& text, std::size_t& at) {
  std::string content;
  for (++at; at < text.size() && text[at] != '"'; ++at) {
    if (static_cast<unsigned char>(text[at]) < 0x20) {
      throw std::runtime_error("a raw control character in a string");
    }
    if (text[at] != '\\') {
      content += text[at];
      continue;
    }
    const std::size_t named = std::string("\"\\/bfnrt").find(text.at(++at));
    if (named != std::string::npos) {
      content += "\"\\/\b\f\n\r\t"[named];
    } else if (text.compare(at, 3, "u00") == 0) {
      content += static_cast<char>(std::stoi(text.substr(at + 3, 2), nullptr, 16));
      at += 4;
    } else {
      throw std::runtime_error("an unexpected escape in a string");
    }
  }
  if (at++ == text.size()) {
    throw std::runtime_error("an unfinished string");
  }
  return content;
}

struct JsonObject {
  std::map<std::string, std::string> members;
  std::string log; ///< "LEVEL Function text" lines
};

// A one-line JSON object: each member's value (a string's content, anything
// else as written, an array as empty) and the members of the log lines'
// objects, in order.
JsonObject ReadObject(const std::string& text) {
  JsonObject object;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] != '"') {
      ++at; // the object's punctuation
      continue;
    }
    const std::string name = ReadString(text, at);
    if (text.compare(at++, 1, ":") != 0) {
      throw std::runtime_error("a string where a member name belongs");
    }
    std::string value;
    if (text[at] == '"') {
      value = ReadString(text, at);
    } else {
      const std::size_t end = text.find_first_of(",{}[]", at); // npos ends the loop
      value = text.substr(at, end - at);
      at = end;
    }
    if (name == "level" || name == "function" || name == "text") {
      object.log += value + (name == "text" ? "\n" : " ");
    } else {
      object.members.emplace(name, value);
    }
  }
  return object;
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

  Avo::PackedDpt Packed() const { return (static_cast<Avo::PackedDpt>(main) << 16) | sub; }
};

// Every catalogue family, bridge-only and unknown DPTs (sub 0: main type only).
const std::pair<std::uint16_t, std::uint16_t> kDpts[] = {
    {1, 1},  {2, 1},  {3, 7},  {4, 1},  {5, 1},    {5, 6},  {6, 1},     {6, 20}, {7, 1},
    {8, 1},  {9, 1},  {9, 4},  {9, 0},  {10, 1},   {11, 1}, {12, 1},    {13, 1}, {14, 0},
    {16, 1}, {17, 1}, {18, 1}, {19, 1}, {20, 102}, {26, 1}, {232, 600}, {99, 1}};

// Lines that the tool answers with ERR, going on with the next line.
const char* const kMalformed[] = {
    "frobnicate 9.001 1", "encode 9.001",         "decode 9.001 0G",      "encode 0.1 1",
    "encode 5.001 256",   "decode --bits x 1 01", "encode 16.001 \"open", ""};

class Drawer {
public:
  explicit Drawer(unsigned seed) : m_random(seed) {}

  Case Draw(Avo::KnxValueConverter& catalogue) {
    Case drawn;
    if (Below(50) == 0) {
      drawn.line = kMalformed[Below(std::size(kMalformed))];
      return drawn;
    }
    std::tie(drawn.main, drawn.sub) = kDpts[Below(std::size(kDpts))];
    drawn.kind = static_cast<Kind>(Below(3));
    drawn.bridge = drawn.kind == Kind::Check || Below(2) == 1;
    const std::string dpt = " " + DptSpelling(drawn);
    const std::string path = drawn.kind == Kind::Check || !drawn.bridge ? "" : " --path bridge";
    if (drawn.kind == Kind::Encode) {
      const AvoTest::ScopedLogCapture quiet; // looking up a DPT without a row logs
      drawn.value =
          Value(drawn.bridge ? Avo::KnxKelMapping::GetIvtFromDpt(drawn.Packed())
                             : catalogue.GetEntry(KNXDPT(0, drawn.main, drawn.sub)).GetValueType());
      const std::string value = " " + Syntax(drawn.value);
      drawn.line = "encode" + (Below(2) ? path + dpt + value : dpt + value + path);
    } else {
      const unsigned size = (Avo::KnxValueConverter::GetStandardBitSize(drawn.main) + 7) / 8;
      drawn.bytes.resize(Below(8) == 0 ? Below(5) : (size == 0 || size > 14 ? 2 : size));
      for (std::uint8_t& byte : drawn.bytes) {
        byte = static_cast<std::uint8_t>(Below(256));
      }
      drawn.line = (drawn.kind == Kind::Decode ? "decode" : "check") + path + dpt + " " +
                   HexSpelling(drawn.bytes);
    }
    return drawn;
  }

private:
  unsigned Below(std::size_t bound) { return Among<unsigned>(0, static_cast<unsigned>(bound) - 1); }
  template <class Number>
  Number Among(unsigned low, unsigned high) {
    return static_cast<Number>(std::uniform_int_distribution<unsigned>(low, high)(m_random));
  }

  // "9.1", "9.001" or, for a main-type-only DPT, "9".
  std::string DptSpelling(const Case& drawn) {
    const unsigned spelling = Below(3);
    const std::string sub = spelling == 1 ? Digits(drawn.sub, 3) : std::to_string(drawn.sub);
    return std::to_string(drawn.main) + (spelling == 2 && drawn.sub == 0 ? "" : "." + sub);
  }

  // "0C33", "0x0C33" or "0c 33"; no bytes as "0x".
  std::string HexSpelling(const Bytes& bytes) {
    const unsigned spelling = bytes.empty() ? 1 : Below(3);
    return spelling == 0   ? Hex(bytes)
           : spelling == 1 ? "0x" + Hex(bytes)
                           : Hex(bytes, "0123456789abcdef", " ");
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
    VELTIME& time = value.tmVal;
    switch (type) {
    case ivtBool:
    case ivtByte:
      value.byVal = Among<Byte>(0, type == ivtBool ? 1 : 255);
      break;
    case ivtWord:
      value.wVal = Among<std::uint16_t>(0, 65535);
      break;
    case ivtDWord:
      value.dwVal = static_cast<std::uint32_t>(m_random());
      break;
    case ivtInteger: // half of them small, around zero
      value.lVal =
          Below(2) ? Among<std::int32_t>(0, 69999) - 35000 : static_cast<std::int32_t>(m_random());
      break;
    case ivtFloat:
      value.dblVal = Below(4) == 0 ? std::ldexp(static_cast<double>(m_random()) - 2147483648.0,
                                                Among<int>(0, 39) - 20)
                                   : (Among<int>(0, 199999) - 60000) / 100.0;
      break;
    case ivtString:
      value.strVal = Text();
      break;
    case ivtDate:
      time.SetDate(Among<unsigned short>(1985, 2094), Among<Byte>(1, 12), Among<Byte>(1, 31), true);
      break;
    case ivtTime:
    case ivtDayTime:
      time.SetDateTime(0, 0, 0, Among<Byte>(0, 23), Among<Byte>(0, 59), Among<Byte>(0, 59), true);
      time.weekday = static_cast<std::uint16_t>(Below(8) == 0 ? 0 : 1U << Below(7));
      time.timeOfDayOnly = 1;
      break;
    case ivtDateTime:
      time.SetDateTime(Among<unsigned short>(1890, 2169), Among<Byte>(1, 12), Among<Byte>(1, 28),
                       Among<Byte>(0, 23), Among<Byte>(0, 59), Among<Byte>(0, 59), true);
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
  std::string result;    ///< the hex, the value's syntax (a string's content), "valid", the reason
  std::string valueType; ///< of a decoded value
  bool text = false;     ///< a decoded string, written as a JSON string
  std::string log;       ///< "LEVEL Function text" lines
};

KnxStack::GroupValue GroupValueOf(const Case& drawn) {
  const unsigned standard = Avo::KnxValueConverter::GetStandardBitSize(drawn.main);
  const auto size = static_cast<unsigned>(drawn.bytes.size());
  const bool fits = standard != 0 && standard != Avo::KnxValueConverter::kVariableBitSize &&
                    size == (standard + 7) / 8;
  return KnxStack::GroupValue(KnxStack::BinaryData(drawn.bytes), fits ? standard : 8 * size);
}

void Convert(const Case& drawn, Avo::KnxValueConverter& catalogue, Expected& expected) {
  const unsigned bits = Avo::KnxValueConverter::GetStandardBitSize(drawn.main);
  KNXDPT dpt(static_cast<std::uint8_t>(bits <= 255 ? bits : 0), drawn.main, drawn.sub);
  if (drawn.kind == Kind::Encode) {
    auto written =
        drawn.bridge ? Avo::VelValueToGroupValue(drawn.value, drawn.Packed()) : boost::none;
    if (KnxStack::GroupValue group;
        !drawn.bridge && catalogue.ToKnxValue(dpt, drawn.value, group)) {
      written = group;
    }
    expected.ok = written.has_value();
    expected.result = written ? Hex(written->GetRawData().GetBytes()) : "";
  } else if (drawn.kind == Kind::Decode) {
    auto read =
        drawn.bridge ? Avo::GroupValueToVelValue(GroupValueOf(drawn), drawn.Packed()) : boost::none;
    if (VELVALUE value; !drawn.bridge && catalogue.FromKnxValue(dpt, GroupValueOf(drawn), value)) {
      read = value;
    }
    expected.ok = read.has_value();
    if (read) {
      expected.valueType = std::to_string(read->ivt);
      expected.text = read->ivt == ivtString;
      expected.result = expected.text ? read->strVal : Syntax(*read);
    }
  } else {
    expected.ok = Avo::CheckGroupValue(GroupValueOf(drawn), drawn.Packed());
    expected.result = expected.ok ? "valid" : "";
  }
}

Expected Expect(const Case& drawn, Avo::KnxValueConverter& catalogue) {
  Expected expected;
  std::string firstProblem;
  {
    AvoTest::ScopedLogCapture capture(log4cplus::WARN_LOG_LEVEL);
    try {
      Convert(drawn, catalogue, expected);
    } catch (const std::exception& error) {
      expected.ok = false;
      expected.result = std::string("the library threw an exception: ") + error.what();
    }
    for (const AvoTest::LogLine& line : capture.Lines()) {
      firstProblem = firstProblem.empty() ? line.text : firstProblem;
      expected.log += log4cplus::getLogLevelManager().toString(line.level) + " " + line.function +
                      " " + line.text + "\n";
    }
  }
  const bool readOnly = drawn.main == 2 || drawn.main == 3 || drawn.main == 18;
  if (expected.ok || !expected.result.empty()) {
    return expected;
  }
  if (drawn.kind == Kind::Encode && !drawn.bridge && readOnly) {
    expected.result = "DPT " + std::to_string(drawn.main) +
                      ".x values cannot be written through the catalogue: the row's value type "
                      "and the converter's own type test exclude each other; use --path bridge";
  } else {
    expected.result = !firstProblem.empty()       ? firstProblem
                      : drawn.kind == Kind::Check ? "the library found the group value invalid"
                                                  : "the library refused without a log line";
  }
  return expected;
}

// --- Comparing ----------------------------------------------------------------------------

// Why the tool's results for one drawn line differ from the library's; empty
// when they do not. A decoded string is compared by its content: JSON has more
// than one way to escape a character.
std::string Difference(const Case& drawn, Avo::KnxValueConverter& catalogue,
                       const std::string& line, const std::string& text) {
  const JsonObject object = ReadObject(text);
  if (drawn.kind == Kind::Malformed) {
    const bool refused = line.rfind("ERR ", 0) == 0 && object.members.at("result") == "ERR";
    return refused ? "" : "a malformed line must give ERR";
  }
  const Expected expected = Expect(drawn, catalogue);
  const std::string status = expected.ok ? "OK" : "ERR";
  std::size_t at = 3;
  if (expected.text ? line.rfind("OK \"", 0) != 0 || ReadString(line, at) != expected.result ||
                          at != line.size()
                    : line != status + (expected.result.empty() ? "" : " ") + expected.result) {
    return "expected: " + status + " " + expected.result;
  }
  static const char* const kCommands[] = {"encode", "decode", "check"};
  std::vector<std::pair<std::string, std::string>> wanted = {
      {"command", kCommands[static_cast<int>(drawn.kind)]},
      {"path", drawn.bridge ? "bridge" : "catalogue"},
      {"dpt", std::to_string(drawn.main) + "." + (drawn.sub == 0 ? "x" : Digits(drawn.sub, 3))},
      {"result", status}};
  if (!expected.ok) {
    wanted.emplace_back("reason", expected.result);
  } else if (drawn.kind != Kind::Check) {
    wanted.emplace_back(drawn.kind == Kind::Encode ? "hex" : "value", expected.result);
  }
  if (expected.ok && drawn.kind == Kind::Decode) {
    wanted.emplace_back("valueType", expected.valueType);
  }
  for (const auto& [name, value] : wanted) {
    const auto member = object.members.find(name);
    if (member == object.members.end() || member->second != value) {
      return "JSON: expected " + name + " " + value;
    }
  }
  return object.log == expected.log ? "" : "JSON: expected the log lines\n" + expected.log;
}

int Run(const std::vector<std::string>& args) {
  Avo::KnxValueConverter catalogue;
  catalogue.Init();
  Drawer drawer(static_cast<unsigned>(std::stoul(args.at(0))));
  const unsigned long count = std::stoul(args.at(1));
  const bool verify = args.size() == 4;
  std::ofstream input(verify ? "" : args.at(2));
  std::ifstream lines(verify ? args[2] : ""), objects(verify ? args[3] : "");
  unsigned failures = 0;
  std::string line, object;
  for (unsigned long i = 1; i <= count; ++i) {
    const Case drawn = drawer.Draw(catalogue);
    input << drawn.line << '\n';
    if (verify && (!std::getline(lines, line) || !std::getline(objects, object))) {
      throw std::runtime_error("an output ends before line " + std::to_string(i));
    }
    std::string difference;
    try {
      difference = verify ? Difference(drawn, catalogue, line, object) : "";
    } catch (const std::exception& error) {
      difference = error.what();
    }
    if (!difference.empty() && ++failures <= 20) {
      std::cerr << "line " << i << ": " << drawn.line << "\n  " << difference << "\n  got: " << line
                << "\n  and: " << object << '\n';
    }
  }
  if (std::getline(lines, line) || std::getline(objects, object)) {
    throw std::runtime_error("an output has more lines than the input");
  }
  std::cout << count << (verify ? " lines checked, " : " lines written, ") << failures
            << " differ from the library's results\n";
  return failures == 0 && (verify || input) ? 0 : 1;
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
