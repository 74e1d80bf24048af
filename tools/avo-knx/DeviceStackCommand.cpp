// devicestack: requests through Avo::DscAsyncRequestMessenger against the
// simulated device stack, or the device stack service behind --connect, one
// docket printed per request.

#include "Commands.h"
#include "Json.h"
#include "ValueSyntax.h"

#include "Avo/Function.h"
#include "AvoObjectModel/DscAsyncRequestMessenger.h"
#include "AvoObjectModel/RequestMessengerDeviceStack.h"
#include "Polt/SimulatedDeviceStackClient.h"
#include "Polt/SocketDeviceStackClient.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <chrono>
#include <fstream>
#include <istream>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept> // std::invalid_argument

namespace AvoKnx {
namespace {

// Enough for every answer still on its way to arrive after a request.
constexpr std::chrono::milliseconds kSettleTime{10000};

// One request as the user wrote it, checked before anything is sent.
struct Request {
  std::string kind; ///< get, set, request, register, configure
  std::vector<std::string> words;
  unsigned long id = 0;
  std::optional<VELVALUE> value; ///< of set

  std::string Text() const {
    std::string text = kind;
    for (const std::string& word : words) {
      text += ' ';
      text += word;
    }
    return text;
  }
};

std::size_t WordCount(const std::string& kind) {
  static const std::map<std::string, std::size_t> kCounts = {{"get", 1},
                                                             {"set", 2},
                                                             {"request", 1},
                                                             {"register", 3},
                                                             {"configure", 1}};
  const auto count = kCounts.find(kind);
  if (count == kCounts.end()) {
    throw UsageError("'" + kind + "' is not a request: get, set, request, register or configure");
  }
  return count->second;
}

// The simulated device stack's objects at the start, and the --type of set.
struct ObjectModel {
  std::map<unsigned long, VELVALUE> objects;
  std::optional<VelValueType> type;

  // set writes a value of --type, else of the object's type, else of its shape.
  VELVALUE ParseSetValue(unsigned long id, const std::string& text) const {
    if (type) {
      return ParseValue(text, *type);
    }
    const auto object = objects.find(id);
    return ParseValue(text, object != objects.end() ? object->second.ivt : InferValueType(text));
  }
};

unsigned long ParseObjectId(const std::string& text) {
  return ParseUnsigned(text, 4294967295UL, "object ID");
}

Request MakeRequest(const std::string& kind, std::vector<std::string> words,
                    const ObjectModel& model) {
  if (words.size() != WordCount(kind)) {
    throw UsageError("'" + kind + "' needs " + std::to_string(WordCount(kind)) + " word(s), got " +
                     std::to_string(words.size()));
  }
  Request request{kind, std::move(words), 0, std::nullopt};
  if (kind == "get" || kind == "set") {
    request.id = ParseObjectId(request.words[0]);
  }
  if (kind == "set") {
    request.value = model.ParseSetValue(request.id, request.words[1]);
  }
  return request;
}

// Requests given as arguments: each kind takes its fixed number of words.
std::vector<Request> RequestsFromWords(const std::vector<std::string>& words,
                                       const ObjectModel& model) {
  std::vector<Request> requests;
  for (std::size_t i = 0; i < words.size();) {
    const std::string& kind = words[i++];
    const std::size_t count = WordCount(kind);
    if (i + count > words.size()) {
      throw UsageError("'" + kind + "' needs " + std::to_string(count) + " word(s)");
    }
    requests.push_back(MakeRequest(
        kind,
        std::vector<std::string>(words.begin() + static_cast<std::ptrdiff_t>(i),
                                 words.begin() + static_cast<std::ptrdiff_t>(i + count)),
        model));
    i += count;
  }
  return requests;
}

// A script line: the kind, then its words; the last word (the VALUE of set,
// the TEXT of request and configure) takes the rest of the line.
Request RequestFromLine(const std::string& line, const ObjectModel& model) {
  std::istringstream stream(line);
  std::string kind;
  stream >> kind;
  const std::size_t count = WordCount(kind);
  std::vector<std::string> words;
  for (std::size_t i = 0; i + 1 < count; ++i) {
    std::string word;
    if (stream >> word) {
      words.push_back(word);
    }
  }
  std::string rest;
  std::getline(stream >> std::ws, rest);
  if (!rest.empty()) {
    words.push_back(rest);
  }
  return MakeRequest(kind, std::move(words), model);
}

std::vector<Request> RequestsFromScript(std::istream& script, const ObjectModel& model) {
  std::vector<Request> requests;
  std::string line;
  for (unsigned number = 1; std::getline(script, line); ++number) {
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    const auto first = line.find_first_not_of(" \t");
    if (first == std::string::npos || line[first] == '#') {
      continue;
    }
    try {
      requests.push_back(RequestFromLine(line.substr(first), model));
    } catch (const UsageError& error) {
      throw UsageError("script line " + std::to_string(number) + ": " + error.what());
    }
  }
  return requests;
}

std::chrono::microseconds Milliseconds(const std::string& text, const std::string& what) {
  return std::chrono::milliseconds(ParseUnsigned(text, 3600000, what));
}

Polt::SimulatedDeviceStackOptions ReadSimulation(const Arguments& arguments) {
  Polt::SimulatedDeviceStackOptions options;
  if (const auto delay = arguments.Value("delay")) {
    const auto dash = delay->find('-');
    options.minDelay = Milliseconds(delay->substr(0, dash), "delay");
    options.maxDelay = dash == std::string::npos ? options.minDelay
                                                 : Milliseconds(delay->substr(dash + 1), "delay");
    if (options.maxDelay < options.minDelay) {
      throw UsageError("delay '" + *delay + "' ends before it starts");
    }
  }
  const std::pair<const char*, double Polt::SimulatedDeviceStackOptions::*> rates[] = {
      {"drop", &Polt::SimulatedDeviceStackOptions::dropRate},
      {"duplicate", &Polt::SimulatedDeviceStackOptions::duplicateRate},
      {"error", &Polt::SimulatedDeviceStackOptions::errorRate},
      {"empty-id", &Polt::SimulatedDeviceStackOptions::emptyRequestIdRate}};
  for (const auto& rate : rates) {
    if (const auto text = arguments.Value(rate.first)) {
      options.*rate.second = ParseRate(*text, std::string(rate.first) + " rate");
    }
  }
  if (const auto seed = arguments.Value("seed")) {
    options.seed = ParseUnsigned(*seed, 4294967295UL, "seed");
  }
  return options;
}

ObjectModel ReadObjectModel(const Arguments& arguments) {
  ObjectModel model;
  if (const auto type = arguments.Value("type")) {
    model.type = ParseValueType(*type);
  }
  for (const std::string& object : arguments.Values("object")) {
    const auto equals = object.find('=');
    if (equals == std::string::npos) {
      throw UsageError("object '" + object + "' is not written ID=VALUE");
    }
    const std::string valueText = object.substr(equals + 1);
    model.objects[ParseObjectId(object.substr(0, equals))] =
        ParseValue(valueText, InferValueType(valueText));
  }
  return model;
}

// The options that shape the simulated device stack; the service behind
// --connect keeps its own objects and behaves as it does.
const char* const kSimulationOptions[] = {"object", "delay",    "drop", "duplicate",
                                          "error",  "empty-id", "seed"};

// Where the requests go: the simulated device stack in this process, or the
// device stack service behind --connect.
class DeviceStack {
public:
  DeviceStack(const Polt::SimulatedDeviceStackOptions& options, const ObjectModel& model)
      : m_simulation(std::make_unique<Polt::SimulatedDeviceStackClient>(options)) {
    for (const auto& object : model.objects) {
      std::string text;
      object.second.Serialize(text, false);
      m_simulation->SetObject(object.first, text);
    }
  }
  explicit DeviceStack(const std::string& socketPath) {
    Polt::SocketDeviceStackClientOptions options;
    options.socketPath = socketPath;
    m_service = std::make_unique<Polt::SocketDeviceStackClient>(options);
  }

  Polt::IDeviceStackClient& Client() {
    return m_simulation ? static_cast<Polt::IDeviceStackClient&>(*m_simulation) : *m_service;
  }

  // Late and repeated answers log too: let the simulation's arrive before a
  // docket is shown. The service's arrive when they arrive.
  void Settle() const {
    if (m_simulation) {
      m_simulation->WaitUntilIdle(kSettleTime);
    }
  }

private:
  std::unique_ptr<Polt::SimulatedDeviceStackClient> m_simulation;
  std::unique_ptr<Polt::SocketDeviceStackClient> m_service;
};

// The device stack with the adapter and the messenger on it, in construction
// order; the messenger receives the answers while it lives.
class Session {
public:
  Session(DeviceStack& deviceStack, boost::posix_time::time_duration timeout, unsigned int retries)
      : m_deviceStack(deviceStack), m_adapter(m_deviceStack.Client()),
        m_messenger(m_adapter, timeout, retries) {
    m_messenger.SetAsResponseHandler();
  }
  ~Session() {
    m_deviceStack.Settle();
    m_messenger.UnsetAsResponseHandler();
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  Avo::Docket Send(const Request& request) {
    Avo::Docket docket = SendRequest(request);
    m_deviceStack.Settle();
    return docket;
  }

private:
  Avo::Docket SendRequest(const Request& request) {
    const boost::posix_time::time_duration defaultTimeout; // zero: the messenger's own
    if (request.kind == "get") {
      return m_messenger.GetValue(request.id, false);
    }
    if (request.kind == "set") {
      return m_messenger.SetValue(request.id, *request.value, false);
    }
    if (request.kind == "request") {
      return m_messenger.Request(request.words[0], defaultTimeout);
    }
    if (request.kind == "register") {
      return m_messenger.RegisterApplication(request.words[0], request.words[1], request.words[2]);
    }
    return m_messenger.SetConfiguration(request.words[0], defaultTimeout,
                                        Avo::BoolReader([] { return true; }));
  }

  DeviceStack& m_deviceStack;
  Avo::RemoteRequestMessengerDeviceStack m_adapter;
  Avo::DscAsyncRequestMessenger m_messenger;
};

// The value a get or set answer carries, in the value syntax, when its text reads.
std::optional<VELVALUE> ReplyValue(const Request& request, const Avo::Docket& docket) {
  VELVALUE value;
  if ((request.kind == "get" || request.kind == "set") && docket.IsReplyValid() &&
      value.Deserialize(docket.ReadReply())) {
    return value;
  }
  return std::nullopt;
}

void PrintDocket(Context& context, const Request& request, const Avo::Docket& docket,
                 const std::vector<LibraryLogLine>& lines) {
  const std::optional<VELVALUE> value = ReplyValue(request, docket);
  if (context.json) {
    JsonObject json;
    json.String("request", request.Text())
        .Bool("answered", docket.IsAnswered())
        .Bool("valid", docket.IsReplyValid())
        .String("reply", docket.ReadReply());
    if (value) {
      const std::string text = FormatValue(*value);
      IsJsonLiteral(*value, text) ? json.Raw("value", text) : json.String("value", text);
    }
    json.String("deliveryError", docket.ReadDeliveryError()).Raw("log", LinesAsJson(lines));
    context.out << json.Text() << '\n';
    return;
  }
  context.ShowLibraryLines(lines);
  context.out << request.Text() << ": ";
  if (!docket.IsAnswered()) {
    context.out << "not answered\n";
    return;
  }
  context.out << "answered, " << (docket.IsReplyValid() ? "valid" : "invalid") << ", reply "
              << FormatJsonString(docket.ReadReply());
  if (value) {
    context.out << " (" << FormatValue(*value) << ")";
  }
  if (!docket.ReadDeliveryError().empty()) {
    context.out << ", delivery error " << FormatJsonString(docket.ReadDeliveryError());
  }
  context.out << '\n';
}

std::vector<Request> ReadRequests(Context& context, const ObjectModel& model) {
  const std::vector<std::string>& words = context.arguments.Positionals();
  const auto script = context.arguments.Value("script");
  if (script && !words.empty()) {
    throw UsageError("give the requests either as arguments or in --script, not both");
  }
  if (!script) {
    if (words.empty()) {
      throw UsageError(
          "devicestack needs requests (get ID, set ID VALUE, request TEXT, register A B C, "
          "configure TEXT) or --script FILE");
    }
    return RequestsFromWords(words, model);
  }
  if (*script == "-") {
    return RequestsFromScript(context.in, model);
  }
  std::ifstream file(*script);
  if (!file) {
    throw UsageError("cannot read the script '" + *script + "'");
  }
  return RequestsFromScript(file, model);
}

std::optional<std::string> ReadServiceSocket(const Arguments& arguments) {
  std::optional<std::string> socketPath = arguments.Value("connect");
  if (!socketPath) {
    return std::nullopt;
  }
  if (socketPath->empty()) {
    throw UsageError("--connect needs the path of the device stack service's socket");
  }
  for (const char* option : kSimulationOptions) {
    if (arguments.Has(option)) {
      throw UsageError(std::string("--") + option +
                       " shapes the simulated device stack; it does not apply with --connect");
    }
  }
  return socketPath;
}

int RunDeviceStack(Context& context) {
  const std::optional<std::string> socketPath = ReadServiceSocket(context.arguments);
  const Polt::SimulatedDeviceStackOptions options = ReadSimulation(context.arguments);
  const ObjectModel model = ReadObjectModel(context.arguments);
  const std::vector<Request> requests = ReadRequests(context, model);
  const auto timeout = boost::posix_time::milliseconds(static_cast<long>(
      ParseUnsigned(context.arguments.Value("timeout").value_or("1000"), 3600000, "timeout")));
  const auto retries = static_cast<unsigned int>(
      ParseUnsigned(context.arguments.Value("retries").value_or("2"), 1000, "retries"));

  std::unique_ptr<DeviceStack> deviceStack;
  try {
    deviceStack = socketPath ? std::make_unique<DeviceStack>(*socketPath)
                             : std::make_unique<DeviceStack>(options, model);
  } catch (const std::invalid_argument& error) {
    throw UsageError(error.what());
  }
  // What the connection to a service had to say (it is not reachable, ...)
  // comes before the first docket.
  context.ShowLibraryLines(context.log.Take());
  Session session(*deviceStack, timeout, retries);
  context.log.Discard();
  bool allValid = true;
  for (const Request& request : requests) {
    const Avo::Docket docket = session.Send(request);
    PrintDocket(context, request, docket, context.log.Take());
    allValid = allValid && docket.IsAnswered() && docket.IsReplyValid();
  }
  return allValid ? kSuccess : kRefused;
}

} // namespace

const Command& DeviceStackCommand() {
  static const Command command{
      "devicestack",
      "requests through the request messenger to a simulated device stack or the service",
      {{"script", true},
       {"connect", true},
       {"object", true},
       {"type", true},
       {"delay", true},
       {"drop", true},
       {"duplicate", true},
       {"error", true},
       {"empty-id", true},
       {"seed", true},
       {"timeout", true},
       {"retries", true}},
      RunDeviceStack,
      R"(usage: avo-knx devicestack [OPTIONS] REQUEST...
       avo-knx devicestack [OPTIONS] --script FILE     (FILE - is standard input)

Sends each request through Avo::DscAsyncRequestMessenger to a simulated
device stack (Polt::SimulatedDeviceStackClient), or with --connect to the
device stack service (Polt::SocketDeviceStackClient), and prints its docket:
answered or not, valid or not, the reply, and the device stack's delivery
error. Requests:

  get ID            reads an object's value
  set ID VALUE      writes a value: VALUE in the value syntax, read as the
                    type of the object's value (or --type N, or VALUE's shape)
  request TEXT      a free-form request; the device stack answers with TEXT
  register A B C    registers an application
  configure TEXT    sends a configuration text

In a script, one request per line ("#" starts a comment); the VALUE of set and
the TEXT of request and configure take the rest of the line.

options:
  --connect SOCKET    talk to the device stack service listening on SOCKET
                      instead of the simulation (the simulation's options
                      --object, --delay, --drop, --duplicate, --error,
                      --empty-id and --seed do not apply)
  --object ID=VALUE   an object of the device stack at the start (repeatable)
  --type N            the value type of every set VALUE
  --delay MS|MIN-MAX  answer delay in milliseconds (default 0)
  --drop RATE         probability (0..1) that an answer is lost
  --duplicate RATE    probability that an answer arrives twice
  --error RATE        probability that a request is answered with an error
  --empty-id RATE     probability that a request gets no request identifier
  --seed N            seed of the random draws (default 1): equal seeds, equal runs
  --timeout MS        how long the messenger waits for an answer (default 1000)
  --retries N         further attempts after a timeout (default 2)

The exit status is 0 when every request was answered without error, 1 otherwise.

examples:
  avo-knx devicestack --object 100101=21.5 get 100101 set 100101 22.5 get 100101
  avo-knx devicestack request ping register app1 1.0 native
  avo-knx devicestack --drop 0.5 --timeout 100 --seed 7 request a request b
  avo-knx devicestack --connect /run/avo-devicestackd.sock get 200133
)"};
  return command;
}

} // namespace AvoKnx
