#pragma once
// FileManager: the file-system service of the cache and of anything else that
// keeps many small files. One real implementation over POSIX calls
// (defaultManager(), replaceable in tests); wrappers such as
// test::FaultyFileManager override single operations to inject
// faults. Every failure is thrown as std::filesystem::filesystem_error
// carrying the path and errno.
//
// Thread contract: the real manager is stateless and safe from any thread;
// a WritableFile belongs to one thread at a time.
//
//   platform::FileManager& files = platform::FileManager::defaultManager();
//   files.writeFileAtomically(dir + "/a", bytes, ".tmp-", expiryDate);

#include <cstdint>
#include <filesystem>
#include <functional>
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

class FileManager {
 public:
  virtual ~FileManager() = default;

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

  // Reads the whole file and its attributes through one descriptor, so both
  // describe the same file even while a writer replaces it.
  virtual FileContents contentsOfFile(const std::string& path) = 0;
  virtual FileAttributes attributesOfItem(const std::string& path) = 0;
  virtual void setModificationDate(const std::string& path, Date date) = 0;

  // Creates a new 0600 file in `directory` named `namePrefix` plus a random
  // suffix, opened for writing.
  virtual WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) = 0;
  virtual void write(WritableFile& file, std::span<const std::uint8_t> bytes) = 0;
  virtual void setModificationDate(WritableFile& file, Date date) = 0;
  virtual void closeFile(WritableFile& file) = 0;

  // Walks `path` and its subdirectories with readdir and fstatat. Names
  // `include` rejects are neither examined nor entered. Items that vanish
  // during the walk are skipped; a subdirectory that cannot be opened is
  // skipped. Returns false when `path` itself cannot be opened; throws when
  // an item cannot be examined.
  using NameFilter = std::function<bool(std::string_view name)>;
  using EntryVisitor = std::function<void(const DirectoryEntry& entry)>;
  [[nodiscard]] virtual bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                                const EntryVisitor& visit) = 0;

  // Writes `bytes` to a temporary file beside `path` (named `temporaryPrefix`
  // plus a random suffix), gives it `modificationDate`, then renames it over
  // `path`: readers see the old file or the complete new one, and the date is
  // already right when the new file appears. No fsync: this is for caches,
  // where a lost write after a power cut is acceptable. On failure the
  // temporary file is removed and the old file left intact.
  void writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                           std::string_view temporaryPrefix, std::optional<Date> modificationDate);

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
  FileContents contentsOfFile(const std::string& path) override;
  FileAttributes attributesOfItem(const std::string& path) override;
  void setModificationDate(const std::string& path, Date date) override;
  WritableFile createTemporaryFile(const std::string& directory, std::string_view namePrefix) override;
  void write(WritableFile& file, std::span<const std::uint8_t> bytes) override;
  void setModificationDate(WritableFile& file, Date date) override;
  void closeFile(WritableFile& file) override;
  [[nodiscard]] bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                        const EntryVisitor& visit) override;
};

// The error every file operation throws: "<operation>: <strerror>" with the path and errno.
[[noreturn]] void throwFileError(const char* operation, const std::string& path, int errnoValue);

}  // namespace aurimo::platform
