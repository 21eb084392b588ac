#pragma once
// PhotoPermissionPrompt: the person behind the system's "allow access to
// your photos?" question. The photo library asks it when an app requests
// authorization and the user has not decided yet.
//
// Thread contract: ask() is called on a platform thread, one question at a
// time, and may block until the person answers.
//
//   auto prompt = std::make_shared<platform::TerminalPhotoPermissionPrompt>();
//   platform::PHPhotoLibrary library(stateDirectory, picturesDirectory, prompt);

#include <cstdio>
#include <optional>
#include <string_view>

#include "platform/ph_authorization_status.h"

namespace aurimo::platform {

enum class PhotoPermissionAnswer {
  allow,
  allowLimited,
  deny,
  noAnswer,  // nobody could be asked; the decision stays open
};

// The status an answer leaves behind; nullopt for noAnswer.
std::optional<PHAuthorizationStatus> authorizationStatusFor(PhotoPermissionAnswer answer);

class PhotoPermissionPrompt {
 public:
  virtual ~PhotoPermissionPrompt() = default;
  virtual PhotoPermissionAnswer ask(PHAccessLevel level) = 0;
};

// Asks on a terminal ("Allow? [y/n/limited]") until it gets one of those
// answers. Without a terminal on `input` nobody is there to answer, so it
// answers noAnswer without asking; so does end of input.
class TerminalPhotoPermissionPrompt final : public PhotoPermissionPrompt {
 public:
  explicit TerminalPhotoPermissionPrompt(std::FILE* input = stdin, std::FILE* output = stderr,
                                         bool onlyOnTerminal = true)
      : input_(input), output_(output), onlyOnTerminal_(onlyOnTerminal) {}

  PhotoPermissionAnswer ask(PHAccessLevel level) override;

 private:
  std::FILE* input_;   // not owned
  std::FILE* output_;  // not owned
  bool onlyOnTerminal_;
};

// The same answer every time, e.g. from a command-line flag.
class FixedPhotoPermissionPrompt final : public PhotoPermissionPrompt {
 public:
  explicit FixedPhotoPermissionPrompt(PhotoPermissionAnswer answer) : answer_(answer) {}
  PhotoPermissionAnswer ask(PHAccessLevel) override { return answer_; }

 private:
  PhotoPermissionAnswer answer_;
};

}  // namespace aurimo::platform
