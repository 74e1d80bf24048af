// Feeds arbitrary bytes to the app host configuration loader. The only
// exceptions it may raise are the two "stoul" errors of a bad "ObjId";
// anything else, a crash or a read beyond the text's terminator is a finding.
// The loader's verdict is compared with a plain parse of the same bytes: it
// must accept every well-formed text within the nesting limit and refuse
// every deeper one.
#include "AvoObjectModel/AppHostConfig.h"

#include "Avo/Logging.h"

#include <rapidxml/rapidxml.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

void RequireStoulError(const std::logic_error& error) {
  if (std::strcmp(error.what(), "stoul") != 0) {
    std::abort();
  }
}

// Element depth of a plain parse (1 for a root element); -1 when malformed.
int ParsedElementDepth(std::vector<char> text) {
  const auto document = std::make_unique<rapidxml::xml_document<>>();
  try {
    document->parse<rapidxml::parse_default>(text.data());
  } catch (const rapidxml::parse_error&) {
    return -1;
  }
  int deepest = 0;
  std::vector<std::pair<const rapidxml::xml_node<>*, int>> pending{{document.get(), 0}};
  while (!pending.empty()) {
    const auto [node, depth] = pending.back();
    pending.pop_back();
    deepest = std::max(deepest, depth);
    for (auto* child = node->first_node(); child; child = child->next_sibling()) {
      if (child->type() == rapidxml::node_element) {
        pending.emplace_back(child, depth + 1);
      }
    }
  }
  return deepest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // Error lines of malformed inputs would only slow the search down.
  static const bool silenced = [] {
    Avo::GetGlobalDefaultLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    return true;
  }();
  static_cast<void>(silenced);

  // Exactly the input and its terminator, so that any read past it is caught.
  std::vector<char> text(data, data + size);
  text.push_back('\0');
  const int depth = ParsedElementDepth(text);
  const auto limit = static_cast<int>(Avo::AppHostConfiguration::MaximumElementNesting);

  Avo::AppHostConfiguration configuration;
  try {
    const bool loaded = configuration.LoadAppHostConfigXML(text.data());
    // The innermost element may close itself without descending.
    if (loaded != (depth >= 0 && depth <= limit) && depth != limit + 1) {
      std::abort();
    }
    if (loaded && configuration.IsAppHostStartupDisabled() &&
        !configuration.IsAppConnectorHostStartupDisabled()) {
      std::abort(); // a disabled app host always disables the connector host
    }
  } catch (const std::invalid_argument& error) {
    RequireStoulError(error);
  } catch (const std::out_of_range& error) {
    RequireStoulError(error);
  }
  return 0;
}
