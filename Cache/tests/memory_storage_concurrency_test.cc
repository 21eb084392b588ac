#include <atomic>
#include <thread>

#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

// Four threads mix every operation on one storage with a small count limit,
// so eviction, sweeps and clears race with reads and writes. Values encode
// their key, so a torn or misfiled object shows up as a mismatch.
TEST(MemoryStorageConcurrencyTest, FourThreadsShareOneStorage) {
  MemoryStorage<int, std::string> storage(MemoryConfig(Expiry::seconds(-1), 32, 0));
  std::atomic<int> mismatches{0}, hits{0};
  const auto work = [&](int t) {
    for (int i = 0; i < 20'000; ++i) {
      const int key = (i * 7 + t * 13) % 64;
      const std::string value = "value-" + std::to_string(key);
      switch ((i + t) % 16) {
        case 0: storage.removeObject(key); break;
        case 1: storage.removeExpiredObjects(); break;
        case 2: if (i % 1024 == 2) storage.removeAll(); break;
        case 3: (void)storage.isExpiredObject(key); break;
        default:
          if (i % 2 == 0) {
            storage.setObject(value, key, i % 4 == 0 ? std::nullopt : std::optional(Expiry::never));
          } else if (const std::string failure = failureOf([&] { (storage.object(key) == value ? hits : mismatches)++; });
                     failure != "nothing" && failure != "notFound") {
            ++mismatches;
          }
      }
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) threads.emplace_back(work, t);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_GT(hits.load(), 0);
  storage.removeExpiredObjects();  // once quiet, a sweep leaves only fresh objects behind
  for (int key : storage.keysSnapshot()) {
    if (storage.existsObject(key)) {
      EXPECT_FALSE(storage.isExpiredObject(key)) << key;
    }
  }
}

}  // namespace
}  // namespace aurimo::cache
