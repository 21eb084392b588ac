#pragma once
// DiskDirectory: the part of DiskStorage that does not depend on the key and
// value types: file naming, atomic writes, reads and the expiry sweep over
// one cache directory. Kept out of the template so it compiles once.
//
// Thread contract: no state of its own besides immutable fields; operations
// may run from any thread, the file system being the only shared state.
//
//   internal::DiskDirectory directory(files, config, "/tmp/cache/Images");
//   directory.write(directory.pathForName("A1.png"), bytes, expiryDate);

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "cache/disk_config.h"
#include "platform/clock.h"
#include "platform/data.h"
#include "platform/file_manager.h"

namespace aurimo::cache::internal {

class DiskDirectory {
 public:
  using OnRemove = std::function<void(const std::string& path)>;

  DiskDirectory(platform::FileManager& fileManager, DiskConfig config, std::string path)
      : fileManager_(&fileManager),
        config_(std::move(config)),
        path_(std::move(path)),
        handle_(std::make_shared<platform::DirectoryHandle>(path_)) {}

  // config.directory (or the caches directory) with config.name appended.
  static std::string resolvePath(platform::FileManager& fileManager, const DiskConfig& config);

  // Upper-case hex MD5 of the key, plus the path extension of its last component.
  static std::string fileNameForText(std::string_view key);
  static void appendFileNameForText(std::string& out, std::string_view key);
  // The decimal text of the key's hash mixed with a seed drawn once per process.
  static std::string fileNameForHash(std::size_t hash);
  // Hidden, so sweeps and readers never take them for cache files.
  static bool isTemporaryName(std::string_view name);

  std::string pathForName(std::string_view name) const;
  // pathForName(fileNameForText(key)) in one allocation; every read and write
  // names its file, so this is on the hot path.
  std::string pathForText(std::string_view key) const;

  // Creates the directory when nothing exists at `path`.
  void create();
  void write(const std::string& filePath, const platform::Data& data, platform::Date expiryDate);
  platform::FileContents read(const std::string& filePath);
  // Reads the file `name` through the folder held open, following the folder
  // when it was replaced since; a missing file throws as read() does.
  platform::FileContents readName(const std::string& name);
  // Points the folder held open at the one now at the path.
  void refresh() { (void)fileManager_->refreshDirectory(*handle_); }
  // readName(fileNameForText(key)) without allocating the name.
  platform::FileContents readForText(std::string_view key);
  void remove(const std::string& filePath, const OnRemove& onRemove);
  void removeAll();
  void removeExpired(const OnRemove& onRemove);
  std::uint64_t totalSize();

  platform::FileManager& fileManager() const { return *fileManager_; }
  const DiskConfig& config() const { return config_; }
  const std::string& path() const { return path_; }

 private:
  platform::FileManager* fileManager_;  // not owned, never null
  DiskConfig config_;
  std::string path_;
  // Shared by copies; reads through it are safe from any thread.
  std::shared_ptr<platform::DirectoryHandle> handle_;
};

}  // namespace aurimo::cache::internal
