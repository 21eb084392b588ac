#include "cache/disk_storage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "cache/transformer_factory.h"
#include "platform/directories.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;
using platform::Data;
using Storage = cache::DiskStorage<std::string, Data>;

Data bytes(std::size_t size, char fill = 'x') { return Data(size, static_cast<std::uint8_t>(fill)); }

int errnoOf(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const fs::filesystem_error& error) {
    return error.code().value();
  }
  return 0;
}

// Reports the byte length as the allocated size, so limits can be stated in bytes.
class ByteSizedFileManager : public test::FaultyFileManager {
 public:
  bool enumerateDirectory(const std::string& path, const NameFilter& include, const EntryVisitor& visit) override {
    return FaultyFileManager::enumerateDirectory(path, include, [&](const platform::DirectoryEntry& entry) {
      platform::FileAttributes attributes = entry.attributes;
      attributes.totalFileAllocatedSize = attributes.size;
      visit(platform::DirectoryEntry{entry.name, entry.path, attributes});
    });
  }
};

class DiskStorageTest : public ::testing::Test {
 protected:
  DiskStorageTest() {
    std::string pattern = (fs::temp_directory_path() / "disk_storage_test.XXXXXX").string();
    root_ = ::mkdtemp(pattern.data());
  }
  ~DiskStorageTest() override { fs::remove_all(root_); }

  Storage makeStorage(std::uint64_t maxSize = 0, cache::Expiry expiry = cache::Expiry::never) {
    cache::DiskConfig config("Cache", expiry, maxSize, fs::path(root_), std::nullopt);
    Storage storage(config, files_, cache::TransformerFactory::forData());
    storage.onRemove = [this](const std::string& path) { removed_.push_back(fs::path(path).filename()); };
    return storage;
  }

  std::vector<std::string> namesOnDisk() const {
    std::vector<std::string> names;
    for (const auto& item : fs::directory_iterator(root_ + "/Cache")) names.push_back(item.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  std::shared_ptr<test::FakeClock> clock_ = std::make_shared<test::FakeClock>();
  platform::ScopedReplacement<platform::Clock> pin_{platform::Clock::slot(), clock_};
  std::string root_;
  ByteSizedFileManager files_;
  std::vector<std::string> removed_;
};

TEST_F(DiskStorageTest, NamesTextKeysByUpperCaseDigestAndExtension) {
  const struct {
    std::string key;
    std::string name;
  } cases[] = {
      {"a/b.png", "5D4698FCF042CDEAA90B70C8C3F4983B.png"},
      {"photo.jpg", "72ACDED3ACD45E4C8B6ED680854B8AB1.jpg"},
      {"photo.", "EDA48BE594E4F7E40687874BF3AD60F5"},
      {"plain", "AC7938D40CFC2307E2BF325D28E7884E"},
      {"v1.2/readme", "F6E42AC1B70D810EF3DAFE0B7FA958DB"},  // a dot in an earlier component is no extension
      {"a/b.png/", "D9F1DFE50DB2E0C377277FD0959F9204.png"},
  };
  Storage storage = makeStorage();
  for (const auto& c : cases) {
    EXPECT_EQ(storage.fileName(c.key), c.name) << c.key;
    storage.setObject(bytes(3), c.key);
    EXPECT_TRUE(fs::is_regular_file(root_ + "/Cache/" + c.name)) << c.key;
    EXPECT_EQ(storage.filePath(c.key), root_ + "/Cache/" + c.name);
  }
}

TEST_F(DiskStorageTest, NamesOtherKeysByDecimalHashStableWithinTheProcess) {
  cache::DiskStorage<int, Data> storage(cache::DiskConfig("Ints", cache::Expiry::never, 0, fs::path(root_), {}),
                                        files_, cache::TransformerFactory::forData());
  const std::string name = storage.fileName(7);
  EXPECT_EQ(name.find_first_not_of("-0123456789"), std::string::npos) << name;
  EXPECT_NE(name, storage.fileName(8));
  storage.setObject(bytes(2), 7);
  EXPECT_EQ(storage.transform(cache::TransformerFactory::forData()).object(7), bytes(2));
}

TEST_F(DiskStorageTest, StoresBytesAndResolvedExpiryAsModificationDate) {
  Storage storage = makeStorage(0, cache::Expiry::seconds(3600));
  const platform::Date now = clock_->now();
  storage.setObject(bytes(5, 'a'), "default");
  storage.setObject(bytes(5, 'b'), "explicit", cache::Expiry::seconds(60));
  storage.setObject(bytes(9, 'c'), "explicit", cache::Expiry::seconds(120));  // replaces

  const cache::Entry<Data> entry = storage.entry("explicit");
  EXPECT_EQ(entry.object, bytes(9, 'c'));
  EXPECT_EQ(entry.expiry, cache::Expiry::date(now + std::chrono::seconds(120)));
  EXPECT_EQ(entry.filePath, storage.filePath("explicit"));
  EXPECT_EQ(storage.entry("default").expiry, cache::Expiry::date(now + std::chrono::hours(1)));
  EXPECT_EQ(std::chrono::file_clock::to_sys(fs::last_write_time(storage.filePath("default"))),
            now + std::chrono::hours(1));
  EXPECT_EQ(namesOnDisk().size(), 2u) << "no temporary file is left behind";
}

TEST_F(DiskStorageTest, MissingFilesThrowThePlatformNotFoundError) {
  Storage storage = makeStorage();
  storage.setObject(bytes(1), "k");
  fs::remove(storage.filePath("k"));  // behind the storage's back
  EXPECT_EQ(errnoOf([&] { storage.entry("k"); }), ENOENT);
  EXPECT_FALSE(storage.existsObject("k"));
  EXPECT_TRUE(storage.isExpiredObject("k"));
  EXPECT_EQ(errnoOf([&] { storage.removeObject("k"); }), ENOENT);
  EXPECT_TRUE(removed_.empty());
}

TEST_F(DiskStorageTest, RemovalsReportThePathButRemoveAllDoesNot) {
  Storage storage = makeStorage();
  storage.setObject(bytes(1), "a.txt");
  storage.setObject(bytes(1), "b");
  storage.removeObject("a.txt");
  EXPECT_EQ(removed_, std::vector<std::string>{storage.fileName("a.txt")});
  storage.removeAll();
  EXPECT_TRUE(fs::is_directory(root_ + "/Cache"));
  EXPECT_TRUE(namesOnDisk().empty());
  EXPECT_EQ(removed_.size(), 1u);
}

TEST_F(DiskStorageTest, SweepRemovesExpiredFilesWithoutCountingThem) {
  Storage storage = makeStorage(1000);
  storage.setObject(bytes(900), "old1", cache::Expiry::seconds(10));
  storage.setObject(bytes(900), "old2", cache::Expiry::seconds(10));
  storage.setObject(bytes(400), "fresh", cache::Expiry::seconds(100));
  storage.setObject(bytes(400), "edge", cache::Expiry::seconds(20));
  clock_->advance(20);  // "edge" expires exactly now: not yet expired

  storage.removeExpiredObjects();
  std::sort(removed_.begin(), removed_.end());
  std::vector<std::string> expected{storage.fileName("old1"), storage.fileName("old2")};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(removed_, expected);
  EXPECT_TRUE(storage.existsObject("fresh"));
  EXPECT_TRUE(storage.existsObject("edge"));
}

TEST_F(DiskStorageTest, SizeLimitEvictsLatestExpiryFirstUntilBelowHalf) {
  const struct {
    std::size_t fileSize;
    int files;
    int evicted;  // from the latest expiry down
  } cases[] = {
      {300, 4, 3},  // 1200 -> 900, 600, 300: below 500
      {250, 5, 4},  // 1250 -> 1000, 750, 500 is not below 500, 250
      {1001, 1, 1},
  };
  for (const auto& c : cases) {
    Storage storage = makeStorage(1000);
    storage.removeAll();
    removed_.clear();
    std::vector<std::string> expected;
    for (int day = c.files; day >= 1; --day) {
      if (c.files - day < c.evicted) expected.push_back(storage.fileName("d" + std::to_string(day)));
    }
    for (int i = 0; i < c.files; ++i) {  // written in an order unrelated to expiry
      const int day = (i * 3) % c.files + 1;
      storage.setObject(bytes(c.fileSize), "d" + std::to_string(day), cache::Expiry::seconds(day * 86400.0));
    }
    storage.removeExpiredObjects();
    EXPECT_EQ(removed_, expected) << c.fileSize;
    EXPECT_EQ(namesOnDisk().size(), static_cast<std::size_t>(c.files - c.evicted));
  }
}

TEST_F(DiskStorageTest, ZeroMaxSizeMeansNoLimit) {
  Storage storage = makeStorage(0);
  for (int i = 0; i < 5; ++i) storage.setObject(bytes(100'000), std::to_string(i));
  storage.removeExpiredObjects();
  EXPECT_EQ(namesOnDisk().size(), 5u);
  EXPECT_EQ(storage.totalSize(), 500'000u);
}

TEST_F(DiskStorageTest, SweepRemovesOnlyStaleTemporariesAndSkipsOtherHiddenFiles) {
  Storage storage = makeStorage(1);
  const auto seconds = std::chrono::floor<std::chrono::seconds>(clock_->now().time_since_epoch()).count();
  const std::string fresh = ".aurimo-" + std::to_string(seconds - 30) + "-fresh";
  for (const std::string& name : {".aurimo-" + std::to_string(seconds - 61) + "-stale", fresh,
                                  std::string(".hidden")}) {
    std::ofstream(root_ + "/Cache/" + name) << std::string(4096, 'h');
  }
  storage.removeExpiredObjects();
  EXPECT_EQ(namesOnDisk(), (std::vector<std::string>{fresh, ".hidden"}));
  EXPECT_TRUE(removed_.empty()) << "temporaries are not cache entries";
}

TEST_F(DiskStorageTest, FileWithoutModificationDateIsMalformed) {
  Storage storage = makeStorage();
  storage.setObject(bytes(1), "k");
  files_.dropModificationDates(true);
  try {
    storage.entry("k");
    FAIL() << "expected malformedFileAttributes";
  } catch (const cache::StorageError& error) {
    EXPECT_EQ(error.errorCase(), cache::StorageError::malformedFileAttributes);
  }
}

TEST_F(DiskStorageTest, FailedWritesThrowAndKeepTheOldValue) {
  const struct {
    const char* fault;
    std::function<void(test::FaultyFileManager&, bool)> inject;
    int expectedErrno;
  } cases[] = {
      {"disk full", [](auto& files, bool on) { files.failWritesWithDiskFull(on); }, ENOSPC},
      {"failing rename", [](auto& files, bool on) { files.failRenames(on); }, EIO},
      {"permission denied", [](auto& files, bool on) { files.denyPermission(on); }, EACCES},
  };
  Storage storage = makeStorage();
  storage.setObject(bytes(8192, 'o'), "k");
  for (const auto& c : cases) {
    const int faultsBefore = files_.injectedFaults();
    c.inject(files_, true);
    EXPECT_EQ(errnoOf([&] { storage.setObject(bytes(8192, 'n'), "k"); }), c.expectedErrno) << c.fault;
    c.inject(files_, false);
    EXPECT_EQ(files_.injectedFaults(), faultsBefore + 1) << c.fault;
    EXPECT_EQ(storage.object("k"), bytes(8192, 'o')) << c.fault;
    EXPECT_EQ(namesOnDisk(), std::vector<std::string>{storage.fileName("k")}) << c.fault;
  }
}

TEST_F(DiskStorageTest, UnreadableDirectoryFailsTheSweepWithFileEnumeratorFailed) {
  Storage storage = makeStorage();
  files_.denyPermission(true);
  EXPECT_THROW(storage.removeExpiredObjects(), Storage::Error);
  EXPECT_THROW(storage.totalSize(), Storage::Error);
}

TEST_F(DiskStorageTest, OverlongFileNameIsAnErrorNotACrash) {
  Storage storage = makeStorage();
  const std::string key = "x." + std::string(300, 'e');
  EXPECT_EQ(errnoOf([&] { storage.setObject(bytes(1), key); }), ENAMETOOLONG);
  EXPECT_EQ(errnoOf([&] { storage.entry(key); }), ENAMETOOLONG);
  EXPECT_TRUE(namesOnDisk().empty());
}

TEST_F(DiskStorageTest, TransformerFailureWritesNothing) {
  Storage storage = makeStorage();
  auto failing = storage.transform(cache::Transformer<int>(
      [](const int&) -> Data { throw cache::StorageError(cache::StorageError::encodingFailed); },
      [](const Data&) { return 0; }));
  EXPECT_THROW(failing.setObject(1, "k"), cache::StorageError);
  EXPECT_TRUE(namesOnDisk().empty());
  EXPECT_FALSE(failing.onRemove) << "onRemove is not carried over";
}

TEST_F(DiskStorageTest, DefaultParentIsTheCachesDirectory) {
  auto directories = std::make_shared<platform::Directories>(
      platform::Directories::Locations{root_ + "/s", root_ + "/t", root_ + "/caches/aurimo", root_ + "/p"});
  platform::ScopedReplacement pin(platform::Directories::slot(), directories);
  Storage storage(cache::DiskConfig("ImageCache", cache::Expiry::never, 0, std::nullopt, std::string("complete")),
                  files_, cache::TransformerFactory::forData());
  EXPECT_EQ(storage.path(), root_ + "/caches/aurimo/ImageCache");
  EXPECT_TRUE(fs::is_directory(storage.path()));
  EXPECT_EQ(fs::status(storage.path()).permissions() & fs::perms::all, fs::perms::owner_all);
}

}  // namespace

}  // namespace aurimo
