#include "app_context/media/cache_helper.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace aurimo {
namespace {

using DataStorage = CacheHelper::DataStorage;

struct StorageDefinition {
  std::string_view name;
  std::uint64_t maxSize;
  // Where the app's crash reports have always placed this storage's definition.
  int line;
};

constexpr StorageDefinition kImageCache{CacheHelper::kImageCacheName, CacheHelper::kImageCacheMaxSize, 15};
constexpr StorageDefinition kUserImageCache{CacheHelper::kUserImageCacheName, CacheHelper::kUserImageCacheMaxSize, 23};

[[noreturn]] void fatal(const char* error, int line) {
  std::fprintf(stderr, "Fatal error: %s: file AppContext/CacheHelper, line %d\n", error, line);
  std::abort();
}

std::shared_ptr<DataStorage> makeStorage(const StorageDefinition& definition) {
  try {
    return DataStorage::create(cache::DiskConfig(std::string(definition.name), cache::Expiry::never, definition.maxSize,
                                                 std::nullopt, std::nullopt),
                               cache::MemoryConfig(cache::Expiry::never, 0, 0), cache::TransformerFactory::forData());
  } catch (const std::exception& error) {
    fatal(error.what(), definition.line);
  } catch (...) {
    fatal("unknown error", definition.line);
  }
}

// One storage, built by the first get() on any thread.
class LazyStorage {
 public:
  explicit LazyStorage(const StorageDefinition& definition) : definition_(definition) {}

  DataStorage& get() {
    std::call_once(*once_, [this] { storage_ = makeStorage(definition_); });
    return *storage_;
  }

  void reset() {
    once_ = std::make_unique<std::once_flag>();
    storage_.reset();
  }

 private:
  const StorageDefinition& definition_;
  std::unique_ptr<std::once_flag> once_ = std::make_unique<std::once_flag>();  // replaced only by reset()
  std::shared_ptr<DataStorage> storage_;                                       // set once under *once_
};

// Never destroyed: queued blocks may still be running while the process exits.
LazyStorage& imageCache() {
  static LazyStorage& storage = *new LazyStorage(kImageCache);
  return storage;
}

LazyStorage& userImageCache() {
  static LazyStorage& storage = *new LazyStorage(kUserImageCache);
  return storage;
}

bool isUserImageKey(std::string_view key) { return key.starts_with("/image/") || key.starts_with("image/"); }

}  // namespace

std::string_view CacheHelper::storageName(std::string_view key) {
  return isUserImageKey(key) ? kUserImageCacheName : kImageCacheName;
}

CacheHelper::DataStorage& CacheHelper::storage(std::string_view key) {
  return isUserImageKey(key) ? userImageCache().get() : imageCache().get();
}

void CacheHelper::read(const std::string& key, ReadCompletion completion) {
  using Outcome = cache::Result<cache::Entry<platform::Data>>;
  auto deliver = [completion = std::move(completion)](Outcome outcome) {
    if (!completion) return;
    if (outcome.isValue()) {
      completion(std::move(outcome).get().object);
    } else {
      completion(std::nullopt);
    }
  };
  // object(key) is entry(key) mapped to the object; going to the entry directly
  // fails alike but moves the bytes out instead of copying them.
  storage(key).async().entry(key, std::move(deliver));
}

void CacheHelper::write(const platform::Data& data, const std::string& key) {
  storage(key).async().setObject(data, key, std::nullopt, [](cache::Result<void>) {});
}

void CacheHelper::resetStoragesForTesting() {
  imageCache().reset();
  userImageCache().reset();
}

}  // namespace aurimo
