#pragma once
/// @file
/// The app host's start-up settings and the XML file they are read from.

#include "AvoObjectModel/Export.h"

#include <boost/core/noncopyable.hpp>
#include <boost/optional/optional.hpp>

#include <atomic>
#include <string>
#include <vector>

namespace Avo {

/// Start-up settings of the app host and the app connector host: debug mode,
/// start-up switches, where apps and hosts live in debug mode, where the
/// object-model configuration lies and which data points the device stack
/// answers for.
///
/// Every setting has a default that holds until a loaded file sets it. The
/// five flags may be read and changed from any thread at any time; the paths
/// and the data-point list are written only while loading, which is meant to
/// happen once at start-up before other threads read them.
class AVO_OBJECTMODEL_EXPORT AppHostConfiguration : private boost::noncopyable {
public:
  /// Where LoadConfigurationFile() reads the configuration.
  static constexpr const char* FilePath = "/opt/userdata/etc/avoapphost/avoapphostconfig.xml";

  /// Deepest element nesting that a configuration text may have. Deeper
  /// texts are refused as malformed before they are parsed, so that a corrupt
  /// or hostile file cannot exhaust the stack of the recursive parser; a real
  /// configuration nests four levels.
  static constexpr unsigned MaximumElementNesting = 256;

  /// All defaults: flags off, no paths, no response data points. Reads no file.
  AppHostConfiguration() = default;

  /// Debug mode: apps and hosts run from the debug root paths.
  bool IsInAppDebugMode() const;
  /// The app host is not to be started.
  bool IsAppHostStartupDisabled() const;
  /// The app connector host is not to be started.
  bool IsAppConnectorHostStartupDisabled() const;
  /// The app host runs without a KNX connection.
  bool IsAppHostWithoutKNX() const;
  /// The app host terminates when a firmware update begins.
  bool IsAppHostTerminateOnFirmwareUpdate() const;

  /// Sets debug mode.
  void SetAppDebugMode(bool active);
  /// Sets the app host's start-up switch.
  void SetAppHostStartupDisabled(bool disabled);

  /// Sets debug mode and returns the mode it had before.
  bool ReplaceAppDebugMode(bool active);
  /// Sets the connector host's start-up switch and returns its previous value.
  /// Unlike SetAppHostStartupDisabled it reports the previous value; both
  /// forms are kept for their existing callers.
  bool SetAppConnectorHostStartupDisabled(bool disabled);

  /// Root folder of native apps in debug mode.
  const boost::optional<std::string>& GetRootPathNativeApp() const;
  /// Root folder of managed apps in debug mode.
  const boost::optional<std::string>& GetRootPathManagedApp() const;
  /// Installation folder of the app host in debug mode.
  const boost::optional<std::string>& GetRootPathAppHost() const;
  /// Installation folder of the app connector host in debug mode.
  const boost::optional<std::string>& GetRootPathAppConnectorHost() const;
  /// Path of the object-model configuration.
  const boost::optional<std::string>& GetPathObjectModelConfig() const;
  /// Object-model identifiers of the data points the device stack is to
  /// send responses for, in file order.
  const std::vector<unsigned long>& GetResponseDataPoints() const;

  /// Reads the file at FilePath and applies it. A missing, unreadable or
  /// malformed file is logged at ERROR and leaves every setting as it was.
  /// An "ObjId" that is not a number (std::invalid_argument) or beyond
  /// 4294967295 (std::out_of_range) is thrown to the caller; the settings
  /// that precede it in the file stay applied.
  void LoadConfigurationFile();

  /// Parses the zero-terminated XML text in place (the text is modified) and
  /// applies it. Returns false, after an ERROR line, when the text is not
  /// well-formed; nothing is applied then. Throws like LoadConfigurationFile
  /// for a bad "ObjId"; a null text fails AVO_ASSERT2 (Avo::AssertionFailed).
  bool LoadAppHostConfigXML(char* text);

protected:
  /// LoadConfigurationFile() for a file at another path.
  void LoadConfigurationFile(const std::string& path);

private:
  friend class AppHostConfigurationReader;

  std::atomic<bool> m_appDebugMode{false};
  std::atomic<bool> m_appHostStartupDisabled{false};
  std::atomic<bool> m_appConnectorHostStartupDisabled{false};
  std::atomic<bool> m_appHostWithoutKNX{false};
  std::atomic<bool> m_appHostTerminateOnFirmwareUpdate{false};
  boost::optional<std::string> m_rootPathNativeApp;
  boost::optional<std::string> m_rootPathManagedApp;
  boost::optional<std::string> m_rootPathAppHost;
  boost::optional<std::string> m_rootPathAppConnectorHost;
  boost::optional<std::string> m_pathObjectModelConfig;
  std::vector<unsigned long> m_responseDataPoints;
};

/// The whole content of a file, read as bytes. No value when the file cannot
/// be opened or reading it fails.
AVO_OBJECTMODEL_EXPORT boost::optional<std::vector<char>> LoadFile(const std::string& path);

} // namespace Avo
