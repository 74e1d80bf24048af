#pragma once
// The state file: the object model on disk, written atomically so that a
// crash at any moment leaves either the previous or the new state.

#include "Polt/DeviceStackObjectModel.h"

#include <string>

namespace DeviceStackd {

/// Writes the model to path: to "<path>.tmp" first, fsync, rename over path,
/// fsync of the directory. Throws std::system_error (the old file stays) on
/// any failure.
void SaveState(const std::string& path, const Polt::DeviceStackObjectModel& model);

/// What LoadState found.
struct LoadedState {
  enum class Status { Missing, Loaded, Corrupt };
  Status status = Status::Missing;
  Polt::DeviceStackObjectModel model; ///< when Loaded
  std::string problem;                ///< when Corrupt: where and what, e.g. "line 3: ..."
};

/// Reads the state file at path. A file that cannot be read throws
/// std::system_error; a file that does not exist is Missing.
LoadedState LoadState(const std::string& path);

/// Renames a corrupt state file to "<path>.corrupt-<UTC time>" (with a
/// counter where that exists) and returns the new name. Throws
/// std::system_error when the rename fails.
std::string MoveStateAside(const std::string& path);

} // namespace DeviceStackd
