#pragma once
// What every benchmark's setup needs: a failed system call stops the run
// (a figure measured after one would be meaningless), a RAM file system to
// measure our overhead on, and a scratch folder removed at the end of its scope.

#include <stdlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace aurimo::bench {

inline void check(bool ok, const char* what) {
  if (!ok) {
    std::perror(what);
    std::abort();
  }
}

// tmpfs when there is one: a disk's queue (ext4 flushes a file renamed over
// another) would swamp what the ratio is meant to show.
inline std::filesystem::path ramDisk() {
  return std::filesystem::is_directory("/dev/shm") ? std::filesystem::path("/dev/shm")
                                                   : std::filesystem::temp_directory_path();
}

class ScratchDirectory {
 public:
  explicit ScratchDirectory(const std::filesystem::path& parent = ramDisk()) {
    std::string pattern = (parent / "aurimo-bench.XXXXXX").string();
    check(::mkdtemp(pattern.data()) != nullptr, "mkdtemp");
    path_ = pattern;
  }
  ~ScratchDirectory() { std::filesystem::remove_all(path_); }
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace aurimo::bench
