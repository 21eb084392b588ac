#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <unordered_map>

#include "cache/key_change.h"
#include "cache/result.h"
#include "cache/storage_aware.h"
#include "cache/storage_change.h"
#include "cache/storage_error.h"
#include "testing/fake_clock.h"

namespace aurimo::cache {
namespace {

using platform::dateFromUnixSeconds;

class StorageModelTest : public ::testing::Test {
 protected:
  std::shared_ptr<test::FakeClock> clock_ =
      std::make_shared<test::FakeClock>(dateFromUnixSeconds(1'700'000'000));
  platform::ScopedReplacement<platform::Clock> pin_{platform::Clock::slot(), clock_};
};

TEST_F(StorageModelTest, ExpiryIsExpiredOnlyStrictlyBeforeNow) {
  const platform::Date now = clock_->now();
  struct Case {
    const char* name;
    Expiry expiry;
    bool expired;
  } cases[] = {
      {"one nanosecond ago", Expiry::date(now - std::chrono::nanoseconds(1)), true},
      {"exactly now", Expiry::date(now), false},
      {"a second ahead", Expiry::date(now + std::chrono::seconds(1)), false},
      {"seconds(0) resolves to now", Expiry::seconds(0), false},
      {"negative seconds", Expiry::seconds(-0.5), true},
      {"never", Expiry::never, false},
  };
  for (const Case& c : cases) EXPECT_EQ(c.expiry.isExpired(), c.expired) << c.name;
}

TEST_F(StorageModelTest, SecondsFollowTheClockWhileTheResolvedDateStaysPut) {
  const Expiry relative = Expiry::seconds(60);
  const Expiry resolved = Expiry::date(relative.date());
  EXPECT_EQ(resolved.date(), clock_->now() + std::chrono::seconds(60));

  clock_->advance(61);
  EXPECT_FALSE(relative.isExpired());
  EXPECT_EQ(relative.date(), clock_->now() + std::chrono::seconds(60));
  EXPECT_TRUE(resolved.isExpired());
}

TEST_F(StorageModelTest, NeverIsAFixedDateInDecember2037) {
  const platform::Date neverDate = dateFromUnixSeconds(2'144'448'000);  // 2037-12-15 00:00:00 UTC
  EXPECT_EQ(Expiry::never.date(), neverDate);
  clock_->set(neverDate);
  EXPECT_FALSE(Expiry::never.isExpired());
  clock_->advance(1);
  EXPECT_TRUE(Expiry::never.isExpired());
}

// A map-backed storage, so the defaults are checked apart from any real layer.
class MapStorage final : public StorageAware<std::string, int> {
 public:
  Entry<int> entry(const std::string& key) override {
    auto it = objects_.find(key);
    if (it == objects_.end()) throw StorageError(StorageError::notFound);
    return it->second;
  }
  void removeObject(const std::string& key) override { objects_.erase(key); }
  void setObject(const int& object, const std::string& key, std::optional<Expiry> expiry = std::nullopt) override {
    objects_.insert_or_assign(key, Entry<int>{object, Expiry::date(expiry.value_or(Expiry::never).date()), {}});
  }
  void removeAll() override { objects_.clear(); }
  void removeExpiredObjects() override {}

 private:
  std::unordered_map<std::string, Entry<int>> objects_;
};

TEST_F(StorageModelTest, DefaultsTreatAMissingKeyAsAbsentAndExpired) {
  MapStorage storage;
  EXPECT_FALSE(storage.existsObject("missing"));
  EXPECT_TRUE(storage.isExpiredObject("missing"));
  try {
    (void)storage.object("missing");
    FAIL() << "object() of a missing key must throw";
  } catch (const StorageError& error) {
    EXPECT_EQ(error.errorCase(), StorageError::notFound);
    EXPECT_STREQ(error.what(), "notFound");
  }
}

TEST_F(StorageModelTest, DefaultObjectReturnsExpiredObjects) {
  MapStorage storage;
  storage.setObject(7, "old", Expiry::seconds(-1));
  EXPECT_EQ(storage.object("old"), 7);
  EXPECT_TRUE(storage.existsObject("old"));
  EXPECT_TRUE(storage.isExpiredObject("old"));
}

TEST(StorageChangeTest, EqualityComparesCaseAndKey) {
  using Change = StorageChange<std::string>;
  EXPECT_EQ(Change::add("a"), Change::add("a"));
  EXPECT_NE(Change::add("a"), Change::add("b"));
  EXPECT_NE(Change::add("a"), Change::remove("a"));
  EXPECT_EQ(Change::removeAll(), Change::removeAll());
  EXPECT_NE(Change::removeAll(), Change::removeExpired());

  EXPECT_EQ(KeyChange<int>::edit(std::nullopt, 1), KeyChange<int>::edit(std::nullopt, 1));
  EXPECT_NE(KeyChange<int>::edit(std::nullopt, 1), KeyChange<int>::edit(0, 1));
  EXPECT_NE(KeyChange<int>::edit(std::nullopt, 1), KeyChange<int>::remove());
}

TEST(ResultTest, MapTransformsValuesAndPassesErrorsThrough) {
  EXPECT_EQ(Result<int>::value(2).map([](const int& v) { return v * 10; }).get(), 20);

  const auto failed = Result<int>::error(StorageError(StorageError::deallocated)).map([](const int&) { return true; });
  ASSERT_TRUE(failed.isError());
  EXPECT_THROW(failed.get(), StorageError);

  bool ran = false;
  const Result<void> done = Result<std::string>::value("x").map([&](const std::string&) { ran = true; });
  EXPECT_TRUE(ran);
  EXPECT_TRUE(done.isValue());
  EXPECT_EQ(done.map([] { return 3; }).get(), 3);
}

}  // namespace
}  // namespace aurimo::cache
