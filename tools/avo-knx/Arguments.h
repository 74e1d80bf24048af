#pragma once
// Command-line arguments of avo-knx: options, positional words, usage errors
// and the exit statuses every command shares.

#include <cstddef>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace AvoKnx {

/// Exit statuses of every command.
enum ExitStatus : int {
  kSuccess = 0, ///< done
  kRefused = 1, ///< the library refused the conversion or request
  kUsage = 2    ///< the command line (or a batch line) is wrong
};

/// A mistake in what the user wrote; what() is one line naming it.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// An option a command accepts: "--name" alone, or "--name VALUE" /
/// "--name=VALUE" when it takes a value.
struct OptionSpec {
  std::string name; ///< without the leading "--"
  bool takesValue = false;
};

/// The options shared by every command (--json, --log-level, --log-config, --help).
const std::vector<OptionSpec>& CommonOptions();

/// Options and positional words of one command line.
class Arguments {
public:
  /// Splits args by the specs. Words starting with "--" are options; "-h" is
  /// --help; every other word (including "-5") is positional; "--" ends the
  /// options. Throws UsageError for unknown options and missing values.
  static Arguments Parse(const std::vector<std::string>& args,
                         const std::vector<OptionSpec>& specs);

  bool Has(const std::string& option) const { return m_options.count(option) != 0; }
  /// The value given last for the option.
  std::optional<std::string> Value(const std::string& option) const;
  /// Every value given for the option, in order.
  std::vector<std::string> Values(const std::string& option) const;
  const std::vector<std::string>& Positionals() const { return m_positionals; }

private:
  std::map<std::string, std::vector<std::string>> m_options;
  std::vector<std::string> m_positionals;
};

/// The index of the first word of args that is not an option or the value of
/// one of the specs' options, when there is one: the command name.
std::optional<std::size_t> FindCommandIndex(const std::vector<std::string>& args,
                                            const std::vector<OptionSpec>& specs);

/// Reads an unsigned decimal number of at most max; what names it in the
/// usage message ("CO number").
unsigned long ParseUnsigned(const std::string& text, unsigned long max, const std::string& what);

/// Reads a rate between 0 and 1 (a probability).
double ParseRate(const std::string& text, const std::string& what);

} // namespace AvoKnx
