#pragma once
// Whole-file reads and atomic whole-file writes.
//
// writeFileAtomically() writes a hidden temporary file beside the target,
// fsyncs it and renames it over the target, so readers see either the old or
// the new content, never a partial file. Errors come back as values that
// carry the operation, the path and errno.
//
// Thread contract: free functions, safe from any thread; concurrent writers
// of one path each leave a complete file (the last rename wins).
//
//   if (auto error = platform::writeFileAtomically(path, bytes)) log(error->message());
//   platform::ReadFileResult read = platform::readFile(path);

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
#include <system_error>

#include "platform/data.h"

namespace aurimo::platform {

struct FileError {
  std::string operation;  // "open", "read", "write", "fsync", "rename", ...
  std::filesystem::path path;
  int errnoValue = 0;

  std::error_code code() const { return {errnoValue, std::generic_category()}; }
  bool isNotFound() const { return errnoValue == ENOENT; }
  // "rename /path/to/file: Permission denied"
  std::string message() const;
};

struct ReadFileResult {
  std::optional<Data> data;        // set on success
  std::optional<FileError> error;  // set on failure
  explicit operator bool() const { return data.has_value(); }
};

[[nodiscard]] ReadFileResult readFile(const std::filesystem::path& path);

// The folder must exist. `mode` applies to the new file (umask aside).
[[nodiscard]] std::optional<FileError> writeFileAtomically(const std::filesystem::path& path,
                                                           std::span<const std::uint8_t> bytes,
                                                           mode_t mode = 0600);
[[nodiscard]] inline std::optional<FileError> writeFileAtomically(
    const std::filesystem::path& path, const Data& bytes, mode_t mode = 0600) {
  return writeFileAtomically(path, std::span<const std::uint8_t>(bytes), mode);
}

}  // namespace aurimo::platform
