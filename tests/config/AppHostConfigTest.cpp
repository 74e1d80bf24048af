#include "AvoObjectModel/AppHostConfig.h"

#include "LogCapture.h"

#include <boost/optional/optional_io.hpp>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

namespace {

using AvoTest::Line;
using AvoTest::ScopedLogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Strings = boost::optional<std::string>;
using namespace std::string_literals;

constexpr auto kError = log4cplus::ERROR_LOG_LEVEL;

// Reaches the loader's file seam.
class Configuration : public Avo::AppHostConfiguration {
public:
  using Avo::AppHostConfiguration::LoadConfigurationFile;
};

struct Settings {
  bool debug = false, hostDisabled = false, connectorDisabled = false, withoutKnx = false,
       terminate = false;
  Strings nativeApp, managedApp, appHost, connectorHost, objectModel;
  std::vector<unsigned long> dataPoints;

  explicit Settings(const Avo::AppHostConfiguration& c)
      : debug(c.IsInAppDebugMode()), hostDisabled(c.IsAppHostStartupDisabled()),
        connectorDisabled(c.IsAppConnectorHostStartupDisabled()),
        withoutKnx(c.IsAppHostWithoutKNX()), terminate(c.IsAppHostTerminateOnFirmwareUpdate()),
        nativeApp(c.GetRootPathNativeApp()), managedApp(c.GetRootPathManagedApp()),
        appHost(c.GetRootPathAppHost()), connectorHost(c.GetRootPathAppConnectorHost()),
        objectModel(c.GetPathObjectModelConfig()), dataPoints(c.GetResponseDataPoints()) {}
  Settings() = default;
  bool operator==(const Settings& o) const {
    return std::tie(debug, hostDisabled, connectorDisabled, withoutKnx, terminate, nativeApp,
                    managedApp, appHost, connectorHost, objectModel, dataPoints) ==
           std::tie(o.debug, o.hostDisabled, o.connectorDisabled, o.withoutKnx, o.terminate,
                    o.nativeApp, o.managedApp, o.appHost, o.connectorHost, o.objectModel,
                    o.dataPoints);
  }
  friend void PrintTo(const Settings& s, std::ostream* os) {
    *os << "debug " << s.debug << " hostDisabled " << s.hostDisabled << " connectorDisabled "
        << s.connectorDisabled << " withoutKnx " << s.withoutKnx << " terminate " << s.terminate
        << " paths " << s.nativeApp << s.managedApp << s.appHost << s.connectorHost
        << s.objectModel << " dps " << ::testing::PrintToString(s.dataPoints);
  }
};

bool Load(Avo::AppHostConfiguration& configuration, std::string xml) {
  return configuration.LoadAppHostConfigXML(xml.data());
}

std::string Config(const std::string& inner, const std::string& attributes = "") {
  return "<AvoAppHostConfig" + attributes + ">" + inner + "</AvoAppHostConfig>";
}

std::string ResponseDps(const std::string& dps) {
  return "<KelConfig><ResponseDps>" + dps + "</ResponseDps></KelConfig>";
}

std::string Nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) {
    text += "<e a='/>' b=\"</e>\"><!-- <e> --><![CDATA[<e>]]><?pi <e>?>";
  }
  for (int i = 0; i < depth; ++i) {
    text += "</e>";
  }
  return text;
}

struct RuleCase {
  const char* name;
  bool debugBefore;
  std::string xml;
  std::function<void(Settings&)> expect;
};

class ElementRules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(ElementRules, ApplyAsDocumentedWithoutLogging) {
  ScopedLogCapture capture;
  Avo::AppHostConfiguration configuration;
  configuration.SetAppDebugMode(GetParam().debugBefore);
  Settings expected;
  expected.debug = GetParam().debugBefore;
  GetParam().expect(expected);
  ASSERT_TRUE(Load(configuration, GetParam().xml));
  EXPECT_EQ(Settings(configuration), expected);
  EXPECT_THAT(capture.Lines(), IsEmpty());
}

const std::string kAllLocations =
    "<App RootPath='/n'/><ManagedApp RootPath='/m'/><AppHost RootPath='/h'/>"
    "<AppConnectorHost RootPath='/c' DisableStartup='1'/>";

INSTANTIATE_TEST_SUITE_P(
    AppHostConfig, ElementRules,
    ::testing::Values(
        RuleCase{"EmptyDocumentKeepsDefaults", false, "", [](Settings&) {}},
        RuleCase{"OtherRootAndLowerCaseNamesAreIgnored", false,
                 "<Other WithoutKNX='1'/><avoapphostconfig WithoutKNX='1'/>"
                 "<AvoAppHostConfig><debugging Active='1'/><Other><Debugging Active='1'/>"
                 "</Other></AvoAppHostConfig>",
                 [](Settings&) {}},
        RuleCase{"EveryValueButZeroSwitchesAFlagOn", false,
                 Config("<Debugging Active='no'><AppHost DisableStartup=' 0'/></Debugging>",
                        " WithoutKNX='false' TerminateOnFirmwareUpdate='00'"),
                 [](Settings& s) {
                   s.debug = s.withoutKnx = s.terminate = s.hostDisabled = true;
                   s.connectorDisabled = true; // follows the app host
                 }},
        RuleCase{"LaterElementsOverrideAndEmptyValuesKeep", false,
                 Config("<ObjectModelConfig Path='/a'/>", " WithoutKNX='1'") +
                     Config("<ObjectModelConfig Path=''/><ObjectModelConfig Path='/c&amp;d'/>",
                            " WithoutKNX='' TerminateOnFirmwareUpdate='1'") +
                     Config("", " TerminateOnFirmwareUpdate='0'"),
                 [](Settings& s) {
                   s.withoutKnx = true;
                   s.objectModel = "/c&d";
                 }},
        RuleCase{"DebuggingChildrenSetLocations", false,
                 Config("<Debugging Active='1'>" + kAllLocations + "</Debugging>"),
                 [](Settings& s) {
                   s.debug = s.connectorDisabled = true;
                   s.nativeApp = "/n", s.managedApp = "/m", s.appHost = "/h";
                   s.connectorHost = "/c";
                 }},
        RuleCase{"DebuggingChildrenIgnoredWhenInactive", false,
                 Config("<Debugging Active='0'>" + kAllLocations +
                        "</Debugging><Debugging>" + kAllLocations + "</Debugging>"),
                 [](Settings&) {}},
        RuleCase{"EarlierDebugModeLetsChildrenCount", true,
                 Config("<Debugging><AppHost RootPath='/h' DisableStartup='1'/></Debugging>"),
                 [](Settings& s) {
                   s.appHost = "/h";
                   s.hostDisabled = s.connectorDisabled = true;
                 }},
        RuleCase{"DebuggingCanSwitchDebugModeOff", true,
                 Config("<Debugging Active='0'><App RootPath='/n'/></Debugging>"),
                 [](Settings& s) { s.debug = false; }},
        RuleCase{"ConnectorHostDoesNotDisableAppHost", true,
                 Config("<Debugging><AppHost DisableStartup='0'/>"
                        "<AppConnectorHost DisableStartup='1'/></Debugging>"),
                 [](Settings& s) { s.connectorDisabled = true; }},
        RuleCase{"ResponseDpsAppendInDocumentOrder", false,
                 "\xEF\xBB\xBF<?xml version='1.0'?>" +
                     Config(ResponseDps("<Dp ObjId='3'/><Dp/><Dp ObjId=''/><X ObjId='9'/>"
                                        "<Dp ObjId='1'>text</Dp>") +
                            "<KelConfig>text<!-- c --><ResponseDps><Dp ObjId='2'/>"
                            "</ResponseDps></KelConfig>") +
                     Config(ResponseDps("<Dp ObjId='3'/>")),
                 [](Settings& s) { s.dataPoints = {3, 1, 2, 3}; }},
        RuleCase{"OnlyAFirstChildResponseDpsCounts", false,
                 Config("<KelConfig><Other/><ResponseDps><Dp ObjId='1'/></ResponseDps>"
                        "</KelConfig><ResponseDps><Dp ObjId='2'/></ResponseDps>"),
                 [](Settings&) {}},
        RuleCase{"MarkupInsideValuesIsNotNesting", false,
                 Config(ResponseDps("<Dp ObjId='4'/>")) + Nested(200),
                 [](Settings& s) { s.dataPoints = {4}; }}),
    [](const auto& row) { return std::string(row.param.name); });

// "value" or "<exception type> <what()>".
template <typename Convert>
std::string Outcome(Convert convert) {
  try {
    return std::to_string(convert());
  } catch (const std::invalid_argument& e) {
    return std::string("invalid_argument ") + e.what();
  } catch (const std::out_of_range& e) {
    return std::string("out_of_range ") + e.what();
  }
}

TEST(AppHostConfig, ObjIdReadsLikeThe32BitStringToUnsignedLong) {
  const std::pair<std::string, std::string> cases[] = {
      {" 12", "12"},
      {" \t\n+7", "7"},
      {"12ab", "12"},
      {"-1", "4294967295"},
      {"-4294967295", "1"},
      {"0004294967295", "4294967295"},
      {"-0", "0"},
      {"123456789a", "123456789"},
      {"1234567a9", "1234567"},
      {"00000000000000000000004294967295", "4294967295"},
      {"00000000000000000000004294967296", "out_of_range stoul"},
      {"18446744073709551617", "out_of_range stoul"}, // wraps a 64-bit sum to 1
      {"4294967296", "out_of_range stoul"},
      {"-4294967296", "out_of_range stoul"},
      {"99999999999999999999999", "out_of_range stoul"},
      {"abc", "invalid_argument stoul"},
      {"+", "invalid_argument stoul"},
      {"- 1", "invalid_argument stoul"},
      {"\v", "invalid_argument stoul"},
  };
  for (const auto& [text, expected] : cases) {
    SCOPED_TRACE(text);
    Avo::AppHostConfiguration configuration;
    const std::string xml =
        Config(ResponseDps("<Dp ObjId='5'/><Dp ObjId='" + text + "'/>"), " WithoutKNX='1'") +
        Config("", " TerminateOnFirmwareUpdate='1'");
    EXPECT_EQ(Outcome([&] {
                Load(configuration, xml);
                return configuration.GetResponseDataPoints().at(1);
              }),
              expected);
    if constexpr (sizeof(unsigned long) == 4) { // on the device, its own conversion decides
      EXPECT_EQ(Outcome([&] { return std::stoul(text); }), expected);
    }
    // What precedes a bad number stays applied, nothing after it.
    const bool failed = expected.find("stoul") != std::string::npos;
    EXPECT_EQ(configuration.GetResponseDataPoints().size(), failed ? 1u : 2u);
    EXPECT_EQ(configuration.GetResponseDataPoints().front(), 5u);
    EXPECT_TRUE(configuration.IsAppHostWithoutKNX());
    EXPECT_EQ(configuration.IsAppHostTerminateOnFirmwareUpdate(), !failed);
  }
}

TEST(AppHostConfig, FlagSettersStoreAndTwoOfThemReturnThePreviousValue) {
  Avo::AppHostConfiguration configuration;
  EXPECT_FALSE(configuration.ReplaceAppDebugMode(true));
  EXPECT_TRUE(configuration.ReplaceAppDebugMode(false));
  EXPECT_FALSE(configuration.SetAppConnectorHostStartupDisabled(true));
  EXPECT_TRUE(configuration.SetAppConnectorHostStartupDisabled(false));
  configuration.SetAppDebugMode(true);
  configuration.SetAppHostStartupDisabled(true);
  EXPECT_TRUE(configuration.IsInAppDebugMode());
  EXPECT_TRUE(configuration.IsAppHostStartupDisabled());
  EXPECT_FALSE(configuration.IsAppConnectorHostStartupDisabled());
}

class ConfigurationFile : public ::testing::Test {
protected:
  ~ConfigurationFile() override { std::remove(m_path.c_str()); }
  const std::string& Write(const std::string& bytes) {
    std::ofstream(m_path, std::ios::binary) << bytes;
    return m_path;
  }
  std::string m_path = ::testing::TempDir() + "avoapphostconfig-test.xml";
};

TEST_F(ConfigurationFile, UnreadableFileIsLoggedWithItsQuotedPathAndChangesNothing) {
  const std::string missing = ::testing::TempDir() + "no \"such\" & file.xml";
  const std::string quotedMissing = "\"" + ::testing::TempDir() + "no &\"such&\" && file.xml\"";
  for (const auto& [path, quoted] : {std::pair(missing, quotedMissing),
                                     std::pair(::testing::TempDir(), '"' + ::testing::TempDir() + '"')}) {
    ScopedLogCapture capture;
    Configuration configuration;
    configuration.LoadConfigurationFile(path);
    EXPECT_EQ(Settings(configuration), Settings());
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(kError, "App host config file cannot be read from: " + quoted,
                                 "LoadConfigurationFile")));
  }
}

TEST_F(ConfigurationFile, PublicLoaderReadsTheFixedPath) {
  if (std::ifstream(Avo::AppHostConfiguration::FilePath).is_open()) {
    GTEST_SKIP() << "this machine has a configuration file";
  }
  ScopedLogCapture capture;
  Avo::AppHostConfiguration().LoadConfigurationFile();
  EXPECT_THAT(capture.Texts(), ElementsAre("App host config file cannot be read from: "
                                           "\"/opt/userdata/etc/avoapphost/avoapphostconfig.xml\""));
}

TEST_F(ConfigurationFile, MalformedFileFallsBackAndKeepsEarlierSettings) {
  const std::pair<std::string, std::string> cases[] = {
      {"\x7f" "ELF\x01\x01\x01\0\0\0"s, "expected <"},
      {Config("") + "\xff\xfe", "expected <"},
      {"<AvoAppHostConfig WithoutKNX=\"1", "expected ' or \""},
      {"<AvoAppHostConfig><KelConfig>", "unexpected end of data"},
      {"<!-- open", "unexpected end of data"},
      {std::string(Config("")).insert(5, 1, '\0'), "expected >"},
      {Nested(257), "elements nested too deeply"},
      {std::string(200000, '<'), "expected >"},
  };
  for (const auto& [bytes, what] : cases) {
    SCOPED_TRACE(what);
    ScopedLogCapture capture;
    Configuration configuration;
    configuration.SetAppDebugMode(true);
    configuration.LoadConfigurationFile(Write(bytes));
    Settings expected;
    expected.debug = true;
    EXPECT_EQ(Settings(configuration), expected);
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(kError, "Failed to read configuration file: " + what,
                                 "LoadAppHostConfigXML"),
                            Line(kError, "Falling back to standard configuration.",
                                 "LoadConfigurationFile")));
  }
}

TEST_F(ConfigurationFile, DeepestAcceptedNestingAndVeryDeepFilesDoNotCrash) {
  ScopedLogCapture capture;
  Configuration configuration;
  EXPECT_TRUE(Load(configuration, Nested(Avo::AppHostConfiguration::MaximumElementNesting)));
  std::string deep;
  for (int i = 0; i < 1000000; ++i) {
    deep += "<a>";
  }
  EXPECT_FALSE(Load(configuration, deep));
}

TEST_F(ConfigurationFile, BadObjIdReachesTheCallerWithEarlierSettingsKept) {
  ScopedLogCapture capture;
  Configuration configuration;
  const std::string& path =
      Write(Config(ResponseDps("<Dp ObjId='7'/><Dp ObjId='abc'/>"), " WithoutKNX='1'"));
  EXPECT_THROW(configuration.LoadConfigurationFile(path), std::invalid_argument);
  EXPECT_TRUE(configuration.IsAppHostWithoutKNX());
  EXPECT_THAT(configuration.GetResponseDataPoints(), ElementsAre(7));
  EXPECT_THAT(capture.Lines(), IsEmpty());
}

TEST_F(ConfigurationFile, LargeConfigurationLoadsInOrder) {
  std::string dps;
  std::vector<unsigned long> expected;
  for (unsigned long i = 0; i < 50000; ++i) {
    expected.push_back(i * 85899u); // spans the whole 32-bit range
    dps += "\n    <Dp ObjId=\"" + std::to_string(expected.back()) + "\"/>";
  }
  ScopedLogCapture capture;
  Configuration configuration;
  configuration.LoadConfigurationFile(Write(Config(ResponseDps(dps))));
  EXPECT_EQ(configuration.GetResponseDataPoints(), expected);
  EXPECT_THAT(capture.Lines(), IsEmpty());
}

TEST_F(ConfigurationFile, LoadFileReturnsEveryByte) {
  std::string bytes;
  for (int i = 0; i < 300000; ++i) {
    bytes += static_cast<char>(i * 7);
  }
  const auto content = Avo::LoadFile(Write(bytes));
  ASSERT_TRUE(content);
  EXPECT_EQ(std::string(content->begin(), content->end()), bytes);
  const auto empty = Avo::LoadFile(Write(""));
  ASSERT_TRUE(empty);
  EXPECT_TRUE(empty->empty());
  EXPECT_FALSE(Avo::LoadFile(m_path + ".missing"));
}

} // namespace
