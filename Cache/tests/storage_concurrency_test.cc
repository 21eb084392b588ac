// Sync and async calls, sweeps and observer churn on one Storage from four
// threads at once. Failures of single operations are expected (a file removed
// by another thread); crashes, races and lost or invented notifications are not.

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "cache/storage.h"
#include "platform/dispatch_group.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Store = cache::Storage<std::string, int>;
using Change = cache::StorageChange<std::string>;

struct Observer {};

TEST(StorageConcurrencyTest, MixedSyncAsyncAndObserverTrafficNotifiesEachSuccessfulMutationOnce) {
  std::string pattern = (fs::temp_directory_path() / "storage_concurrency_test.XXXXXX").string();
  const std::string root = ::mkdtemp(pattern.data());
  auto storage = Store::create(cache::DiskConfig("Cache", cache::Expiry::never, 4096, fs::path(root), std::nullopt),
                               cache::MemoryConfig(cache::Expiry::never, 16, 0), cache::TransformerFactory::forCodable<int>());

  std::atomic<int> succeeded{0};  // mutations that reported success
  std::atomic<int> notified{0};   // notifications the long-lived observer received
  auto counter = std::make_shared<Observer>();
  storage->addStorageObserver(counter, [&](Observer&, Store&, const Change&) { ++notified; });

  platform::DispatchGroup group;
  auto countAsync = [&](cache::Result<void> result) {
    if (result.isValue()) ++succeeded;
    group.leave();
  };
  auto attempt = [&](auto&& operation) {
    try {
      operation();
      ++succeeded;
    } catch (const std::exception&) {
      // Lost a race with another thread's removal.
    }
  };

  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 150; ++i) {
        const std::string key = "k" + std::to_string((i + t) % 6) + ".json";
        auto churn = std::make_shared<Observer>();
        const cache::ObservationToken token =
            storage->addObserver(churn, key, [](Observer&, Store& from, const cache::KeyChange<int>&) {
              (void)from.async();
            });
        switch (i % 6) {
          case 0:
            attempt([&] { storage->setObject(i, key); });
            break;
          case 1:
            group.enter();
            storage->async().setObject(i, key, cache::Expiry::seconds(-1), countAsync);
            break;
          case 2:
            attempt([&] { storage->removeObject(key); });
            break;
          case 3:
            group.enter();
            storage->async().removeObject(key, countAsync);
            break;
          case 4:
            (void)storage->existsObject(key);
            group.enter();
            storage->async().object(key, [&](cache::Result<int>) { group.leave(); });
            break;
          default:
            if (i % 30 == 5) {
              attempt([&] { storage->removeAll(); });
            } else {
              group.enter();
              storage->async().removeExpiredObjects(countAsync);
            }
        }
        if (i % 2) token.cancel();
        if (i % 3) churn.reset();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  group.wait();

  EXPECT_GT(succeeded.load(), 0);
  EXPECT_EQ(notified.load(), succeeded.load());
  storage->setObject(42, "last");
  EXPECT_EQ(storage->object("last"), 42);
  storage.reset();
  fs::remove_all(root);
}

}  // namespace

}  // namespace aurimo
