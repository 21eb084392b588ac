#pragma once
// ScriptedPerson: a Person who takes the choices of a script, by title, one per
// question in order. Beyond the script, or for a title the question does not
// offer, nobody answers. What was asked is in presentations().
//
// Thread contract: any thread (the platform asks on worker threads).
//
//   auto person = std::make_shared<test::ScriptedPerson>(std::vector<std::string>{"Allow"});
//   platform::UNUserNotificationCenter center(stateDirectory, person);

#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/person.h"

namespace aurimo::test {

class ScriptedPerson final : public platform::Person {
 public:
  explicit ScriptedPerson(std::vector<std::string> script = {}) : script_(script.begin(), script.end()) {}

  void push(std::string choice) {
    std::lock_guard lock(mutex_);
    script_.push_back(std::move(choice));
  }

 protected:
  std::optional<std::size_t> choose(const platform::Presentation& question) override {
    std::lock_guard lock(mutex_);
    if (script_.empty()) return std::nullopt;
    const std::string choice = std::move(script_.front());
    script_.pop_front();
    return platform::choiceIndex(question, choice);
  }

 private:
  std::mutex mutex_;
  std::deque<std::string> script_;  // guarded by mutex_
};

}  // namespace aurimo::test
