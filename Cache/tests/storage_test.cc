// The Storage facade: its two queues, asynchronous completions and isNotFound.
#include "cache/observation_registry.h"
#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

using Store = Storage<std::string, int>;
static_assert(StorageObservationRegistry<Store> && KeyObservationRegistry<Store>);

struct Observer {};

class StorageTest : public CacheTest {
 protected:
  std::shared_ptr<Store> storage_ =
      Store::create(diskConfig(), MemoryConfig(Expiry::never, 0, 0), TransformerFactory::forCodable<int>(), files_);
  std::shared_ptr<Observer> observer_ = std::make_shared<Observer>();
};

TEST_F(StorageTest, RunsBlockingCallsOnTheSyncQueueAndAsyncOnesInOrderOnTheAsyncQueue) {
  platform::DispatchQueue &syncQueue = storage_->sync().serialQueue(), &asyncQueue = storage_->async().serialQueue();
  auto heard = std::make_shared<std::vector<std::string>>();  // in order: one queue at a time appends
  const auto where = [&] { return syncQueue.isCurrent() ? "sync" : asyncQueue.isCurrent() ? "async" : "elsewhere"; };
  storage_->addStorageObserver(observer_, [&, heard](Observer&, Store& from, const StorageChange<std::string>&) {
    heard->push_back(&from == storage_.get() ? where() : "another storage");
  });
  storage_->setObject(1, "k");
  for (int i = 2; i <= 3; ++i) {
    storage_->async().setObject(i, "k", [&, heard, i](Result<void> result) {
      heard->push_back(failureOf([&] { result.get(); }) + " " + std::to_string(i) + " on " + where());
    });
  }
  EXPECT_EQ(await<int>([&](auto done) { storage_->async().object("k", done); }).get(), 3);
  EXPECT_EQ(*heard, (std::vector<std::string>{"sync", "async", "nothing 2 on async", "async", "nothing 3 on async"}));
}

TEST_F(StorageTest, BlocksQueuedWhenTheStorageIsReleasedCompleteWithDeallocated) {
  auto started = std::make_shared<std::promise<void>>(), gate = std::make_shared<std::promise<void>>(),
       finished = std::make_shared<std::promise<void>>();
  auto outcomes = std::make_shared<std::vector<std::string>>();  // written on the async queue only
  storage_->async().setObject(1, "k", [=, opened = gate->get_future().share()](Result<void> result) {
    outcomes->push_back(failureOf([&] { result.get(); }));
    started->set_value();
    opened.wait();  // holds the queue while the storage goes away
  });
  for (int i = 0; i < 3; ++i) {
    storage_->async().object("k", [=](Result<int> result) {
      outcomes->push_back(failureOf([&] { result.get(); }));
      if (i == 2) finished->set_value();
    });
  }
  ASSERT_EQ(started->get_future().wait_for(10s), std::future_status::ready);
  storage_.reset();
  gate->set_value();
  ASSERT_EQ(finished->get_future().wait_for(10s), std::future_status::ready);
  EXPECT_EQ(*outcomes, (std::vector<std::string>{"nothing", "deallocated", "deallocated", "deallocated"}));
}

TEST_F(StorageTest, TransformedStorageSharesFilesButNotMemoryObserversOrQueues) {
  int heard = 0;
  storage_->addStorageObserver(observer_, [&](Observer&, Store&, const auto&) { ++heard; });
  storage_->setObject(5, "k");
  auto bytes = storage_->transformData();
  const Entry<Data> entry = bytes->entry("k");
  EXPECT_EQ(platform::stringView(entry.object), R"({"object":5})");
  EXPECT_TRUE(entry.filePath.has_value());  // read from disk: memory is not shared
  bytes->setObject(platform::dataFromString(R"({"object":6})"), "k");
  EXPECT_EQ(heard, 1);
  EXPECT_EQ(storage_->transformCodable<int>()->object("k"), 6);
  EXPECT_NE(&bytes->async().serialQueue(), &storage_->async().serialQueue());
}

TEST_F(StorageTest, IsNotFoundTellsAMissInEitherLayerFromEveryOtherFailure) {
  EXPECT_FALSE(storage_->existsObject("missing"));  // blocking: a miss is just false
  EXPECT_TRUE(storage_->isExpiredObject("missing"));
  const auto fileError = [](std::errc code) { return fs::filesystem_error("open", std::make_error_code(code)); };
  struct Case { const char* name; std::exception_ptr error; bool notFound; };
  for (const Case& c : {
           Case{"memory miss", thrownBy([&] { storage_->hybridStorage().memoryStorage().entry("missing"); }), true},
           Case{"disk miss", thrownBy([&] { storage_->hybridStorage().diskStorage().entry("missing"); }), true},
           Case{"async existsObject", await<bool>([&](auto done) { storage_->async().existsObject("x", done); }).error(), true},
           Case{"other file error", std::make_exception_ptr(fileError(std::errc::permission_denied)), false},
           Case{"typeNotMatch", std::make_exception_ptr(StorageError(StorageError::typeNotMatch)), false},
           Case{"enumerator failed", std::make_exception_ptr(DiskStorageError(DiskStorageError::fileEnumeratorFailed)), false},
           Case{"not an exception", std::make_exception_ptr(42), false},
           Case{"null", nullptr, false}}) {
    EXPECT_EQ(isNotFound(c.error), c.notFound) << c.name;
    try {
      if (c.error) std::rethrow_exception(c.error);
    } catch (const std::exception& error) {
      EXPECT_EQ(isNotFound(error), c.notFound) << c.name;
    } catch (...) {
    }
  }
}

TEST_F(StorageTest, AFullDiskOrReadOnlyFolderFailsEachChangeAndKeepsTheStoredValue) {
  using Faults = aurimo::test::FaultyFileManager;
  storage_->setObject(1, "k");
  struct Case { void (Faults::*fault)(bool); std::string failure; bool removalsFail; };
  for (const Case& c : {Case{&Faults::failWritesWithDiskFull, "ENOSPC", false}, Case{&Faults::makeReadOnly, "EROFS", true},
                        Case{&Faults::denyPermission, "EACCES", true}}) {
    (files_.*c.fault)(true);
    EXPECT_EQ(failureOf([&] { storage_->setObject(2, "k"); }), c.failure);
    const Result<void> async = await<void>([&](auto done) { storage_->async().setObject(3, "k", done); });
    EXPECT_EQ(failureOf([&] { async.get(); }), c.failure);
    if (c.removalsFail) {
      EXPECT_EQ(failureOf([&] { storage_->removeObject("k"); }), c.failure);
      EXPECT_EQ(failureOf([&] { storage_->removeAll(); }), c.failure);
    }
    (files_.*c.fault)(false);
    EXPECT_EQ(storage_->transformCodable<int>()->object("k"), 1) << c.failure << ": the file is the old one";
  }
}

}  // namespace
}  // namespace aurimo::cache
