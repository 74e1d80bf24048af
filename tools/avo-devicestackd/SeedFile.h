#pragma once
// Seed files: the objects of a fresh object model, one "ID VALUE-TEXT" line each.

#include "Polt/DeviceStackObjectModel.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace DeviceStackd {

/// A seed file that cannot be read or used; the text names the file and line.
class SeedError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// Reads a seed file: per line an object identifier (decimal), one blank and a
/// value text that runs to the end of the line; blank lines and lines that
/// start with '#' are skipped. Objects get an empty URN. Throws SeedError for
/// an unreadable file, a bad line, a bad value text or an identifier given twice.
Polt::DeviceStackObjectModel ReadSeed(const std::string& path);

/// Writes a seed with the value object of every CO (1..4095) of both logical
/// devices holding the default value of the packed DPT, in the default value
/// text form. Returns the number of objects. Throws SeedError when the DPT has
/// no default value or the file cannot be written.
std::size_t WriteDefaultSeed(const std::string& path, std::uint32_t dpt);

} // namespace DeviceStackd
