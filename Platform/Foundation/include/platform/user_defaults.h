#pragma once
// UserDefaults: the app's small key-value settings store.
//
// standard() persists to "user-defaults.json" in the settings directory.
// set() and removeObjectForKey() change memory and return; the file is
// rewritten atomically and durably (saveStateFile) on the store's own serial
// queue, and changes made before that save starts share it, so a burst of
// settings costs one write off the caller's thread. synchronize() writes now;
// the destructor flushes what is still pending. A file that cannot be read or
// parsed is moved aside as "<name>.corrupt-<unix seconds>", reported once on
// stderr, and the store starts empty. A failing save keeps the values in
// memory, is reported once until a save succeeds again, and is retried by the
// next change or synchronize(). Default-constructed stores live in memory
// only (tests).
//
// Values: bool, int64, double, string, Data (written as {"$base64": "..."} so
// it reads back as Data) or any JSON through setObject().
//
// Thread contract: every member is safe from any thread; reads see every
// change at once, the file a moment later (runUntilAllQueuesIdle() waits for it).
//
//   platform::UserDefaults::standard().set(true, "Feature.enabled");
//   bool saved = platform::UserDefaults::standard().synchronize();  // before the process ends

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/data.h"
#include "platform/dispatch_queue.h"
#include "platform/file_manager.h"
#include "platform/replaceable.h"

namespace aurimo::platform {

class UserDefaults {
 public:
  static constexpr std::string_view kFileName = "user-defaults.json";

  // In memory only.
  UserDefaults();
  // Backed by `file`, loaded now through `files`, which must outlive the
  // store; its folder is created (0700) on first write.
  explicit UserDefaults(std::filesystem::path file, FileManager& files = FileManager::defaultManager());
  // Writes what is still pending, on the calling thread.
  ~UserDefaults();
  UserDefaults(const UserDefaults&) = delete;
  UserDefaults& operator=(const UserDefaults&) = delete;

  // Backed by Directories::current().settingsDirectory() / kFileName.
  static UserDefaults& standard() { return slot().get(); }
  static Replaceable<UserDefaults>& slot();

  // Missing keys read as false / 0 / 0.0 / nullopt. Numbers, bools and
  // numeric strings convert between each other as the platform's store does.
  bool boolForKey(std::string_view key) const;
  std::int64_t integerForKey(std::string_view key) const;
  double doubleForKey(std::string_view key) const;
  std::optional<std::string> stringForKey(std::string_view key) const;
  std::optional<Data> dataForKey(std::string_view key) const;
  // The stored value as JSON (Data as a JSON binary value), nullopt if missing.
  std::optional<nlohmann::json> objectForKey(std::string_view key) const;

  void set(bool value, std::string_view key);
  void set(std::int64_t value, std::string_view key);
  void set(int value, std::string_view key) { set(static_cast<std::int64_t>(value), key); }
  void set(double value, std::string_view key);
  void set(std::string_view value, std::string_view key);
  void set(const std::string& value, std::string_view key) { set(std::string_view(value), key); }
  void set(const char* value, std::string_view key) { set(std::string_view(value), key); }
  void set(const Data& value, std::string_view key);
  // Stores any JSON; null removes the key.
  void setObject(nlohmann::json value, std::string_view key);
  void removeObjectForKey(std::string_view key);

  // Writes pending changes now, after a save already under way, and returns
  // once the file holds every change made before the call: true when it does,
  // false when the save failed (reported as any failing save). True at once
  // for an in-memory store.
  bool synchronize();

  // The backing file, or nullopt for an in-memory store.
  const std::optional<std::filesystem::path>& file() const { return file_; }

 private:
  std::optional<nlohmann::json> find(std::string_view key) const;
  void store(std::string_view key, nlohmann::json value);
  void load();
  // Writes the values if the file lacks any of them. Called with writer_->mutex
  // held, so writes never overlap and land in the order of their snapshots.
  bool writeIfDirty(bool scheduledSave);

  // Shared with the save queue's blocks: one that runs after the store is gone
  // finds no owner. Its mutex is held for a whole write, never by readers.
  struct Writer {
    explicit Writer(UserDefaults* owner) : owner(owner) {}
    std::mutex mutex;
    UserDefaults* owner;  // guarded by mutex
  };

  const std::optional<std::filesystem::path> file_;
  FileManager* const files_ = nullptr;  // set with file_
  mutable std::mutex mutex_;
  nlohmann::json values_ = nlohmann::json::object();  // guarded by mutex_
  bool dirty_ = false;          // guarded by mutex_; the file lacks a change or the last save failed
  bool saveScheduled_ = false;  // guarded by mutex_; a queued save has not taken its snapshot yet
  bool saveFailing_ = false;    // guarded by mutex_
  const std::shared_ptr<Writer> writer_;  // set with file_
  DispatchQueue saveQueue_{"UserDefaults.SaveQueue", QualityOfService::utility};
};

}  // namespace aurimo::platform
