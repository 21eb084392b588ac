#include "platform/atomic_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace aurimo::platform {
namespace {

FileError failure(const char* operation, const std::filesystem::path& path, int error = errno) {
  return FileError{operation, path, error};
}

// Closes on scope exit unless released.
struct Descriptor {
  int fd = -1;
  ~Descriptor() {
    if (fd >= 0) ::close(fd);
  }
  int release() { return std::exchange(fd, -1); }
};

}  // namespace

std::string FileError::message() const {
  return operation + " " + path.string() + ": " + std::strerror(errnoValue);
}

ReadFileResult readFile(const std::filesystem::path& path) {
  Descriptor file{::open(path.c_str(), O_RDONLY | O_CLOEXEC)};
  if (file.fd < 0) return {std::nullopt, failure("open", path)};
  struct stat info{};
  if (::fstat(file.fd, &info) != 0) return {std::nullopt, failure("stat", path)};
  if (S_ISDIR(info.st_mode)) return {std::nullopt, failure("read", path, EISDIR)};

  Data data;
  data.reserve(static_cast<std::size_t>(info.st_size));
  std::uint8_t chunk[16384];
  for (;;) {
    ssize_t count = ::read(file.fd, chunk, sizeof chunk);
    if (count < 0) {
      if (errno == EINTR) continue;
      return {std::nullopt, failure("read", path)};
    }
    if (count == 0) break;
    data.insert(data.end(), chunk, chunk + count);
  }
  return {std::move(data), std::nullopt};
}

std::optional<FileError> writeFileAtomically(const std::filesystem::path& path,
                                             std::span<const std::uint8_t> bytes, mode_t mode) {
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
  // Hidden, and unique per writer, so concurrent writers never share one.
  std::string temporary = (folder / ("." + path.filename().string() + ".tmp-XXXXXX")).string();
  Descriptor file{::mkostemp(temporary.data(), O_CLOEXEC)};
  if (file.fd < 0) return failure("create temporary file for", path);

  auto abandon = [&](const char* operation) {
    FileError error = failure(operation, temporary);
    ::close(file.release());
    ::unlink(temporary.c_str());
    return error;
  };

  if (::fchmod(file.fd, mode) != 0) return abandon("chmod");
  std::size_t written = 0;
  while (written < bytes.size()) {
    ssize_t count = ::write(file.fd, bytes.data() + written, bytes.size() - written);
    if (count < 0) {
      if (errno == EINTR) continue;
      return abandon("write");
    }
    written += static_cast<std::size_t>(count);
  }
  if (::fsync(file.fd) != 0) return abandon("fsync");
  if (::close(file.release()) != 0) {
    FileError error = failure("close", temporary);
    ::unlink(temporary.c_str());
    return error;
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    FileError error = failure("rename", path);
    ::unlink(temporary.c_str());
    return error;
  }
  // Makes the rename itself durable; the new content is already in place, so
  // a failure here is not worth reporting.
  Descriptor directory{::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
  if (directory.fd >= 0) ::fsync(directory.fd);
  return std::nullopt;
}

}  // namespace aurimo::platform
