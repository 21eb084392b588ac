// The hybrid layer: memory in front of disk, and its observers.
#include "cache/observation_registry.h"
#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

using Hybrid = HybridStorage<std::string, std::string>;
using Change = StorageChange<std::string>;
using TextChange = KeyChange<std::string>;
static_assert(StorageObservationRegistry<Hybrid> && KeyObservationRegistry<Hybrid>);

struct Observer {};

std::string describe(const Change& change) {
  static const char* const kinds[] = {"add ", "remove ", "removeAll", "removeExpired"};
  return kinds[static_cast<int>(change.kind())] + change.key().value_or("");
}
std::string describe(const TextChange& change) {
  if (change.kind() == TextChange::Kind::remove) return "remove";
  return "edit " + change.before().value_or("-") + ">" + *change.after();
}

class HybridStorageTest : public CacheTest {
 protected:
  std::shared_ptr<Hybrid> makeStorage() {
    return Hybrid::create(MemoryStorage<std::string, std::string>(MemoryConfig(Expiry::never, 0, 0)),
                          DiskStorage<std::string, std::string>(diskConfig(), files_, TransformerFactory::forCodable<std::string>()));
  }
  // An observer closure that logs "<name>: <change>".
  auto logAs(std::string name) {
    return [this, name](Observer&, Hybrid&, const auto& change) { log_.push_back(name + ": " + describe(change)); };
  }
  std::shared_ptr<Observer> observer_ = std::make_shared<Observer>();
  std::vector<std::string> log_;
};

TEST_F(HybridStorageTest, ReadsMemoryFirstAndRefillsMemoryWithTheDiskExpiry) {
  const auto expiry = Expiry::date(platform::dateFromUnixSeconds(1'800'000'000));
  auto writer = makeStorage(), reader = makeStorage();  // same directory, each with its own memory
  writer->setObject("v", "k", expiry);
  const auto fromDisk = reader->entry("k");
  EXPECT_EQ(fromDisk.filePath, writer->diskStorage().filePath("k"));
  EXPECT_EQ(fromDisk.expiry, expiry);
  fs::remove(writer->diskStorage().filePath("k"));  // behind both storages' backs: memory still answers
  for (const auto& storage : {writer, reader}) {
    const auto fromMemory = storage->entry("k");
    EXPECT_EQ(fromMemory.object, "v");
    EXPECT_EQ(fromMemory.filePath, std::nullopt);
    EXPECT_EQ(fromMemory.expiry, expiry);
  }
}

TEST_F(HybridStorageTest, TellsKeyObserversAndThenStorageObserversInRegistrationOrderOfEachSuccess) {
  auto storage = makeStorage();
  storage->addObserver(observer_, "k", logAs("k"));
  storage->addObserver(observer_, "j.png", logAs("j.png"));
  storage->addStorageObserver(observer_, logAs("A"));
  storage->addStorageObserver(observer_, logAs("B"));
  struct Step { std::function<void()> operation; std::vector<std::string> expected; };
  for (const Step& step : {
           Step{[&] { storage->setObject("v1", "k"); }, {"k: edit ->v1", "A: add k", "B: add k"}},
           Step{[&] { storage->setObject("v2", "k"); }, {"k: edit v1>v2", "A: add k", "B: add k"}},
           Step{[&] { storage->setObject("x", "other", Expiry::seconds(10)); }, {"A: add other", "B: add other"}},
           Step{[&] { storage->removeObject("k"); }, {"k: remove", "A: remove k", "B: remove k"}},
           Step{[&] { storage->setObject("v3", "k"); }, {"k: edit ->v3", "A: add k", "B: add k"}},
           Step{[&] { storage->setObject("1", "j.png", Expiry::seconds(10)); },
                {"j.png: edit ->1", "A: add j.png", "B: add j.png"}},
           Step{[&] { clock_->advance(60); storage->removeExpiredObjects(); },  // "other" expired too, unobserved
                {"j.png: remove", "A: removeExpired", "B: removeExpired"}},
           Step{[&] { storage->removeAll(); }, {"A: removeAll", "B: removeAll", "j.png: remove", "k: remove"}},
           Step{[&] {  // a failed disk write keeps the memory copy and tells nobody
                  files_.failWritesWithDiskFull(true);
                  EXPECT_EQ(failureOf([&] { storage->setObject("v4", "k"); }), "ENOSPC");
                  files_.failWritesWithDiskFull(false);
                },
                {}}}) {
    log_.clear();
    step.operation();
    if (log_.size() > 3 && log_[2] > log_[3]) std::swap(log_[2], log_[3]);  // key observers: map order
    EXPECT_EQ(log_, step.expected);
  }
  EXPECT_EQ(storage->object("k"), "v4");
}

TEST_F(HybridStorageTest, ReleasedObserversAreNeverCalledAndTheirEntriesGo) {
  auto storage = makeStorage();
  auto closureLife = std::make_shared<int>();  // its use count shows whether the registrations still exist
  int calls = 0;
  storage->addStorageObserver(observer_, [&calls, closureLife](Observer&, Hybrid&, const Change&) { ++calls; });
  storage->addObserver(observer_, "k", [&calls, closureLife](Observer&, Hybrid&, const TextChange&) { ++calls; });
  ASSERT_EQ(closureLife.use_count(), 3);
  observer_.reset();
  storage->setObject("v", "k");
  EXPECT_EQ(calls, 0);
  EXPECT_EQ(closureLife.use_count(), 1);
}

TEST_F(HybridStorageTest, TokensCancelOnlyWhenAskedScopedObservationsWhenTheyEnd) {
  auto storage = makeStorage();
  const auto watch = [&](const char* name) { return storage->addStorageObserver(observer_, logAs(name)); };
  const ObservationToken first = storage->addObserver(observer_, "k", logAs("k"));
  storage->addObserver(observer_, "k", logAs("k"));  // replaces the first registration
  { const ObservationToken dropped = watch("kept"); }  // dropping a token does not cancel
  ScopedObservation scoped(watch("scoped"));
  ScopedObservation moved(std::move(scoped));  // the moved-from holder cancels nothing
  scoped = ScopedObservation();
  storage->setObject("v1", "k");
  EXPECT_EQ(log_, (std::vector<std::string>{"k: edit ->v1", "kept: add k", "scoped: add k"}));

  moved = ScopedObservation(watch("next"));       // assigning over cancels "scoped"
  { ScopedObservation ending(watch("ending")); }  // leaving the scope cancels "ending"
  first.cancel();  // an earlier key token removes the later registration; twice is harmless
  first.cancel();
  log_.clear();
  storage->setObject("v2", "k");
  EXPECT_EQ(log_, (std::vector<std::string>{"kept: add k", "next: add k"}));
  storage.reset();
  first.cancel();  // the storage is gone: nothing to do
}

}  // namespace
}  // namespace aurimo::cache
