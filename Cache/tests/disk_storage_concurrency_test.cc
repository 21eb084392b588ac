#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "cache/disk_storage.h"
#include "cache/transformer_factory.h"
#include "platform/file_manager.h"

namespace aurimo {
namespace {

namespace fs = std::filesystem;

// Readers and a sweeper run while one writer keeps replacing a large value:
// every read must see one complete version, never a mix or a short file.
TEST(DiskStorageConcurrencyTest, ReadersNeverSeeAPartialFileWhileAWriterReplacesIt) {
  std::string pattern = (fs::temp_directory_path() / "disk_storage_concurrency.XXXXXX").string();
  const std::string root = ::mkdtemp(pattern.data());
  cache::DiskStorage<std::string, platform::Data> storage(
      cache::DiskConfig("Cache", cache::Expiry::never, 0, fs::path(root), std::nullopt),
      platform::FileManager::defaultManager(), cache::TransformerFactory::forData());
  constexpr std::size_t kSize = 1 << 20;
  storage.setObject(platform::Data(kSize, 0), "big");

  std::atomic<bool> writing{true};
  std::atomic<int> reads{0}, torn{0};
  std::thread writer([&] {
    for (int round = 1; round <= 100; ++round) {
      storage.setObject(platform::Data(kSize, static_cast<std::uint8_t>(round)), "big");
    }
    writing = false;
  });
  auto reader = [&] {
    do {
      const platform::Data data = storage.object("big");
      const bool whole = data.size() == kSize && std::all_of(data.begin(), data.end(),
                                                              [&](std::uint8_t b) { return b == data.front(); });
      if (!whole) ++torn;
      ++reads;
    } while (writing);
  };
  std::thread reader1(reader), reader2(reader);
  std::thread sweeper([&] {
    while (writing) storage.removeExpiredObjects();
  });
  writer.join();
  reader1.join();
  reader2.join();
  sweeper.join();

  EXPECT_EQ(torn, 0);
  EXPECT_GE(reads, 2);
  EXPECT_EQ(storage.object("big"), platform::Data(kSize, 100));
  EXPECT_EQ(std::distance(fs::directory_iterator(storage.path()), fs::directory_iterator()), 1);
  fs::remove_all(root);
}

}  // namespace

}  // namespace aurimo
