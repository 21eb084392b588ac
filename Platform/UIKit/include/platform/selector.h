#pragma once
// Selector and the target-action pattern: a selector is the name of an
// action; a target answers the names it registered. Controls keep their
// target weakly and send it the selector on a tap.
//
// Thread contract: main thread only, like the controls and screens.
//
//   screen->registerAction(platform::Selector("close"), [] { close(); });
//   screen->perform(platform::Selector("close"));   // true: answered

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace aurimo::platform {

struct Selector {
  explicit Selector(std::string name) : name(std::move(name)) {}
  std::string name;

  friend bool operator==(const Selector&, const Selector&) = default;
};

// Something a control can send actions to.
class ActionTarget {
 public:
  virtual ~ActionTarget() = default;

  // Registers (or replaces) the action answering `selector`.
  void registerAction(const Selector& selector, std::function<void()> action) {
    actions_[selector.name] = std::move(action);
  }
  virtual bool respondsTo(const Selector& selector) const { return actions_.contains(selector.name); }
  // Runs the action of `selector`; false, doing nothing, when this target does not answer it.
  virtual bool perform(const Selector& selector) {
    auto found = actions_.find(selector.name);
    if (found == actions_.end()) return false;
    std::function<void()> action = found->second;  // the action may re-register itself
    action();
    return true;
  }

 private:
  std::map<std::string, std::function<void()>, std::less<>> actions_;
};

}  // namespace aurimo::platform
