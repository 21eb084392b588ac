#pragma once
// ScriptedNotificationPermissionPrompt: a permission prompt whose person
// answers from a script, one answer per question, and notes what was asked.
// A question beyond the script gets noAnswer.
//
// Thread contract: any thread (the centre asks on a worker thread).
//
//   auto prompt = std::make_shared<test::ScriptedNotificationPermissionPrompt>(
//       std::vector{platform::NotificationPermissionAnswer::allow});

#include <deque>
#include <mutex>
#include <vector>

#include "platform/notification_permission_prompt.h"

namespace aurimo::test {

class ScriptedNotificationPermissionPrompt final : public platform::NotificationPermissionPrompt {
 public:
  explicit ScriptedNotificationPermissionPrompt(std::vector<platform::NotificationPermissionAnswer> answers = {})
      : answers_(answers.begin(), answers.end()) {}

  void push(platform::NotificationPermissionAnswer answer) {
    std::lock_guard lock(mutex_);
    answers_.push_back(answer);
  }

  platform::NotificationPermissionAnswer ask(platform::UNAuthorizationOptions options) override {
    std::lock_guard lock(mutex_);
    asked_.push_back(options);
    if (answers_.empty()) return platform::NotificationPermissionAnswer::noAnswer;
    const platform::NotificationPermissionAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
  }

  // The options of every question asked so far, in order.
  std::vector<platform::UNAuthorizationOptions> asked() const {
    std::lock_guard lock(mutex_);
    return asked_;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<platform::NotificationPermissionAnswer> answers_;  // guarded by mutex_
  std::vector<platform::UNAuthorizationOptions> asked_;         // guarded by mutex_
};

}  // namespace aurimo::test
