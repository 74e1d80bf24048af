#include "RequestHandler.h"

#include "ValueTexts.h"

#include <utility> // std::move

namespace DeviceStackd {
namespace {

namespace Protocol = Polt::DeviceStackProtocol;
using Protocol::Answer;
using Protocol::ErrorCode::InvalidArgument;
using Protocol::ErrorCode::InvalidValue;

static_assert(Protocol::ErrorCode::UnknownObject ==
                  Polt::DeviceStackObjectModel::UnknownObjectErrorCode,
              "clients of the service and of the simulation see the same code");

Protocol::AnswerError ErrorOf(const Polt::DeviceStackError& error) {
  return {error.GetCode(), error.GetDescription(), error.GetDetails(), error.GetMessage()};
}

std::string Details(const char* operation, unsigned long id) {
  return std::string(operation) + "(" + std::to_string(id) + ")";
}

// Applies one request; the visitor of the request body.
class Handling {
public:
  Handling(Polt::DeviceStackObjectModel& model, ConnectionFormat& format, HandledRequest& result)
      : m_model(model), m_format(format), m_result(result) {}

  void operator()(const Protocol::GetValueRequest& request) {
    Answer& answer = m_result.answer;
    answer.objectId = request.objectId;
    const Polt::DeviceStackObjectModel::Object* object = m_model.FindObject(request.objectId);
    if (object == nullptr) {
      answer.error =
          ErrorOf(Polt::DeviceStackObjectModel::UnknownObject("GetValue", request.objectId));
      return;
    }
    answer.urn = object->urn;
    answer.text = RenderValueText(object->value, m_format.internalValueFormat);
  }

  void operator()(const Protocol::SetValueRequest& request) {
    Answer& answer = m_result.answer;
    answer.objectId = request.objectId;
    const Polt::DeviceStackObjectModel::Object* object = m_model.FindObject(request.objectId);
    if (object == nullptr) {
      answer.error =
          ErrorOf(Polt::DeviceStackObjectModel::UnknownObject("SetValue", request.objectId));
      answer.text = request.value.size() <= MaxValueTextSize ? request.value : std::string();
      return;
    }
    answer.urn = object->urn;
    std::optional<std::string> kept = CanonicalValueText(request.value);
    if (!kept) {
      const bool tooLong = request.value.size() > MaxValueTextSize;
      answer.error = {InvalidValue, "Invalid value", Details("SetValue", request.objectId),
                      tooLong ? "Value text of " + std::to_string(request.value.size()) +
                                    " bytes exceeds the limit of " +
                                    std::to_string(MaxValueTextSize) + " bytes"
                              : "Value text '" + request.value + "' is not in the value text form"};
      answer.text = tooLong ? std::string() : request.value;
      return;
    }
    answer.text = RenderValueText(*kept, m_format.internalValueFormat);
    m_model.SetValue(request.objectId, std::move(*kept));
    m_result.changed = true;
  }

  // Free-form requests have no meaning of their own here: the response is
  // the request text, so a client sees its round trip.
  void operator()(const Protocol::FreeFormRequest& request) { m_result.answer.text = request.text; }

  void operator()(const Protocol::RegisterApplicationRequest& request) {
    m_model.AddRegistration({request.first, request.second, request.third});
    m_result.changed = true;
  }

  void operator()(const Protocol::SendConfigurationRequest& request) {
    m_model.AddConfiguration(request.configuration);
    m_result.changed = true;
  }

  void operator()(const Protocol::SetConfigurationRequest& request) {
    if (!m_model.SetProperties(request.objectId, request.properties)) {
      m_result.answer.error = ErrorOf(
          Polt::DeviceStackObjectModel::UnknownObject("SetConfiguration", request.objectId));
      return;
    }
    m_result.changed = true;
  }

  void operator()(const Protocol::GetDeviceConfigRequest& /*request*/) {
    m_result.answer.text = m_model.GetDeviceConfigText();
  }

  void operator()(const Protocol::SetDeviceConfigRequest& request) {
    m_model.SetDeviceConfigEntries(request.entries);
    m_result.changed = true;
  }

  void operator()(const Protocol::SetValueFormatRequest& request) {
    if (!Polt::DeviceStackObjectModel::IsValidValueFormat(request.format)) {
      m_result.answer.error = {InvalidArgument, "Invalid argument", "SetValueFormat()",
                               "The value format name is empty"};
      return;
    }
    m_format.valueFormat = request.format;
  }

  void operator()(const Protocol::SetInternalValueFormatRequest& request) {
    m_format.internalValueFormat = request.enabled;
  }

private:
  Polt::DeviceStackObjectModel& m_model;
  ConnectionFormat& m_format;
  HandledRequest& m_result;
};

} // namespace

HandledRequest RequestHandler::Handle(const Protocol::Request& request, ConnectionFormat& format) {
  HandledRequest result;
  result.answer.kind = Protocol::KindOf(request.body);
  result.answer.requestId = request.requestId;
  std::visit(Handling(m_model, format, result), request.body);
  return result;
}

} // namespace DeviceStackd
