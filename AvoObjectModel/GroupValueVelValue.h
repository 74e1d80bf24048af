#pragma once
/// @file
/// The group value bridge: conversions between a KNX group value and a
/// VELVALUE for a DPT given as one packed number, and the text and time
/// helpers they use.

#include "Avo/Text.h"           // Avo::UTF8String
#include "Avo/VelValueHelper.h" // the Avo::ToVelValue overloads for plain values
#include "AvoObjectModel/Export.h"
#include "AvoObjectModel/KnxKelMapping.h" // Avo::PackedDpt and the main-type table
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <boost/date_time/posix_time/ptime.hpp>
#include <boost/optional.hpp>

#include <string>

namespace Avo {

/// Encodes a value for a DPT (main number in the upper 16 bits of dpt).
///
/// The value's type must be the main number's type in the main-type table
/// (KnxKelMapping::GetIvtFromDpt); a mismatch is refused before anything else.
/// Encodings by main number:
///
/// | main                       | from   | encoding                                   |
/// |----------------------------|--------|--------------------------------------------|
/// | 1                          | byVal  | boolean (non-zero is true)                 |
/// | 2, 23                      | byVal  | 2 bits                                     |
/// | 3                          | byVal  | 4 bits                                     |
/// | 5, 18, 20, 21, 26, 238     | byVal  | 8 bits unsigned                            |
/// | 6                          | byVal  | 8 bits signed (the byte's bit pattern)     |
/// | 7, 22, 217, 234, 237       | dwVal  | 16 bits unsigned; above 65535 sent as 65535 |
/// | 8                          | lVal   | 16 bits signed; clamped to -32768..32767   |
/// | 9                          | dblVal | KNX 2-byte float (NaN too); infinity refused |
/// | 10                         | tmVal  | time of day with weekday                   |
/// | 11                         | tmVal  | date; only real dates of 1990..2089        |
/// | 12, 15, 27                 | dwVal  | 32 bits unsigned                           |
/// | 13                         | lVal   | 32 bits signed                             |
/// | 14                         | dblVal | IEEE single (narrowed)                     |
/// | 16                         | strVal | 14-byte Latin-1 string; UTF-8 required     |
/// | 17                         | byVal  | scene number; above 63 refused             |
/// | 19                         | tmVal  | 8-byte date and time (below)               |
/// | 232                        | dwVal  | 3 bytes: bits 23-16, 15-8, 7-0             |
/// | any other                  |        | not supported                              |
///
/// Word records (main 7 and its like) are read through the 32-bit member, so
/// that a number too wide for a word is clamped (with an ERROR line), not cut.
///
/// DPT 19: year - 1900, month, day, day of week (1 Monday .. 7 Sunday) in
/// bits 7-5 with the hour, minute, second, flags 0x20 (no working day) and
/// 0. A record that names no calendar time (month 0, day 31 of a 30-day
/// month, year outside 1400..9999) is logged and sent as the fault value: all
/// bytes 0 but the flags, 0xBE (fault, no working day, no year, no date, no
/// day of week, no time).
///
/// Returns no value, without throwing, when nothing is to be sent: type
/// mismatch, unsupported main number, invalid date, time of day or text
/// (each with one ERROR line); a scene number above 63 or an infinite float
/// (silently).
AVO_OBJECTMODEL_EXPORT boost::optional<KnxStack::GroupValue>
VelValueToGroupValue(const VELVALUE& value, PackedDpt dpt);

/// Whether the table-driven KnxValueConverter accepts the group value for
/// the DPT (its bit size taken from the group value's defined size). Every
/// call builds and initialises a converter of its own, so checks share no
/// state. DPTs that the converter does not know are accepted.
AVO_OBJECTMODEL_EXPORT bool CheckGroupValue(const KnxStack::GroupValue& value, PackedDpt dpt);

/// Decodes a received group value for a DPT (main number in the upper 16
/// bits of dpt) into a record of the main number's type in the main-type
/// table.
///
/// The group value must first pass CheckGroupValue; the decoding itself is
/// this function's own, by main number:
///
/// | main                       | record                                          |
/// |----------------------------|-------------------------------------------------|
/// | 1                          | ivtBool                                         |
/// | 2, 23 / 3 / 31             | ivtByte of the 2-, 4- or 3-bit field            |
/// | 5, 17, 18, 20, 21, 26, 238 | ivtByte                                         |
/// | 6                          | ivtByte holding the signed byte's bit pattern   |
/// | 7, 22, 217, 234, 237       | ivtWord                                         |
/// | 8, 13                      | ivtInteger                                      |
/// | 12, 15, 27, 232            | ivtDWord of the raw bytes (up to 4, big-endian) |
/// | 9, 14                      | ivtFloat                                        |
/// | 10                         | ivtDayTime dated 2000-01-01, weekday as a mask  |
/// | 11                         | ivtDate at local midnight                       |
/// | 16                         | ivtString, UTF-8 of the Latin-1 text            |
/// | 19                         | ivtDateTime in local time (below)               |
///
/// DPT 19 reads year = byte 0 + 1900, month, day, hour, minute and second;
/// day of week, flags and clock quality are ignored.
///
/// Main numbers that the table knows with a type but that have no decoding
/// (24, 25, 28, 30, 200..202) give an engaged ivtEmpty record. Dates and
/// times that a 32-bit seconds count cannot hold (after 2038-01-19 03:14:07)
/// give an engaged ivtEmpty record too (see ToVelValue of a time point).
///
/// No value, with one line of its own, for: a main number without a type ("Unsupported
/// DPT", ERROR), a value that fails the check or is too short for its
/// encoding ("Received invalid value", ERROR), an invalid time of day or
/// DPT 11 date (WARN).
///
/// Throws only the calendar's exceptions, which the check is relied on to
/// keep away: boost::gregorian::bad_day_of_month for a DPT 11 date that
/// passes the field bounds but does not exist (31 February) and for DPT 19
/// with day 0 or a day beyond its month, and boost::gregorian::bad_month for
/// DPT 19 with month 0 or above 12.
///
/// Logs "Decoding a KNX value took <times>" at INFO when a call takes 100 ms
/// or more.
AVO_OBJECTMODEL_EXPORT boost::optional<VELVALUE>
GroupValueToVelValue(const KnxStack::GroupValue& value, PackedDpt dpt);

/// The text as valid UTF-8: valid text unchanged, byte for byte; otherwise
/// every invalid sequence replaced by one "?" (a sequence cut off at the end
/// of the text included). Never fails.
AVO_OBJECTMODEL_EXPORT UTF8String RepairUTF8(std::string text);

/// A record of expectedType holding the time point, read as local time, in
/// its time member (set from the seconds count that mktime gives).
///
/// The time member is set from a signed 32-bit seconds count, so time points
/// after 2038-01-19 03:14:07 or before 1901-12-13 20:45:52, special time
/// points (not-a-date-time, infinities) and local times that mktime cannot
/// convert give an ivtEmpty record with a cleared time member instead. The
/// same bounds apply on every platform, whatever the width of its time_t.
AVO_OBJECTMODEL_EXPORT VELVALUE ToVelValue(const boost::posix_time::ptime& time,
                                           VelValueType expectedType);

} // namespace Avo
