#pragma once
// Texts of the service's files: quoted strings that hold any bytes on one
// line, and a reader of blank-separated fields.

#include <cstdint>
#include <string>

namespace DeviceStackd {

/// The text between double quotes; '"', '\', and every byte outside printable
/// ASCII are escaped (\" \\ \n \r \t \xHH), so any bytes fit on one line.
std::string Quote(const std::string& text);

/// Reads the fields of one line, separated by single blanks. A field that
/// cannot be read sets the failure and yields an empty value; AtEnd() is then
/// false, so a caller reads all fields and checks once.
class FieldReader {
public:
  explicit FieldReader(const std::string& line) : m_line(line) {}

  /// Up to the next blank (or the end of the line).
  std::string Word();
  /// A decimal number 0..4294967295.
  std::uint32_t Number();
  /// A decimal number that fits an int, with an optional '-'.
  int SignedNumber();
  /// A text written by Quote.
  std::string Quoted();
  /// The rest of the line, as it stands.
  std::string Rest();
  /// True when every field was read and nothing is left.
  bool AtEnd() const { return m_failure.empty() && m_position >= m_line.size(); }
  /// What went wrong first ("" when nothing did).
  const std::string& Failure() const { return m_failure; }

private:
  void SkipSeparator();
  void Fail(const std::string& what);

  const std::string& m_line;
  std::size_t m_position = 0;
  std::string m_failure;
};

} // namespace DeviceStackd
