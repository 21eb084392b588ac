// Sync and async calls, sweeps and observer churn on one Storage from four
// threads at once. Failures of single operations are expected (a file removed
// by another thread); crashes, races and lost or invented notifications are not.
#include <atomic>
#include <thread>

#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

using Store = Storage<std::string, int>;
struct Observer {};

TEST(StorageConcurrencyTest, MixedSyncAsyncAndObserverTrafficNotifiesEachSuccessfulMutationOnce) {
  aurimo::test::TemporaryDirectory folder;
  auto storage = Store::create(DiskConfig("Cache", Expiry::never, 4096, folder.path(), std::nullopt),
                               MemoryConfig(Expiry::never, 16, 0), TransformerFactory::forCodable<int>());
  // Successful mutations and the notifications a long-lived observer got; shared
  // with the completions, so a late one cannot outlive them.
  auto succeeded = std::make_shared<std::atomic<int>>(0), notified = std::make_shared<std::atomic<int>>(0);
  auto counter = std::make_shared<Observer>();
  storage->addStorageObserver(counter, [notified](Observer&, Store&, const auto&) { ++*notified; });
  const auto countAsync = [succeeded](Result<void> result) { *succeeded += result.isValue() ? 1 : 0; };
  const auto attempt = [&](auto&& operation) {
    try {
      operation();
      ++*succeeded;
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
        const ObservationToken token =
            storage->addObserver(churn, key, [](Observer&, Store& from, const KeyChange<int>&) { (void)from.async(); });
        switch (i % 6) {
          case 0: attempt([&] { storage->setObject(i, key); }); break;
          case 1: storage->async().setObject(i, key, Expiry::seconds(-1), countAsync); break;
          case 2: attempt([&] { storage->removeObject(key); }); break;
          case 3: storage->async().removeObject(key, countAsync); break;
          case 4:
            (void)storage->existsObject(key);
            storage->async().object(key, [](Result<int>) {});
            break;
          default:
            if (i % 30 == 5) attempt([&] { storage->removeAll(); });
            else storage->async().removeExpiredObjects(countAsync);
        }
        if (i % 2) token.cancel();
        if (i % 3) churn.reset();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  // The async queue is serial: once a last read completes, every earlier block has.
  (void)await<int>([&](auto done) { storage->async().object("k0.json", done); });
  EXPECT_GT(succeeded->load(), 0);
  EXPECT_EQ(notified->load(), succeeded->load());
  storage->setObject(42, "last");
  EXPECT_EQ(storage->object("last"), 42);
}

}  // namespace
}  // namespace aurimo::cache
