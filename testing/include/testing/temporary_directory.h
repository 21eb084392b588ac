#pragma once
// TemporaryDirectory: a fresh folder under $TMPDIR for one test, removed
// with everything in it; and small helpers to look at what a test left there.
//
//   aurimo::test::TemporaryDirectory dir;
//   writeFile(dir.path() / "a.json");
//   EXPECT_EQ(test::namesIn(dir.path()), std::vector<std::string>{"a.json"});

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/stat.h>
#include <vector>

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

// The names of the items in `folder`, sorted.
inline std::vector<std::string> namesIn(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

// The whole file as text; empty when it cannot be read.
inline std::string contents(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace aurimo::test
