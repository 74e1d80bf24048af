#pragma once
/// The group value bridge: conversions between a KNX group value and a
/// VELVALUE for a DPT given as one packed number, and the text and time
/// helpers they use.

#include "Avo/Text.h" // Avo::UTF8String
#include "Avo/VelValueHelper.h" // the Avo::ToVelValue overloads for plain values
#include "VelValue.h"

#include <boost/date_time/posix_time/ptime.hpp>

#include <string>

namespace Avo {

/// The text as valid UTF-8: valid text unchanged, byte for byte; otherwise
/// every invalid sequence replaced by one "?" (a sequence cut off at the end
/// of the text included). Never fails.
UTF8String RepairUTF8(std::string text);

/// A record of expectedType holding the time point, read as local time, in
/// its time member (set from the seconds count that mktime gives).
///
/// The time member is set from a signed 32-bit seconds count, so time points
/// after 2038-01-19 03:14:07 or before 1901-12-13 20:45:52, special time
/// points (not-a-date-time, infinities) and local times that mktime cannot
/// convert give an ivtEmpty record with a cleared time member instead. The
/// same bounds apply on every platform, whatever the width of its time_t.
VELVALUE ToVelValue(const boost::posix_time::ptime& time, VelValueType expectedType);

} // namespace Avo
