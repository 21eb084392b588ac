#include "cache/internal/disk_directory.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <optional>
#include <random>
#include <system_error>
#include <vector>

#include "cache/disk_storage_error.h"
#include "cache/md5.h"

namespace aurimo::cache::internal {
namespace {

// Temporaries carry their creation second (by the process clock) in their
// name, because their modification date is already the expiry date.
constexpr std::string_view kTemporaryPrefix = ".aurimo-";
constexpr std::int64_t kStaleTemporarySeconds = 60;

std::int64_t unixSecondsNow(platform::Date now) {
  return std::chrono::floor<std::chrono::seconds>(now.time_since_epoch()).count();
}

std::optional<std::int64_t> temporaryCreationSeconds(std::string_view name) {
  if (!name.starts_with(kTemporaryPrefix)) return std::nullopt;
  name.remove_prefix(kTemporaryPrefix.size());
  std::int64_t seconds = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), seconds);
  if (error != std::errc() || end == name.data() + name.size() || *end != '-') return std::nullopt;
  return seconds;
}

std::uint64_t processSeed() {
  static const std::uint64_t seed = [] {
    std::random_device device;
    return (static_cast<std::uint64_t>(device()) << 32) ^ device();
  }();
  return seed;
}

// The extension of the last path component: the text after its last full
// stop, empty when there is none. Trailing slashes do not end a component.
std::string_view pathExtension(std::string_view key) {
  while (!key.empty() && key.back() == '/') key.remove_suffix(1);
  if (const auto slash = key.rfind('/'); slash != std::string_view::npos) key.remove_prefix(slash + 1);
  const auto dot = key.rfind('.');
  return dot == std::string_view::npos ? std::string_view() : key.substr(dot + 1);
}

// How often a write or a clear that lost a race with another process sharing
// the folder tries again: such races are brief, so one retry nearly always does.
constexpr int kRaceAttempts = 3;

bool isNotFound(const std::system_error& error) { return error.code() == std::errc::no_such_file_or_directory; }

// Processes sharing the folder sweep and clear it at the same time: a file
// or folder someone else removed first is removed all the same.
void removeUnlessGone(platform::FileManager& fileManager, const std::string& path) {
  try {
    fileManager.removeItem(path);
  } catch (const std::system_error& error) {
    if (!isNotFound(error)) throw;
  }
}

struct KeptFile {
  std::string path;
  std::optional<platform::Date> modificationDate;
  std::uint64_t allocatedSize;
};

}  // namespace

std::string DiskDirectory::resolvePath(platform::FileManager& fileManager, const DiskConfig& config) {
  std::string parent = config.directory ? config.directory->string() : fileManager.cachesDirectory();
  // An empty parent is the current folder, as for any relative path; never the root.
  if (parent.empty()) return "./" + config.name;
  while (parent.size() > 1 && parent.back() == '/') parent.pop_back();
  if (parent != "/") parent.push_back('/');
  return parent + config.name;
}

void DiskDirectory::appendFileNameForText(std::string& out, std::string_view key) {
  const std::string_view extension = pathExtension(key);
  const std::size_t start = out.size();
  out.resize(start + kMD5HexLength);
  md5HexDigits(md5Digest(key), out.data() + start);
  if (!extension.empty()) out.append(".").append(extension);
}

std::string DiskDirectory::fileNameForText(std::string_view key) {
  std::string name;
  appendFileNameForText(name, key);
  return name;
}

std::string DiskDirectory::pathForText(std::string_view key) const {
  std::string filePath;
  filePath.reserve(path_.size() + 2 + kMD5HexLength + key.size());
  filePath.append(path_).append("/");
  appendFileNameForText(filePath, key);
  return filePath;
}

std::string DiskDirectory::fileNameForHash(std::size_t hash) {
  // splitmix64's finaliser: every bit of the seed and the hash reaches every bit.
  std::uint64_t x = processSeed() ^ (static_cast<std::uint64_t>(hash) * 0x9e3779b97f4a7c15ull);
  x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ull;
  x = (x ^ (x >> 27)) * 0x94d049bb133111ebull;
  x ^= x >> 31;
  return std::to_string(static_cast<std::int64_t>(x));
}

bool DiskDirectory::isTemporaryName(std::string_view name) { return name.starts_with(kTemporaryPrefix); }

std::string DiskDirectory::pathForName(std::string_view name) const {
  std::string filePath;
  filePath.reserve(path_.size() + 1 + name.size());
  filePath.append(path_).append("/").append(name);
  return filePath;
}

void DiskDirectory::create() {
  if (!fileManager_->fileExists(path_)) fileManager_->createDirectory(path_, true);
}

void DiskDirectory::write(const std::string& filePath, const platform::Data& data, platform::Date expiryDate) {
  char prefix[48];
  const auto seconds = unixSecondsNow(platform::Clock::current().now());
  char* end = std::copy(kTemporaryPrefix.begin(), kTemporaryPrefix.end(), prefix);
  end = std::to_chars(end, prefix + sizeof prefix - 1, seconds).ptr;
  *end++ = '-';
  const std::string_view temporaryPrefix(prefix, static_cast<std::size_t>(end - prefix));
  for (int attempt = 1;; ++attempt) {
    try {
      fileManager_->writeFileAtomically(filePath, data, temporaryPrefix, expiryDate);
      return;
    } catch (const std::system_error& error) {
      if (!isNotFound(error) || attempt == kRaceAttempts) throw;
    }
    // A clear in another process took the folder away mid-write.
    fileManager_->createDirectory(path_, true);
  }
}

platform::FileContents DiskDirectory::read(const std::string& filePath) {
  return fileManager_->contentsOfFile(filePath);
}

platform::FileContents DiskDirectory::readName(const std::string& name) {
  try {
    return fileManager_->contentsOfFile(*handle_, name);
  } catch (const platform::FileError& error) {
    // The folder may have been replaced since it was opened (removeAll, here or in another process).
    if (error.code().value() != ENOENT || !fileManager_->refreshDirectory(*handle_)) throw;
  }
  return fileManager_->contentsOfFile(*handle_, name);
}

platform::FileContents DiskDirectory::readForText(std::string_view key) {
  // Reused, so a read allocates nothing for the name.
  thread_local std::string name;
  name.clear();
  appendFileNameForText(name, key);
  return readName(name);
}

void DiskDirectory::remove(const std::string& filePath, const OnRemove& onRemove) {
  fileManager_->removeItem(filePath);
  if (onRemove) onRemove(filePath);
}

// Writers in other processes keep adding files, so deleting the folder in
// place never finishes reliably ("Directory not empty"). Renamed aside under
// a unique name, it is out of their reach at once and deleted at leisure.
void DiskDirectory::removeAll() {
  std::string aside = path_;
  while (aside.size() > 1 && aside.back() == '/') aside.pop_back();  // a sibling, never inside
  aside += ".aurimo-clear-";
  aside += std::to_string(std::random_device{}()) + std::to_string(std::random_device{}());
  bool movedAside = true;
  try {
    fileManager_->moveItem(path_, aside);
  } catch (const std::system_error& error) {
    if (!isNotFound(error)) throw;
    movedAside = false;  // another clear got there first
  }
  fileManager_->createDirectory(path_, true);
  // A writer that looked the folder up just before it moved may still add a file to it.
  for (int attempt = 1; movedAside; ++attempt) {
    try {
      removeUnlessGone(*fileManager_, aside);
      return;
    } catch (const std::system_error& error) {
      if (error.code() != std::errc::directory_not_empty || attempt == kRaceAttempts) throw;
    }
  }
}

void DiskDirectory::removeExpired(const OnRemove& onRemove) {
  const platform::Date now = platform::Clock::current().now();
  const std::int64_t staleBefore = unixSecondsNow(now) - kStaleTemporarySeconds;

  std::uint64_t totalSize = 0;
  std::vector<std::string> expired;
  std::vector<KeptFile> kept;
  std::vector<std::string> staleTemporaries;
  const bool enumerated = fileManager_->enumerateDirectory(
      path_, [](std::string_view name) { return name.front() != '.' || isTemporaryName(name); },
      [&](const platform::DirectoryEntry& entry) {
        if (entry.name.front() == '.') {
          const auto created = temporaryCreationSeconds(entry.name);
          if (created && *created < staleBefore) staleTemporaries.push_back(entry.path);
          return;
        }
        if (entry.attributes.isDirectory()) return;
        const auto& date = entry.attributes.modificationDate;
        if (date && *date < now) {
          expired.push_back(entry.path);
          return;
        }
        if (const auto& size = entry.attributes.totalFileAllocatedSize) {
          totalSize += *size;
          // Only a size limit picks files to evict; without one, copying every path is waste.
          if (config_.maxSize != 0) kept.push_back(KeptFile{entry.path, date, *size});
        }
      });
  if (!enumerated) {
    if (!fileManager_->fileExists(path_)) return;  // cleared by another process this instant: nothing to sweep
    throw DiskStorageError(DiskStorageError::fileEnumeratorFailed);
  }

  for (const std::string& temporary : staleTemporaries) {
    try {
      fileManager_->removeItem(temporary);
    } catch (const std::exception&) {
      // Its writer may have just renamed it; either way the next sweep retries.
    }
  }
  const auto sweep = [&](const std::string& filePath) {
    removeUnlessGone(*fileManager_, filePath);
    if (onRemove) onRemove(filePath);
  };
  for (const std::string& filePath : expired) sweep(filePath);

  if (config_.maxSize == 0 || totalSize <= config_.maxSize) return;
  const std::uint64_t target = config_.maxSize / 2;
  // Newest modification date (the latest expiry) first. A file without a
  // date sorts as the oldest, so it never moves ahead of a dated one.
  std::stable_sort(kept.begin(), kept.end(), [](const KeptFile& a, const KeptFile& b) {
    return a.modificationDate.value_or(platform::Date::min()) > b.modificationDate.value_or(platform::Date::min());
  });
  for (const KeptFile& file : kept) {
    sweep(file.path);
    totalSize -= file.allocatedSize;
    if (totalSize < target) break;
  }
}

std::uint64_t DiskDirectory::totalSize() {
  std::uint64_t total = 0;
  const bool enumerated = fileManager_->enumerateDirectory(
      path_, [](std::string_view name) { return name.front() != '.'; },
      [&](const platform::DirectoryEntry& entry) {
        if (!entry.attributes.isDirectory()) total += entry.attributes.size;
      });
  if (!enumerated) throw DiskStorageError(DiskStorageError::fileEnumeratorFailed);
  return total;
}

}  // namespace aurimo::cache::internal
