// avo-devicestackd: a local device stack service over a Unix domain socket.

#include "Options.h"
#include "SeedFile.h"
#include "Server.h"
#include "StateFile.h"

#include "Avo/Logging.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>

#include <log4cplus/loglevel.h>

#include <csignal>
#include <exception>
#include <iostream>

namespace {

constexpr int ExitFailure = 1;
constexpr int ExitUsage = 2;

void SetLogLevel(const std::string& name) {
  const log4cplus::LogLevel level = log4cplus::getLogLevelManager().fromString(name);
  if (level == log4cplus::NOT_SET_LOG_LEVEL) {
    throw DeviceStackd::UsageError("--log-level: unknown level '" + name + "'");
  }
  Avo::GetGlobalDefaultLogger().setLogLevel(level);
}

Polt::DeviceStackObjectModel FreshModel(const DeviceStackd::Options& options) {
  if (options.seedPath.empty()) {
    return Polt::DeviceStackObjectModel();
  }
  Polt::DeviceStackObjectModel model = DeviceStackd::ReadSeed(options.seedPath);
  AVO_LOG_INFO("Seeded " << model.GetObjects().size() << " objects from '" << options.seedPath
                         << "'");
  return model;
}

// The object model to start with: the state file's, else a fresh one (which
// is saved at once, so that the state file exists from here on).
Polt::DeviceStackObjectModel InitialModel(const DeviceStackd::Options& options) {
  if (options.statePath.empty()) {
    return FreshModel(options);
  }
  DeviceStackd::LoadedState state = DeviceStackd::LoadState(options.statePath);
  switch (state.status) {
  case DeviceStackd::LoadedState::Status::Loaded:
    AVO_LOG_INFO("Loaded " << state.model.GetObjects().size() << " objects from the state file '"
                           << options.statePath << "'");
    return std::move(state.model);
  case DeviceStackd::LoadedState::Status::Corrupt: {
    const std::string aside = DeviceStackd::MoveStateAside(options.statePath);
    AVO_LOG_ERROR("The state file '" << options.statePath << "' is corrupt (" << state.problem
                                     << "); moved it to '" << aside << "'");
    break;
  }
  case DeviceStackd::LoadedState::Status::Missing:
    break;
  }
  Polt::DeviceStackObjectModel model = FreshModel(options);
  DeviceStackd::SaveState(options.statePath, model);
  return model;
}

void StopOnSignal(DeviceStackd::Server& server, int signal) {
  AVO_LOG_INFO("Stopping on signal " << signal);
  server.Stop();
}

int Serve(const DeviceStackd::Options& options) {
  // A client that goes away while an answer is written is a failed write,
  // not the end of the service.
  static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
  boost::asio::io_context io(1);
  DeviceStackd::Server server(io, options.socketPath, options.statePath, InitialModel(options));
  boost::asio::signal_set signals(io, SIGTERM, SIGINT);
  signals.async_wait([&server](const boost::system::error_code& error, int signal) {
    if (!error) {
      StopOnSignal(server, signal);
    }
  });
  server.Start();
  io.run();
  AVO_LOG_INFO("Stopped");
  return 0;
}

} // namespace

int main(int argc, char** argv) {
  Avo::SetLoggingContext("avo-devicestackd");
  try {
    const DeviceStackd::Options options =
        DeviceStackd::ParseOptions(std::vector<std::string>(argv + 1, argv + argc));
    if (options.help) {
      std::cout << DeviceStackd::UsageText();
      return 0;
    }
    SetLogLevel(options.logLevel);
    if (!options.defaultSeedPath.empty()) {
      const std::size_t count =
          DeviceStackd::WriteDefaultSeed(options.defaultSeedPath, options.seedDpt);
      std::cout << "Wrote " << count << " objects to '" << options.defaultSeedPath << "'\n";
      return 0;
    }
    return Serve(options);
  } catch (const DeviceStackd::UsageError& error) {
    std::cerr << "avo-devicestackd: " << error.what() << "\n" << DeviceStackd::UsageText();
    return ExitUsage;
  } catch (const std::exception& error) {
    AVO_LOG_FATAL("Cannot serve: " << error.what());
    return ExitFailure;
  }
}
