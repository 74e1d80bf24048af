#include "AvoObjectModel/AppHostConfig.h"

#include "LogCapture.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>

namespace {

using AvoTest::Line;
using AvoTest::ScopedLogCapture;
using ::testing::ElementsAre;
using namespace std::string_literals;

constexpr auto kError = log4cplus::ERROR_LOG_LEVEL;

// The settings that differ from their defaults, in member order, e.g.
// "debug hostOff native=/n dp3 dp1".
std::string Describe(const Avo::AppHostConfiguration& c) {
  std::string text;
  const auto add = [&text](bool set, const std::string& item) {
    text += set ? (text.empty() ? "" : " ") + item : "";
  };
  add(c.IsInAppDebugMode(), "debug");
  add(c.IsAppHostStartupDisabled(), "hostOff");
  add(c.IsAppConnectorHostStartupDisabled(), "connectorOff");
  add(c.IsAppHostWithoutKNX(), "noKnx");
  add(c.IsAppHostTerminateOnFirmwareUpdate(), "terminate");
  for (const auto& [path, name] : {std::pair{c.GetRootPathNativeApp(), "native="},
                                   {c.GetRootPathManagedApp(), "managed="},
                                   {c.GetRootPathAppHost(), "host="},
                                   {c.GetRootPathAppConnectorHost(), "connector="},
                                   {c.GetPathObjectModelConfig(), "om="}}) {
    add(path.has_value(), name + path.value_or(""));
  }
  for (const unsigned long dp : c.GetResponseDataPoints()) {
    add(true, "dp" + std::to_string(dp));
  }
  return text;
}

std::string Config(const std::string& inner, const std::string& attributes = "") {
  return "<AvoAppHostConfig" + attributes + ">" + inner + "</AvoAppHostConfig>";
}

std::string ResponseDps(const std::string& dps) {
  return "<KelConfig><ResponseDps>" + dps + "</ResponseDps></KelConfig>";
}

std::string Debugging(const std::string& active, const std::string& children) {
  return Config("<Debugging" + active + ">" + children + "</Debugging>");
}

// Reaches the loader's file seam.
class Configuration : public Avo::AppHostConfiguration {
public:
  using Avo::AppHostConfiguration::LoadConfigurationFile;
};

class AppHostConfigFile : public ::testing::Test {
protected:
  void TearDown() override { static_cast<void>(std::remove(m_path.c_str())); }
  // The settings that loading a file of these bytes leaves, debug mode set
  // before as given, and what it threw.
  std::string Load(const std::string& bytes, bool debugMode = false) {
    std::ofstream(m_path, std::ios::binary) << bytes;
    Configuration configuration;
    configuration.SetAppDebugMode(debugMode);
    try {
      configuration.LoadConfigurationFile(m_path);
    } catch (const std::invalid_argument& e) {
      return Describe(configuration) + " threw invalid_argument " + e.what();
    } catch (const std::out_of_range& e) {
      return Describe(configuration) + " threw out_of_range " + e.what();
    }
    return Describe(configuration);
  }
  std::string m_path = ::testing::TempDir() + "avoapphostconfig-test.xml";
};

TEST_F(AppHostConfigFile, ElementAndAttributeRulesApplyInDocumentOrderWithoutLogging) {
  const std::string locations = "<App RootPath='/n'/><ManagedApp RootPath='/m'/>"
                                "<AppHost RootPath='/h'/>"
                                "<AppConnectorHost RootPath='/c' DisableStartup='1'/>";
  const std::tuple<bool, std::string, std::string> cases[] = {
      // debug mode before, XML, result
      {false,
       "<Other WithoutKNX='1'/><avoapphostconfig WithoutKNX='1'/>" +
           Config("<debugging Active='1'/><Other><Debugging Active='1'/></Other>"),
       ""},
      // Every flag value but "0" switches a flag on. An app host that does
      // not start takes the connector host with it in the end, but not the
      // reverse (see the locations below).
      {false,
       Debugging(" Active='no'", "<AppHost DisableStartup=' 0'/>") +
           Config("", " WithoutKNX='false' TerminateOnFirmwareUpdate='00'"),
       "debug hostOff connectorOff noKnx terminate"},
      {true,
       Debugging("", "<AppHost DisableStartup='1'/><AppConnectorHost DisableStartup='0'/>") +
           Debugging(" Active='0'", ""),
       "hostOff connectorOff"},
      // Later elements override earlier ones; empty values leave them.
      {false,
       Config("<ObjectModelConfig Path='/a'/>", " WithoutKNX='1'") +
           Config("<ObjectModelConfig Path=''/><ObjectModelConfig Path='/c&amp;d'/>",
                  " WithoutKNX='' TerminateOnFirmwareUpdate='1'") +
           Config("", " TerminateOnFirmwareUpdate='0'"),
       "noKnx om=/c&d"},
      // Debugging's children count in debug mode only, whoever switched it.
      {false, Debugging(" Active='1'", locations),
       "debug connectorOff native=/n managed=/m host=/h connector=/c"},
      {true, Debugging(" Active='0'", locations) + Debugging("", locations), ""},
      {true, Debugging("", "<AppHost RootPath='/h' DisableStartup='1'/>"),
       "debug hostOff connectorOff host=/h"},
      // After a byte-order mark; "Dp" without a number or with an empty one is skipped.
      {false,
       "\xEF\xBB\xBF<?xml version='1.0'?>" +
           Config(ResponseDps("<Dp ObjId='3'/><Dp/><Dp ObjId=''/><X ObjId='9'/>"
                              "<Dp ObjId='1'>t</Dp>") +
                  "<KelConfig>t<!-- c --><ResponseDps><Dp ObjId='2'/></ResponseDps>"
                  "</KelConfig>") +
           Config(ResponseDps("<Dp ObjId='3'/>")),
       "dp3 dp1 dp2 dp3"},
      // Only a "ResponseDps" that is the first child of "KelConfig" counts.
      {false,
       Config("<KelConfig><Other><Dp ObjId='1'/></Other><ResponseDps><Dp ObjId='2'/>"
              "</ResponseDps></KelConfig><ResponseDps><Dp ObjId='3'/></ResponseDps>"),
       ""}};
  for (const auto& [debugBefore, xml, expected] : cases) {
    ScopedLogCapture capture;
    EXPECT_EQ(Load(xml, debugBefore), expected) << xml;
    EXPECT_THAT(capture.Lines(), ::testing::IsEmpty()) << xml;
  }
  Avo::AppHostConfiguration c; // the exchanging setters return the previous value
  EXPECT_TRUE(!c.ReplaceAppDebugMode(true) && c.ReplaceAppDebugMode(false) &&
              !c.SetAppConnectorHostStartupDisabled(true) && c.IsAppConnectorHostStartupDisabled());
}

// "ObjId" reads like the string-to-unsigned-long conversion of the 32-bit
// device; its two errors reach the caller with what came before applied.
TEST_F(AppHostConfigFile, ObjIdReadsLikeThe32BitStringToUnsignedLong) {
  const std::string range = "out_of_range stoul", invalid = "invalid_argument stoul";
  const std::pair<std::string, std::string> cases[] = {
      {" 12", "12"},          {" \t\n\v\f\r+7", "7"},
      {"12ab", "12"},         {"-1", "4294967295"},
      {"-4294967295", "1"},   {"00000000000000000004294967295", "4294967295"},
      {"4294967296", range},  {"18446744073709551617", range}, // would wrap a 64-bit sum to 1
      {"-4294967296", range}, {"abc", invalid},
      {"+", invalid},         {"- 1", invalid}};
  for (const auto& [text, expected] : cases) {
    const bool failed = expected.find("stoul") != std::string::npos;
    const std::string dps = ResponseDps("<Dp ObjId='5'/><Dp ObjId='" + text + "'/>");
    EXPECT_EQ(Load(Config(dps, " WithoutKNX='1'") + Config("", " TerminateOnFirmwareUpdate='1'")),
              failed ? "noKnx dp5 threw " + expected : "noKnx terminate dp5 dp" + expected)
        << text;
  }
}

TEST_F(AppHostConfigFile, UnreadableFileIsLoggedWithItsQuotedPath) {
  const std::string folder = ::testing::TempDir();
  const std::string unreadable = "App host config file cannot be read from: \"";
  ScopedLogCapture capture;
  Configuration configuration;
  configuration.LoadConfigurationFile(folder + "no \"such\" & file.xml");
  configuration.LoadConfigurationFile(folder); // opens, but cannot be read
  EXPECT_THAT(capture.Lines(),
              ElementsAre(Line(kError, unreadable + folder + "no &\"such&\" && file.xml\""),
                          Line(kError, unreadable + folder + '"', "LoadConfigurationFile")));
  if (!std::ifstream(Avo::AppHostConfiguration::FilePath).is_open()) { // the public loader's path
    Avo::AppHostConfiguration().LoadConfigurationFile();
    EXPECT_EQ(capture.Texts().back(),
              unreadable + "/opt/userdata/etc/avoapphost/avoapphostconfig.xml\"");
  }
}

// Binary, cut off in an attribute or an element, ended by a zero byte, or
// nested one element deeper than the loader follows.
TEST_F(AppHostConfigFile, MalformedFileFallsBackAndKeepsEarlierSettings) {
  std::string tooDeep;
  for (unsigned depth = 0; depth <= Avo::AppHostConfiguration::MaximumElementNesting; ++depth) {
    tooDeep = "<e a='/>'><!-- <e> -->" + tooDeep + "</e>";
  }
  const std::pair<std::string, std::string> cases[] = {
      {"\x7f"
       "ELF\x01\x01\x01\0\0\0"s,
       "expected <"},
      {"<AvoAppHostConfig WithoutKNX=\"1", "expected ' or \""},
      {"<AvoAppHostConfig><KelConfig>", "unexpected end of data"},
      {std::string(Config("")).insert(5, 1, '\0'), "expected >"},
      {tooDeep, "elements nested too deeply"}};
  const auto fallback = Line(kError, "Falling back to standard configuration.");
  const std::string failed = "Failed to read configuration file: ";
  for (const auto& [bytes, what] : cases) {
    ScopedLogCapture capture;
    EXPECT_EQ(Load(bytes, true), "debug");
    EXPECT_THAT(capture.Lines(),
                ElementsAre(Line(kError, failed + what, "LoadAppHostConfigXML"), fallback));
  }
}

TEST_F(AppHostConfigFile, LargeFileLoadsInOrderAndAnEmptyOneIsAnEmptyConfiguration) {
  std::string dps, expected;
  for (unsigned long i = 0; i < 50000; ++i) { // spanning the whole 32-bit range
    dps += "\n    <Dp ObjId=\"" + std::to_string(i * 85899u) + "\"/>";
    expected += (i == 0 ? "dp" : " dp") + std::to_string(i * 85899u);
  }
  EXPECT_EQ(Load(Config(ResponseDps(dps))), expected);
  ScopedLogCapture capture;
  EXPECT_EQ(Load(""), "");
  EXPECT_THAT(capture.Lines(), ::testing::IsEmpty());
}

} // namespace
