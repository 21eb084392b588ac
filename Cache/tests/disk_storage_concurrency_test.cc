#include <atomic>
#include <thread>

#include "cache_test_support.h"

namespace aurimo::cache {
namespace {

// Readers and a sweeper run while one writer keeps replacing a large value:
// every read must see one complete version, never a mix or a short file.
TEST(DiskStorageConcurrencyTest, ReadersNeverSeeAPartialFileWhileAWriterReplacesIt) {
  aurimo::test::TemporaryDirectory folder;
  DiskStorage<std::string, Data> storage(DiskConfig("Cache", Expiry::never, 0, folder.path(), std::nullopt),
                                         platform::FileManager::defaultManager(), TransformerFactory::forData());
  constexpr std::size_t kSize = 1 << 20;
  storage.setObject(Data(kSize, 0), "big");
  std::atomic<bool> writing{true};
  std::atomic<int> reads{0}, torn{0};
  const auto read = [&] {
    do {
      const Data data = storage.object("big");
      if (data.size() != kSize || std::count(data.begin(), data.end(), data[0]) != std::ptrdiff_t{kSize}) ++torn;
      ++reads;
    } while (writing);
  };
  std::vector<std::thread> threads;
  threads.emplace_back([&] {
    while (reads == 0) std::this_thread::yield();  // the readers are under way before the first write
    for (int round = 1; round <= 100; ++round) storage.setObject(Data(kSize, static_cast<std::uint8_t>(round)), "big");
    writing = false;
  });
  threads.emplace_back(read);
  threads.emplace_back(read);
  threads.emplace_back([&] {
    while (writing) storage.removeExpiredObjects();
  });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(torn, 0);
  EXPECT_EQ(storage.object("big"), Data(kSize, 100));
  EXPECT_EQ(std::distance(fs::directory_iterator(storage.path()), {}), 1) << "no temporary file is left behind";
}

}  // namespace
}  // namespace aurimo::cache
