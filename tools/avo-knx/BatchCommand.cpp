// batch: one conversion per line of standard input, one result line each.

#include "Commands.h"
#include "Conversion.h"

#include <istream>
#include <ostream>

namespace AvoKnx {
namespace {

// Splits a line into words at blanks; a JSON string ("a b", with its escapes)
// stays one word, quotes included.
void SplitWords(const std::string& line, std::vector<std::string>& words) {
  words.clear();
  std::string word;
  bool inWord = false;
  bool inString = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char character = line[i];
    if (!inString && (character == ' ' || character == '\t')) {
      if (inWord) {
        words.push_back(word);
        word.clear();
        inWord = false;
      }
      continue;
    }
    inWord = true;
    word += character;
    if (character == '"') {
      inString = !inString;
    } else if (character == '\\' && inString && i + 1 < line.size()) {
      word += line[++i];
    }
  }
  if (inWord) {
    words.push_back(word);
  }
}

Operation ParseOperation(const std::string& word) {
  if (word == "encode") {
    return Operation::Encode;
  }
  if (word == "decode") {
    return Operation::Decode;
  }
  if (word == "check") {
    return Operation::Check;
  }
  throw UsageError("'" + word + "' is not encode, decode or check");
}

ConversionRequest ParseLine(const std::string& line, std::vector<std::string>& words) {
  SplitWords(line, words);
  if (words.empty()) {
    throw UsageError("empty line");
  }
  const Operation operation = ParseOperation(words.front());
  words.erase(words.begin());
  return MakeConversionRequest(operation, Arguments::Parse(words, ConversionOptions()));
}

int RunBatch(Context& context) {
  if (!context.arguments.Positionals().empty()) {
    throw UsageError("batch reads its commands from standard input and takes no arguments");
  }
  const bool lineBuffered = context.arguments.Has("line-buffered");
  Converter converter(context.log);
  std::string line;
  std::vector<std::string> words;
  bool allAccepted = true;
  while (std::getline(context.in, line)) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    std::string output;
    try {
      const ConversionRequest request = ParseLine(line, words);
      const ConversionResult result = converter.Run(request);
      context.ShowLibraryLines(result.log);
      output = context.json ? ResultJson(request, result) : ResultLine(request, result);
      allAccepted = allAccepted && result.accepted;
    } catch (const UsageError& error) {
      output = context.json ? UsageErrorJson(error.what()) : std::string("ERR ") + error.what();
      allAccepted = false;
    }
    context.out << output << '\n';
    if (lineBuffered) {
      context.out.flush();
    }
  }
  return allAccepted ? kSuccess : kRefused;
}

} // namespace

const Command& BatchCommand() {
  static const Command command{"batch",
                               "conversions read from standard input, one per line",
                               {{"line-buffered", false}},
                               RunBatch,
                               R"(usage: avo-knx batch [--line-buffered] < FILE

Reads one command per line from standard input and writes exactly one result
line per input line, in order:

  encode [--path bridge] [--type N] DPT VALUE    OK <hex>
  decode [--path bridge] [--bits N] DPT HEX      OK <value>
  check [--bits N] DPT HEX                       OK valid
  (any refusal or malformed line)                ERR <reason>

The options of a line may also stand at its end. With --json each result is
one JSON object instead. --line-buffered writes every result at once (for a
program that waits for each answer); otherwise output is buffered. The exit
status is 0 when every line was OK, 1 otherwise. One converter serves every
line and nothing is kept between lines, so input of any length streams.

example:
  printf 'encode 9.001 21.5\ndecode --path bridge 9.001 0C33\n' | avo-knx batch
)"};
  return command;
}

} // namespace AvoKnx
