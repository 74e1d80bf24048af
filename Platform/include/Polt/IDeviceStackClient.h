#pragma once
/// @file
/// The device stack client: the interface through which a process talks to
/// the device stack service. Requests marked asynchronous return a request
/// identifier at once; their answer arrives later, on the client's delivery
/// thread, through the registered IResponseHandler.

#include "Avo/PlatformExport.h"

#include <map>
#include <string>

namespace Polt {

/// A connection to the device stack service. Which calls block and which
/// answer later through the IResponseHandler is said per operation.
class AVO_PLATFORM_EXPORT IDeviceStackClient {
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
    std::string value; ///< the property's text
    /// Same text.
    bool operator==(const Property& other) const { return value == other.value; }
  };

  /// Error state of a response; a non-zero code means the response carries an error.
  class AVO_PLATFORM_EXPORT IError {
  public:
    /// 0 for no error; any other number is the error's code.
    virtual int GetCode() const = 0;
    /// The class of the error ("" without an error).
    virtual const std::string& GetDescription() const = 0;
    /// What the error concerns, e.g. the operation and object ("" without an error).
    virtual const std::string& GetDetails() const = 0;
    /// The message meant for the requester ("" without an error).
    virtual std::string GetMessage() const = 0;
    virtual ~IError() = default;
  };

  /// Receiver of the answers to asynchronous requests. The first argument of
  /// every handler is the request's context pointer.
  class AVO_PLATFORM_EXPORT IResponseHandler {
  public:
    /// Answer to Request: the response text.
    virtual void OnResponse(void* context, const std::string& requestId,
                            const std::string& response, const IError& error) = 0;
    /// Answer to RegisterApplication.
    virtual void OnRegisterApplication(void* context, const std::string& requestId,
                                       const IError& error) = 0;
    /// Answer to a configuration read: the configuration text.
    virtual void OnGetConfiguration(void* context, const std::string& requestId,
                                    const std::string& config, const IError& error) = 0;
    /// Answer to SendConfiguration.
    virtual void OnSetConfiguration(void* context, const std::string& requestId,
                                    const IError& error) = 0;
    /// Answer to GetValue: the object's identifier, URN and value text.
    virtual void OnGetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    /// Answer to SetValue: the object's identifier, URN and the value text now held.
    virtual void OnSetValue(void* context, const std::string& requestId, unsigned long id,
                            const std::string& urn, const std::string& value,
                            const IError& error) = 0;
    virtual ~IResponseHandler() = default;
  };

  /// Switches the internal value format on or off.
  virtual void SetInternalValueFormat(bool enabled) = 0;
  /// Sets properties of an object synchronously.
  virtual bool SetConfiguration(unsigned long id,
                                const std::map<PropertyType, Property>& properties, bool flag) = 0;
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
