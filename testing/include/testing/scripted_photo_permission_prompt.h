#pragma once
// ScriptedPhotoPermissionPrompt: a photo-library permission prompt whose
// person answers from a script, one answer per question, and notes what was
// asked. A question beyond the script gets noAnswer.
//
// Thread contract: any thread (the library asks on a worker thread).
//
//   auto prompt = std::make_shared<test::ScriptedPhotoPermissionPrompt>(
//       std::vector{platform::PhotoPermissionAnswer::allow});

#include <deque>
#include <mutex>
#include <vector>

#include "platform/photo_permission_prompt.h"

namespace aurimo::test {

class ScriptedPhotoPermissionPrompt final : public platform::PhotoPermissionPrompt {
 public:
  explicit ScriptedPhotoPermissionPrompt(std::vector<platform::PhotoPermissionAnswer> answers = {})
      : answers_(answers.begin(), answers.end()) {}

  void push(platform::PhotoPermissionAnswer answer) {
    std::lock_guard lock(mutex_);
    answers_.push_back(answer);
  }

  platform::PhotoPermissionAnswer ask(platform::PHAccessLevel level) override {
    std::lock_guard lock(mutex_);
    asked_.push_back(level);
    if (answers_.empty()) return platform::PhotoPermissionAnswer::noAnswer;
    const platform::PhotoPermissionAnswer answer = answers_.front();
    answers_.pop_front();
    return answer;
  }

  // The access level of every question asked so far, in order.
  std::vector<platform::PHAccessLevel> asked() const {
    std::lock_guard lock(mutex_);
    return asked_;
  }

 private:
  mutable std::mutex mutex_;
  std::deque<platform::PhotoPermissionAnswer> answers_;  // guarded by mutex_
  std::vector<platform::PHAccessLevel> asked_;           // guarded by mutex_
};

}  // namespace aurimo::test
