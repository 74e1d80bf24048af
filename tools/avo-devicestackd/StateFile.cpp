#include "StateFile.h"

#include "QuotedText.h"
#include "ValueTexts.h"

#include <cerrno>
#include <cstdio> // std::rename
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <unistd.h>

namespace DeviceStackd {
namespace {

// The first line names the format; the last line "end" shows the file is whole.
const char* const FormatLine = "avo-devicestackd state 1";
const char* const EndLine = "end";

std::system_error SystemError(const std::string& what, const std::string& path) {
  return std::system_error(errno, std::generic_category(), what + " '" + path + "'");
}

std::string Serialise(const Polt::DeviceStackObjectModel& model) {
  std::string text = std::string(FormatLine) + "\n";
  for (const auto& [id, object] : model.GetObjects()) {
    text +=
        "object " + std::to_string(id) + " " + Quote(object.urn) + " " + Quote(object.value) + "\n";
    for (const auto& [type, property] : object.properties) {
      text += "property " + std::to_string(id) + " " + std::to_string(static_cast<int>(type)) +
              " " + Quote(property.value) + "\n";
    }
  }
  for (const std::string& configuration : model.GetConfigurations()) {
    text += "configuration " + Quote(configuration) + "\n";
  }
  for (const auto& registration : model.GetRegistrations()) {
    text += "registration " + Quote(registration[0]) + " " + Quote(registration[1]) + " " +
            Quote(registration[2]) + "\n";
  }
  for (const auto& [key, value] : model.GetDeviceConfigEntries()) {
    text += "device-config " + Quote(key) + " " + Quote(value) + "\n";
  }
  return text + EndLine + "\n";
}

void WriteAll(int fd, const std::string& text, const std::string& path) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t n = ::write(fd, text.data() + written, text.size() - written);
    if (n < 0) {
      if (errno == EINTR) {
        continue;
      }
      throw SystemError("cannot write", path);
    }
    written += static_cast<std::size_t>(n);
  }
}

// Owns a file descriptor; closes it on every way out.
class FileDescriptor {
public:
  explicit FileDescriptor(int fd) : m_fd(fd) {}
  ~FileDescriptor() {
    if (m_fd >= 0) {
      ::close(m_fd);
    }
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int Get() const { return m_fd; }
  // Closes now, so that a failing close (a late write error) is reported.
  int Close() {
    const int result = ::close(m_fd);
    m_fd = -1;
    return result;
  }

private:
  int m_fd;
};

std::string DirectoryOf(const std::string& path) {
  const std::filesystem::path parent = std::filesystem::path(path).parent_path();
  return parent.empty() ? std::string(".") : parent.string();
}

// Reads the text of one line into the model; false with a reason otherwise.
bool ReadLine(const std::string& line, Polt::DeviceStackObjectModel& model, std::string& problem) {
  FieldReader in(line);
  const std::string keyword = in.Word();
  if (keyword == "object") {
    const auto id = in.Number();
    std::string urn = in.Quoted();
    std::string value = in.Quoted();
    if (!in.AtEnd()) {
      problem = "bad object line: " + in.Failure();
      return false;
    }
    if (model.FindObject(id) != nullptr) {
      problem = "object " + std::to_string(id) + " appears twice";
      return false;
    }
    const std::optional<std::string> kept = CanonicalValueText(value);
    if (!kept || *kept != value) {
      problem = "object " + std::to_string(id) + " has no valid value text";
      return false;
    }
    model.SetObject(id, std::move(value), std::move(urn));
    return true;
  }
  if (keyword == "property") {
    const auto id = in.Number();
    const auto type = in.SignedNumber();
    std::string value = in.Quoted();
    if (!in.AtEnd()) {
      problem = "bad property line: " + in.Failure();
      return false;
    }
    const auto propertyType = static_cast<Polt::IDeviceStackClient::PropertyType>(type);
    if (!model.SetProperties(id, {{propertyType, {std::move(value)}}})) {
      problem = "property of object " + std::to_string(id) + " before the object";
      return false;
    }
    return true;
  }
  if (keyword == "configuration") {
    std::string configuration = in.Quoted();
    if (!in.AtEnd()) {
      problem = "bad configuration line: " + in.Failure();
      return false;
    }
    model.AddConfiguration(std::move(configuration));
    return true;
  }
  if (keyword == "registration") {
    Polt::DeviceStackObjectModel::ApplicationRegistration registration;
    for (std::string& text : registration) {
      text = in.Quoted();
    }
    if (!in.AtEnd()) {
      problem = "bad registration line: " + in.Failure();
      return false;
    }
    model.AddRegistration(std::move(registration));
    return true;
  }
  if (keyword == "device-config") {
    std::string key = in.Quoted();
    std::string value = in.Quoted();
    if (!in.AtEnd()) {
      problem = "bad device-config line: " + in.Failure();
      return false;
    }
    model.SetDeviceConfigEntries({{std::move(key), std::move(value)}});
    return true;
  }
  problem = "unknown line";
  return false;
}

LoadedState Corrupt(std::string problem) {
  LoadedState state;
  state.status = LoadedState::Status::Corrupt;
  state.problem = std::move(problem);
  return state;
}

} // namespace

void SaveState(const std::string& path, const Polt::DeviceStackObjectModel& model) {
  const std::string text = Serialise(model);
  const std::string temporary = path + ".tmp";
  FileDescriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0640));
  if (file.Get() < 0) {
    throw SystemError("cannot create", temporary);
  }
  WriteAll(file.Get(), text, temporary);
  if (::fsync(file.Get()) != 0) {
    throw SystemError("cannot flush", temporary);
  }
  if (file.Close() != 0) {
    throw SystemError("cannot close", temporary);
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    throw SystemError("cannot rename to", path);
  }
  // The rename itself is durable only once the directory is flushed.
  const std::string directory = DirectoryOf(path);
  FileDescriptor dir(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir.Get() < 0 || ::fsync(dir.Get()) != 0) {
    throw SystemError("cannot flush the directory", directory);
  }
}

LoadedState LoadState(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    if (errno == ENOENT) {
      return LoadedState();
    }
    throw SystemError("cannot open", path);
  }
  std::ostringstream content;
  content << file.rdbuf();
  if (file.bad()) {
    throw SystemError("cannot read", path);
  }
  const std::string text = content.str();

  LoadedState state;
  state.status = LoadedState::Status::Loaded;
  std::size_t lineNumber = 0;
  std::size_t begin = 0;
  bool ended = false;
  while (begin < text.size()) {
    const std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) {
      return Corrupt("line " + std::to_string(lineNumber + 1) + ": no line end (truncated file)");
    }
    const std::string line = text.substr(begin, end - begin);
    begin = end + 1;
    ++lineNumber;
    const std::string where = "line " + std::to_string(lineNumber) + ": ";
    if (ended) {
      return Corrupt(where + "text after the end line");
    }
    if (lineNumber == 1) {
      if (line != FormatLine) {
        return Corrupt(where + "not a state file of this service");
      }
      continue;
    }
    if (line == EndLine) {
      ended = true;
      continue;
    }
    std::string problem;
    if (!ReadLine(line, state.model, problem)) {
      return Corrupt(where + problem);
    }
  }
  if (!ended) {
    return Corrupt("line " + std::to_string(lineNumber + 1) + ": the end line is missing");
  }
  return state;
}

std::string MoveStateAside(const std::string& path) {
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char stamp[32];
  static_cast<void>(std::strftime(stamp, sizeof stamp, "%Y%m%dT%H%M%SZ", &utc));
  std::string aside = path + ".corrupt-" + stamp;
  for (int counter = 1; std::filesystem::exists(aside); ++counter) {
    aside = path + ".corrupt-" + stamp + "-" + std::to_string(counter);
  }
  if (std::rename(path.c_str(), aside.c_str()) != 0) {
    throw SystemError("cannot move aside", path);
  }
  return aside;
}

} // namespace DeviceStackd
