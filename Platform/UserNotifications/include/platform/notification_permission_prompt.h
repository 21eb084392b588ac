#pragma once
// NotificationPermissionPrompt: the person behind the system's "allow
// notifications?" question. The notification centre asks it when an app
// requests authorization and the user has not decided yet.
//
// Thread contract: ask() is called on a platform thread, one question at a
// time, and may block until the person answers.
//
//   auto prompt = std::make_shared<platform::TerminalNotificationPermissionPrompt>();
//   platform::UNUserNotificationCenter center(stateDirectory, prompt);

#include <cstdio>
#include <memory>

#include "platform/un_notification_settings.h"

namespace aurimo::platform {

enum class NotificationPermissionAnswer {
  allow,
  deny,
  noAnswer,  // nobody could be asked; the decision stays open
};

class NotificationPermissionPrompt {
 public:
  virtual ~NotificationPermissionPrompt() = default;
  virtual NotificationPermissionAnswer ask(UNAuthorizationOptions options) = 0;
};

// Asks on a terminal ("Allow? [y/n]"). Without a terminal on `input` nobody is
// there to answer, so it answers noAnswer without asking.
class TerminalNotificationPermissionPrompt final : public NotificationPermissionPrompt {
 public:
  explicit TerminalNotificationPermissionPrompt(std::FILE* input = stdin, std::FILE* output = stderr,
                                                bool onlyOnTerminal = true)
      : input_(input), output_(output), onlyOnTerminal_(onlyOnTerminal) {}

  NotificationPermissionAnswer ask(UNAuthorizationOptions options) override;

 private:
  std::FILE* input_;   // not owned
  std::FILE* output_;  // not owned
  bool onlyOnTerminal_;
};

// The same answer every time, e.g. from a command-line flag.
class FixedNotificationPermissionPrompt final : public NotificationPermissionPrompt {
 public:
  explicit FixedNotificationPermissionPrompt(NotificationPermissionAnswer answer) : answer_(answer) {}
  NotificationPermissionAnswer ask(UNAuthorizationOptions) override { return answer_; }

 private:
  NotificationPermissionAnswer answer_;
};

}  // namespace aurimo::platform
