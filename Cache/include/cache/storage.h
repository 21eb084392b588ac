#pragma once
// Storage<Key, Value>: the cache applications hold. One hybrid storage,
// reached two ways: blocking calls on this object (run on the queue
// "Cache.SyncStorage.SerialQueue") and completion-based calls through
// async() (run on "Cache.AsyncStorage.SerialQueue"). The two queues are not
// serialised against each other: a blocking read right after an async write
// may or may not see it. Observers registered here get this Storage in their
// closure.
//
// Thread contract: every member may be called from any thread; observer
// registration runs on the caller's thread, observer callbacks and async
// completions on the queue that did the work. A blocking call from a block
// already running on the sync queue deadlocks. Always owned by a
// std::shared_ptr (create() makes one); releasing it while async blocks are
// queued makes them complete with StorageError::deallocated.
//
//   auto storage = cache::Storage<std::string, platform::Data>::create(disk, memory, cache::TransformerFactory::forData());
//   storage->setObject(bytes, "photo.jpg");  storage->async().object("photo.jpg", done);

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

#include "cache/async_storage.h"
#include "cache/codable.h"
#include "cache/disk_config.h"
#include "cache/disk_storage.h"
#include "cache/entry.h"
#include "cache/expiry.h"
#include "cache/hybrid_storage.h"
#include "cache/key_change.h"
#include "cache/memory_config.h"
#include "cache/memory_storage.h"
#include "cache/observation_token.h"
#include "cache/storage_aware.h"
#include "cache/storage_change.h"
#include "cache/sync_storage.h"
#include "cache/transformer.h"
#include "cache/transformer_factory.h"
#include "platform/data.h"
#include "platform/dispatch_queue.h"
#include "platform/file_manager.h"

namespace aurimo::cache {

inline constexpr const char* kSyncStorageQueueLabel = "Cache.SyncStorage.SerialQueue";
inline constexpr const char* kAsyncStorageQueueLabel = "Cache.AsyncStorage.SerialQueue";

template <StorageKey Key, std::copyable Value>
class Storage final : public StorageAware<Key, Value>, public std::enable_shared_from_this<Storage<Key, Value>> {
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  // Creates the cache directory when missing; its file-system errors are thrown.
  static std::shared_ptr<Storage> create(DiskConfig diskConfig, MemoryConfig memoryConfig,
                                         Transformer<Value> transformer,
                                         platform::FileManager& fileManager = platform::FileManager::defaultManager()) {
    DiskStorage<Key, Value> disk(std::move(diskConfig), fileManager, std::move(transformer));
    MemoryStorage<Key, Value> memory(memoryConfig);
    return create(HybridStorage<Key, Value>::create(std::move(memory), std::move(disk)));
  }

  // A facade with two new queues over `hybridStorage`.
  static std::shared_ptr<Storage> create(std::shared_ptr<HybridStorage<Key, Value>> hybridStorage) {
    return std::make_shared<Storage>(Passkey{}, std::move(hybridStorage));
  }

  Storage(Passkey, std::shared_ptr<HybridStorage<Key, Value>> hybridStorage)
      : syncStorage_(hybridStorage, std::make_shared<platform::DispatchQueue>(kSyncStorageQueueLabel)),
        asyncStorage_(AsyncStorage<Key, Value>::create(
            hybridStorage, std::make_shared<platform::DispatchQueue>(kAsyncStorageQueueLabel))),
        hybridStorage_(std::move(hybridStorage)) {}
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;

  // The completion-based side; valid as long as this Storage.
  AsyncStorage<Key, Value>& async() const { return *asyncStorage_; }
  SyncStorage<Key, Value>& sync() { return syncStorage_; }
  HybridStorage<Key, Value>& hybridStorage() const { return *hybridStorage_; }

  Entry<Value> entry(const Key& key) override { return syncStorage_.entry(key); }
  void removeObject(const Key& key) override { syncStorage_.removeObject(key); }
  void setObject(const Value& object, const Key& key, std::optional<Expiry> expiry = std::nullopt) override {
    syncStorage_.setObject(object, key, expiry);
  }
  void removeAll() override { syncStorage_.removeAll(); }
  void removeExpiredObjects() override { syncStorage_.removeExpiredObjects(); }

  // `closure(observer, storage, change)`, with this Storage as `storage`; not
  // called once this Storage is gone.
  template <class Observer, class Closure>
    requires std::invocable<const Closure&, Observer&, Storage&, const StorageChange<Key>&>
  ObservationToken addStorageObserver(const std::shared_ptr<Observer>& observer, Closure closure) {
    return hybridStorage_->addStorageObserver(
        observer, [weak = this->weak_from_this(), closure = std::move(closure)](
                      Observer& alive, HybridStorage<Key, Value>&, const StorageChange<Key>& change) {
          if (const auto self = weak.lock()) closure(alive, *self, change);
        });
  }

  void removeAllStorageObservers() { hybridStorage_->removeAllStorageObservers(); }

  template <class Observer, class Closure>
    requires std::invocable<const Closure&, Observer&, Storage&, const KeyChange<Value>&>
  ObservationToken addObserver(const std::shared_ptr<Observer>& observer, const Key& key, Closure closure) {
    return hybridStorage_->addObserver(
        observer, key,
        [weak = this->weak_from_this(), closure = std::move(closure)](
            Observer& alive, HybridStorage<Key, Value>&, const KeyChange<Value>& change) {
          if (const auto self = weak.lock()) closure(alive, *self, change);
        });
  }

  void removeObserver(const Key& key) { hybridStorage_->removeObserver(key); }
  void removeAllKeyObservers() { hybridStorage_->removeAllKeyObservers(); }

  // A new facade, with its own two queues, over the same directory; memory
  // and observers are not shared.
  template <std::copyable U>
  std::shared_ptr<Storage<Key, U>> transform(Transformer<U> transformer) const {
    return Storage<Key, U>::create(hybridStorage_->transform(std::move(transformer)));
  }

  std::shared_ptr<Storage<Key, platform::Data>> transformData() const {
    return transform(TransformerFactory::forData());
  }
  // Defined in cache/image_transformer.h, part of aurimo::cache_image; a
  // template only so that nothing here needs the image type to be complete.
  template <class Image = platform::UIImage>
  std::shared_ptr<Storage<Key, Image>> transformImage() const;
  template <JSONCodable U>
  std::shared_ptr<Storage<Key, U>> transformCodable() const {
    return transform(TransformerFactory::forCodable<U>());
  }

 private:
  SyncStorage<Key, Value> syncStorage_;
  std::shared_ptr<AsyncStorage<Key, Value>> asyncStorage_;  // queued blocks hold it weakly
  std::shared_ptr<HybridStorage<Key, Value>> hybridStorage_;
};

}  // namespace aurimo::cache
