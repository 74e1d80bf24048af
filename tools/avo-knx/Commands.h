#pragma once
// The commands of avo-knx: what each needs to run and how it is described.

#include "Arguments.h"
#include "LibraryLog.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace AvoKnx {

/// Everything a command works with.
struct Context {
  const Arguments& arguments;
  bool json;       ///< --json: one JSON object per result
  LibraryLog& log; ///< the library's lines
  std::istream& in;
  std::ostream& out;
  std::ostream& err;

  /// Shows the library's lines on standard error, unless they go into JSON
  /// results or a log configuration file decides where they go.
  void ShowLibraryLines(const std::vector<LibraryLogLine>& lines) const;
};

/// One command: its name, a one-line summary, its own options and its help.
struct Command {
  std::string name;
  std::string summary;
  std::vector<OptionSpec> options;
  int (*run)(Context& context);
  std::string help; ///< usage, description and examples
};

const Command& EncodeCommand();
const Command& DecodeCommand();
const Command& CheckCommand();
const Command& DptsCommand();
const Command& TypesCommand();
const Command& ObjIdCommand();
const Command& ConfigCommand();
const Command& DeviceStackCommand();
const Command& BatchCommand();
const Command& DemoCommand();

/// Every command, in the order the overall help lists them.
const std::vector<const Command*>& AllCommands();
/// The command of that name, or null.
const Command* FindCommand(const std::string& name);

/// The overall help text (usage, commands, common options).
std::string OverallHelp();
/// A command's help text followed by the common options.
std::string CommandHelp(const Command& command);

/// Runs a command line (the program's arguments) and gives its exit status.
/// Usage errors are thrown as UsageError.
int RunCommandLine(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
                   std::ostream& err);

} // namespace AvoKnx
