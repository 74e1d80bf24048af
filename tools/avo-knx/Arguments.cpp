#include "Arguments.h"

#include <algorithm>
#include <charconv>
#include <cmath> // std::isfinite

namespace AvoKnx {
namespace {

const OptionSpec* FindSpec(const std::vector<OptionSpec>& specs, const std::string& name) {
  const auto option =
      std::find_if(specs.begin(), specs.end(),
                   [&name](const OptionSpec& candidate) { return candidate.name == name; });
  return option != specs.end() ? &*option : nullptr;
}

bool IsOptionWord(const std::string& word) {
  return (word.size() > 2 && word.compare(0, 2, "--") == 0) || word == "-h";
}

} // namespace

const std::vector<OptionSpec>& CommonOptions() {
  static const std::vector<OptionSpec> options = {{"json", false},
                                                  {"log-level", true},
                                                  {"log-config", true},
                                                  {"help", false}};
  return options;
}

Arguments Arguments::Parse(const std::vector<std::string>& args,
                           const std::vector<OptionSpec>& specs) {
  Arguments parsed;
  bool optionsEnded = false;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    if (!optionsEnded && word == "--") {
      optionsEnded = true;
      continue;
    }
    if (optionsEnded || !IsOptionWord(word)) {
      parsed.m_positionals.push_back(word);
      continue;
    }
    const auto equals = word == "-h" ? std::string::npos : word.find('=');
    const std::string name =
        word == "-h" ? "help"
                     : word.substr(2, equals == std::string::npos ? std::string::npos : equals - 2);
    const OptionSpec* option = FindSpec(specs, name);
    if (option == nullptr) {
      throw UsageError("unknown option '--" + name + "'");
    }
    if (!option->takesValue) {
      if (equals != std::string::npos) {
        throw UsageError("option '--" + name + "' takes no value");
      }
      parsed.m_options[name].emplace_back();
    } else if (equals != std::string::npos) {
      parsed.m_options[name].push_back(word.substr(equals + 1));
    } else if (i + 1 < args.size()) {
      parsed.m_options[name].push_back(args[++i]);
    } else {
      throw UsageError("option '--" + name + "' needs a value");
    }
  }
  return parsed;
}

std::optional<std::string> Arguments::Value(const std::string& option) const {
  const auto values = m_options.find(option);
  if (values == m_options.end() || values->second.empty()) {
    return std::nullopt;
  }
  return values->second.back();
}

std::vector<std::string> Arguments::Values(const std::string& option) const {
  const auto values = m_options.find(option);
  return values != m_options.end() ? values->second : std::vector<std::string>();
}

std::optional<std::size_t> FindCommandIndex(const std::vector<std::string>& args,
                                            const std::vector<OptionSpec>& specs) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& word = args[i];
    if (word == "--") {
      return i + 1 < args.size() ? std::optional<std::size_t>(i + 1) : std::nullopt;
    }
    if (!IsOptionWord(word)) {
      return i;
    }
    // An option may come before the command: skip its value.
    const std::string name = word.substr(2);
    const OptionSpec* option = FindSpec(specs, name);
    if (option != nullptr && option->takesValue) {
      ++i;
    }
  }
  return std::nullopt;
}

unsigned long ParseUnsigned(const std::string& text, unsigned long max, const std::string& what) {
  unsigned long value = 0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (text.empty() || result.ec == std::errc::invalid_argument || result.ptr != end) {
    throw UsageError(what + " '" + text + "' is not an unsigned decimal number");
  }
  if (result.ec == std::errc::result_out_of_range || value > max) {
    throw UsageError(what + " '" + text + "' is above " + std::to_string(max));
  }
  return value;
}

double ParseRate(const std::string& text, const std::string& what) {
  double value = 0.0;
  const char* end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, value);
  if (text.empty() || result.ec != std::errc() || result.ptr != end || !std::isfinite(value) ||
      value < 0.0 || value > 1.0) {
    throw UsageError(what + " '" + text + "' is not a rate from 0 to 1");
  }
  return value;
}

} // namespace AvoKnx
