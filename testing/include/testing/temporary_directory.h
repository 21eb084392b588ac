#pragma once
// TemporaryDirectory: a fresh folder under $TMPDIR for one test, removed
// with everything in it.
//
//   aurimo::test::TemporaryDirectory dir;
//   writeFile(dir.path() / "a.json");

#include <cstdlib>
#include <filesystem>
#include <string>
#include <sys/stat.h>

namespace aurimo::test {

struct TemporaryDirectory {
  TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "aurimo-test-XXXXXX").string();
    root = ::mkdtemp(pattern.data());
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(root, ignored);
  }
  const std::filesystem::path& path() const { return root; }
  std::filesystem::path root;
};

inline unsigned permissions(const std::filesystem::path& path) {
  struct stat info{};
  ::stat(path.c_str(), &info);
  return info.st_mode & 0777;
}

}  // namespace aurimo::test
