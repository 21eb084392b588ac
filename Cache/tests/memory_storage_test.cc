#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>

#include "cache/internal/bounded_cache.h"
#include "cache/memory_storage.h"
#include "testing/fake_clock.h"

namespace aurimo::cache {
namespace {

MemoryConfig unlimited(Expiry expiry = Expiry::never) { return MemoryConfig(expiry, 0, 0); }

template <class Key, class Value>
std::vector<Key> sortedKeys(const MemoryStorage<Key, Value>& storage) {
  std::vector<Key> keys = storage.keysSnapshot();
  std::sort(keys.begin(), keys.end());
  return keys;
}

StorageError::Case readError(StorageAware<std::string, int>& storage, const std::string& key) {
  try {
    (void)storage.entry(key);
  } catch (const StorageError& error) {
    return error.errorCase();
  }
  ADD_FAILURE() << "reading " << key << " did not throw";
  return StorageError::notFound;
}

class MemoryStorageTest : public ::testing::Test {
 protected:
  std::shared_ptr<test::FakeClock> clock_ = std::make_shared<test::FakeClock>();
  platform::ScopedReplacement<platform::Clock> pin_{platform::Clock::slot(), clock_};
};

TEST_F(MemoryStorageTest, WritingAKeyAgainReplacesItsObject) {
  MemoryStorage<std::string, int> storage(unlimited());
  storage.setObject(1, "k");
  storage.setObject(2, "k");
  EXPECT_EQ(storage.object("k"), 2);
  EXPECT_EQ(sortedKeys(storage), std::vector<std::string>{"k"});
}

TEST_F(MemoryStorageTest, ExpiryIsResolvedAtWriteTimeFromArgumentOrConfig) {
  MemoryStorage<std::string, int> storage(unlimited(Expiry::seconds(30)));
  const platform::Date writtenAt = clock_->now();
  storage.setObject(1, "config");
  storage.setObject(2, "argument", Expiry::seconds(60));
  clock_->advance(1000);
  EXPECT_EQ(storage.entry("config").expiry, Expiry::date(writtenAt + std::chrono::seconds(30)));
  EXPECT_EQ(storage.entry("argument").expiry, Expiry::date(writtenAt + std::chrono::seconds(60)));
  EXPECT_FALSE(storage.entry("argument").filePath.has_value());
}

TEST_F(MemoryStorageTest, ExpiredObjectsStayReadableUntilTheSweep) {
  MemoryStorage<std::string, int> storage(unlimited());
  storage.setObject(1, "stale", Expiry::seconds(10));
  storage.setObject(2, "fresh", Expiry::seconds(100));
  clock_->advance(50);

  EXPECT_EQ(storage.object("stale"), 1);
  EXPECT_TRUE(storage.isExpiredObject("stale"));
  storage.removeExpiredObjects();
  EXPECT_EQ(readError(storage, "stale"), StorageError::notFound);
  EXPECT_EQ(storage.object("fresh"), 2);
  EXPECT_EQ(sortedKeys(storage), std::vector<std::string>{"fresh"});
}

TEST_F(MemoryStorageTest, CountLimitEvictsLeastRecentlyUsedButKeepsItsKey) {
  MemoryStorage<std::string, int> storage(MemoryConfig(Expiry::seconds(-1), 2, 0));
  storage.setObject(1, "a");
  storage.setObject(2, "b");
  (void)storage.object("a");  // "b" is now the least recently used
  storage.setObject(3, "c");

  EXPECT_EQ(storage.object("a"), 1);
  EXPECT_EQ(readError(storage, "b"), StorageError::notFound);
  EXPECT_EQ(storage.object("c"), 3);
  // The sweep finds no object for "b" and leaves its key alone.
  storage.removeExpiredObjects();
  EXPECT_EQ(sortedKeys(storage), std::vector<std::string>{"b"});
  storage.removeAll();
  EXPECT_TRUE(storage.keysSnapshot().empty());
}

TEST(BoundedCacheTest, EnforcesCountAndCostLimits) {
  struct Case {
    const char* name;
    std::size_t countLimit, costLimit;
    std::vector<std::size_t> costs;  // written as keys 0, 1, 2, ...
    std::vector<int> survivors;
    std::size_t totalCost;
  } cases[] = {
      {"unlimited", 0, 0, {5, 5, 5}, {0, 1, 2}, 15},
      {"count", 2, 0, {1, 1, 1}, {1, 2}, 2},
      {"cost drops oldest until under", 0, 10, {4, 4, 4}, {1, 2}, 8},
      {"one object above the limit drops itself", 0, 10, {3, 11}, {0}, 3},
      {"both limits", 3, 6, {2, 2, 2, 2}, {1, 2, 3}, 6},
  };
  for (const Case& c : cases) {
    internal::BoundedCache<int, int> cache(c.countLimit, c.costLimit);
    for (std::size_t i = 0; i < c.costs.size(); ++i) cache.setObject(static_cast<int>(i), 0, c.costs[i]);
    std::vector<int> survivors;
    for (std::size_t i = 0; i < c.costs.size(); ++i) {
      if (cache.read(static_cast<int>(i), [](const int&) {})) survivors.push_back(static_cast<int>(i));
    }
    EXPECT_EQ(survivors, c.survivors) << c.name;
    EXPECT_EQ(cache.totalCost(), c.totalCost) << c.name;
  }
}

TEST(BoundedCacheTest, ReplacingAndRemovingKeepCostAndOrderConsistent) {
  internal::BoundedCache<int, int> cache(2, 0);
  cache.setObject(1, 10, 4);
  cache.setObject(2, 20, 1);
  cache.setObject(1, 11, 2);  // replacing refreshes recency and cost
  EXPECT_EQ(cache.totalCost(), 3u);
  cache.setObject(3, 30);  // evicts 2, the least recent
  int value = 0;
  EXPECT_TRUE(cache.read(1, [&](const int& v) { value = v; }));
  EXPECT_EQ(value, 11);
  EXPECT_FALSE(cache.read(2, [](const int&) {}));
  cache.removeObject(1);
  cache.removeObject(42);
  EXPECT_EQ(cache.count(), 1u);
  EXPECT_EQ(cache.totalCost(), 0u);
  cache.setCountLimit(0);
  cache.setObject(4, 40);
  cache.setObject(5, 50);
  EXPECT_EQ(cache.count(), 3u);
}

TEST_F(MemoryStorageTest, TransformedStorageHasItsOwnEmptyCache) {
  MemoryStorage<std::string, int> ints(MemoryConfig(Expiry::seconds(5), 7, 0));
  ints.setObject(1, "k");
  MemoryStorage<std::string, std::string> texts = ints.transform<std::string>();

  EXPECT_EQ(texts.config().countLimit, 7u);
  EXPECT_THROW((void)texts.entry("k"), StorageError);
  texts.setObject("one", "k");
  EXPECT_EQ(ints.object("k"), 1);
  EXPECT_EQ(texts.object("k"), "one");
}

TEST_F(MemoryStorageTest, ReadingAnotherValueTypeFromASharedCacheIsTypeNotMatch) {
  auto shared = std::make_shared<MemoryCache<std::string>>();
  MemoryStorage<std::string, int> ints(unlimited(), shared);
  MemoryStorage<std::string, std::string> texts(unlimited(), shared);
  texts.setObject("text", "k");

  EXPECT_EQ(readError(ints, "k"), StorageError::typeNotMatch);
  EXPECT_FALSE(ints.existsObject("k"));
  EXPECT_TRUE(ints.isExpiredObject("k"));
  EXPECT_EQ(readError(ints, "other"), StorageError::notFound);

  // Rewriting an object another storage wrote still records the key here.
  MemoryStorage<std::string, std::string> otherTexts(unlimited(), shared);
  otherTexts.setObject("again", "k");
  EXPECT_EQ(sortedKeys(otherTexts), std::vector<std::string>{"k"});
  EXPECT_EQ(texts.object("k"), "again");
}

}  // namespace
}  // namespace aurimo::cache
