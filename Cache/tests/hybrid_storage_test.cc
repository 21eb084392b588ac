#include "cache/hybrid_storage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "cache/observation_registry.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Hybrid = cache::HybridStorage<std::string, std::string>;
using Change = cache::StorageChange<std::string>;
using KeyChange = cache::KeyChange<std::string>;

static_assert(cache::StorageObservationRegistry<Hybrid>);
static_assert(cache::KeyObservationRegistry<Hybrid>);

cache::Transformer<std::string> textTransformer() {
  return cache::Transformer<std::string>([](const std::string& text) { return platform::dataFromString(text); },
                                         [](const platform::Data& data) { return std::string(platform::stringView(data)); });
}

std::string describe(const Change& change) {
  static const char* const kinds[] = {"add ", "remove ", "removeAll", "removeExpired"};
  return kinds[static_cast<int>(change.kind())] + change.key().value_or("");
}

std::string describe(const KeyChange& change) {
  if (change.kind() == KeyChange::Kind::remove) return "remove";
  return "edit " + change.before().value_or("-") + ">" + *change.after();
}

struct Observer {};

class HybridStorageTest : public ::testing::Test {
 protected:
  HybridStorageTest() {
    std::string pattern = (fs::temp_directory_path() / "hybrid_storage_test.XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~HybridStorageTest() override { fs::remove_all(root_); }

  std::shared_ptr<Hybrid> makeStorage() {
    cache::DiskConfig disk("Cache", cache::Expiry::never, 0, fs::path(root_), std::nullopt);
    return Hybrid::create(cache::MemoryStorage<std::string, std::string>(cache::MemoryConfig(cache::Expiry::never, 0, 0)),
                          cache::DiskStorage<std::string, std::string>(disk, files_, textTransformer()));
  }

  // Logs "<name>: <change>" for every storage change while `observer` lives.
  cache::ObservationToken logStorage(Hybrid& storage, const std::shared_ptr<Observer>& observer, std::string name) {
    return storage.addStorageObserver(observer, [this, name](Observer&, Hybrid&, const Change& change) {
      log_.push_back(name + ": " + describe(change));
    });
  }
  cache::ObservationToken logKey(Hybrid& storage, const std::shared_ptr<Observer>& observer, const std::string& key) {
    return storage.addObserver(observer, key, [this, key](Observer&, Hybrid&, const KeyChange& change) {
      log_.push_back(key + ": " + describe(change));
    });
  }

  std::shared_ptr<test::FakeClock> clock_ = std::make_shared<test::FakeClock>();
  platform::ScopedReplacement<platform::Clock> pin_{platform::Clock::slot(), clock_};
  std::string root_;
  test::FaultyFileManager files_;
  std::vector<std::string> log_;
};

TEST_F(HybridStorageTest, ReadsMemoryFirstAndRefillsMemoryWithTheDiskExpiry) {
  const auto expiry = cache::Expiry::date(platform::dateFromUnixSeconds(1'800'000'000));
  auto writer = makeStorage();
  writer->setObject("v", "k", expiry);
  const std::string file = writer->diskStorage().filePath("k");

  auto reader = makeStorage();  // same directory, empty memory
  const auto fromDisk = reader->entry("k");
  EXPECT_EQ(fromDisk.filePath, file);
  EXPECT_EQ(fromDisk.expiry, expiry);

  fs::remove(file);  // behind both storages' backs: memory still answers
  for (const auto& storage : {writer, reader}) {
    const auto fromMemory = storage->entry("k");
    EXPECT_EQ(fromMemory.object, "v");
    EXPECT_EQ(fromMemory.filePath, std::nullopt);
    EXPECT_EQ(fromMemory.expiry, expiry);
  }
}

TEST_F(HybridStorageTest, TellsKeyObserverBeforeStorageObserversInEveryOperation) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  logKey(*storage, observer, "k");
  logKey(*storage, observer, "j");
  logStorage(*storage, observer, "A");
  logStorage(*storage, observer, "B");

  const struct {
    std::function<void()> operation;
    std::vector<std::string> expected;
  } steps[] = {
      {[&] { storage->setObject("v1", "k"); }, {"k: edit ->v1", "A: add k", "B: add k"}},
      {[&] { storage->setObject("v2", "k"); }, {"k: edit v1>v2", "A: add k", "B: add k"}},
      {[&] { storage->setObject("x", "other"); }, {"A: add other", "B: add other"}},
      {[&] { storage->removeObject("k"); }, {"k: remove", "A: remove k", "B: remove k"}},
      {[&] { storage->setObject("v3", "k"); }, {"k: edit ->v3", "A: add k", "B: add k"}},
      {[&] { storage->removeAll(); }, {"A: removeAll", "B: removeAll", "j: remove", "k: remove"}},
  };
  for (const auto& step : steps) {
    log_.clear();
    step.operation();
    if (log_.size() > 3 && log_[2] > log_[3]) std::swap(log_[2], log_[3]);  // key observers: map order
    EXPECT_EQ(log_, step.expected);
  }
}

TEST_F(HybridStorageTest, SweepTellsEachExpiredKeyObserverThenTheStorageObservers) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  storage->setObject("1", "k", cache::Expiry::seconds(10));
  storage->setObject("2", "j.png", cache::Expiry::seconds(10));
  storage->setObject("3", "fresh");
  logKey(*storage, observer, "k");
  logKey(*storage, observer, "j.png");
  logKey(*storage, observer, "fresh");
  logStorage(*storage, observer, "A");
  clock_->advance(60);

  storage->removeExpiredObjects();
  ASSERT_EQ(log_.size(), 3u);
  EXPECT_EQ(std::set<std::string>(log_.begin(), log_.begin() + 2), (std::set<std::string>{"k: remove", "j.png: remove"}));
  EXPECT_EQ(log_[2], "A: removeExpired");
  EXPECT_EQ(storage->object("fresh"), "3");
  EXPECT_FALSE(storage->existsObject("k"));
}

TEST_F(HybridStorageTest, FailedDiskWriteKeepsTheMemoryCopyAndTellsNobody) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  logKey(*storage, observer, "k");
  logStorage(*storage, observer, "A");
  files_.failWritesWithDiskFull(true);
  EXPECT_THROW(storage->setObject("v", "k"), fs::filesystem_error);
  EXPECT_TRUE(log_.empty());
  EXPECT_EQ(storage->object("k"), "v");
}

TEST_F(HybridStorageTest, ReleasedObserversAreNeverCalledAndTheirEntriesGo) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  auto closureLife = std::make_shared<int>();  // its use count shows whether the registrations still exist
  int calls = 0;
  storage->addStorageObserver(observer, [&calls, closureLife](Observer&, Hybrid&, const Change&) { ++calls; });
  storage->addObserver(observer, "k", [&calls, closureLife](Observer&, Hybrid&, const KeyChange&) { ++calls; });
  ASSERT_EQ(closureLife.use_count(), 3);

  observer.reset();
  storage->setObject("v", "k");
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(closureLife.use_count(), 1);
}

TEST_F(HybridStorageTest, TokensCancelTwiceHarmlesslyAndAnEarlierKeyTokenRemovesTheLaterRegistration) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  const cache::ObservationToken first = logKey(*storage, observer, "k");
  const cache::ObservationToken storageToken = logStorage(*storage, observer, "A");
  storageToken.cancel();
  storageToken.cancel();

  logKey(*storage, observer, "k");  // replaces the first registration
  storage->setObject("v1", "k");
  EXPECT_EQ(log_, std::vector<std::string>{"k: edit ->v1"});

  first.cancel();
  first.cancel();
  storage->setObject("v2", "k");
  EXPECT_EQ(log_.size(), 1u);

  storage.reset();
  first.cancel();  // the storage is gone: nothing to do
}

}  // namespace

}  // namespace aurimo
