#pragma once
// DiskStorage<Key, Value>: one file per key in a cache directory. A file holds
// exactly the transformer's bytes and its modification date is the object's
// expiry date, so there is no index. Writes replace files atomically; the
// expired-object sweep also enforces the size limit, evicting the files that
// expire last first.
//
// Thread contract: no locks; the directory is the only shared state, so
// operations may run concurrently from any thread (a reader sees the old or
// the new file, never a partial one). Set onRemove before sharing the storage.
//
//   cache::DiskStorage<std::string, platform::Data> storage(config, platform::FileManager::defaultManager(),
//                                                           cache::TransformerFactory::forData());
//   storage.setObject(bytes, "photo.jpg");  // <MD5 of "photo.jpg">.jpg

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "cache/disk_config.h"
#include "cache/disk_storage_error.h"
#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/internal/disk_directory.h"
#include "cache/storage_aware.h"
#include "cache/storage_error.h"
#include "cache/transformer.h"
#include "platform/file_manager.h"

namespace aurimo::cache {

template <StorageKey Key, std::copyable Value>
class DiskStorage final : public StorageAware<Key, Value> {
 public:
  using Error = DiskStorageError;
  using OnRemove = std::function<void(const std::string& path)>;

  // Resolves the directory (config.directory or the caches directory, then
  // config.name) and creates it when missing; file-system errors are thrown.
  DiskStorage(DiskConfig config, platform::FileManager& fileManager, Transformer<Value> transformer)
      : DiskStorage(config, fileManager, internal::DiskDirectory::resolvePath(fileManager, config),
                    std::move(transformer)) {
    directory_.create();
  }

  // Uses `path` as the cache directory as it is; touches no file.
  DiskStorage(DiskConfig config, platform::FileManager& fileManager, std::string path,
              Transformer<Value> transformer)
      : directory_(fileManager, std::move(config), std::move(path)), transformer_(std::move(transformer)) {}

  // Called with the file's path after each file this storage removes, except by removeAll().
  OnRemove onRemove;

  // Reads the file, then its attributes; a missing file throws the platform's
  // not-found error, a file without a modification date malformedFileAttributes.
  Entry<Value> entry(const Key& key) override {
    Entry<Value> entry = entryWithoutPath(key);
    entry.filePath = filePath(key);
    return entry;
  }

  // entry() with no file path, for readers that never look at it: a read
  // then builds no path string, only the file's name.
  Entry<Value> entryWithoutPath(const Key& key) {
    platform::FileContents contents = readFile(key);
    const auto& date = contents.attributes.modificationDate;
    if (!date) throw StorageError(StorageError::malformedFileAttributes);
    const Expiry expiry = Expiry::date(*date);
    return Entry<Value>{transformer_.fromData(std::move(contents.data)), expiry, std::nullopt};
  }

  Value object(const Key& key) override { return std::move(entryWithoutPath(key).object); }

  // A missing file throws.
  void removeObject(const Key& key) override { directory_.remove(filePath(key), onRemove); }

  // Nothing is written when the transformer throws.
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    const platform::Date date = expiry.value_or(directory_.config().expiry).date();
    const platform::Data data = transformer_.toData(object);
    directory_.write(filePath(key), data, date);
  }

  // Removes the directory with everything in it and creates it again; no onRemove calls.
  void removeAll() override {
    directory_.removeAll();
    // Reads go through the folder held open; make it the new one, so no read sees the old folder's files.
    directory_.refresh();
  }

  // Removes expired files (they do not count towards the size), then, while
  // the remaining allocated size exceeds maxSize, files from the latest
  // expiry down until the total is below half of maxSize.
  void removeExpiredObjects() override { directory_.removeExpired(onRemove); }

  // A storage of another value type over the same directory and files,
  // without this one's onRemove.
  template <std::copyable U>
  DiskStorage<Key, U> transform(Transformer<U> transformer) const {
    return DiskStorage<Key, U>(directory_.config(), directory_.fileManager(), directory_.path(),
                               std::move(transformer));
  }

  // Text keys: the upper-case hex MD5 of the key, plus "." and the path
  // extension of its last component when it has one. Other keys: a hash
  // seeded per process, so their files are found again only in the same run.
  std::string fileName(const Key& key) const {
    if constexpr (std::is_convertible_v<const Key&, std::string_view>) {
      return internal::DiskDirectory::fileNameForText(std::string_view(key));
    } else {
      return internal::DiskDirectory::fileNameForHash(std::hash<Key>{}(key));
    }
  }

  std::string filePath(const Key& key) const {
    if constexpr (std::is_convertible_v<const Key&, std::string_view>) {
      return directory_.pathForText(std::string_view(key));
    } else {
      return directory_.pathForName(fileName(key));
    }
  }

  // The byte length of the files in the directory (not their allocated size).
  std::uint64_t totalSize() { return directory_.totalSize(); }

  const DiskConfig& config() const { return directory_.config(); }
  const std::string& path() const { return directory_.path(); }
  platform::FileManager& fileManager() const { return directory_.fileManager(); }

 private:
  platform::FileContents readFile(const Key& key) {
    if constexpr (std::is_convertible_v<const Key&, std::string_view>) {
      return directory_.readForText(std::string_view(key));
    } else {
      return directory_.readName(fileName(key));
    }
  }

  internal::DiskDirectory directory_;
  Transformer<Value> transformer_;
};

}  // namespace aurimo::cache
