#pragma once
// FaultyFileManager: forwards to a real file manager and injects the faults
// that disks produce: a full disk on write (after half the bytes went out),
// permission denied, a failing rename, and files whose modification date is
// lost, and a read-only file system. Counts every fault it injected. Subclass it and override one method
// for anything more specific.
//
// Thread contract: the switches and the counter are atomic; forwarding is as
// thread-safe as the wrapped manager.
//
//   test::FaultyFileManager files;   // over the default manager
//   files.failWritesWithDiskFull(true);  // next write throws ENOSPC

#include <atomic>
#include <cerrno>
#include <string>

#include "platform/file_manager.h"

namespace aurimo::test {

class FaultyFileManager : public platform::FileManagerWrapper {
 public:
  explicit FaultyFileManager(platform::FileManager& base = platform::FileManager::defaultManager())
      : FileManagerWrapper(base) {}

  void failWritesWithDiskFull(bool on) { diskFull_ = on; }
  void denyPermission(bool on) { permissionDenied_ = on; }
  // Every change throws EROFS; reads go through.
  void makeReadOnly(bool on) { readOnly_ = on; }
  void failRenames(bool on) { failRenames_ = on; }
  void dropModificationDates(bool on) { dropDates_ = on; }
  int injectedFaults() const { return injected_.load(); }

  void createDirectory(const std::string& path, bool withIntermediateDirectories) override {
    denyIfAsked("mkdir", path);
    FileManagerWrapper::createDirectory(path, withIntermediateDirectories);
  }
  void removeItem(const std::string& path) override {
    denyIfAsked("unlink", path);
    FileManagerWrapper::removeItem(path);
  }
  void renameItem(const std::string& from, const std::string& to) override {
    failRenameIfAsked(to);
    FileManagerWrapper::renameItem(from, to);
  }
  void moveItem(const std::string& from, const std::string& to) override {
    failRenameIfAsked(to);
    FileManagerWrapper::moveItem(from, to);
  }
  void setPermissions(const std::string& path, unsigned mode) override {
    denyIfAsked("chmod", path);
    FileManagerWrapper::setPermissions(path, mode);
  }
  platform::FileContents contentsOfFile(const std::string& path) override {
    denyIfAsked("open", path, false);
    platform::FileContents contents = FileManagerWrapper::contentsOfFile(path);
    if (dropDates_) contents.attributes.modificationDate.reset();
    return contents;
  }
  platform::FileAttributes attributesOfItem(const std::string& path) override {
    denyIfAsked("stat", path, false);
    platform::FileAttributes attributes = FileManagerWrapper::attributesOfItem(path);
    if (dropDates_) attributes.modificationDate.reset();
    return attributes;
  }
  void setModificationDate(const std::string& path, platform::Date date) override {
    denyIfAsked("utimensat", path);
    FileManagerWrapper::setModificationDate(path, date);
  }
  using FileManagerWrapper::setModificationDate;
  platform::WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) override {
    denyIfAsked("open", directory);
    return FileManagerWrapper::createTemporaryFile(directory, namePrefix);
  }
  void write(platform::WritableFile& file, std::span<const std::uint8_t> bytes) override {
    if (diskFull_) {
      FileManagerWrapper::write(file, bytes.first(bytes.size() / 2));
      inject("write", file.path(), ENOSPC);
    }
    FileManagerWrapper::write(file, bytes);
  }
  [[nodiscard]] bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                        const EntryVisitor& visit) override {
    if (permissionDenied_) {
      ++injected_;
      return false;
    }
    if (!dropDates_) return FileManagerWrapper::enumerateDirectory(path, include, visit);
    return FileManagerWrapper::enumerateDirectory(path, include, [&](const platform::DirectoryEntry& entry) {
      platform::FileAttributes attributes = entry.attributes;
      attributes.modificationDate.reset();
      visit(platform::DirectoryEntry{entry.name, entry.path, attributes});
    });
  }

 protected:
  [[noreturn]] void inject(const char* operation, const std::string& path, int errnoValue) {
    ++injected_;
    platform::throwFileError(operation, path, errnoValue);
  }

 private:
  void denyIfAsked(const char* operation, const std::string& path, bool changes = true) {
    if (permissionDenied_) inject(operation, path, EACCES);
    if (readOnly_ && changes) inject(operation, path, EROFS);
  }
  void failRenameIfAsked(const std::string& to) {
    denyIfAsked("rename", to);
    if (failRenames_) inject("rename", to, EIO);
  }

  std::atomic<bool> diskFull_{false};
  std::atomic<bool> permissionDenied_{false};
  std::atomic<bool> readOnly_{false};
  std::atomic<bool> failRenames_{false};
  std::atomic<bool> dropDates_{false};
  std::atomic<int> injected_{0};
};

}  // namespace aurimo::test
