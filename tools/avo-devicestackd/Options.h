#pragma once
// The command line of avo-devicestackd.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace DeviceStackd {

/// A command line that cannot be run; the text says why.
class UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// What the command line asks for.
struct Options {
  bool help = false;
  std::string socketPath; ///< --socket: where to listen (required to serve)
  std::string statePath;  ///< --state: where the object model is kept (none: memory only)
  std::string seedPath;   ///< --seed: objects of a fresh state
  std::string logLevel = "INFO";
  std::string defaultSeedPath;         ///< --write-default-seed: write the file and exit
  std::uint32_t seedDpt = 0x00010001U; ///< --seed-dpt: the DPT of the default seed (1.001)
};

/// Parses the arguments (without the program name). Throws UsageError.
Options ParseOptions(const std::vector<std::string>& args);

/// The text of --help.
std::string UsageText();

} // namespace DeviceStackd
