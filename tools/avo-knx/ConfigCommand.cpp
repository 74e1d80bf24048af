// config: the app host configuration as Avo::AppHostConfiguration reads it.

#include "Commands.h"
#include "Json.h"

#include "AvoObjectModel/AppHostConfig.h"

#include <boost/optional.hpp>

#include <algorithm>
#include <exception>
#include <ostream>

namespace AvoKnx {
namespace {

// Loads from any path: the configuration reads a path of the caller's choice
// through its protected overload.
class ConfigurationFile : public Avo::AppHostConfiguration {
public:
  using Avo::AppHostConfiguration::LoadConfigurationFile;
};

std::string YesNo(bool flag) { return flag ? "yes" : "no"; }

std::string PathText(const boost::optional<std::string>& path) {
  return path ? *path : "(not set)";
}

void AddPath(JsonObject& json, const char* name, const boost::optional<std::string>& path) {
  if (path) {
    json.String(name, *path);
  } else {
    json.Null(name);
  }
}

void PrintText(std::ostream& out, const std::string& path,
               const Avo::AppHostConfiguration& config) {
  const std::pair<const char*, std::string> settings[] = {
      {"file", path},
      {"app debug mode", YesNo(config.IsInAppDebugMode())},
      {"app host start-up disabled", YesNo(config.IsAppHostStartupDisabled())},
      {"app connector host start-up disabled", YesNo(config.IsAppConnectorHostStartupDisabled())},
      {"app host without KNX", YesNo(config.IsAppHostWithoutKNX())},
      {"app host terminates on firmware update",
       YesNo(config.IsAppHostTerminateOnFirmwareUpdate())},
      {"native app root path", PathText(config.GetRootPathNativeApp())},
      {"managed app root path", PathText(config.GetRootPathManagedApp())},
      {"app host root path", PathText(config.GetRootPathAppHost())},
      {"app connector host root path", PathText(config.GetRootPathAppConnectorHost())},
      {"object-model configuration path", PathText(config.GetPathObjectModelConfig())}};
  for (const auto& setting : settings) {
    std::string label = setting.first;
    label.resize(40, ' ');
    out << label << setting.second << '\n';
  }
  const std::vector<unsigned long>& dataPoints = config.GetResponseDataPoints();
  std::string label = "response data points";
  label.resize(40, ' ');
  out << label << (dataPoints.empty() ? "(none)" : "");
  for (std::size_t i = 0; i < dataPoints.size(); ++i) {
    out << (i == 0 ? "" : " ") << dataPoints[i];
  }
  out << '\n';
}

std::string AsJson(const std::string& path, const Avo::AppHostConfiguration& config,
                   const std::string& reason, const std::vector<LibraryLogLine>& lines) {
  JsonObject json;
  json.String("command", "config")
      .String("file", path)
      .Bool("appDebugMode", config.IsInAppDebugMode())
      .Bool("appHostStartupDisabled", config.IsAppHostStartupDisabled())
      .Bool("appConnectorHostStartupDisabled", config.IsAppConnectorHostStartupDisabled())
      .Bool("appHostWithoutKNX", config.IsAppHostWithoutKNX())
      .Bool("appHostTerminateOnFirmwareUpdate", config.IsAppHostTerminateOnFirmwareUpdate());
  AddPath(json, "rootPathNativeApp", config.GetRootPathNativeApp());
  AddPath(json, "rootPathManagedApp", config.GetRootPathManagedApp());
  AddPath(json, "rootPathAppHost", config.GetRootPathAppHost());
  AddPath(json, "rootPathAppConnectorHost", config.GetRootPathAppConnectorHost());
  AddPath(json, "pathObjectModelConfig", config.GetPathObjectModelConfig());
  std::string dataPoints = "[";
  for (const unsigned long id : config.GetResponseDataPoints()) {
    dataPoints += (dataPoints.size() > 1 ? "," : "") + std::to_string(id);
  }
  json.Raw("responseDataPoints", dataPoints + "]").String("result", reason.empty() ? "OK" : "ERR");
  if (!reason.empty()) {
    json.String("reason", reason);
  }
  return json.Raw("log", LinesAsJson(lines)).Text();
}

int RunConfig(Context& context) {
  const std::vector<std::string>& words = context.arguments.Positionals();
  if (words.size() > 1) {
    throw UsageError("config takes at most one FILE");
  }
  const std::string path = words.empty() ? Avo::AppHostConfiguration::FilePath : words.front();
  ConfigurationFile config;
  std::string reason;
  context.log.Discard();
  try {
    config.LoadConfigurationFile(path);
  } catch (const std::exception& error) {
    // A data point identifier that is not a number stops the loading.
    reason = std::string("the file has an ObjId that is not a 32-bit number (") + error.what() +
             "); the settings before it were applied";
  }
  const std::vector<LibraryLogLine> lines = context.log.Take();
  // The configuration falls back to its defaults, with an ERROR line, when
  // the file cannot be read or parsed.
  const auto failure = std::find_if(lines.begin(), lines.end(), [](const LibraryLogLine& line) {
    return line.level >= log4cplus::ERROR_LOG_LEVEL;
  });
  if (reason.empty() && failure != lines.end()) {
    reason = failure->text;
  }
  if (context.json) {
    context.out << AsJson(path, config, reason, lines) << '\n';
  } else {
    context.ShowLibraryLines(lines);
    PrintText(context.out, path, config);
    if (!reason.empty()) {
      context.err << "avo-knx: config refused: " << reason << '\n';
    }
  }
  return reason.empty() ? kSuccess : kRefused;
}

} // namespace

const Command& ConfigCommand() {
  static const Command command{"config",
                               "the app host configuration, every setting",
                               {},
                               RunConfig,
                               R"(usage: avo-knx config [FILE]

Loads the app host configuration with Avo::AppHostConfiguration from FILE or,
without one, from its fixed path /opt/userdata/etc/avoapphost/avoapphostconfig.xml,
and prints every setting: the switches, the debug-mode paths, the object-model
configuration path and the response data points. A file that cannot be read
or parsed leaves the defaults in force: they are printed, and the exit status
is 1.

examples:
  avo-knx config
  avo-knx config ./avoapphostconfig.xml --json
)"};
  return command;
}

} // namespace AvoKnx
