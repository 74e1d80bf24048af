#include "Polt/DeviceStackError.h"

#include <utility> // std::move

namespace Polt {

DeviceStackError::DeviceStackError(int code, std::string description, std::string details,
                                   std::string message)
    : m_code(code), m_description(std::move(description)), m_details(std::move(details)),
      m_message(std::move(message)) {}

int DeviceStackError::GetCode() const { return m_code; }

const std::string& DeviceStackError::GetDescription() const { return m_description; }

const std::string& DeviceStackError::GetDetails() const { return m_details; }

std::string DeviceStackError::GetMessage() const { return m_message; }

} // namespace Polt
