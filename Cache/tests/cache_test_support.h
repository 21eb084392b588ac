#pragma once
// What the cache tests share: one include for the library and the fakes, a
// fixture with a pinned fake clock, a fresh folder and a fault-injecting file
// manager, and helpers for what an operation threw or a completion was handed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "cache/storage.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"
#include "testing/temporary_directory.h"

namespace aurimo::cache {

namespace fs = std::filesystem;
using platform::Data;
using namespace std::chrono_literals;

// Reports the byte length as the allocated size, so disk limits can be stated in bytes.
class ByteSizedFileManager : public aurimo::test::FaultyFileManager {
 public:
  bool enumerateDirectory(const std::string& path, const NameFilter& include, const EntryVisitor& visit) override {
    return FaultyFileManager::enumerateDirectory(path, include, [&](const platform::DirectoryEntry& entry) {
      platform::FileAttributes attributes = entry.attributes;
      attributes.totalFileAllocatedSize = attributes.size;
      visit(platform::DirectoryEntry{entry.name, entry.path, attributes});
    });
  }
};

class CacheTest : public ::testing::Test {
 protected:
  DiskConfig diskConfig(std::uint64_t maxSize = 0, Expiry expiry = Expiry::never) const {
    return DiskConfig("Cache", expiry, maxSize, folder_.path(), std::nullopt);
  }
  std::string cachePath() const { return (folder_.path() / "Cache").string(); }

  std::shared_ptr<aurimo::test::FakeClock> clock_ = std::make_shared<aurimo::test::FakeClock>();
  platform::ScopedReplacement<platform::Clock> pin_{platform::Clock::slot(), clock_};
  aurimo::test::TemporaryDirectory folder_;
  ByteSizedFileManager files_;
};

inline std::exception_ptr thrownBy(const std::function<void()>& operation) {
  try {
    operation();
  } catch (...) {
    return std::current_exception();
  }
  return nullptr;
}

// The errno name of a system error ("ENOENT"), a StorageError's case name,
// "DiskStorageError", or "nothing" when `operation` returned.
inline std::string failureOf(const std::function<void()>& operation) {
  try {
    operation();
  } catch (const std::system_error& error) {
    return ::strerrorname_np(error.code().value());
  } catch (const StorageError& error) {
    return error.what();
  } catch (const DiskStorageError&) {
    return "DiskStorageError";
  }
  return "nothing";
}

// Starts an asynchronous call with a completion and returns what that was
// handed. A completion that never comes fails the test instead of hanging it.
template <class T>
Result<T> await(const std::function<void(std::function<void(Result<T>)>)>& start) {
  auto promise = std::make_shared<std::promise<Result<T>>>();
  auto future = promise->get_future();
  start([promise](Result<T> result) { promise->set_value(std::move(result)); });
  if (future.wait_for(30s) != std::future_status::ready) throw std::runtime_error("the completion never came");
  return future.get();
}

}  // namespace aurimo::cache
