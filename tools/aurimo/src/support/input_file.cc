#include "support/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

#include "platform/file_manager.h"
#include "support/event_host.h"

namespace aurimo::tool {
namespace {

std::string limitText(std::size_t limit) {
  return limit % (std::size_t(1) << 20) == 0 ? std::to_string(limit >> 20) + " MiB" : std::to_string(limit) + " bytes";
}

}  // namespace

platform::Data readInputFile(const std::string& path, std::size_t limit, const std::string& event) {
  const auto failed = [&](const char* operation) {
    return EventError(event + ": " + platform::FileError(operation, path, errno).message());
  };
  // O_NONBLOCK: opening a FIFO for reading would otherwise wait for a writer.
  const platform::ScopedDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (file.get() < 0) throw failed("open");
  struct stat status;
  if (::fstat(file.get(), &status) != 0) throw failed("fstat");
  if (S_ISDIR(status.st_mode)) {
    errno = EISDIR;  // said as it always was
    throw failed("read");
  }
  if (!S_ISREG(status.st_mode)) throw EventError(event + ": " + path + " is not a regular file");
  const EventError tooLarge(event + ": " + path + " is larger than " + limitText(limit));
  if (static_cast<std::uint64_t>(status.st_size) > limit) throw tooLarge;

  // One byte past the limit tells a file that grew since fstat from one that did not.
  platform::Data bytes(static_cast<std::size_t>(status.st_size) + 1);
  std::size_t done = 0;
  for (;;) {
    if (done == bytes.size()) {
      if (bytes.size() > limit) throw tooLarge;
      bytes.resize(std::min(limit + 1, bytes.size() * 2));
    }
    const ssize_t count = ::read(file.get(), bytes.data() + done, bytes.size() - done);
    if (count < 0) {
      if (errno == EINTR) continue;
      throw failed("read");
    }
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

}  // namespace aurimo::tool
