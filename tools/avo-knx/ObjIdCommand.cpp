// objid: object-model identifiers computed and explained by Avo::KnxKelMapping.

#include "Commands.h"
#include "Json.h"

#include "AvoObjectModel/KnxKelMapping.h"

#include <boost/optional.hpp>

#include <algorithm>
#include <ostream>

namespace AvoKnx {
namespace {

using Avo::KnxKelMapping;
using Avo::LogicalDeviceId;
using Avo::ObjModelId;
using Avo::ParameterType;

LogicalDeviceId ParseLogicalDevice(const std::string& text) {
  if (text != "1" && text != "2") {
    throw UsageError("logical device '" + text + "' is not 1 or 2");
  }
  return LogicalDeviceId(text == "1" ? 1 : 2);
}

ParameterType ParseParameterType(const std::string& text) {
  if (text == "ip" || text == "0") {
    return ParameterType::Ip;
  }
  if (text == "number" || text == "1") {
    return ParameterType::Number;
  }
  if (text == "text" || text == "2") {
    return ParameterType::Text;
  }
  throw UsageError("parameter type '" + text + "' is not ip, number or text (0, 1, 2)");
}

const char* ParameterTypeName(ParameterType type) {
  switch (type) {
  case ParameterType::Ip:
    return "ip";
  case ParameterType::Number:
    return "number";
  case ParameterType::Text:
    return "text";
  }
  return "";
}

std::uint16_t ParseNumber16(const std::string& text, const std::string& what) {
  return static_cast<std::uint16_t>(ParseUnsigned(text, 65535, what));
}

// The identifiers of one computation, by name, printed as "name id" lines or
// as one JSON object.
class IdReport {
public:
  IdReport(Context& context, const std::string& kind) : m_context(context) {
    m_json.String("command", "objid").String("kind", kind);
  }
  IdReport& Number(const char* name, std::int64_t value) {
    m_json.Number(name, value);
    return *this;
  }
  IdReport& Id(const char* name, const boost::optional<ObjModelId>& id) {
    if (id) {
      m_json.Number(name, *id);
    } else {
      m_json.Null(name);
    }
    std::string label = name;
    label.resize(std::max<std::size_t>(label.size() + 1, kLabelWidth), ' ');
    m_lines += label + (id ? std::to_string(*id) : std::string("none")) + "\n";
    return *this;
  }
  void Print() const {
    if (m_context.json) {
      m_context.out << m_json.Text() << '\n';
    } else {
      m_context.out << m_lines;
    }
  }

private:
  Context& m_context;
  JsonObject m_json;
  std::string m_lines;
  static constexpr std::size_t kLabelWidth = 18;
};

void RequireWords(const std::vector<std::string>& words, std::size_t count, const char* usage) {
  if (words.size() != count) {
    throw UsageError(std::string("usage: avo-knx objid ") + usage);
  }
}

int ComputeCo(Context& context, const std::vector<std::string>& words) {
  RequireWords(words, 3, "co CO LD");
  const std::uint16_t co = ParseNumber16(words[1], "CO number");
  const LogicalDeviceId ld = ParseLogicalDevice(words[2]);
  const auto channel = KnxKelMapping::GetCoChannelObjModelId(co, ld);
  IdReport(context, "co")
      .Number("co", co)
      .Number("ld", ld)
      .Id("channel", channel)
      .Id("value", KnxKelMapping::GetCoValueObjModelId(co, ld))
      .Print();
  if (!channel) {
    context.err << "avo-knx: objid refused: CO " << co << " has no channel (CO numbers 0..4095)\n";
  }
  return channel ? kSuccess : kRefused;
}

int ComputeParameter(Context& context, const std::vector<std::string>& words) {
  RequireWords(words, 4, "param TYPE N LD");
  const ParameterType type = ParseParameterType(words[1]);
  const std::uint16_t number = ParseNumber16(words[2], "parameter number");
  const LogicalDeviceId ld = ParseLogicalDevice(words[3]);
  const auto channel = KnxKelMapping::GetParameterChannelObjModelId(number, ld, type);
  IdReport(context, "param")
      .Number("type", static_cast<int>(type))
      .Number("number", number)
      .Number("ld", ld)
      .Id("channel", channel)
      .Id("value", KnxKelMapping::GetParameterValueObjModelId(number, ld, type))
      .Print();
  if (!channel) {
    context.err << "avo-knx: objid refused: " << ParameterTypeName(type) << " parameter " << number
                << " has no channel (numbers up to " << KnxKelMapping::GetMaxParametersOfType(type)
                << ")\n";
  }
  return channel ? kSuccess : kRefused;
}

int ComputeAppControl(Context& context, const std::vector<std::string>& words) {
  RequireWords(words, 2, "app-control LD");
  const LogicalDeviceId ld = ParseLogicalDevice(words[1]);
  IdReport(context, "app-control")
      .Number("ld", ld)
      .Id("channel", KnxKelMapping::GetAppHostAppControlChannelObjModelId(ld))
      .Id("state", KnxKelMapping::GetAppHostAppControlStateObjModelId(ld))
      .Id("event", KnxKelMapping::GetAppHostAppControlEventObjModelId(ld))
      .Id("alive", KnxKelMapping::GetAppHostAppControlAliveObjModelId(ld))
      .Id("app-debug", KnxKelMapping::GetAppHostAppControlAppDebugObjModelId(ld))
      .Print();
  return kSuccess;
}

int ComputeDevice(Context& context, const std::vector<std::string>& words) {
  RequireWords(words, 1, "device");
  IdReport(context, "device")
      .Id("device", KnxKelMapping::GetDeviceObjModelId())
      .Id("knx-device", KnxKelMapping::GetKnxDeviceObjModelId())
      .Id("logical-device-1", KnxKelMapping::GetLogicalKnxDeviceObjModelId(1))
      .Id("last-id-1", KnxKelMapping::GetLastObjModelId(1))
      .Id("logical-device-2", KnxKelMapping::GetLogicalKnxDeviceObjModelId(2))
      .Id("last-id-2", KnxKelMapping::GetLastObjModelId(2))
      .Print();
  return kSuccess;
}

// One thing an identifier denotes.
struct Meaning {
  std::string kind;
  std::string text;
};

void DescribeParameter(ObjModelId id, LogicalDeviceId ld, std::vector<Meaning>& meanings) {
  const auto type = KnxKelMapping::GetParameterTypeFromObjModelId(id, ld);
  const auto number = KnxKelMapping::GetParameterNumberFromObjModelId(id, ld);
  if (!type || !number) {
    return;
  }
  // Channels are even and values odd; the parameter functions accept both.
  const bool isValue = id % 2 == 1;
  meanings.push_back({isValue ? "parameter-value" : "parameter-channel",
                      std::string(isValue ? "value" : "channel") + " of " +
                          ParameterTypeName(*type) + " parameter " + std::to_string(*number) +
                          " of logical device " + std::to_string(ld)});
}

void DescribeInLogicalDevice(ObjModelId id, LogicalDeviceId ld, std::vector<Meaning>& meanings) {
  const std::string ofLd = " of logical device " + std::to_string(ld);
  if (id == KnxKelMapping::GetLogicalKnxDeviceObjModelId(ld)) {
    meanings.push_back({"logical-device", "logical KNX device " + std::to_string(ld)});
  }
  if (id == KnxKelMapping::GetAppHostAppControlChannelObjModelId(ld)) {
    meanings.push_back({"app-control-channel", "app-control channel" + ofLd});
  }
  const std::pair<bool (*)(ObjModelId, LogicalDeviceId), const char*> appControl[] = {
      {KnxKelMapping::IsAppHostAppControlState, "state"},
      {KnxKelMapping::IsAppHostAppControlEvent, "event"},
      {KnxKelMapping::IsAppHostAppControlAliveHeartbeat, "alive heartbeat"},
      {KnxKelMapping::IsAppHostAppControlAppDebug, "app debug"}};
  for (const auto& object : appControl) {
    if (object.first(id, ld)) {
      meanings.push_back(
          {"app-control-object", std::string("app-control ") + object.second + ofLd});
    }
  }
  if (KnxKelMapping::IsCoChannel(id)) {
    const auto co = KnxKelMapping::GetCoNumberFromObjModelId(id + 1, ld);
    meanings.push_back({"co-channel", "channel of CO " + (co ? std::to_string(*co) : "?") + ofLd});
  }
  if (KnxKelMapping::IsCoValue(id)) {
    const auto co = KnxKelMapping::GetCoNumberFromObjModelId(id, ld);
    meanings.push_back({"co-value", "value of CO " + (co ? std::to_string(*co) : "?") + ofLd});
  }
  if (KnxKelMapping::IsParameterChannel(id)) {
    DescribeParameter(id, ld, meanings);
  }
  if (id == KnxKelMapping::GetLastObjModelId(ld)) {
    meanings.push_back({"last-id", "last ID" + ofLd});
  }
}

int Describe(Context& context, const std::vector<std::string>& words) {
  RequireWords(words, 2, "describe ID");
  const auto id = static_cast<ObjModelId>(ParseUnsigned(words[1], 4294967295UL, "ID"));
  std::vector<Meaning> meanings;
  if (id == KnxKelMapping::GetDeviceObjModelId()) {
    meanings.push_back({"device", "the device (also the KNX device)"});
  }
  if (const auto ld = KnxKelMapping::GetLogicalDeviceIdFromObject(id)) {
    DescribeInLogicalDevice(id, *ld, meanings);
  } else if (KnxKelMapping::IsAnyLogicalKnxDeviceId(id)) {
    meanings.push_back(
        {"beyond-logical-devices",
         "counts as a logical KNX device ID but lies beyond logical devices 1 and 2"});
  }
  if (context.json) {
    std::string list = "[";
    for (const Meaning& meaning : meanings) {
      list += (list.size() > 1 ? "," : "") +
              JsonObject().String("kind", meaning.kind).String("text", meaning.text).Text();
    }
    context.out << JsonObject()
                       .String("command", "objid")
                       .String("kind", "describe")
                       .Number("id", id)
                       .Raw("denotes", list + "]")
                       .Text()
                << '\n';
  } else if (meanings.empty()) {
    context.out << id << ": nothing known\n";
  } else {
    for (const Meaning& meaning : meanings) {
      context.out << id << ": " << meaning.text << '\n';
    }
  }
  return kSuccess;
}

int RunObjId(Context& context) {
  const std::vector<std::string>& words = context.arguments.Positionals();
  if (words.empty()) {
    throw UsageError("objid needs one of: co, param, app-control, device, describe");
  }
  const std::string& what = words.front();
  if (what == "co") {
    return ComputeCo(context, words);
  }
  if (what == "param") {
    return ComputeParameter(context, words);
  }
  if (what == "app-control") {
    return ComputeAppControl(context, words);
  }
  if (what == "device") {
    return ComputeDevice(context, words);
  }
  if (what == "describe") {
    return Describe(context, words);
  }
  throw UsageError("objid '" + what + "' is not one of: co, param, app-control, device, describe");
}

} // namespace

const Command& ObjIdCommand() {
  static const Command command{"objid",
                               "object-model identifiers: compute and explain",
                               {},
                               RunObjId,
                               R"(usage: avo-knx objid co CO LD
       avo-knx objid param TYPE N LD
       avo-knx objid app-control LD
       avo-knx objid device
       avo-knx objid describe ID

Computes object-model identifiers with Avo::KnxKelMapping: the channel and
value of communication object CO (0..4095) or of parameter N of TYPE (ip,
number or text) of logical device LD (1 or 2), the app-control objects of LD,
the device's own identifiers; and explains what an identifier denotes.

examples:
  avo-knx objid co 17 2
  avo-knx objid param number 1 1
  avo-knx objid describe 200133
)"};
  return command;
}

} // namespace AvoKnx
