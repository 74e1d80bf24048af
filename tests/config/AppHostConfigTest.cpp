#include "AvoObjectModel/AppHostConfig.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
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

// The settings that differ from their defaults, in member order, e.g.
// "debug hostOff native=/n dps=3,1".
std::string Describe(const Avo::AppHostConfiguration& c) {
  std::ostringstream text;
  const std::pair<bool, const char*> flags[] = {
      {c.IsInAppDebugMode(), "debug"}, {c.IsAppHostStartupDisabled(), "hostOff"},
      {c.IsAppConnectorHostStartupDisabled(), "connectorOff"},
      {c.IsAppHostWithoutKNX(), "noKnx"}, {c.IsAppHostTerminateOnFirmwareUpdate(), "terminate"}};
  for (const auto& [on, name] : flags) {
    text << (on ? std::string(" ") + name : "");
  }
  const std::pair<const Strings&, const char*> paths[] = {
      {c.GetRootPathNativeApp(), "native"}, {c.GetRootPathManagedApp(), "managed"},
      {c.GetRootPathAppHost(), "host"}, {c.GetRootPathAppConnectorHost(), "connector"},
      {c.GetPathObjectModelConfig(), "om"}};
  for (const auto& [path, name] : paths) {
    text << (path ? std::string(" ") + name + "=" + *path : "");
  }
  const char* separator = " dps=";
  for (const unsigned long dp : c.GetResponseDataPoints()) {
    text << separator << dp;
    separator = ",";
  }
  const std::string all = text.str();
  return all.empty() ? all : all.substr(1);
}

bool Load(Avo::AppHostConfiguration& configuration, std::string xml) {
  return configuration.LoadAppHostConfigXML(xml.data());
}

std::string Config(const std::string& inner, const std::string& attributes = "") {
  return "<AvoAppHostConfig" + attributes + ">" + inner + "</AvoAppHostConfig>";
}

std::string ResponseDps(const std::string& dps) {
  return "<KelConfig><ResponseDps>" + dps + "</ResponseDps></KelConfig>";
}

std::string Repeat(const std::string& text, unsigned times) {
  std::string all;
  while (times-- > 0) {
    all += text;
  }
  return all;
}

// Elements nested `depth` deep, with markup in values, comments, sections
// and instructions that must not count as nesting.
std::string Nested(unsigned depth) {
  return Repeat("<e a='/>' b=\"</e>\"><!-- <e> --><![CDATA[<e>]]><?pi <e>?>", depth) +
         Repeat("</e>", depth);
}

struct RuleCase {
  const char* name;
  bool debugBefore;
  std::string xml;
  std::string expected; // as Describe gives it
};

class ElementRules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(ElementRules, ApplyAsDocumentedWithoutLogging) {
  ScopedLogCapture capture;
  Avo::AppHostConfiguration configuration;
  configuration.SetAppDebugMode(GetParam().debugBefore);
  ASSERT_TRUE(Load(configuration, GetParam().xml));
  EXPECT_EQ(Describe(configuration), GetParam().expected);
  EXPECT_THAT(capture.Lines(), IsEmpty());
}

const std::string kAllLocations =
    "<App RootPath='/n'/><ManagedApp RootPath='/m'/><AppHost RootPath='/h'/>"
    "<AppConnectorHost RootPath='/c' DisableStartup='1'/>";

INSTANTIATE_TEST_SUITE_P(
    AppHostConfig, ElementRules,
    ::testing::Values(
        RuleCase{"EmptyDocumentKeepsDefaults", false, "", ""},
        RuleCase{"OtherRootAndLowerCaseNamesAreIgnored", false,
                 "<Other WithoutKNX='1'/><avoapphostconfig WithoutKNX='1'/>"
                 "<AvoAppHostConfig><debugging Active='1'/><Other><Debugging Active='1'/>"
                 "</Other></AvoAppHostConfig>",
                 ""},
        RuleCase{"EveryValueButZeroSwitchesAFlagOn", false,
                 Config("<Debugging Active='no'><AppHost DisableStartup=' 0'/></Debugging>",
                        " WithoutKNX='false' TerminateOnFirmwareUpdate='00'"),
                 "debug hostOff connectorOff noKnx terminate"},
        RuleCase{"LaterElementsOverrideAndEmptyValuesKeep", false,
                 Config("<ObjectModelConfig Path='/a'/>", " WithoutKNX='1'") +
                     Config("<ObjectModelConfig Path=''/><ObjectModelConfig Path='/c&amp;d'/>",
                            " WithoutKNX='' TerminateOnFirmwareUpdate='1'") +
                     Config("", " TerminateOnFirmwareUpdate='0'"),
                 "noKnx om=/c&d"},
        RuleCase{"DebuggingChildrenSetLocations", false,
                 Config("<Debugging Active='1'>" + kAllLocations + "</Debugging>"),
                 "debug connectorOff native=/n managed=/m host=/h connector=/c"},
        RuleCase{"DebuggingChildrenIgnoredWhenInactive", false,
                 Config("<Debugging Active='0'>" + kAllLocations +
                        "</Debugging><Debugging>" + kAllLocations + "</Debugging>"),
                 ""},
        RuleCase{"EarlierDebugModeLetsChildrenCount", true,
                 Config("<Debugging><AppHost RootPath='/h' DisableStartup='1'/></Debugging>"),
                 "debug hostOff connectorOff host=/h"},
        RuleCase{"DebuggingCanSwitchDebugModeOff", true,
                 Config("<Debugging Active='0'><App RootPath='/n'/></Debugging>"), ""},
        RuleCase{"ConnectorHostDoesNotDisableAppHost", true,
                 Config("<Debugging><AppHost DisableStartup='0'/>"
                        "<AppConnectorHost DisableStartup='1'/></Debugging>"),
                 "debug connectorOff"},
        RuleCase{"ResponseDpsAppendInDocumentOrder", false,
                 "\xEF\xBB\xBF<?xml version='1.0'?>" +
                     Config(ResponseDps("<Dp ObjId='3'/><Dp/><Dp ObjId=''/><X ObjId='9'/>"
                                        "<Dp ObjId='1'>text</Dp>") +
                            "<KelConfig>text<!-- c --><ResponseDps><Dp ObjId='2'/>"
                            "</ResponseDps></KelConfig>") +
                     Config(ResponseDps("<Dp ObjId='3'/>")),
                 "dps=3,1,2,3"},
        RuleCase{"OnlyAFirstChildResponseDpsCounts", false,
                 Config("<KelConfig><Other/><ResponseDps><Dp ObjId='1'/></ResponseDps>"
                        "</KelConfig><ResponseDps><Dp ObjId='2'/></ResponseDps>"),
                 ""},
        RuleCase{"DeepestAcceptedNesting", false,
                 Config(ResponseDps("<Dp ObjId='4'/>")) +
                     Nested(Avo::AppHostConfiguration::MaximumElementNesting),
                 "dps=4"}),
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
  const std::string range = "out_of_range stoul", invalid = "invalid_argument stoul";
  const std::pair<std::string, std::string> cases[] = {
      {" 12", "12"}, {" \t\n+7", "7"}, {"12ab", "12"}, {"-1", "4294967295"},
      {"-4294967295", "1"}, {"0004294967295", "4294967295"}, {"-0", "0"},
      {"123456789a", "123456789"}, {"1234567a9", "1234567"},
      {"00000000000000000000004294967295", "4294967295"},
      {"00000000000000000000004294967296", range}, {"4294967296", range},
      {"18446744073709551617", range}, // would wrap a 64-bit sum to 1
      {"-4294967296", range}, {"99999999999999999999999", range}, {"abc", invalid},
      {"+", invalid}, {"- 1", invalid}, {"\v", invalid}};
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

TEST(AppHostConfig, ExchangingSettersReturnThePreviousValue) {
  Avo::AppHostConfiguration configuration;
  EXPECT_EQ(configuration.ReplaceAppDebugMode(true), false);
  EXPECT_EQ(configuration.ReplaceAppDebugMode(false), true);
  EXPECT_EQ(configuration.SetAppConnectorHostStartupDisabled(true), false);
  EXPECT_EQ(Describe(configuration), "connectorOff");
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
  const std::string folder = ::testing::TempDir();
  const std::pair<std::string, std::string> cases[] = {
      {folder + "no \"such\" & file.xml", '"' + folder + "no &\"such&\" && file.xml\""},
      {folder, '"' + folder + '"'}, // opens, but cannot be read
  };
  for (const auto& [path, quoted] : cases) {
    ScopedLogCapture capture;
    Configuration configuration;
    configuration.LoadConfigurationFile(path);
    EXPECT_EQ(Describe(configuration), "");
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
  EXPECT_THAT(capture.Texts(),
              ElementsAre("App host config file cannot be read from: "
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
      {Nested(Avo::AppHostConfiguration::MaximumElementNesting + 1), "elements nested too deeply"},
      {Repeat("<a>", 1000000), "elements nested too deeply"},
      {std::string(200000, '<'), "expected >"},
  };
  for (const auto& [bytes, what] : cases) {
    SCOPED_TRACE(what);
    ScopedLogCapture capture;
    Configuration configuration;
    configuration.SetAppDebugMode(true);
    configuration.LoadConfigurationFile(Write(bytes));
    EXPECT_EQ(Describe(configuration), "debug");
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(kError, "Failed to read configuration file: " + what,
                                 "LoadAppHostConfigXML"),
                            Line(kError, "Falling back to standard configuration.",
                                 "LoadConfigurationFile")));
  }
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

TEST_F(ConfigurationFile, FilesAreReadWholeAndAnEmptyOneIsAnEmptyConfiguration) {
  std::string bytes(300000, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<char>(i * 7);
  }
  const auto content = Avo::LoadFile(Write(bytes));
  ASSERT_TRUE(content);
  EXPECT_EQ(std::string(content->begin(), content->end()), bytes);
  EXPECT_FALSE(Avo::LoadFile(m_path + ".missing"));
  ScopedLogCapture capture;
  Configuration configuration;
  configuration.LoadConfigurationFile(Write(""));
  EXPECT_EQ(Describe(configuration), "");
  EXPECT_THAT(capture.Lines(), IsEmpty());
}

} // namespace
