#pragma once
// PhotoPermissionPrompt: the "system" dialog that asks the user whether the
// app may use the photo library. The process has one, replaceable: tests
// script it, the host answers from a flag (FixedPhotoPermissionPrompt) or asks
// on the controlling terminal (TerminalPhotoPermissionPrompt, the default).
//
// Thread contract: ask() is called on a platform worker thread, one prompt at
// a time, and may block until the user answers.
//
//   auto prompt = std::make_shared<platform::FixedPhotoPermissionPrompt>(platform::PHAuthorizationStatus::denied);
//   platform::ScopedReplacement pin(platform::PhotoPermissionPrompt::slot(), prompt);

#include <filesystem>
#include <memory>

#include "platform/ph_authorization_status.h"
#include "platform/replaceable.h"

namespace platform {

class PhotoPermissionPrompt {
 public:
  virtual ~PhotoPermissionPrompt() = default;

  // The user's answer: authorized, denied or limited (restricted is not a
  // user's answer but is passed on if given). notDetermined means the prompt
  // went away unanswered, so nothing is decided.
  virtual PHAuthorizationStatus ask(PHAccessLevel level) = 0;

  static PhotoPermissionPrompt& current() { return slot().get(); }
  static Replaceable<PhotoPermissionPrompt>& slot();
};

// Always gives the same answer.
class FixedPhotoPermissionPrompt final : public PhotoPermissionPrompt {
 public:
  explicit FixedPhotoPermissionPrompt(PHAuthorizationStatus answer) : answer_(answer) {}
  PHAuthorizationStatus ask(PHAccessLevel) override { return answer_; }

 private:
  const PHAuthorizationStatus answer_;
};

// Asks on a terminal and reads one line: "y"/"yes"/"allow" grants access,
// "n"/"no"/"deny" refuses it, "limited" limits it, a status name is taken as
// is. With no terminal, end of input or an unknown reply the prompt is left
// unanswered.
class TerminalPhotoPermissionPrompt final : public PhotoPermissionPrompt {
 public:
  explicit TerminalPhotoPermissionPrompt(std::filesystem::path terminal = "/dev/tty")
      : terminal_(std::move(terminal)) {}
  PHAuthorizationStatus ask(PHAccessLevel level) override;

  // The answer a reply line gives.
  static PHAuthorizationStatus answerForReply(std::string_view reply);

 private:
  const std::filesystem::path terminal_;
};

}  // namespace platform
