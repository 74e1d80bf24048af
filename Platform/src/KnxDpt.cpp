// Text of a KNX datapoint type identity.

#include "VelValue.h"

#include <ostream>

std::string KNXDPT::ToString() const {
  return std::to_string(mainNumber) + "." + std::to_string(subNumber);
}

std::ostream& operator<<(std::ostream& os, const KNXDPT& dpt) { return os << dpt.ToString(); }
