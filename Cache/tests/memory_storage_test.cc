// Expiry, the bounded LRU cache and the memory layer.
#include <array>

#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;
using Memory = MemoryStorage<std::string, int>;
using MemoryStorageTest = CacheTest;

TEST_F(MemoryStorageTest, ExpiryResolvesAgainstTheClockAndExpiresOnlyStrictlyBeforeNow) {
  const platform::Date now = clock_->now(), neverDate = platform::dateFromUnixSeconds(2'144'448'000);  // 2037-12-15
  struct Case { const char* name; Expiry expiry; platform::Date date; bool expired; };
  for (const Case& c : {Case{"a nanosecond ago", Expiry::date(now - 1ns), now - 1ns, true},
                        Case{"exactly now", Expiry::date(now), now, false},
                        Case{"negative seconds", Expiry::seconds(-0.5), now - 500ms, true},
                        Case{"never", Expiry::never, neverDate, false}}) {
    EXPECT_EQ(c.expiry.date(), c.date) << c.name;
    EXPECT_EQ(c.expiry.isExpired(), c.expired) << c.name;
  }
  const Expiry relative = Expiry::seconds(60), resolved = Expiry::date(relative.date());
  clock_->set(neverDate);  // `seconds` moves with the clock, a date does not, and never is a day, not infinity
  EXPECT_EQ(relative.date(), neverDate + 60s);
  EXPECT_TRUE(resolved.isExpired());
  EXPECT_FALSE(Expiry::never.isExpired());
  clock_->advance(1);
  EXPECT_TRUE(Expiry::never.isExpired());
}

TEST(BoundedCacheTest, EvictsLeastRecentlyUsedBeyondCountAndCostLimits) {
  struct Case { const char* name; std::size_t countLimit, costLimit; std::vector<std::size_t> costs; std::vector<int> kept; };
  for (const Case& c : {Case{"unlimited", 0, 0, {5, 5, 5}, {0, 1, 2}},  // costs of keys 0, 1, 2, ...
                        Case{"count", 2, 0, {1, 1, 1}, {1, 2}},
                        Case{"cost drops oldest until under", 0, 10, {4, 4, 4}, {1, 2}},
                        Case{"one object above the limit drops itself", 0, 10, {3, 11}, {0}},
                        Case{"both limits", 3, 6, {2, 2, 2, 2}, {1, 2, 3}}}) {
    internal::BoundedCache<int, int> cache(c.countLimit, c.costLimit);
    for (std::size_t i = 0; i < c.costs.size(); ++i) cache.setObject(static_cast<int>(i), 0, c.costs[i]);
    std::vector<int> kept;
    std::size_t keptCost = 0;
    for (int i = 0; i < static_cast<int>(c.costs.size()); ++i) {
      if (!cache.read(i, [](const int&) {})) continue;
      kept.push_back(i);
      keptCost += c.costs[i];
    }
    EXPECT_EQ(kept, c.kept) << c.name;
    EXPECT_EQ(cache.totalCost(), keptCost) << c.name;
  }
}

TEST_F(MemoryStorageTest, ResolvesExpiryAtTheWriteAndKeepsExpiredObjectsUntilTheSweep) {
  Memory storage(MemoryConfig(Expiry::seconds(30), 0, 0));
  const platform::Date writtenAt = clock_->now();
  storage.setObject(0, "config");
  storage.setObject(1, "config");  // replaces
  storage.setObject(2, "argument", Expiry::seconds(60));
  clock_->advance(45);
  EXPECT_EQ(storage.entry("config").expiry, Expiry::date(writtenAt + 30s));
  EXPECT_EQ(storage.entry("argument").expiry, Expiry::date(writtenAt + 60s));
  EXPECT_EQ(storage.object("config"), 1);
  EXPECT_TRUE(storage.isExpiredObject("config"));
  EXPECT_FALSE(storage.isExpiredObject("argument"));
  storage.removeObjectIfExpired("argument");
  EXPECT_THAT(storage.keysSnapshot(), UnorderedElementsAre("argument", "config"));
  storage.removeExpiredObjects();
  EXPECT_EQ(failureOf([&] { storage.entry("config"); }), "notFound");
  EXPECT_THAT(storage.keysSnapshot(), ElementsAre("argument"));
  storage.removeObject("argument");
  EXPECT_TRUE(storage.keysSnapshot().empty());
}

TEST_F(MemoryStorageTest, CountLimitEvictsLeastRecentlyUsedButKeepsItsKey) {
  Memory storage(MemoryConfig(Expiry::seconds(-1), 2, 0));
  storage.setObject(1, "a");
  storage.setObject(2, "b");
  (void)storage.object("a");  // a read makes "a" the most recent, so "c" evicts "b"
  storage.setObject(3, "c");
  EXPECT_EQ(failureOf([&] { storage.entry("b"); }), "notFound");
  EXPECT_EQ(storage.object("a"), 1);
  storage.setObject(4, "c");  // so does a rewrite, so "d" evicts "a"
  storage.setObject(5, "d");
  EXPECT_EQ(failureOf([&] { storage.entry("a"); }), "notFound");
  EXPECT_EQ(storage.object("c"), 4);
  storage.removeExpiredObjects();  // finds no object for "a" or "b" and leaves their keys alone
  EXPECT_THAT(storage.keysSnapshot(), UnorderedElementsAre("a", "b"));
  storage.removeAll();
  EXPECT_TRUE(storage.keysSnapshot().empty());
}

TEST_F(MemoryStorageTest, StoragesSharingACacheSeeOtherValueTypesAsTypeNotMatch) {
  auto shared = std::make_shared<MemoryCache<std::string>>();
  const MemoryConfig config(Expiry::never, 7, 0);
  Memory ints(config, shared);
  MemoryStorage<std::string, std::string> texts(config, shared), otherTexts(config, shared);
  texts.setObject("text", "k");
  EXPECT_EQ(failureOf([&] { ints.entry("k"); }), "typeNotMatch");
  EXPECT_TRUE(ints.isExpiredObject("k"));
  otherTexts.setObject("again", "k");  // rewriting another storage's object still records the key here
  EXPECT_THAT(otherTexts.keysSnapshot(), ElementsAre("k"));
  EXPECT_EQ(texts.object("k"), "again");
  MemoryStorage<std::string, std::string> transformed = ints.transform<std::string>();  // its own cache
  EXPECT_EQ(failureOf([&] { transformed.entry("k"); }), "notFound");
}

TEST_F(MemoryStorageTest, KeysStayWithTheirStorageWhateverOthersSharingTheCacheDo) {
  auto shared = std::make_shared<MemoryCache<std::string>>();
  const MemoryConfig config(Expiry::never, 2, 0);
  Memory ints(config, shared);
  auto texts = std::make_unique<MemoryStorage<std::string, std::string>>(config, shared);
  ints.setObject(1, "a");
  texts->setObject("x", "a");  // takes "a" over, then "c" evicts it
  for (const char* key : {"b", "c", "a"}) ints.setObject(2, key);
  EXPECT_THAT(ints.keysSnapshot(), UnorderedElementsAre("a", "b", "c"));
  EXPECT_THAT(texts->keysSnapshot(), ElementsAre("a"));
  texts->removeAll();
  Memory moved = std::move(ints);
  moved.setObject(5, "d");
  texts->setObject("y", "d");
  texts.reset();  // its object under "d" is evicted after it is gone
  for (const char* key : {"e", "f"}) moved.setObject(6, key);
  EXPECT_THAT(moved.keysSnapshot(), UnorderedElementsAre("a", "b", "c", "d", "e", "f"));
}

TEST_F(MemoryStorageTest, ObjectsTooLargeToSitInPlaceRewriteAndMismatchAlike) {
  using Big = std::array<std::string, 4>;
  auto shared = std::make_shared<MemoryCache<std::string>>();
  MemoryStorage<std::string, Big> bigs(MemoryConfig(Expiry::never, 0, 0), shared);
  Memory ints(MemoryConfig(Expiry::never, 0, 0), shared);
  bigs.setObject(Big{"a", "b"}, "k");
  bigs.setObject(Big{"c", std::string(100, 'd')}, "k");
  EXPECT_EQ(bigs.object("k"), (Big{"c", std::string(100, 'd')}));
  EXPECT_EQ(failureOf([&] { ints.entry("k"); }), "typeNotMatch");
  ints.setObject(1, "k");
  EXPECT_EQ(failureOf([&] { bigs.entry("k"); }), "typeNotMatch");
}

}  // namespace
}  // namespace aurimo::cache
