#pragma once
// FileManager: the one file-system seam of everything that persists: the
// cache, user defaults, the notification centre's and the photo library's
// state. One real implementation over POSIX calls (defaultManager(),
// replaceable in tests); a FileManagerWrapper subclass such as
// test::FaultyFileManager overrides single operations to inject faults.
// Every failure is thrown as a FileError, a std::filesystem::filesystem_error
// carrying the path and errno.
//
// Thread contract: the real manager is stateless and safe from any thread;
// a WritableFile belongs to one thread at a time.
//
//   platform::FileManager& files = platform::FileManager::defaultManager();
//   files.writeFileAtomically(dir + "/a", bytes, ".tmp-", expiryDate);

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "platform/clock.h"
#include "platform/data.h"
#include "platform/replaceable.h"

namespace aurimo::platform {

struct FileAttributes {
  enum class Type { regular, directory, other };
  Type type = Type::other;
  // Length in bytes.
  std::uint64_t size = 0;
  // Space the file system allocated (block-rounded), when it reports one.
  std::optional<std::uint64_t> totalFileAllocatedSize;
  // The real manager always has one; wrappers may take it away.
  std::optional<Date> modificationDate;

  bool isDirectory() const { return type == Type::directory; }
};

struct FileContents {
  Data data;
  // Of the same open file the data came from.
  FileAttributes attributes;
};

// One item met while enumerating a directory.
struct DirectoryEntry {
  std::string_view name;
  const std::string& path;
  const FileAttributes& attributes;
};

// An open, exclusively created file being written. Closes its descriptor if
// dropped without close(); the file itself stays where it is.
// Owns a file descriptor and closes it at the end of its scope.
class ScopedDescriptor {
 public:
  explicit ScopedDescriptor(int descriptor) : descriptor_(descriptor) {}
  ScopedDescriptor(const ScopedDescriptor&) = delete;
  ScopedDescriptor& operator=(const ScopedDescriptor&) = delete;
  ~ScopedDescriptor();
  int get() const { return descriptor_; }

 private:
  int descriptor_;
};

class WritableFile {
 public:
  WritableFile(int descriptor, std::string path) : descriptor_(descriptor), path_(std::move(path)) {}
  WritableFile(WritableFile&& other) noexcept;
  WritableFile& operator=(WritableFile&& other) noexcept;
  WritableFile(const WritableFile&) = delete;
  WritableFile& operator=(const WritableFile&) = delete;
  ~WritableFile();

  int descriptor() const { return descriptor_; }
  const std::string& path() const { return path_; }
  bool isOpen() const { return descriptor_ >= 0; }
  // Gives up the descriptor without closing it; for FileManager::closeFile.
  int release();

 private:
  int descriptor_;
  std::string path_;
};

// A folder held open so that reads inside it skip resolving its path each
// time. It follows the folder at its path: once that is replaced (removed and
// created again, here or by another process), FileManager::refreshDirectory
// points it at the new one. Safe to share between threads.
class DirectoryHandle {
 public:
  explicit DirectoryHandle(std::string path) : path_(std::move(path)) {}
  DirectoryHandle(const DirectoryHandle&) = delete;
  DirectoryHandle& operator=(const DirectoryHandle&) = delete;
  ~DirectoryHandle();

  const std::string& path() const { return path_; }
  // -1 until a file manager that keeps folders open opened it.
  int descriptor() const { return descriptor_.load(std::memory_order_acquire); }

 private:
  friend class PosixFileManager;
  const std::string path_;
  std::atomic<int> descriptor_{-1};
  std::mutex mutex_;          // serialises refreshes
  std::uint64_t device_ = 0;  // of the open folder; guarded by mutex_
  std::uint64_t inode_ = 0;   // guarded by mutex_
};

// What every file operation throws. It also keeps the bare operation name,
// for messages in the form the tools print.
class FileError : public std::filesystem::filesystem_error {
 public:
  FileError(std::string operation, const std::string& path, int errnoValue);
  const std::string& operation() const { return operation_; }
  // "rename /path/to/file: Permission denied"
  std::string message() const;

 private:
  std::string operation_;
};

[[noreturn]] void throwFileError(const char* operation, const std::string& path, int errnoValue);
// FileError::message() for a FileError, what() for any other filesystem_error.
std::string fileErrorMessage(const std::filesystem::filesystem_error& error);

class FileManager {
 public:
  virtual ~FileManager() = default;

  // How far writeFileAtomically goes to survive a power cut.
  enum class SyncPolicy {
    none,     // caches: losing the latest write is acceptable
    durable,  // settings and state: fsync the file before the rename and its folder after
  };

  static FileManager& defaultManager() { return slot().get(); }
  static Replaceable<FileManager>& slot();

  // The user's caches directory ($XDG_CACHE_HOME or ~/.cache, then "aurimo"),
  // created 0700 when missing.
  virtual std::string cachesDirectory() = 0;

  virtual bool fileExists(const std::string& path) = 0;
  // New folders are 0700. With intermediates, an existing directory is fine.
  virtual void createDirectory(const std::string& path, bool withIntermediateDirectories) = 0;
  // Removes a file, or a directory with everything inside it. A missing item throws.
  virtual void removeItem(const std::string& path) = 0;
  // rename(2): atomically replaces `to`; both must be on one file system.
  virtual void renameItem(const std::string& from, const std::string& to) = 0;
  // Like renameItem but never replaces: an existing `to` throws EEXIST.
  virtual void moveItem(const std::string& from, const std::string& to) = 0;
  virtual void setPermissions(const std::string& path, unsigned mode) = 0;

  // Reads the whole file and its attributes through one descriptor, so both
  // describe the same file even while a writer replaces it.
  virtual FileContents contentsOfFile(const std::string& path) = 0;
  virtual FileAttributes attributesOfItem(const std::string& path) = 0;
  virtual void setModificationDate(const std::string& path, Date date) = 0;

  // contentsOfFile(directory.path() + "/" + name); the real manager reads
  // through the open folder instead. Wrappers need not override it: the
  // default goes through contentsOfFile(path), so their faults apply.
  virtual FileContents contentsOfFile(DirectoryHandle& directory, const std::string& name) {
    return contentsOfFile(directory.path() + "/" + name);
  }
  // Points `directory` at the folder now at its path when that is not the
  // one it holds (or it holds none); true when it changed. Callers try this
  // after a file they expected was missing.
  virtual bool refreshDirectory(DirectoryHandle& /*directory*/) { return false; }

  // Creates a new 0600 file in `directory` named `namePrefix` plus a random
  // suffix, opened for writing.
  virtual WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) = 0;
  virtual void write(WritableFile& file, std::span<const std::uint8_t> bytes) = 0;
  virtual void setModificationDate(WritableFile& file, Date date) = 0;
  // fsync(2): the bytes written so far survive a power cut.
  virtual void syncFile(WritableFile& file) = 0;
  virtual void closeFile(WritableFile& file) = 0;
  // fsync(2) of a folder: renames and removals in it survive a power cut.
  virtual void syncDirectory(const std::string& path) = 0;

  // Walks `path` and its subdirectories with readdir and fstatat. Names
  // `include` rejects are neither examined nor entered. Items that vanish
  // during the walk are skipped; a subdirectory that cannot be opened is
  // skipped. Returns false when `path` itself cannot be opened; throws when
  // an item cannot be examined.
  using NameFilter = std::function<bool(std::string_view name)>;
  using EntryVisitor = std::function<void(const DirectoryEntry& entry)>;
  [[nodiscard]] virtual bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                                const EntryVisitor& visit) = 0;

  // Writes `bytes` to a 0600 temporary file beside `path` (named
  // `temporaryPrefix` plus a random suffix), gives it `modificationDate`,
  // syncs as `policy` says, then renames it over `path`: readers see the old
  // file or the complete new one, and the date is already right when the new
  // file appears. On failure the temporary file is removed and the old file
  // left intact. The folder must exist.
  void writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                           std::string_view temporaryPrefix, std::optional<Date> modificationDate,
                           SyncPolicy policy = SyncPolicy::none);
  // Creates `path` and its missing parents 0700, and narrows an existing
  // `path` to 0700, which a person or an older build may have widened.
  void createPrivateDirectory(const std::string& path);
  // Renames a file that could not be read or used out of the way, keeping it
  // for inspection, as "<path>.corrupt-<unix seconds of now>" ("-2", "-3",
  // ... when taken), and returns the new path.
  std::string moveItemAside(const std::string& path, Date now);

 protected:
  FileManager() = default;
};

// The real file manager over POSIX calls.
class PosixFileManager : public FileManager {
 public:
  std::string cachesDirectory() override;
  bool fileExists(const std::string& path) override;
  void createDirectory(const std::string& path, bool withIntermediateDirectories) override;
  void removeItem(const std::string& path) override;
  void renameItem(const std::string& from, const std::string& to) override;
  void moveItem(const std::string& from, const std::string& to) override;
  void setPermissions(const std::string& path, unsigned mode) override;
  FileContents contentsOfFile(const std::string& path) override;
  FileContents contentsOfFile(DirectoryHandle& directory, const std::string& name) override;
  bool refreshDirectory(DirectoryHandle& directory) override;
  FileAttributes attributesOfItem(const std::string& path) override;
  void setModificationDate(const std::string& path, Date date) override;
  WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) override;
  void write(WritableFile& file, std::span<const std::uint8_t> bytes) override;
  void setModificationDate(WritableFile& file, Date date) override;
  void syncFile(WritableFile& file) override;
  void closeFile(WritableFile& file) override;
  void syncDirectory(const std::string& path) override;
  [[nodiscard]] bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                        const EntryVisitor& visit) override;
};

// Forwards every operation to `target`; derive from it to change only the
// operations you care about. `target` must outlive the wrapper.
class FileManagerWrapper : public FileManager {
 public:
  explicit FileManagerWrapper(FileManager& target) : target_(target) {}
  FileManager& target() const { return target_; }

  std::string cachesDirectory() override { return target_.cachesDirectory(); }
  bool fileExists(const std::string& path) override { return target_.fileExists(path); }
  void createDirectory(const std::string& path, bool withIntermediateDirectories) override {
    target_.createDirectory(path, withIntermediateDirectories);
  }
  void removeItem(const std::string& path) override { target_.removeItem(path); }
  void renameItem(const std::string& from, const std::string& to) override { target_.renameItem(from, to); }
  void moveItem(const std::string& from, const std::string& to) override { target_.moveItem(from, to); }
  void setPermissions(const std::string& path, unsigned mode) override { target_.setPermissions(path, mode); }
  FileContents contentsOfFile(const std::string& path) override { return target_.contentsOfFile(path); }
  FileAttributes attributesOfItem(const std::string& path) override { return target_.attributesOfItem(path); }
  void setModificationDate(const std::string& path, Date date) override { target_.setModificationDate(path, date); }
  WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) override {
    return target_.createTemporaryFile(directory, namePrefix);
  }
  void write(WritableFile& file, std::span<const std::uint8_t> bytes) override { target_.write(file, bytes); }
  void setModificationDate(WritableFile& file, Date date) override { target_.setModificationDate(file, date); }
  void syncFile(WritableFile& file) override { target_.syncFile(file); }
  void closeFile(WritableFile& file) override { target_.closeFile(file); }
  void syncDirectory(const std::string& path) override { target_.syncDirectory(path); }
  [[nodiscard]] bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                        const EntryVisitor& visit) override {
    return target_.enumerateDirectory(path, include, visit);
  }

 private:
  FileManager& target_;
};

}  // namespace aurimo::platform
