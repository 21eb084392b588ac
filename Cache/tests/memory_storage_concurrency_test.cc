#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "cache/memory_storage.h"

namespace aurimo::cache {
namespace {

// Four threads mix every operation on one storage with a small count limit,
// so eviction, sweeps and clears race with reads and writes. Values encode
// their key, so a torn or misfiled object shows up as a mismatch.
TEST(MemoryStorageConcurrencyTest, FourThreadsShareOneStorage) {
  MemoryStorage<int, std::string> storage(MemoryConfig(Expiry::seconds(-1), 32, 0));
  constexpr int kThreads = 4;
  constexpr int kOperations = 20'000;
  std::atomic<int> mismatches{0};
  std::atomic<int> hits{0};

  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kOperations; ++i) {
        const int key = (i * 7 + t * 13) % 64;
        switch ((i + t) % 16) {
          case 0: storage.removeObject(key); break;
          case 1: storage.removeExpiredObjects(); break;
          case 2:
            if (i % 1024 == 2) storage.removeAll();
            break;
          case 3: (void)storage.isExpiredObject(key); break;
          default:
            if (i % 2 == 0) {
              storage.setObject("value-" + std::to_string(key), key, i % 4 == 0 ? std::nullopt : std::optional(Expiry::never));
            } else {
              try {
                if (storage.object(key) != "value-" + std::to_string(key)) ++mismatches;
                ++hits;
              } catch (const StorageError& error) {
                if (error.errorCase() != StorageError::notFound) ++mismatches;
              }
            }
        }
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(mismatches.load(), 0);
  EXPECT_GT(hits.load(), 0);
  for (int key : storage.keysSnapshot()) EXPECT_TRUE(key >= 0 && key < 64);
  // Once quiet, a sweep must leave every key whose object is still held and fresh.
  storage.removeExpiredObjects();
  for (int key : storage.keysSnapshot()) {
    if (storage.existsObject(key)) {
      EXPECT_FALSE(storage.isExpiredObject(key));
    }
  }
}

}  // namespace
}  // namespace aurimo::cache
