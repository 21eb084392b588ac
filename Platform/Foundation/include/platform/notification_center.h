#pragma once
// NotificationCenter: synchronous broadcasts by name, filtered by sender.
//
// Thread contract: every member may be called from any thread. post()
// delivers on the posting thread, in registration order, to the observers
// registered when the post began; observers added during a delivery wait for
// the next post. Once ObserverToken::remove() (or the token's destructor)
// returns, that observer is never called again: remove() waits for calls of
// it running on other threads, so a callback must not block on the thread that
// removes it. Removing an observer from inside its own callback is fine.
//
//   static const platform::NotificationName kDidChange("Thing.didChange");
//   auto token = platform::NotificationCenter::defaultCenter().addObserver(
//       kDidChange, nullptr, [](const platform::Notification& n) { ... });
//   platform::NotificationCenter::defaultCenter().post(kDidChange, this);

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include <nlohmann/json.hpp>

#include "platform/replaceable.h"

namespace aurimo::platform {

// An interned broadcast name: the text is stored once per process, so copies
// are a pointer and comparisons are pointer comparisons.
class NotificationName {
 public:
  explicit NotificationName(std::string_view rawValue);

  const std::string& rawValue() const { return *value_; }

  friend bool operator==(NotificationName a, NotificationName b) { return a.value_ == b.value_; }

 private:
  friend struct std::hash<NotificationName>;
  const std::string* value_;  // points into the process-wide intern table
};

struct Notification {
  NotificationName name;
  // The sender's identity; the poster keeps it alive during the post.
  const void* object = nullptr;
  // A JSON object, or null when the post carried none.
  nlohmann::json userInfo;
};

class NotificationCenter;

// Keeps one observer registered; removes it when destroyed or on remove().
class [[nodiscard]] ObserverToken {
 public:
  ObserverToken() = default;
  ObserverToken(ObserverToken&& other) noexcept;
  ObserverToken& operator=(ObserverToken&& other) noexcept;
  ObserverToken(const ObserverToken&) = delete;
  ObserverToken& operator=(const ObserverToken&) = delete;
  ~ObserverToken();

  // Safe to call more than once, and after the centre is gone.
  void remove();
  bool isActive() const { return !state_.expired() && id_ != 0; }

 private:
  friend class NotificationCenter;
  ObserverToken(std::weak_ptr<void> state, std::uint64_t id) : state_(std::move(state)), id_(id) {}

  std::weak_ptr<void> state_;
  std::uint64_t id_ = 0;
};

class NotificationCenter {
 public:
  using Callback = std::function<void(const Notification&)>;

  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  static NotificationCenter& defaultCenter() { return slot().get(); }
  static Replaceable<NotificationCenter>& slot();

  // Observes `name`; when `object` is not null, only posts from that sender.
  ObserverToken addObserver(NotificationName name, const void* object, Callback callback);

  // Observes through a weak reference: the callback gets the live observer,
  // and the registration is dropped once the observer has died. It lives
  // until then or until removeObserver(observer).
  template <class T>
  void addObserver(std::weak_ptr<T> observer, NotificationName name, const void* object,
                   std::type_identity_t<std::function<void(T&, const Notification&)>> callback);
  template <class T>
  void addObserver(const std::shared_ptr<T>& observer, NotificationName name, const void* object,
                   std::type_identity_t<std::function<void(T&, const Notification&)>> callback) {
    addObserver(std::weak_ptr<T>(observer), name, object, std::move(callback));
  }

  // Drops every weak registration of `observer` (all names, all senders).
  void removeObserver(const void* observer);

  void post(NotificationName name, const void* object = nullptr,
            nlohmann::json userInfo = nullptr);

  // Registrations still in place (dead weak observers count until pruned).
  std::size_t observerCount() const;

 private:
  // Returns false when the observer behind it has died.
  using Delivery = std::function<bool(const Notification&)>;
  std::uint64_t add(NotificationName name, const void* object, const void* weakOwner,
                    Delivery delivery);

  std::shared_ptr<void> state_;  // a State; tokens hold it weakly
};

template <class T>
void NotificationCenter::addObserver(std::weak_ptr<T> observer, NotificationName name,
                                     const void* object,
                                     std::type_identity_t<std::function<void(T&, const Notification&)>> callback) {
  const void* owner = observer.lock().get();
  if (owner == nullptr) return;
  add(name, object, owner,
      [observer = std::move(observer), callback = std::move(callback)](const Notification& n) {
        std::shared_ptr<T> alive = observer.lock();
        if (!alive) return false;
        callback(*alive, n);
        return true;
      });
}

}  // namespace aurimo::platform

template <>
struct std::hash<aurimo::platform::NotificationName> {
  std::size_t operator()(aurimo::platform::NotificationName name) const noexcept {
    return std::hash<const void*>()(name.value_);
  }
};
