// The C++ side of bench/diskcache_side_by_side.py: runs its workload on
// DiskStorage, or with --raw on bare system calls (the floor any
// one-file-per-key store pays), and prints operations per second as JSON.
// Workload: `count` sets of new 4 KiB values, `count` overwrites, then
// `gets` reads cycling over every key.
//
//   diskcache_driver [--raw] DIRECTORY COUNT GETS

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "cache/disk_storage.h"
#include "cache/transformer_factory.h"
#include "platform/file_manager.h"

namespace {

using namespace aurimo;
using Storage = cache::DiskStorage<std::string, platform::Data>;
constexpr std::size_t kValueSize = 4096;

double opsPerSecond(int count, const std::function<void(int)>& operation) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < count; ++i) operation(i);
  return count / std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool fail(const char* what) {
  std::perror(what);
  std::exit(1);
}

// Atomic replace as the store does it, minus everything but the system calls.
void rawSet(const std::string& directory, const std::string& path, const platform::Data& value) {
  const std::string temporary = directory + "/.tmp";
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const struct timespec times[2] = {{0, UTIME_OMIT}, {2'144'448'000, 0}};
  if (fd < 0 || ::write(fd, value.data(), value.size()) != static_cast<ssize_t>(value.size())) fail("write");
  if (::futimens(fd, times) != 0 || ::close(fd) != 0 || ::rename(temporary.c_str(), path.c_str()) != 0) fail("rename");
}

std::size_t rawGet(const std::string& path, std::vector<std::uint8_t>& buffer) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  struct stat status;
  if (fd < 0 || ::fstat(fd, &status) != 0) fail("open");
  buffer.resize(static_cast<std::size_t>(status.st_size));
  if (::read(fd, buffer.data(), buffer.size()) != status.st_size) fail("read");
  ::close(fd);
  return buffer.size();
}

}  // namespace

int main(int argc, char** argv) {
  const bool raw = argc == 5 && std::strcmp(argv[1], "--raw") == 0;
  if (argc != 4 + raw) {
    std::fprintf(stderr, "usage: diskcache_driver [--raw] DIRECTORY COUNT GETS\n");
    return 2;
  }
  const std::string parent = argv[1 + raw];
  const int count = std::atoi(argv[2 + raw]), gets = std::atoi(argv[3 + raw]);
  Storage storage(cache::DiskConfig("Cache", cache::Expiry::never, 0, parent, std::nullopt),
                  platform::FileManager::defaultManager(), cache::TransformerFactory::forData());
  std::vector<std::string> names, paths;
  for (int i = 0; i < count; ++i) {
    names.push_back("key-" + std::to_string(i) + ".jpg");  // the key texts the script uses
    paths.push_back(storage.filePath(names.back()));
  }
  platform::Data value(kValueSize, 7);
  std::vector<std::uint8_t> buffer;
  std::size_t bytes = 0;
  const auto set = [&](int i) {
    if (raw) rawSet(storage.path(), paths[i], value);
    else storage.setObject(value, names[i]);
  };
  const double created = opsPerSecond(count, set);
  value.assign(kValueSize, 8);
  const double overwritten = opsPerSecond(count, set);
  const double read = opsPerSecond(gets, [&](int i) {
    bytes += raw ? rawGet(paths[i % count], buffer) : storage.object(names[i % count]).size();
  });
  if (bytes != static_cast<std::size_t>(gets) * kValueSize) fail("wrong sizes read back");
  std::printf("{\"set_new_keys_ops_per_s\": %.0f, \"overwrite_ops_per_s\": %.0f, \"get_ops_per_s\": %.0f}\n", created,
              overwritten, read);
  return 0;
}
