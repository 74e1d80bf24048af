// demo: a short tour of the commands on built-in examples.

#include "Commands.h"

#include <ostream>

namespace AvoKnx {
namespace {

struct Step {
  const char* question;
  std::vector<std::string> words; ///< the command line after "avo-knx"
  int expectedStatus;
};

const std::vector<Step>& Steps() {
  static const std::vector<Step> steps = {
      {"What bytes does 21.5 °C become on DPT 9.001 (temperature)?",
       {"encode", "9.001", "21.5"},
       kSuccess},
      {"And what does the telegram 0C33 mean on DPT 9.001?", {"decode", "9.001", "0C33"}, kSuccess},
      {"A time of day with its weekday, DPT 10.001:",
       {"encode", "10.001", "Mon", "10:20:30"},
       kSuccess},
      {"The catalogue cannot write DPT 3.x (dimming steps) ...",
       {"encode", "3.007", "9"},
       kRefused},
      {"... the group value bridge can:", {"encode", "--path", "bridge", "3.007", "9"}, kSuccess},
      {"Is the telegram 18141E a valid DPT 10.001 time of day (hour 24)?",
       {"check", "10.001", "18141E"},
       kRefused},
      {"Which object-model identifiers belong to CO 17 of logical device 2?",
       {"objid", "co", "17", "2"},
       kSuccess},
      {"What does identifier 200133 denote?", {"objid", "describe", "200133"}, kSuccess},
      {"A round trip to a (simulated) device stack through the request messenger:",
       {"devicestack", "--object", "200133=21.5", "get", "200133", "set", "200133", "22.5", "get",
        "200133"},
       kSuccess},
  };
  return steps;
}

std::string CommandLine(const std::vector<std::string>& words) {
  std::string line = "avo-knx";
  for (const std::string& word : words) {
    line += ' ';
    line += word.find(' ') == std::string::npos ? word : "'" + word + "'";
  }
  return line;
}

int RunStep(const Context& context, const Step& step) {
  const Command* command = FindCommand(step.words.front());
  std::vector<OptionSpec> specs = CommonOptions();
  specs.insert(specs.end(), command->options.begin(), command->options.end());
  const Arguments arguments =
      Arguments::Parse(std::vector<std::string>(step.words.begin() + 1, step.words.end()), specs);
  // A tour reads top to bottom: what the command says on standard error
  // comes in line with its output.
  std::ostream& err = context.json ? context.err : context.out;
  Context stepContext{arguments, context.json, context.log, context.in, context.out, err};
  return command->run(stepContext);
}

int RunDemo(Context& context) {
  if (!context.arguments.Positionals().empty()) {
    throw UsageError("demo takes no arguments");
  }
  bool asExpected = true;
  for (const Step& step : Steps()) {
    if (!context.json) {
      context.out << "# " << step.question << "\n$ " << CommandLine(step.words) << '\n';
    }
    const int status = RunStep(context, step);
    asExpected = asExpected && status == step.expectedStatus;
    if (!context.json) {
      context.out << (status == kSuccess ? "" : "(exit status " + std::to_string(status) + ")\n")
                  << '\n';
    }
  }
  if (!context.json) {
    context.out << "More: avo-knx --help, avo-knx dpts, avo-knx types, avo-knx batch --help.\n";
  }
  return asExpected ? kSuccess : kRefused;
}

} // namespace

const Command& DemoCommand() {
  static const Command command{"demo",
                               "a short tour on built-in examples (the default)",
                               {},
                               RunDemo,
                               R"(usage: avo-knx demo

A short tour of the commands on built-in examples, ending in a round trip to
a simulated device stack. It is what avo-knx does without a command. Its exit
status is 0 when every step gave the exit status it shows.
)"};
  return command;
}

} // namespace AvoKnx
