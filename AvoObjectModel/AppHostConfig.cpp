#include "AvoObjectModel/AppHostConfig.h"

#include "Avo/Logging.h"

#include <boost/io/quoted.hpp> // boost::io::quoted
#include <rapidxml/rapidxml.hpp>

#include <cstdint>
#include <cstring> // std::strstr, std::strcspn
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
// would overflow the stack. Before parsing, the text is walked with the
// parser's own tokenisation (default flags) to find how deep its elements
// nest; only the structure matters here, so nothing is allocated or changed.
// Where the parser would fail anyway the walk stops and leaves the error to
// the parser.
// ---------------------------------------------------------------------------

bool IsXmlWhitespace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

bool IsNameChar(char c) {
  return c != '\0' && !IsXmlWhitespace(c) && c != '/' && c != '>' && c != '?';
}

bool IsAttributeNameChar(char c) { return IsNameChar(c) && c != '!' && c != '<' && c != '='; }

const char* SkipWhitespace(const char* p) {
  while (IsXmlWhitespace(*p)) {
    ++p;
  }
  return p;
}

const char* SkipNameChars(const char* p) {
  while (IsNameChar(*p)) {
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
  if (StartsWith(p, "!DOCTYPE") && IsXmlWhitespace(p[8])) {
    return SkipDoctype(p + 9);
  }
  return SkipPast(p + 1, ">");
}

// A start tag (p on the first character of its name). Sets `opens` when the
// tag is not self-closing, i.e. when the element has contents.
const char* SkipStartTag(const char* p, bool& opens) {
  const char* name = p;
  p = SkipNameChars(p);
  if (p == name) {
    return nullptr;
  }
  p = SkipWhitespace(p);
  while (IsAttributeNameChar(*p)) {
    while (IsAttributeNameChar(*p)) {
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
    const char quoteSet[] = {quote, '\0'};
    p += 1 + std::strcspn(p + 1, quoteSet);
    if (*p != quote) {
      return nullptr;
    }
    p = SkipWhitespace(p + 1);
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

// Throws the parser's own error at the first start tag nested deeper than
// the limit, so that a too deep text is reported like any other malformed one.
void CheckElementNesting(char* text, unsigned limit) {
  const char* p = SkipByteOrderMark(text);
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
      p = SkipStartTag(p + 1, opens);
      if (p != nullptr && opens && ++depth > limit) {
        throw rapidxml::parse_error("elements nested too deeply", text + (tag - text));
      }
    }
  }
}

// ---------------------------------------------------------------------------
// Attribute values.
// ---------------------------------------------------------------------------

bool IsElementNamed(const Element& element, std::string_view name) {
  return element.type() == rapidxml::node_element &&
         std::string_view(element.name(), element.name_size()) == name;
}

// The attribute's value; empty when the attribute is missing. A missing and
// an empty attribute both leave their setting unchanged.
std::string_view AttributeValue(const Element& element, std::string_view name) {
  const auto* attribute = element.first_attribute(name.data(), name.size());
  return attribute == nullptr ? std::string_view()
                              : std::string_view(attribute->value(), attribute->value_size());
}

// Every value other than exactly "0" switches a flag on ("false" and "no"
// included): configuration files in the field rely on this reading.
bool FlagValue(std::string_view value) { return value != "0"; }

bool IsCLocaleSpace(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Reads an "ObjId" exactly as the device's standard string-to-unsigned-long
// conversion does in base 10 with its 32-bit unsigned long, on every host:
// leading blanks and a sign are accepted, the number ends at the first
// non-digit, a minus wraps modulo 2^32 ("-1" is 4294967295). No digit throws
// std::invalid_argument, a magnitude beyond 4294967295 std::out_of_range,
// both with the text "stoul" that callers of the loader have always seen.
unsigned long ToObjectId(std::string_view text) {
  constexpr std::uint64_t maximum = 0xFFFFFFFFu;
  auto it = text.begin();
  while (it != text.end() && IsCLocaleSpace(*it)) {
    ++it;
  }
  const bool negative = it != text.end() && *it == '-';
  if (it != text.end() && (*it == '-' || *it == '+')) {
    ++it;
  }
  const auto digits = it;
  std::uint64_t magnitude = 0;
  for (; it != text.end() && *it >= '0' && *it <= '9'; ++it) {
    magnitude = magnitude * 10 + static_cast<std::uint64_t>(*it - '0');
    if (magnitude > maximum) {
      throw std::out_of_range("stoul");
    }
  }
  if (it == digits) {
    throw std::invalid_argument("stoul");
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
  constexpr std::size_t chunkSize = 64 * 1024;
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
