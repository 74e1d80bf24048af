#pragma once
/// The device stack client: the interface through which a process talks to
/// the device stack service. Requests marked asynchronous return a request
/// identifier at once; their answer arrives later, on the client's delivery
/// thread, through the registered IResponseHandler.

#include <map>
#include <string>

namespace Polt {

class IDeviceStackClient {
public:
  /// Kinds of properties of an object-model object.
  enum PropertyType : int {
    ptName = 0,
    ptDescription = 1,
    ptUnit = 2,
    ptDpt = 3,
    ptFlags = 4,
    ptDefaultValue = 5
  };

  /// One property value, as text.
  struct Property {
    std::string value;
    bool operator==(const Property& other) const { return value == other.value; }
  };

  /// Error state of a response; a non-zero code means the response carries an error.
  class IError {
  public:
    virtual int GetCode() const = 0;
    virtual const std::string& GetDescription() const = 0;
    virtual const std::string& GetDetails() const = 0;
    virtual std::string GetMessage() const = 0;
    virtual ~IError() = default;
  };

  /// Receiver of the answers to asynchronous requests. The first argument of
  /// every handler is the request's context pointer.
  class IResponseHandler {
  public:
    virtual void OnResponse(void* context, const std::string& requestId,
                            const std::string& response, const IError& error) = 0;
    virtual void OnRegisterApplication(void* context, const std::string& requestId,
                                       const IError& error) = 0;
    virtual void OnGetConfiguration(void* context, const std::string& requestId,
                                    const std::string& config, const IError& error) = 0;
    virtual void OnSetConfiguration(void* context, const std::string& requestId,
                                    const IError& error) = 0;
    virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    virtual ~IResponseHandler() = default;
  };

  /// Switches the internal value format on or off.
  virtual void SetInternalValueFormat(bool enabled) = 0;
  /// Sets properties of an object synchronously.
  virtual bool SetConfiguration(unsigned long id, const std::map<PropertyType, Property>& properties,
                                bool flag) = 0;
  /// Reads the device configuration text.
  virtual bool GetDeviceConfig(std::string& config, bool flag) = 0;
  /// Writes device configuration entries.
  virtual bool SetDeviceConfig(const std::map<std::string, std::string>& config) = 0;
  /// Selects a value format by name ("Native", ...).
  virtual bool SetValueFormat(const std::string& format) = 0;
  /// Asynchronous free-form request; answered through OnResponse.
  virtual std::string Request(const std::string& request) = 0;
  /// Asynchronous application registration; answered through OnRegisterApplication.
  virtual std::string RegisterApplication(const std::string& first, const std::string& second,
                                          const std::string& third) = 0;
  /// Asynchronous configuration; answered through OnSetConfiguration.
  virtual std::string SendConfiguration(const std::string& configuration) = 0;
  /// Asynchronous value read; answered through OnGetValue.
  virtual std::string GetValue(unsigned long id, bool flag) = 0;
  /// Asynchronous value write; answered through OnSetValue.
  virtual std::string SetValue(unsigned long id, const std::string& value, bool flag,
                               void* context) = 0;
  /// Registers the receiver of answers (nullptr unregisters).
  virtual void SetResponseHandler(IResponseHandler* handler, int reserved) = 0;

  virtual ~IDeviceStackClient() = default;
};

} // namespace Polt
