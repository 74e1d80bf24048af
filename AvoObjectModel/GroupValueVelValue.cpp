#include "AvoObjectModel/GroupValueVelValue.h"

#include "Avo/Unreachable.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <utf8.h> // utf8::replace_invalid

#include <ctime> // std::mktime, std::tm, std::time_t
#include <iterator> // std::back_inserter
#include <utility>

namespace Avo {
namespace {

// The time points that a signed 32-bit seconds count holds: the record's time
// member is set from such a count, so nothing outside them can be stored.
const boost::posix_time::ptime& FirstStorableTime() {
  static const boost::posix_time::ptime first(boost::gregorian::date(1901, 12, 13),
                                              boost::posix_time::time_duration(20, 45, 52));
  return first;
}

const boost::posix_time::ptime& LastStorableTime() {
  static const boost::posix_time::ptime last(boost::gregorian::date(2038, 1, 19),
                                             boost::posix_time::time_duration(3, 14, 7));
  return last;
}

} // namespace

UTF8String RepairUTF8(std::string text) {
  if (UTF8String::IsValid(text)) {
    return UndefinedBehaviourIfNone(UTF8String::Create(std::move(text)));
  }
  // The appended NUL closes a sequence cut off at the very end, so that it
  // counts as one invalid sequence and becomes a single "?"; the NUL itself is
  // valid, is copied and is dropped again.
  text.push_back('\0');
  std::string repaired;
  repaired.reserve(text.size());
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(repaired), '?');
  if (!repaired.empty() && repaired.back() == '\0') {
    repaired.pop_back();
  }
  return UndefinedBehaviourIfNone(UTF8String::Create(std::move(repaired)));
}

VELVALUE ToVelValue(const boost::posix_time::ptime& time, VelValueType expectedType) {
  VELVALUE unstorable;
  if (time.is_special() || time < FirstStorableTime() || time > LastStorableTime()) {
    return unstorable;
  }
  const boost::gregorian::date day = time.date();
  const boost::posix_time::time_duration timeOfDay = time.time_of_day();
  std::tm fields{};
  fields.tm_year = day.year() - 1900;
  fields.tm_mon = day.month() - 1;
  fields.tm_mday = day.day();
  fields.tm_hour = static_cast<int>(timeOfDay.hours());
  fields.tm_min = static_cast<int>(timeOfDay.minutes());
  fields.tm_sec = static_cast<int>(timeOfDay.seconds());
  fields.tm_isdst = -1;  // let the local time zone decide
  fields.tm_wday = -1;   // mktime sets it only on success
  const std::time_t seconds = std::mktime(&fields);
  if (seconds == static_cast<std::time_t>(-1) && fields.tm_wday == -1) {
    // A local time that the platform's time_t cannot hold.
    return unstorable;
  }
  // Built with its type (not retagged) so that its status reads as a set
  // value, like every other decoded record.
  VELVALUE result(expectedType);
  result.tmVal.Clear(true);
  result.tmVal = static_cast<long>(seconds);
  return result;
}

} // namespace Avo
