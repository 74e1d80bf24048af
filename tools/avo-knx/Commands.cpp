#include "Commands.h"

#include <algorithm>
#include <ostream>

namespace AvoKnx {
namespace {

const char kCommonOptionsHelp[] = R"(common options:
  --json              one JSON object per result: DPT, path, value type, value,
                      hex, result and the library's log lines with their levels
  --log-level LEVEL   the library's log level: TRACE, DEBUG, INFO, WARN (the
                      default), ERROR, FATAL or OFF
  --log-config FILE   a log4cplus properties file that decides where the
                      library's lines go (otherwise they go to standard error)
  -h, --help          this help

exit status: 0 done, 1 the library refused, 2 usage error
)";

// Every option that any command takes, so that the command name is found
// after options given before it.
std::vector<OptionSpec> EveryOption() {
  std::vector<OptionSpec> options = CommonOptions();
  for (const Command* command : AllCommands()) {
    options.insert(options.end(), command->options.begin(), command->options.end());
  }
  return options;
}

} // namespace

void Context::ShowLibraryLines(const std::vector<LibraryLogLine>& lines) const {
  if (!json && log.ShowsLinesItself()) {
    LibraryLog::Write(err, lines);
  }
}

const std::vector<const Command*>& AllCommands() {
  static const std::vector<const Command*> commands = {
      &EncodeCommand(), &DecodeCommand(), &CheckCommand(),       &DptsCommand(),  &TypesCommand(),
      &ObjIdCommand(),  &ConfigCommand(), &DeviceStackCommand(), &BatchCommand(), &DemoCommand()};
  return commands;
}

const Command* FindCommand(const std::string& name) {
  const auto& commands = AllCommands();
  const auto found =
      std::find_if(commands.begin(), commands.end(),
                   [&name](const Command* command) { return command->name == name; });
  return found != commands.end() ? *found : nullptr;
}

std::string OverallHelp() {
  std::string help = "usage: avo-knx COMMAND [OPTIONS] [ARGUMENTS]\n\n"
                     "Looks at KNX data through libavoobjectmodel.\n\ncommands:\n";
  for (const Command* command : AllCommands()) {
    help += "  " + command->name + std::string(14 - command->name.size(), ' ') + command->summary +
            "\n";
  }
  help += "\nWithout a command avo-knx runs the demo. avo-knx COMMAND --help shows a\n"
          "command's options and examples.\n\n";
  return help + kCommonOptionsHelp;
}

std::string CommandHelp(const Command& command) { return command.help + "\n" + kCommonOptionsHelp; }

int RunCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err) {
  const std::optional<std::size_t> index = FindCommandIndex(args, EveryOption());
  std::vector<std::string> rest = args;
  const Command* command = &DemoCommand();
  if (index) {
    const std::string& name = args[*index];
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(*index));
    if (name == "help") {
      const Command* topic = rest.empty() ? nullptr : FindCommand(rest.front());
      out << (topic != nullptr ? CommandHelp(*topic) : OverallHelp());
      return kSuccess;
    }
    command = FindCommand(name);
    if (command == nullptr) {
      throw UsageError("unknown command '" + name + "' (avo-knx --help lists the commands)");
    }
  }
  std::vector<OptionSpec> specs = CommonOptions();
  specs.insert(specs.end(), command->options.begin(), command->options.end());
  const Arguments arguments = Arguments::Parse(rest, specs);
  if (arguments.Has("help")) {
    out << (index ? CommandHelp(*command) : OverallHelp());
    return kSuccess;
  }
  std::optional<log4cplus::LogLevel> level;
  if (const auto levelName = arguments.Value("log-level")) {
    level = ParseLevel(*levelName);
  }
  LibraryLog log(level, arguments.Value("log-config"));
  Context context{arguments, arguments.Has("json"), log, in, out, err};
  return command->run(context);
}

} // namespace AvoKnx
