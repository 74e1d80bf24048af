#include "AvoObjectModel/AppHostConfig.h"

#include "Avo/Logging.h"

#include <boost/io/quoted.hpp> // boost::io::quoted

#include <rapidxml/rapidxml.hpp>

#include <cstdint>
#include <cstring> // std::memchr, std::strcspn, std::strlen, std::strstr
#include <fstream>
#include <memory>
#include <stdexcept> // std::invalid_argument, std::out_of_range
#include <string_view>

namespace Avo {

namespace {

using Document = rapidxml::xml_document<char>;
using Element = rapidxml::xml_node<char>;

// ---------------------------------------------------------------------------
// Nesting check. The parser descends recursively, one stack frame set per
// element level, so a file of a few hundred kilobytes of nested start tags
// would overflow the stack. Before parsing, a quick count bounds the depth;
// only when the bound exceeds the limit is the text walked with the parser's
// own tokenisation (default flags) to find how deep its elements nest. The
// walk allocates and changes nothing; where the parser would fail anyway it
// stops and leaves the error to the parser.
// ---------------------------------------------------------------------------

// Character classes of the parser's tokens, one bit each, looked up per byte.
enum CharClass : unsigned char { Whitespace = 1, NameChar = 2, AttributeNameChar = 4 };

struct CharClassTable {
  unsigned char classes[256] = {};
  constexpr CharClassTable() {
    for (int c = 1; c < 256; ++c) {
      const bool blank = c == ' ' || c == '\t' || c == '\n' || c == '\r';
      const bool name = !blank && c != '/' && c != '>' && c != '?';
      const bool attributeName = name && c != '!' && c != '<' && c != '=';
      classes[c] = static_cast<unsigned char>((blank ? Whitespace : 0) | (name ? NameChar : 0) |
                                              (attributeName ? AttributeNameChar : 0));
    }
  }
};
constexpr CharClassTable kCharClasses;

bool Is(char c, CharClass charClass) {
  return (kCharClasses.classes[static_cast<unsigned char>(c)] & charClass) != 0;
}

const char* SkipWhitespace(const char* p) {
  while (Is(*p, Whitespace)) {
    ++p;
  }
  return p;
}

const char* SkipNameChars(const char* p) {
  while (Is(*p, NameChar)) {
    ++p;
  }
  return p;
}

// Past the first occurrence of `terminator`, or nullptr when the text ends first.
const char* SkipPast(const char* p, const char* terminator) {
  const char* found = std::strstr(p, terminator);
  return found == nullptr ? nullptr : found + std::strlen(terminator);
}

bool StartsWith(const char* p, std::string_view prefix) {
  // Compares char by char so that the text's terminator ends the comparison.
  for (const char c : prefix) {
    if (*p++ != c) {
      return false;
    }
  }
  return true;
}

// "<!DOCTYPE" body (p just past the keyword and one blank) up to its '>',
// skipping bracketed internal subsets, which may nest.
const char* SkipDoctype(const char* p) {
  while (*p != '>') {
    if (*p == '\0') {
      return nullptr;
    }
    if (*p == '[') {
      int brackets = 1;
      for (++p; brackets > 0; ++p) {
        if (*p == '\0') {
          return nullptr;
        }
        brackets += (*p == '[') - (*p == ']');
      }
    } else {
      ++p;
    }
  }
  return p + 1;
}

// Markup that starts with "<!" (p on the '!'): comment, CDATA section,
// document type or an unknown declaration, which runs to the next '>'.
const char* SkipDeclaration(const char* p) {
  if (StartsWith(p, "!--")) {
    return SkipPast(p + 3, "-->");
  }
  if (StartsWith(p, "![CDATA[")) {
    return SkipPast(p + 8, "]]>");
  }
  if (StartsWith(p, "!DOCTYPE") && Is(p[8], Whitespace)) {
    return SkipDoctype(p + 9);
  }
  return SkipPast(p + 1, ">");
}

// A start tag (p on the first character of its name; `end` is the text's
// terminator). Sets `opens` when the tag is not self-closing, i.e. when the
// element has contents.
const char* SkipStartTag(const char* p, const char* end, bool& opens) {
  const char* name = p;
  p = SkipNameChars(p);
  if (p == name) {
    return nullptr;
  }
  p = SkipWhitespace(p);
  while (Is(*p, AttributeNameChar)) {
    while (Is(*p, AttributeNameChar)) {
      ++p;
    }
    p = SkipWhitespace(p);
    if (*p != '=') {
      return nullptr;
    }
    p = SkipWhitespace(p + 1);
    const char quote = *p;
    if (quote != '"' && quote != '\'') {
      return nullptr;
    }
    const void* closingQuote = std::memchr(p + 1, quote, static_cast<std::size_t>(end - p - 1));
    if (closingQuote == nullptr) {
      return nullptr;
    }
    p = SkipWhitespace(static_cast<const char*>(closingQuote) + 1);
  }
  opens = *p == '>';
  if (opens) {
    return p + 1;
  }
  return p[0] == '/' && p[1] == '>' ? p + 2 : nullptr;
}

// An end tag (p just past "</").
const char* SkipEndTag(const char* p) {
  p = SkipWhitespace(SkipNameChars(p));
  return *p == '>' ? p + 1 : nullptr;
}

const char* SkipByteOrderMark(const char* p) { return StartsWith(p, "\xEF\xBB\xBF") ? p + 3 : p; }

// Every start tag that opens an element ends in a '>' that does not follow a
// '/' (names, blanks and quotes come before it), so a text with no more such
// characters than the limit cannot nest deeper. Real configurations, whose
// many data points close themselves, pass here without the full walk.
bool CannotNestDeeperThan(const char* begin, const char* end, unsigned limit) {
  if (begin == end) {
    return true;
  }
  std::size_t openings = *begin == '>';
  const char* p = begin + 1;
  // Blocks of fixed length with a byte-sized counter: a loop shape that
  // compilers turn into vector compares, several times faster than
  // searching '>' by '>' in a file of thousands of self-closing elements.
  constexpr std::ptrdiff_t blockLength = 240;
  for (; end - p >= blockLength; p += blockLength) {
    unsigned char inBlock = 0;
    for (std::ptrdiff_t i = 0; i < blockLength; ++i) {
      inBlock += static_cast<unsigned char>((p[i] == '>') & (p[i - 1] != '/'));
    }
    openings += inBlock;
  }
  for (; p != end; ++p) {
    openings += (p[0] == '>') & (p[-1] != '/');
  }
  return openings <= limit;
}

// Throws the parser's own error at the first start tag nested deeper than
// the limit, so that a too deep text is reported like any other malformed one.
void CheckElementNesting(char* text, unsigned limit) {
  const char* p = SkipByteOrderMark(text);
  const char* const end = p + std::strlen(p);
  if (CannotNestDeeperThan(p, end, limit)) {
    return;
  }
  unsigned depth = 0;
  while (p != nullptr) {
    p = SkipWhitespace(p);
    if (*p != '<') {
      if (*p == '\0' || depth == 0) {
        return; // the end, or text outside any element, which the parser refuses
      }
      p += std::strcspn(p, "<"); // character data
    } else if (p[1] == '/' && depth > 0) {
      p = SkipEndTag(p + 2);
      --depth;
    } else if (p[1] == '?') {
      p = SkipPast(p + 2, "?>");
    } else if (p[1] == '!') {
      p = SkipDeclaration(p + 1);
    } else {
      bool opens = false;
      const char* tag = p;
      p = SkipStartTag(p + 1, end, opens);
      if (p != nullptr && opens && ++depth > limit) {
        throw rapidxml::parse_error("elements nested too deeply", text + (tag - text));
      }
    }
  }
}

// ---------------------------------------------------------------------------
// Names, attribute values and object identifiers.
// ---------------------------------------------------------------------------

// Inlined with a literal name, the comparison becomes a few word compares.
inline bool NameEquals(const rapidxml::xml_base<char>& node, std::string_view name) {
  return node.name_size() == name.size() && std::memcmp(node.name(), name.data(), name.size()) == 0;
}

inline bool IsElementNamed(const Element& element, std::string_view name) {
  return element.type() == rapidxml::node_element && NameEquals(element, name);
}

// The value of the first attribute of that name; empty when there is none.
// A missing and an empty attribute both leave their setting unchanged.
inline std::string_view AttributeValue(const Element& element, std::string_view name) {
  for (const auto* attribute = element.first_attribute(); attribute;
       attribute = attribute->next_attribute()) {
    if (NameEquals(*attribute, name)) {
      return std::string_view(attribute->value(), attribute->value_size());
    }
  }
  return {};
}

// Every value other than exactly "0" switches a flag on ("false" and "no"
// included): configuration files in the field rely on this reading.
bool FlagValue(std::string_view value) { return value != "0"; }

bool IsCLocaleSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// 0 to 9 for a decimal digit, more for any other character.
unsigned DigitValue(char c) { return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0'; }

// Reads eight decimal digits at once into `value`; false when one of the
// eight characters is not a digit. Object identifiers have ten digits, and
// digit by digit the conversion would cost more than parsing their element.
bool ReadEightDigits(const char* p, std::uint64_t& value) {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  constexpr std::uint64_t highNibbles = 0xF0F0F0F0F0F0F0F0u;
  std::uint64_t chunk = 0;
  std::memcpy(&chunk, p, sizeof chunk); // first character in the lowest byte
  // Every byte is 0x30..0x39: high nibble 3, and adding 6 keeps it 3.
  const std::uint64_t digitTest =
      (chunk & highNibbles) | (((chunk + 0x0606060606060606u) & highNibbles) >> 4);
  if (digitTest != 0x3333333333333333u) {
    return false;
  }
  chunk -= 0x3030303030303030u;
  chunk = (chunk * 10 + (chunk >> 8)) & 0x00FF00FF00FF00FFu;   // four two-digit numbers
  chunk = (chunk * 100 + (chunk >> 16)) & 0x0000FFFF0000FFFFu; // two four-digit numbers
  value = (chunk * 10000 + (chunk >> 32)) & 0xFFFFFFFFu;       // one eight-digit number
  return true;
#else
  static_cast<void>(p);
  static_cast<void>(value);
  return false; // the digit-by-digit loop serves other byte orders
#endif
}

// Reads an "ObjId" exactly as the device's standard string-to-unsigned-long
// conversion does in base 10 with its 32-bit unsigned long, on every host:
// leading blanks and a sign are accepted, the number ends at the first
// non-digit, a minus wraps modulo 2^32 ("-1" is 4294967295). No digit throws
// std::invalid_argument, a magnitude beyond 4294967295 std::out_of_range,
// both with the text "stoul" that callers of the loader have always seen.
unsigned long ToObjectId(std::string_view text) {
  constexpr std::uint64_t maximum = 0xFFFFFFFFu;
  const char* p = text.data();
  const char* const end = p + text.size();
  while (p != end && IsCLocaleSpace(*p)) {
    ++p;
  }
  const bool negative = p != end && *p == '-';
  if (p != end && (*p == '-' || *p == '+')) {
    ++p;
  }
  const char* const digits = p;
  std::uint64_t magnitude = 0;
  for (std::uint64_t eight = 0; end - p >= 8 && ReadEightDigits(p, eight); p += 8) {
    magnitude = magnitude * 100000000u + eight;
  }
  for (unsigned digit = 0; p != end && (digit = DigitValue(*p)) <= 9; ++p) {
    magnitude = magnitude * 10 + digit;
  }
  if (p == digits) {
    throw std::invalid_argument("stoul");
  }
  // Up to 19 digits cannot wrap the 64-bit sum; longer runs can only hold
  // a number in range after leading zeros.
  if (p - digits > 19) {
    const char* significant = digits;
    while (significant != p && *significant == '0') {
      ++significant;
    }
    if (p - significant > 10) {
      throw std::out_of_range("stoul");
    }
  }
  if (magnitude > maximum) {
    throw std::out_of_range("stoul");
  }
  const auto value = static_cast<std::uint32_t>(magnitude);
  return negative ? static_cast<std::uint32_t>(0u - value) : value;
}

} // namespace

// ---------------------------------------------------------------------------
// Applies a parsed document to the settings, element by element in document
// order. Elements of other names are ignored at every level.
// ---------------------------------------------------------------------------

class AppHostConfigurationReader {
public:
  explicit AppHostConfigurationReader(AppHostConfiguration& configuration)
      : m_configuration(configuration) {}

  void ApplyDocument(const Document& document) {
    for (const Element* node = document.first_node(); node; node = node->next_sibling()) {
      if (IsElementNamed(*node, "AvoAppHostConfig")) {
        ApplyAppHostConfig(*node);
      }
    }
  }

private:
  // A folder that a "Debugging" child sets, and the start-up switch beside it.
  struct DebugLocation {
    std::string_view element;
    boost::optional<std::string> AppHostConfiguration::*rootPath;
    std::atomic<bool> AppHostConfiguration::*startupDisabled; // nullptr: none
  };
  static constexpr DebugLocation DebugLocations[] = {
      {"App", &AppHostConfiguration::m_rootPathNativeApp, nullptr},
      {"ManagedApp", &AppHostConfiguration::m_rootPathManagedApp, nullptr},
      {"AppHost", &AppHostConfiguration::m_rootPathAppHost,
       &AppHostConfiguration::m_appHostStartupDisabled},
      {"AppConnectorHost", &AppHostConfiguration::m_rootPathAppConnectorHost,
       &AppHostConfiguration::m_appConnectorHostStartupDisabled},
  };

  void ApplyAppHostConfig(const Element& config) {
    ApplyFlag(config, "WithoutKNX", m_configuration.m_appHostWithoutKNX);
    ApplyFlag(config, "TerminateOnFirmwareUpdate",
              m_configuration.m_appHostTerminateOnFirmwareUpdate);
    for (const Element* child = config.first_node(); child; child = child->next_sibling()) {
      if (IsElementNamed(*child, "ObjectModelConfig")) {
        ApplyPath(*child, "Path", m_configuration.m_pathObjectModelConfig);
      } else if (IsElementNamed(*child, "KelConfig")) {
        ApplyKelConfig(*child);
      } else if (IsElementNamed(*child, "Debugging")) {
        ApplyDebugging(*child);
      }
    }
  }

  // Only a "ResponseDps" that is the first child element counts.
  void ApplyKelConfig(const Element& kelConfig) {
    const Element* first = kelConfig.first_node();
    while (first != nullptr && first->type() != rapidxml::node_element) {
      first = first->next_sibling();
    }
    if (first == nullptr || !IsElementNamed(*first, "ResponseDps")) {
      return;
    }
    auto& dataPoints = m_configuration.m_responseDataPoints;
    for (const Element* dp = first->first_node(); dp; dp = dp->next_sibling()) {
      if (!IsElementNamed(*dp, "Dp")) {
        continue;
      }
      const std::string_view objectId = AttributeValue(*dp, "ObjId");
      if (!objectId.empty()) {
        dataPoints.push_back(ToObjectId(objectId));
      }
    }
  }

  // The children count when debug mode is on after "Active" is applied, so a
  // mode switched on by the program before loading lets them count as well.
  void ApplyDebugging(const Element& debugging) {
    ApplyFlag(debugging, "Active", m_configuration.m_appDebugMode);
    if (!m_configuration.IsInAppDebugMode()) {
      return;
    }
    for (const Element* child = debugging.first_node(); child; child = child->next_sibling()) {
      for (const DebugLocation& location : DebugLocations) {
        if (IsElementNamed(*child, location.element)) {
          ApplyPath(*child, "RootPath", m_configuration.*location.rootPath);
          if (location.startupDisabled != nullptr) {
            ApplyFlag(*child, "DisableStartup", m_configuration.*location.startupDisabled);
          }
        }
      }
    }
  }

  static void ApplyFlag(const Element& element, std::string_view attribute,
                        std::atomic<bool>& flag) {
    const std::string_view value = AttributeValue(element, attribute);
    if (!value.empty()) {
      flag.store(FlagValue(value));
    }
  }

  static void ApplyPath(const Element& element, std::string_view attribute,
                        boost::optional<std::string>& path) {
    const std::string_view value = AttributeValue(element, attribute);
    if (!value.empty()) {
      path = std::string(value);
    }
  }

  AppHostConfiguration& m_configuration;
};

// ---------------------------------------------------------------------------
// AppHostConfiguration
// ---------------------------------------------------------------------------

bool AppHostConfiguration::IsInAppDebugMode() const { return m_appDebugMode.load(); }
bool AppHostConfiguration::IsAppHostStartupDisabled() const {
  return m_appHostStartupDisabled.load();
}
bool AppHostConfiguration::IsAppConnectorHostStartupDisabled() const {
  return m_appConnectorHostStartupDisabled.load();
}
bool AppHostConfiguration::IsAppHostWithoutKNX() const { return m_appHostWithoutKNX.load(); }
bool AppHostConfiguration::IsAppHostTerminateOnFirmwareUpdate() const {
  return m_appHostTerminateOnFirmwareUpdate.load();
}

void AppHostConfiguration::SetAppDebugMode(bool active) { m_appDebugMode.store(active); }
void AppHostConfiguration::SetAppHostStartupDisabled(bool disabled) {
  m_appHostStartupDisabled.store(disabled);
}

bool AppHostConfiguration::ReplaceAppDebugMode(bool active) {
  return m_appDebugMode.exchange(active);
}
bool AppHostConfiguration::SetAppConnectorHostStartupDisabled(bool disabled) {
  return m_appConnectorHostStartupDisabled.exchange(disabled);
}

const boost::optional<std::string>& AppHostConfiguration::GetRootPathNativeApp() const {
  return m_rootPathNativeApp;
}
const boost::optional<std::string>& AppHostConfiguration::GetRootPathManagedApp() const {
  return m_rootPathManagedApp;
}
const boost::optional<std::string>& AppHostConfiguration::GetRootPathAppHost() const {
  return m_rootPathAppHost;
}
const boost::optional<std::string>& AppHostConfiguration::GetRootPathAppConnectorHost() const {
  return m_rootPathAppConnectorHost;
}
const boost::optional<std::string>& AppHostConfiguration::GetPathObjectModelConfig() const {
  return m_pathObjectModelConfig;
}
const std::vector<unsigned long>& AppHostConfiguration::GetResponseDataPoints() const {
  return m_responseDataPoints;
}

void AppHostConfiguration::LoadConfigurationFile() { LoadConfigurationFile(FilePath); }

void AppHostConfiguration::LoadConfigurationFile(const std::string& path) {
  boost::optional<std::vector<char>> content = LoadFile(path);
  if (!content) {
    AVO_LOG_ERROR("App host config file cannot be read from: " << boost::io::quoted(path, '&'));
    return;
  }
  content->push_back('\0');
  if (!LoadAppHostConfigXML(content->data())) {
    AVO_LOG_ERROR("Falling back to standard configuration.");
  }
}

bool AppHostConfiguration::LoadAppHostConfigXML(char* text) {
  AVO_ASSERT2(text != nullptr);
  // The document carries a 64 KiB node pool; on the heap it spares the
  // stacks of small threads.
  const auto document = std::make_unique<Document>();
  try {
    CheckElementNesting(text, MaximumElementNesting);
    document->parse<rapidxml::parse_default>(text);
  } catch (const rapidxml::parse_error& error) {
    AVO_LOG_ERROR("Failed to read configuration file: " << error.what());
    return false;
  }
  AppHostConfigurationReader(*this).ApplyDocument(*document);
  // Disabling the app host always disables the connector host too; not the
  // other way round.
  if (m_appHostStartupDisabled.load()) {
    m_appConnectorHostStartupDisabled.store(true);
  }
  return true;
}

// ---------------------------------------------------------------------------
// LoadFile
// ---------------------------------------------------------------------------

boost::optional<std::vector<char>> LoadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) {
    return boost::none;
  }
  // Read in chunks rather than by the reported size, which is 0 for files
  // that the kernel generates and wrong for files that are being replaced.
  constexpr std::size_t chunkSize = std::size_t{64} * 1024;
  std::vector<char> content;
  do {
    const std::size_t filled = content.size();
    content.resize(filled + chunkSize);
    file.read(content.data() + filled, static_cast<std::streamsize>(chunkSize));
    content.resize(filled + static_cast<std::size_t>(file.gcount()));
  } while (file);
  if (file.bad()) {
    return boost::none; // e.g. a directory: it opens, but reading fails
  }
  return content;
}

} // namespace Avo
