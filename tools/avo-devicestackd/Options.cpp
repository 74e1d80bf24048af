#include "Options.h"

#include <cstdlib> // std::strtoul

namespace DeviceStackd {
namespace {

// "9.001" (or "9.1") as a packed DPT number.
std::uint32_t ParseDpt(const std::string& text) {
  const auto dot = text.find('.');
  auto number = [&text](const std::string& part) {
    if (part.empty() || part.size() > 5 ||
        part.find_first_not_of("0123456789") != std::string::npos) {
      throw UsageError("--seed-dpt: '" + text + "' is not a DPT like 9.001");
    }
    const unsigned long value = std::strtoul(part.c_str(), nullptr, 10);
    if (value > 0xFFFFU) {
      throw UsageError("--seed-dpt: '" + text + "' is not a DPT like 9.001");
    }
    return static_cast<std::uint32_t>(value);
  };
  if (dot == std::string::npos) {
    throw UsageError("--seed-dpt: '" + text + "' is not a DPT like 9.001");
  }
  return (number(text.substr(0, dot)) << 16) | number(text.substr(dot + 1));
}

} // namespace

Options ParseOptions(const std::vector<std::string>& args) {
  Options options;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (arg == "--help" || arg == "-h") {
      options.help = true;
      continue;
    }
    if (i + 1 >= args.size()) {
      throw UsageError(arg.rfind("--", 0) == 0 ? arg + " needs a value"
                                               : "unexpected argument '" + arg + "'");
    }
    const std::string& value = args[++i];
    if (arg == "--socket") {
      options.socketPath = value;
    } else if (arg == "--state") {
      options.statePath = value;
    } else if (arg == "--seed") {
      options.seedPath = value;
    } else if (arg == "--log-level") {
      options.logLevel = value;
    } else if (arg == "--write-default-seed") {
      options.defaultSeedPath = value;
    } else if (arg == "--seed-dpt") {
      options.seedDpt = ParseDpt(value);
    } else {
      throw UsageError("unknown option '" + arg + "'");
    }
  }
  if (!options.help && options.socketPath.empty() && options.defaultSeedPath.empty()) {
    throw UsageError("--socket PATH is required");
  }
  return options;
}

std::string UsageText() {
  return R"(Usage: avo-devicestackd --socket PATH [--state FILE] [--seed FILE] [--log-level LEVEL]
       avo-devicestackd --write-default-seed FILE [--seed-dpt DPT]

A local device stack service: keeps an object model and answers the requests
of device stack clients on a Unix domain socket (see docs/avo-devicestackd.md).

  --socket PATH             listen on this socket (created with mode 0660; a stale
                            socket file nobody listens on is replaced)
  --state FILE              keep the object model in FILE: loaded at start, saved
                            before every change is acknowledged (without it the
                            object model lives in memory only)
  --seed FILE               objects of a fresh state ("ID VALUE-TEXT" lines); used
                            when there is no state file yet
  --log-level LEVEL         TRACE, DEBUG, INFO (default), WARN, ERROR or FATAL
  --write-default-seed FILE write a seed with the value object of every CO of both
                            logical devices holding the default value of DPT, and exit
  --seed-dpt DPT            the DPT of --write-default-seed, e.g. 9.001 (default 1.001)
  --help                    show this text

SIGTERM or SIGINT stops the service: it closes every connection, removes the
socket file and exits with status 0.
)";
}

} // namespace DeviceStackd
