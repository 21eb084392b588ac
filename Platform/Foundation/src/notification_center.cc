#include "platform/notification_center.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace aurimo::platform {
namespace {

// Names are never forgotten: a NotificationName is a pointer into this set,
// and unordered_set keeps element addresses stable across rehashing.
struct InternTable {
  std::mutex mutex;
  std::unordered_set<std::string> names;  // guarded by mutex
};

InternTable& internTable() {
  static InternTable table;
  return table;
}

using Delivery = std::function<bool(const Notification&)>;

struct Entry {
  std::uint64_t id;
  NotificationName name;
  const void* object;     // sender filter, or null for any sender
  const void* weakOwner;  // the observer of a weak registration, else null
  Delivery delivery;      // immutable after registration
  bool removed = false;                  // guarded by State::mutex
  std::vector<std::thread::id> callers;  // guarded by State::mutex; threads delivering now
};

struct State {
  std::mutex mutex;
  std::condition_variable callsFinished;
  std::uint64_t nextId = 1;                                               // guarded by mutex
  std::unordered_map<std::uint64_t, std::shared_ptr<Entry>> byId;         // guarded by mutex
  std::unordered_map<NotificationName, std::vector<std::shared_ptr<Entry>>> byName;  // guarded by mutex

  // Drops registrations whose weak observer has died, in one pass per name.
  void pruneLocked(const std::vector<std::shared_ptr<Entry>>& dead) {
    for (const auto& entry : dead) {
      if (entry->removed) continue;
      entry->removed = true;
      byId.erase(entry->id);
    }
    auto found = byName.find(dead.front()->name);
    if (found == byName.end()) return;
    std::erase_if(found->second, [](const std::shared_ptr<Entry>& entry) { return entry->removed; });
    if (found->second.empty()) byName.erase(found);
  }

  // Unregisters `entry` and returns once no other thread is inside its
  // callback. The calling thread's own calls (self-removal) are not waited for.
  void removeLocked(std::unique_lock<std::mutex>& lock, const std::shared_ptr<Entry>& entry) {
    if (!entry->removed) {
      entry->removed = true;
      byId.erase(entry->id);
      auto found = byName.find(entry->name);
      if (found != byName.end()) {
        std::erase(found->second, entry);
        if (found->second.empty()) byName.erase(found);
      }
    }
    const std::thread::id self = std::this_thread::get_id();
    callsFinished.wait(lock, [&] {
      return std::all_of(entry->callers.begin(), entry->callers.end(),
                         [&](std::thread::id caller) { return caller == self; });
    });
  }
};

std::shared_ptr<State> stateOf(const std::shared_ptr<void>& erased) {
  return std::static_pointer_cast<State>(erased);
}

}  // namespace

NotificationName::NotificationName(std::string_view rawValue) {
  InternTable& table = internTable();
  std::lock_guard lock(table.mutex);
  value_ = &*table.names.emplace(rawValue).first;
}

ObserverToken::ObserverToken(ObserverToken&& other) noexcept
    : state_(std::move(other.state_)), id_(std::exchange(other.id_, 0)) {}

ObserverToken& ObserverToken::operator=(ObserverToken&& other) noexcept {
  if (this != &other) {
    remove();
    state_ = std::move(other.state_);
    id_ = std::exchange(other.id_, 0);
  }
  return *this;
}

ObserverToken::~ObserverToken() { remove(); }

void ObserverToken::remove() {
  const std::uint64_t id = std::exchange(id_, 0);
  std::shared_ptr<void> erased = state_.lock();
  state_.reset();
  if (id == 0 || !erased) return;
  std::shared_ptr<State> state = stateOf(erased);
  std::unique_lock lock(state->mutex);
  auto found = state->byId.find(id);
  if (found == state->byId.end()) return;
  std::shared_ptr<Entry> entry = found->second;
  state->removeLocked(lock, entry);
}

NotificationCenter::NotificationCenter() : state_(std::make_shared<State>()) {}
NotificationCenter::~NotificationCenter() = default;

Replaceable<NotificationCenter>& NotificationCenter::slot() {
  static Replaceable<NotificationCenter> instance(
      [] { return std::make_shared<NotificationCenter>(); });
  return instance;
}

std::uint64_t NotificationCenter::add(NotificationName name, const void* object,
                                      const void* weakOwner, Delivery delivery) {
  State& state = *stateOf(state_);
  std::lock_guard lock(state.mutex);
  auto entry = std::make_shared<Entry>(
      Entry{state.nextId++, name, object, weakOwner, std::move(delivery), false, {}});
  state.byId.emplace(entry->id, entry);
  state.byName[name].push_back(entry);
  return entry->id;
}

ObserverToken NotificationCenter::addObserver(NotificationName name, const void* object,
                                              Callback callback) {
  std::uint64_t id = add(name, object, nullptr,
                         [callback = std::move(callback)](const Notification& notification) {
                           callback(notification);
                           return true;
                         });
  return ObserverToken(state_, id);
}

void NotificationCenter::removeObserver(const void* observer) {
  if (observer == nullptr) return;
  State& state = *stateOf(state_);
  std::unique_lock lock(state.mutex);
  std::vector<std::shared_ptr<Entry>> matching;
  for (const auto& [id, entry] : state.byId) {
    if (entry->weakOwner == observer) matching.push_back(entry);
  }
  for (const auto& entry : matching) state.removeLocked(lock, entry);
}

void NotificationCenter::post(NotificationName name, const void* object, nlohmann::json userInfo) {
  std::shared_ptr<State> state = stateOf(state_);
  const Notification notification{name, object, std::move(userInfo)};
  std::vector<std::shared_ptr<Entry>> recipients;
  {
    std::lock_guard lock(state->mutex);
    auto found = state->byName.find(name);
    if (found == state->byName.end()) return;
    for (const auto& entry : found->second) {
      if (entry->object == nullptr || entry->object == object) recipients.push_back(entry);
    }
  }

  const std::thread::id self = std::this_thread::get_id();
  std::vector<std::shared_ptr<Entry>> dead;
  for (const auto& entry : recipients) {
    {
      std::lock_guard lock(state->mutex);
      if (entry->removed) continue;
      entry->callers.push_back(self);
    }
    // Leaves the caller list even when the callback throws.
    struct Leave {
      State& state;
      Entry& entry;
      std::thread::id self;
      ~Leave() {
        std::lock_guard lock(state.mutex);
        entry.callers.erase(std::find(entry.callers.begin(), entry.callers.end(), self));
        if (entry.removed) state.callsFinished.notify_all();
      }
    };
    bool alive = false;
    {
      Leave leave{*state, *entry, self};
      alive = entry->delivery(notification);
    }
    if (!alive) dead.push_back(entry);
  }
  if (!dead.empty()) {
    std::unique_lock lock(state->mutex);
    state->pruneLocked(dead);
  }
}

std::size_t NotificationCenter::observerCount() const {
  State& state = *stateOf(state_);
  std::lock_guard lock(state.mutex);
  return state.byId.size();
}

}  // namespace aurimo::platform
