// The least a sweep of one cache folder can do, as a process: readdir and
// fstatat over every file; with a size limit, also sort the files by date
// and unlink the latest until the total is under half the limit. The floor
// host_bench measures `aurimo cache sweep` against.
//
//   sweep_floor DIR [MAX_BYTES]

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const std::uint64_t maxSize = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 0;
  DIR* directory = ::opendir(argv[1]);
  if (directory == nullptr) return 1;
  const int descriptor = ::dirfd(directory);
  struct File {
    std::string name;
    std::int64_t date;
    std::uint64_t size;
  };
  std::vector<File> files;
  std::uint64_t total = 0, count = 0;
  while (const dirent* item = ::readdir(directory)) {
    if (item->d_name[0] == '.') continue;
    struct stat status;
    if (::fstatat(descriptor, item->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) continue;
    const std::uint64_t size = static_cast<std::uint64_t>(status.st_blocks) * 512;
    total += size;
    ++count;
    if (maxSize != 0) files.push_back(File{item->d_name, status.st_mtim.tv_sec, size});
  }
  if (maxSize != 0 && total > maxSize) {
    std::sort(files.begin(), files.end(), [](const File& a, const File& b) { return a.date > b.date; });
    for (const File& file : files) {
      if (::unlinkat(descriptor, file.name.c_str(), 0) == 0) total -= file.size;
      if (total < maxSize / 2) break;
    }
  }
  ::closedir(directory);
  std::printf("%llu %llu\n", static_cast<unsigned long long>(count), static_cast<unsigned long long>(total));
  return 0;
}
