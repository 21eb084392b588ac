#include "platform/file_manager.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <random>
#include <system_error>
#include <utility>

#include "platform/directories.h"

namespace aurimo::platform {
namespace {

constexpr Date::rep kNanosecondsPerSecond = 1'000'000'000;

// A file dated beyond what a Date holds (after 2262, before 1677) reads as
// the nearest end, never wrapped round to the other.
Date dateFromTimespec(const struct timespec& time) {
  Date::rep nanoseconds = 0;
  if (__builtin_mul_overflow(static_cast<Date::rep>(time.tv_sec), kNanosecondsPerSecond, &nanoseconds) ||
      __builtin_add_overflow(nanoseconds, static_cast<Date::rep>(time.tv_nsec), &nanoseconds)) {
    return time.tv_sec < 0 ? Date::min() : Date::max();
  }
  return Date(Date::duration(nanoseconds));
}

// By division, as floor()'s seconds would not fit back into nanoseconds near Date::min().
struct timespec timespecFromDate(Date date) {
  const Date::rep nanoseconds = date.time_since_epoch().count();
  Date::rep seconds = nanoseconds / kNanosecondsPerSecond, rest = nanoseconds % kNanosecondsPerSecond;
  if (rest < 0) {
    rest += kNanosecondsPerSecond;
    --seconds;
  }
  struct timespec time{};
  time.tv_sec = static_cast<time_t>(seconds);
  time.tv_nsec = static_cast<long>(rest);
  return time;
}

FileAttributes attributesFromStat(const struct stat& status) {
  FileAttributes attributes;
  if (S_ISREG(status.st_mode)) {
    attributes.type = FileAttributes::Type::regular;
  } else if (S_ISDIR(status.st_mode)) {
    attributes.type = FileAttributes::Type::directory;
  }
  attributes.size = static_cast<std::uint64_t>(status.st_size);
  // st_blocks counts 512-byte units whatever the file system's block size.
  attributes.totalFileAllocatedSize = static_cast<std::uint64_t>(status.st_blocks) * 512;
  attributes.modificationDate = dateFromTimespec(status.st_mtim);
  return attributes;
}

std::string parentDirectory(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};
using DirectoryStream = std::unique_ptr<DIR, DirectoryCloser>;

bool walk(int directoryDescriptor, std::string& path, const FileManager::NameFilter& include,
          const FileManager::EntryVisitor& visit) {
  DirectoryStream stream(::fdopendir(directoryDescriptor));
  if (!stream) {
    ::close(directoryDescriptor);
    return false;
  }
  const int descriptor = ::dirfd(stream.get());
  const std::size_t baseLength = path.size();
  struct stat status;
  while (true) {
    errno = 0;
    const struct dirent* item = ::readdir(stream.get());
    if (item == nullptr) {
      if (errno != 0) throwFileError("readdir", path, errno);
      return true;
    }
    const std::string_view name(item->d_name);
    if (name == "." || name == "..") continue;
    if (include && !include(name)) continue;
    if (::fstatat(descriptor, item->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
      if (errno == ENOENT) continue;  // removed while we walked
      path.resize(baseLength);
      path.append("/").append(name);
      throwFileError("fstatat", path, errno);
    }
    path.resize(baseLength);
    path.append("/").append(name);
    const FileAttributes attributes = attributesFromStat(status);
    visit(DirectoryEntry{std::string_view(path).substr(baseLength + 1), path, attributes});
    if (attributes.isDirectory()) {
      const int child = ::openat(descriptor, item->d_name, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
      if (child >= 0) (void)walk(child, path, include, visit);
    }
  }
}

}  // namespace

FileError::FileError(std::string operation, const std::string& path, int errnoValue)
    : std::filesystem::filesystem_error(operation, std::filesystem::path(path),
                                        std::error_code(errnoValue, std::generic_category())),
      operation_(std::move(operation)) {}

std::string FileError::message() const {
  return operation_ + " " + path1().string() + ": " + std::strerror(code().value());
}

void throwFileError(const char* operation, const std::string& path, int errnoValue) {
  throw FileError(operation, path, errnoValue);
}

std::string fileErrorMessage(const std::filesystem::filesystem_error& error) {
  if (const auto* own = dynamic_cast<const FileError*>(&error)) return own->message();
  return error.what();
}

ScopedDescriptor::~ScopedDescriptor() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

WritableFile::WritableFile(WritableFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), path_(std::move(other.path_)) {}

WritableFile& WritableFile::operator=(WritableFile&& other) noexcept {
  if (this != &other) {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = std::exchange(other.descriptor_, -1);
    path_ = std::move(other.path_);
  }
  return *this;
}

WritableFile::~WritableFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

int WritableFile::release() { return std::exchange(descriptor_, -1); }

DirectoryHandle::~DirectoryHandle() {
  if (const int descriptor = this->descriptor(); descriptor >= 0) ::close(descriptor);
}

Replaceable<FileManager>& FileManager::slot() {
  static Replaceable<FileManager> instance([] { return std::make_shared<PosixFileManager>(); });
  return instance;
}

void FileManager::writeFileAtomically(const std::string& path, std::span<const std::uint8_t> bytes,
                                      std::string_view temporaryPrefix, std::optional<Date> modificationDate,
                                      SyncPolicy policy) {
  const std::string directory = parentDirectory(path);
  WritableFile file = createTemporaryFile(directory, temporaryPrefix);
  const std::string temporaryPath = file.path();
  try {
    write(file, bytes);
    if (modificationDate) setModificationDate(file, *modificationDate);
    if (policy == SyncPolicy::durable) syncFile(file);
    closeFile(file);
    renameItem(temporaryPath, path);
  } catch (...) {
    if (file.isOpen()) ::close(file.release());
    try {
      removeItem(temporaryPath);
    } catch (const std::exception&) {
      // The sweep removes stale temporaries; the first error is the one to report.
    }
    throw;
  }
  if (policy != SyncPolicy::durable) return;
  try {
    syncDirectory(directory);
  } catch (const std::filesystem::filesystem_error&) {
    // The new content is in place; only its survival of a power cut is in doubt.
  }
}

void FileManager::createPrivateDirectory(const std::string& path) {
  createDirectory(path, true);
  setPermissions(path, 0700);
}

std::string FileManager::moveItemAside(const std::string& path, Date now) {
  const std::string stamp = path + ".corrupt-" + std::to_string(static_cast<long long>(unixSeconds(now)));
  std::string aside = stamp;
  for (int attempt = 2; fileExists(aside); ++attempt) aside = stamp + "-" + std::to_string(attempt);
  renameItem(path, aside);
  return aside;
}

std::string PosixFileManager::cachesDirectory() {
  const std::string caches = Directories::current().cachesDirectory().string();
  createPrivateDirectory(caches);
  return caches;
}

bool PosixFileManager::fileExists(const std::string& path) {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0;
}

void PosixFileManager::createDirectory(const std::string& path, bool withIntermediateDirectories) {
  if (!withIntermediateDirectories) {
    if (::mkdir(path.c_str(), 0700) != 0) throwFileError("mkdir", path, errno);
    return;
  }
  // Create each missing component from the root down.
  std::size_t position = 0;
  while (position != std::string::npos) {
    position = path.find('/', position + 1);
    const std::string prefix = path.substr(0, position);
    if (prefix.empty() || ::mkdir(prefix.c_str(), 0700) == 0) continue;
    const int error = errno;
    struct stat status;
    if (error == EEXIST && ::stat(prefix.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) continue;
    throwFileError("mkdir", prefix, error == EEXIST ? ENOTDIR : error);
  }
}

void PosixFileManager::removeItem(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return;
  const int error = errno;
  struct stat status;
  const bool isDirectory = (error == EISDIR || error == EPERM) && ::lstat(path.c_str(), &status) == 0 &&
                           S_ISDIR(status.st_mode);
  if (!isDirectory) throwFileError("unlink", path, error);
  std::error_code treeError;
  std::filesystem::remove_all(path, treeError);
  if (treeError) throwFileError("remove", path, treeError.value());
}

void PosixFileManager::renameItem(const std::string& from, const std::string& to) {
  if (::rename(from.c_str(), to.c_str()) != 0) throwFileError("rename", to, errno);
}

void PosixFileManager::moveItem(const std::string& from, const std::string& to) {
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
  if (errno != EINVAL && errno != ENOSYS) throwFileError("rename", to, errno);
  // A file system without no-replace renames: check first, as well as it can be done.
  struct stat status;
  if (::lstat(to.c_str(), &status) == 0) throwFileError("rename", to, EEXIST);
  renameItem(from, to);
}

void PosixFileManager::setPermissions(const std::string& path, unsigned mode) {
  if (::chmod(path.c_str(), static_cast<mode_t>(mode)) != 0) throwFileError("chmod", path, errno);
}

namespace {

// Cache files carry their expiry, a future date, as modification time, so
// relatime would write a new access time on every read; O_NOATIME avoids
// that for files we own and is refused (EPERM) for others.
int openForReading(int directory, const char* path) {
  const int descriptor = ::openat(directory, path, O_RDONLY | O_CLOEXEC | O_NOATIME);
  if (descriptor >= 0 || errno != EPERM) return descriptor;
  return ::openat(directory, path, O_RDONLY | O_CLOEXEC);
}

// Reads all of an open file; `path` names it in errors and is only called then.
template <class PathOf>
FileContents readOpenFile(int descriptor, const PathOf& path) {
  const ScopedDescriptor file(descriptor);
  struct stat status;
  if (::fstat(file.get(), &status) != 0) throwFileError("fstat", path(), errno);
  // A folder's size says nothing about what read() would give.
  if (S_ISDIR(status.st_mode)) throwFileError("read", path(), EISDIR);
  FileContents contents;
  contents.data.resize(static_cast<std::size_t>(status.st_size));
  std::size_t done = 0;
  // Writers replace files by rename, so the size cannot change under us;
  // stopping at it saves the read that would return end-of-file.
  while (done < contents.data.size()) {
    const ssize_t count = ::read(file.get(), contents.data.data() + done, contents.data.size() - done);
    if (count < 0) {
      if (errno == EINTR) continue;
      throwFileError("read", path(), errno);
    }
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  contents.data.resize(done);
  contents.attributes = attributesFromStat(status);
  return contents;
}

}  // namespace

FileContents PosixFileManager::contentsOfFile(const std::string& path) {
  const int descriptor = openForReading(AT_FDCWD, path.c_str());
  if (descriptor < 0) throwFileError("open", path, errno);
  return readOpenFile(descriptor, [&]() -> const std::string& { return path; });
}

FileContents PosixFileManager::contentsOfFile(DirectoryHandle& directory, const std::string& name) {
  int folder = directory.descriptor();
  if (folder < 0) {
    (void)refreshDirectory(directory);
    folder = directory.descriptor();
  }
  // A name with a slash would leave the folder; the path form handles it as any path.
  if (folder < 0 || name.find('/') != std::string::npos) return FileManager::contentsOfFile(directory, name);
  const auto path = [&] { return directory.path() + "/" + name; };
  const int descriptor = openForReading(folder, name.c_str());
  if (descriptor < 0) throwFileError("open", path(), errno);
  return readOpenFile(descriptor, path);
}

bool PosixFileManager::refreshDirectory(DirectoryHandle& directory) {
  std::lock_guard lock(directory.mutex_);
  struct stat status;
  const int current = directory.descriptor_.load(std::memory_order_relaxed);
  if (current >= 0 && ::stat(directory.path_.c_str(), &status) == 0 &&
      static_cast<std::uint64_t>(status.st_dev) == directory.device_ &&
      static_cast<std::uint64_t>(status.st_ino) == directory.inode_) {
    return false;
  }
  const ScopedDescriptor opened(::open(directory.path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (opened.get() < 0 || ::fstat(opened.get(), &status) != 0) return false;
  if (current < 0) {
    directory.descriptor_.store(::fcntl(opened.get(), F_DUPFD_CLOEXEC, 0), std::memory_order_release);
    if (directory.descriptor() < 0) return false;
  } else if (::dup3(opened.get(), current, O_CLOEXEC) < 0) {
    // Readers keep the number; dup3 swaps what it refers to in one step.
    return false;
  }
  directory.device_ = static_cast<std::uint64_t>(status.st_dev);
  directory.inode_ = static_cast<std::uint64_t>(status.st_ino);
  return true;
}

FileAttributes PosixFileManager::attributesOfItem(const std::string& path) {
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) throwFileError("stat", path, errno);
  return attributesFromStat(status);
}

void PosixFileManager::setModificationDate(const std::string& path, Date date) {
  const struct timespec times[2] = {{0, UTIME_OMIT}, timespecFromDate(date)};
  if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0) throwFileError("utimensat", path, errno);
}

WritableFile PosixFileManager::createTemporaryFile(const std::string& directory, std::string_view namePrefix) {
  thread_local std::mt19937_64 random{std::random_device{}()};
  static constexpr char kAlphabet[] = "0123456789abcdefghijklmnopqrstuvwxyz";
  std::string path = directory;
  path.append("/").append(namePrefix);
  const std::size_t suffixAt = path.size();
  path.append(8, '0');
  for (int attempt = 0;; ++attempt) {
    std::uint64_t bits = random();
    for (std::size_t i = 0; i < 8; ++i, bits >>= 6) path[suffixAt + i] = kAlphabet[(bits & 63) % 36];
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (descriptor >= 0) return WritableFile(descriptor, std::move(path));
    if (errno != EEXIST || attempt == 100) throwFileError("open", path, errno);
  }
}

void PosixFileManager::write(WritableFile& file, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file.descriptor(), bytes.data(), bytes.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      throwFileError("write", file.path(), errno);
    }
    bytes = bytes.subspan(static_cast<std::size_t>(count));
  }
}

void PosixFileManager::setModificationDate(WritableFile& file, Date date) {
  const struct timespec times[2] = {{0, UTIME_OMIT}, timespecFromDate(date)};
  if (::futimens(file.descriptor(), times) != 0) throwFileError("futimens", file.path(), errno);
}

void PosixFileManager::syncFile(WritableFile& file) {
  if (::fsync(file.descriptor()) != 0) throwFileError("fsync", file.path(), errno);
}

void PosixFileManager::syncDirectory(const std::string& path) {
  const ScopedDescriptor directory(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.get() < 0) throwFileError("open", path, errno);
  if (::fsync(directory.get()) != 0) throwFileError("fsync", path, errno);
}

void PosixFileManager::closeFile(WritableFile& file) {
  // On Linux the descriptor is gone even when close reports EINTR.
  if (::close(file.release()) != 0 && errno != EINTR) throwFileError("close", file.path(), errno);
}

bool PosixFileManager::enumerateDirectory(const std::string& path, const NameFilter& include,
                                          const EntryVisitor& visit) {
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  std::string buffer = path;
  while (buffer.size() > 1 && buffer.back() == '/') buffer.pop_back();
  return walk(descriptor, buffer, include, visit);
}

}  // namespace aurimo::platform
