#include "cache/storage.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "cache/observation_registry.h"
#include "platform/dispatch_group.h"
#include "testing/faulty_file_manager.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using Store = cache::Storage<std::string, int>;

static_assert(cache::StorageObservationRegistry<Store>);
static_assert(cache::KeyObservationRegistry<Store>);

struct Observer {};

bool isStorageError(const std::exception_ptr& error, cache::StorageError::Case expected) {
  try {
    std::rethrow_exception(error);
  } catch (const cache::StorageError& e) {
    return e.errorCase() == expected;
  } catch (...) {
    return false;
  }
}

class StorageTest : public ::testing::Test {
 protected:
  StorageTest() {
    std::string pattern = (fs::temp_directory_path() / "storage_test.XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~StorageTest() override { fs::remove_all(root_); }

  std::shared_ptr<Store> makeStorage() {
    return Store::create(cache::DiskConfig("Cache", cache::Expiry::never, 0, fs::path(root_), std::nullopt),
                         cache::MemoryConfig(cache::Expiry::never, 0, 0), cache::TransformerFactory::forCodable<int>(),
                         files_);
  }

  std::string root_;
  test::FaultyFileManager files_;
};

TEST_F(StorageTest, RunsBlockingCallsOnTheSyncQueueAndCompletionsOnTheAsyncQueue) {
  auto storage = makeStorage();
  platform::DispatchQueue& syncQueue = storage->sync().serialQueue();
  platform::DispatchQueue& asyncQueue = storage->async().serialQueue();
  EXPECT_EQ(syncQueue.label(), "Cache.SyncStorage.SerialQueue");
  EXPECT_EQ(asyncQueue.label(), "Cache.AsyncStorage.SerialQueue");

  auto observer = std::make_shared<Observer>();
  std::vector<std::string> heardOn;
  storage->addStorageObserver(observer, [&](Observer&, Store& from, const cache::StorageChange<std::string>&) {
    EXPECT_EQ(&from, storage.get());
    heardOn.push_back(syncQueue.isCurrent() ? "sync" : asyncQueue.isCurrent() ? "async" : "elsewhere");
  });
  storage->setObject(1, "k");
  platform::DispatchGroup group;
  group.enter();
  storage->async().setObject(2, "k", [&](cache::Result<void> result) {
    EXPECT_TRUE(result.isValue());
    heardOn.push_back(asyncQueue.isCurrent() ? "completion on async" : "completion elsewhere");
    group.leave();
  });
  group.wait();
  EXPECT_EQ(heardOn, (std::vector<std::string>{"sync", "async", "completion on async"}));
  EXPECT_EQ(storage->object("k"), 2);
}

TEST_F(StorageTest, MissingKeyIsFalseWhenBlockingButAnErrorAsynchronously) {
  auto storage = makeStorage();
  EXPECT_FALSE(storage->existsObject("missing"));
  EXPECT_TRUE(storage->isExpiredObject("missing"));

  std::promise<cache::Result<bool>> exists;
  storage->async().existsObject("missing", [&](cache::Result<bool> result) { exists.set_value(std::move(result)); });
  const cache::Result<bool> result = exists.get_future().get();
  ASSERT_TRUE(result.isError());
  EXPECT_THROW(std::rethrow_exception(result.error()), fs::filesystem_error);
}

TEST_F(StorageTest, AsyncWritesToOneKeyCompleteInSubmissionOrder) {
  auto storage = makeStorage();
  platform::DispatchGroup group;
  std::vector<int> completed;  // written on the async queue only
  for (int i = 0; i < 50; ++i) {
    group.enter();
    storage->async().setObject(i, "k", [&, i](cache::Result<void>) {
      completed.push_back(i);
      group.leave();
    });
  }
  group.wait();
  ASSERT_EQ(completed.size(), 50u);
  EXPECT_TRUE(std::is_sorted(completed.begin(), completed.end()));
  EXPECT_EQ(storage->object("k"), 49);
}

TEST_F(StorageTest, BlocksQueuedWhenTheStorageIsReleasedCompleteWithDeallocated) {
  auto storage = makeStorage();
  std::promise<void> started, gate;
  std::shared_future<void> opened = gate.get_future().share();
  platform::DispatchGroup group;
  std::vector<bool> deallocated;  // written on the async queue only

  group.enter();
  storage->async().setObject(1, "k", [&](cache::Result<void> result) {
    EXPECT_TRUE(result.isValue());
    started.set_value();
    opened.wait();  // holds the queue while the storage goes away
    group.leave();
  });
  for (int i = 0; i < 3; ++i) {
    group.enter();
    storage->async().object("k", [&](cache::Result<int> result) {
      deallocated.push_back(result.isError() && isStorageError(result.error(), cache::StorageError::deallocated));
      group.leave();
    });
  }
  started.get_future().wait();
  storage.reset();
  gate.set_value();
  group.wait();
  EXPECT_EQ(deallocated, (std::vector<bool>{true, true, true}));
}

TEST_F(StorageTest, TransformedStorageSharesFilesButNotMemoryOrObservers) {
  auto storage = makeStorage();
  auto observer = std::make_shared<Observer>();
  int heard = 0;
  storage->addStorageObserver(observer, [&](Observer&, Store&, const auto&) { ++heard; });
  storage->setObject(5, "k");

  auto bytes = storage->transformData();
  const cache::Entry<platform::Data> entry = bytes->entry("k");
  EXPECT_EQ(platform::stringView(entry.object), R"({"object":5})");
  EXPECT_TRUE(entry.filePath.has_value());  // read from disk: memory is not shared
  bytes->setObject(platform::dataFromString(R"({"object":6})"), "k");
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(storage->transformCodable<int>()->object("k"), 6);
  EXPECT_NE(&bytes->async().serialQueue(), &storage->async().serialQueue());
}

}  // namespace

}  // namespace aurimo
