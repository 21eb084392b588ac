// MD5, file naming and the disk layer.
#include <openssl/md5.h>

#include <fstream>
#include <numeric>
#include <random>

#include "cache/md5.h"
#include "cache_test_support.h"
#include "platform/directories.h"

namespace aurimo::cache {
namespace {

using Disk = DiskStorage<std::string, Data>;
using Faults = aurimo::test::FaultyFileManager;

Data bytes(std::size_t size, char fill = 'x') { return Data(size, static_cast<std::uint8_t>(fill)); }

TEST(MD5Test, MatchesOpenSslAroundEveryPaddingBoundary) {
  std::vector<std::size_t> lengths(301);  // 55, 56, 63, 64, 119, 120, ... plus whole blocks read in place
  std::iota(lengths.begin(), lengths.end(), 0);
  lengths.insert(lengths.end(), {4095, 4096, 65536, 1'000'003});
  std::mt19937 random(1321);
  for (std::size_t length : lengths) {
    std::vector<std::uint8_t> input(length);
    for (auto& byte : input) byte = static_cast<std::uint8_t>(random());
    MD5Digest expected;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"  // the one-shot call is the simplest reference
    ::MD5(input.data(), input.size(), expected.data());
#pragma GCC diagnostic pop
    EXPECT_EQ(md5Digest(input), expected) << "length " << length;
  }
}

class DiskStorageTest : public CacheTest {
 protected:
  Disk makeStorage(std::uint64_t maxSize = 0, Expiry expiry = Expiry::never) {
    Disk storage(diskConfig(maxSize, expiry), files_, TransformerFactory::forData());
    storage.onRemove = [this](const std::string& path) { removed_.push_back(fs::path(path).filename()); };
    return storage;
  }
  std::vector<std::string> namesOnDisk() const {
    std::vector<std::string> names;
    for (const auto& item : fs::directory_iterator(cachePath())) names.push_back(item.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }
  std::vector<std::string> removed_;
};

TEST_F(DiskStorageTest, NamesTextKeysByUpperCaseDigestAndExtensionAndOtherKeysByHash) {
  Disk storage = makeStorage();
  for (const auto& [key, name] : std::vector<std::pair<std::string, std::string>>{
           {"", "D41D8CD98F00B204E9800998ECF8427E"},
           {"a/b.png", "5D4698FCF042CDEAA90B70C8C3F4983B.png"},
           {"photo.", "EDA48BE594E4F7E40687874BF3AD60F5"},
           {"v1.2/readme", "F6E42AC1B70D810EF3DAFE0B7FA958DB"},  // a dot in an earlier component is no extension
           {"a/b.png/", "D9F1DFE50DB2E0C377277FD0959F9204.png"}}) {
    EXPECT_EQ(storage.fileName(key), name) << key;
    EXPECT_EQ(storage.filePath(key), cachePath() + "/" + name);
  }
  DiskStorage<int, Data> ints(diskConfig(), files_, TransformerFactory::forData());
  EXPECT_NE(ints.fileName(7), ints.fileName(8));
  ints.setObject(bytes(2), 7);
  EXPECT_EQ(ints.transform(TransformerFactory::forData()).object(7), bytes(2));  // stable within the process
}

TEST_F(DiskStorageTest, StoresBytesWithTheExpiryAsModificationDateAndReportsRemovalsButNotRemoveAll) {
  Disk storage = makeStorage(0, Expiry::seconds(3600));
  const platform::Date now = clock_->now();
  storage.setObject(bytes(5, 'a'), "default.txt");
  storage.setObject(bytes(5, 'b'), "explicit", Expiry::seconds(60));
  storage.setObject(bytes(9, 'c'), "explicit", Expiry::seconds(120));  // replaces
  const Entry<Data> entry = storage.entry("explicit");
  EXPECT_EQ(entry.object, bytes(9, 'c'));
  EXPECT_EQ(entry.expiry, Expiry::date(now + 120s));
  EXPECT_EQ(entry.filePath, storage.filePath("explicit"));
  EXPECT_EQ(std::chrono::file_clock::to_sys(fs::last_write_time(storage.filePath("default.txt"))), now + 1h);
  EXPECT_EQ(namesOnDisk().size(), 2u) << "no temporary file is left behind";
  EXPECT_EQ(storage.totalSize(), 14u);

  storage.removeObject("default.txt");
  EXPECT_EQ(removed_, std::vector<std::string>{storage.fileName("default.txt")});
  EXPECT_EQ(failureOf([&] { storage.entry("default.txt"); }), "ENOENT");
  EXPECT_EQ(failureOf([&] { storage.removeObject("default.txt"); }), "ENOENT");
  storage.removeAll();
  EXPECT_TRUE(namesOnDisk().empty());
  EXPECT_EQ(removed_.size(), 1u);
}

TEST_F(DiskStorageTest, SweepRemovesExpiredFilesThenEvictsLatestExpiryFirstUntilBelowHalfTheLimit) {
  struct Case { std::uint64_t maxSize; std::vector<std::pair<std::size_t, int>> files; std::vector<int> removed; };
  for (const Case& c : {  // files: size and expiry in seconds, keyed by position; removed: positions in order
           Case{1000, {{900, 10}, {400, 100}, {400, 20}}, {0}},  // the expired file does not count; 20 is now: fresh
           Case{1000, {{300, 400}, {300, 100}, {300, 300}, {300, 200}}, {0, 2, 3}},  // 1200 -> 900, 600, 300 < 500
           Case{1000, {{250, 500}, {250, 100}, {250, 400}, {250, 200}, {250, 300}}, {0, 2, 4, 3}},  // 500 is not < 500
           Case{1000, {{1001, 100}}, {0}},
           Case{1000, {{1000, 100}}, {}},  // at the limit is within it
           Case{0, {{100'000, 100}, {100'000, 200}}, {}}}) {  // 0 means no limit
    Disk storage = makeStorage(c.maxSize);
    storage.removeAll();
    removed_.clear();
    for (std::size_t i = 0; i < c.files.size(); ++i) {
      storage.setObject(bytes(c.files[i].first), std::to_string(i), Expiry::seconds(c.files[i].second));
    }
    clock_->advance(20);
    storage.removeExpiredObjects();
    clock_->advance(-20);
    std::vector<std::string> expected;
    for (int i : c.removed) expected.push_back(storage.fileName(std::to_string(i)));
    EXPECT_EQ(removed_, expected) << c.files.size() << " files of " << c.files[0].first;
    EXPECT_EQ(namesOnDisk().size(), c.files.size() - c.removed.size());
  }
}

TEST_F(DiskStorageTest, SweepRemovesOnlyStaleTemporariesAndSkipsOtherHiddenFiles) {
  Disk storage = makeStorage(1);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(clock_->now().time_since_epoch()).count();
  const std::string fresh = ".aurimo-" + std::to_string(seconds - 30) + "-fresh";
  for (const std::string& name : {".aurimo-" + std::to_string(seconds - 61) + "-stale", fresh, std::string(".hidden")}) {
    std::ofstream(cachePath() + "/" + name) << std::string(4096, 'h');
  }
  storage.removeExpiredObjects();
  EXPECT_EQ(namesOnDisk(), (std::vector<std::string>{fresh, ".hidden"}));
  EXPECT_TRUE(removed_.empty()) << "temporaries are not cache entries";
}

TEST_F(DiskStorageTest, FailuresThrowAndLeaveTheStoredFileAsItWas) {
  Disk storage = makeStorage();
  storage.setObject(bytes(8192, 'o'), "k");
  const std::string overlong = "x." + std::string(300, 'e');
  const auto write = [&] { storage.setObject(bytes(8192, 'n'), "k"); };
  const auto failingTransformer = Transformer<int>(
      [](const int&) -> Data { throw StorageError(StorageError::encodingFailed); }, [](const Data&) { return 0; });
  struct Case { void (Faults::*fault)(bool); std::function<void()> operation; std::string failure; };
  for (const Case& c : {Case{&Faults::failWritesWithDiskFull, write, "ENOSPC"}, Case{&Faults::failRenames, write, "EIO"},
                        Case{&Faults::denyPermission, write, "EACCES"},
                        Case{&Faults::denyPermission, [&] { storage.removeExpiredObjects(); }, "DiskStorageError"},
                        Case{&Faults::denyPermission, [&] { storage.totalSize(); }, "DiskStorageError"},
                        Case{&Faults::dropModificationDates, [&] { storage.entry("k"); }, "malformedFileAttributes"},
                        Case{nullptr, [&] { storage.setObject(bytes(1), overlong); }, "ENAMETOOLONG"},
                        Case{nullptr, [&] { storage.entry(overlong); }, "ENAMETOOLONG"},
                        Case{nullptr, [&] { storage.transform(failingTransformer).setObject(1, "j"); }, "encodingFailed"}}) {
    if (c.fault) (files_.*c.fault)(true);
    EXPECT_EQ(failureOf(c.operation), c.failure);
    if (c.fault) (files_.*c.fault)(false);
    EXPECT_EQ(storage.object("k"), bytes(8192, 'o')) << c.failure;
    EXPECT_EQ(namesOnDisk(), std::vector<std::string>{storage.fileName("k")}) << c.failure;
  }
  EXPECT_EQ(files_.injectedFaults(), 5);
  EXPECT_FALSE(storage.transform(TransformerFactory::forData()).onRemove) << "onRemove is not carried over";
}

// Another process gets there first: it removes each file, or takes the whole
// folder away, just before this one does.
class RacedFileManager : public ByteSizedFileManager {
 public:
  void removeItem(const std::string& path) override {
    if (race) fs::remove_all(path);
    ByteSizedFileManager::removeItem(path);
  }
  void moveItem(const std::string& from, const std::string& to) override {
    if (race) fs::remove_all(from);
    ByteSizedFileManager::moveItem(from, to);
  }
  void renameItem(const std::string& from, const std::string& to) override {
    if (std::exchange(race, false)) fs::remove_all(fs::path(to).parent_path());
    ByteSizedFileManager::renameItem(from, to);
  }
  bool race = false;
};

TEST_F(DiskStorageTest, SweepCountsAFileAnotherProcessRemovedAsRemoved) {
  RacedFileManager raced;
  Disk storage(diskConfig(1000), raced, TransformerFactory::forData());
  storage.onRemove = [this](const std::string& path) { removed_.push_back(fs::path(path).filename()); };
  storage.setObject(bytes(10), "expired", Expiry::seconds(-1));
  for (int i = 1; i <= 3; ++i) storage.setObject(bytes(400), std::to_string(i), Expiry::seconds(i));
  raced.race = true;
  storage.removeExpiredObjects();  // 1200 bytes: the latest two go to get below 500
  EXPECT_EQ(removed_, (std::vector<std::string>{storage.fileName("expired"), storage.fileName("3"), storage.fileName("2")}));
  EXPECT_EQ(namesOnDisk(), std::vector<std::string>{storage.fileName("1")});
}

TEST_F(DiskStorageTest, ClearWriteAndSweepSucceedWhenAnotherProcessClearedTheFolderFirst) {
  RacedFileManager raced;
  Disk storage(diskConfig(), raced, TransformerFactory::forData());
  storage.setObject(bytes(3, 'o'), "old");
  for (const auto& [name, operation] : std::vector<std::pair<std::string, std::function<void()>>>{
           {"clear", [&] { storage.removeAll(); }},
           {"write", [&] { storage.setObject(bytes(3, 'n'), "new"); }},
           {"sweep", [&] { fs::remove_all(cachePath()); storage.removeExpiredObjects(); }}}) {
    raced.race = true;
    EXPECT_EQ(failureOf(operation), "nothing") << name;
    raced.race = false;
  }
  storage.setObject(bytes(3, 'n'), "new");
  EXPECT_EQ(namesOnDisk(), std::vector<std::string>{storage.fileName("new")}) << "the folder is back, with nothing old";
}

TEST_F(DiskStorageTest, ExpiriesPast2262ReadAsTheLatestDateAndAreNotSwept) {
  Disk storage = makeStorage();
  storage.setObject(bytes(1), "date", Expiry::date(platform::dateFromUnixSeconds(1e10)));
  storage.setObject(bytes(1), "seconds", Expiry::seconds(1e12));
  storage.removeExpiredObjects();
  for (const char* key : {"date", "seconds"}) EXPECT_EQ(storage.entry(key).expiry.date(), platform::Date::max()) << key;
  EXPECT_TRUE(removed_.empty()) << "not read back as 1901 and swept";
}

TEST_F(DiskStorageTest, ReadsThroughTheOpenFolderFollowTheFolderWhenItIsReplaced) {
  // The real manager: only it keeps the folder open.
  Disk storage(diskConfig(), platform::FileManager::defaultManager(), TransformerFactory::forData());
  storage.setObject(bytes(3, 'a'), "k.png");
  EXPECT_EQ(storage.object("k.png"), bytes(3, 'a'));
  fs::remove_all(cachePath());  // as another process clearing the cache does
  EXPECT_EQ(failureOf([&] { storage.object("k.png"); }), "ENOENT");
  fs::create_directory(cachePath());
  storage.setObject(bytes(4, 'b'), "k.png");
  EXPECT_EQ(storage.object("k.png"), bytes(4, 'b'));
  fs::rename(cachePath(), cachePath() + ".aside");
  fs::create_directory(cachePath());
  storage.setObject(bytes(5, 'c'), "k.png");
  storage.removeAll();
  EXPECT_EQ(failureOf([&] { storage.object("k.png"); }), "ENOENT");
  storage.setObject(bytes(6, 'd'), "k.png");
  const Entry<Data> entry = storage.entry("k.png");
  EXPECT_EQ(entry.object, bytes(6, 'd'));
  EXPECT_EQ(entry.filePath, storage.filePath("k.png"));
}

TEST_F(DiskStorageTest, DefaultParentIsTheCachesDirectory) {
  const std::string root = folder_.path().string();
  platform::ScopedReplacement pin(platform::Directories::slot(), std::make_shared<platform::Directories>(
      platform::Directories::Locations{root + "/s", root + "/t", root + "/caches/aurimo", root + "/p"}));
  Disk storage(DiskConfig("ImageCache", Expiry::never, 0, std::nullopt, "complete"), files_, TransformerFactory::forData());
  EXPECT_EQ(storage.path(), root + "/caches/aurimo/ImageCache");
  EXPECT_TRUE(fs::is_directory(storage.path()));
  // Regression: an empty parent once resolved to "/ImageCache", so a clear emptied a folder under the root.
  EXPECT_EQ(internal::DiskDirectory::resolvePath(files_, DiskConfig("ImageCache", Expiry::never, 0, fs::path(), std::nullopt)),
            "./ImageCache");
}

}  // namespace
}  // namespace aurimo::cache
