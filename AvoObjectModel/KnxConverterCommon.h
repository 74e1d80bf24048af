#pragma once
// Internal to the converter sources, not part of the library's interface:
// the trace lines that the family converters begin with, and the one-byte
// character rules shared by the 1-character and the 14-byte string
// converters.

#include "Avo/Logging.h"
#include "KnxStack/GroupValue.h"
#include "VelValue.h"

#include <cstddef> // std::size_t
#include <string>

// "DPT is used." lines. Macros rather than functions so that the line carries
// the name of the converting function, and so that nothing is formatted while
// DEBUG is off.
#define AVO_LOG_DPT_USED_TO_KNX(dpt, value)                                                        \
  AVO_LOG_DEBUG("DPT is used. DPT = " << (dpt).mainNumber << "." << (dpt).subNumber                \
                                      << " ivt=" << static_cast<int>((value).ivt)                  \
                                      << " val=" << (value).ToString())

#define AVO_LOG_DPT_USED_FROM_KNX(dpt, group)                                                      \
  AVO_LOG_DEBUG("DPT is used. DPT = " << (dpt).mainNumber << "." << (dpt).subNumber                \
                                      << " grp.size=" << (group).GetDefinedSize()                  \
                                      << " grp.val=" << (group).GetRawData().ToString())

namespace Avo::detail {

/// One byte per character from UTF-8 text, reading at `position` and moving
/// past what was read. A two-byte sequence (lead byte 110xxxxx) gives its
/// code point kept to 8 bits, which is the Latin-1 byte for U+0080..U+00FF;
/// any other byte, and a lead byte at the very end, is taken as it is. The
/// byte after a lead byte is not validated: the bus side only keeps 8 bits.
inline unsigned char TakeOneByteCharacter(const std::string& text, std::size_t& position) {
  const auto lead = static_cast<unsigned char>(text[position++]);
  if ((lead & 0xE0U) != 0xC0U || position == text.size()) {
    return lead;
  }
  const auto next = static_cast<unsigned char>(text[position++]);
  return static_cast<unsigned char>((lead << 6U) | (next & 0x3FU));
}

/// Appends a Latin-1 byte as UTF-8 (one byte below 128, else two).
inline void AppendAsUtf8(std::string& text, unsigned char character) {
  if (character < 0x80U) {
    text += static_cast<char>(character);
    return;
  }
  text += static_cast<char>(0xC0U | (character >> 6U));
  text += static_cast<char>(0x80U | (character & 0x3FU));
}

} // namespace Avo::detail
