#include "platform/photo_permission_prompt.h"

#include <cctype>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "platform/localization.h"

namespace aurimo::platform {

std::optional<PHAuthorizationStatus> authorizationStatusFor(PhotoPermissionAnswer answer) {
  switch (answer) {
    case PhotoPermissionAnswer::allow: return PHAuthorizationStatus::authorized;
    case PhotoPermissionAnswer::allowLimited: return PHAuthorizationStatus::limited;
    case PhotoPermissionAnswer::deny: return PHAuthorizationStatus::denied;
    case PhotoPermissionAnswer::noAnswer: break;
  }
  return std::nullopt;
}

PhotoPermissionAnswer TerminalPhotoPermissionPrompt::ask(PHAccessLevel level) {
  if (onlyOnTerminal_ && !isatty(fileno(input_))) return PhotoPermissionAnswer::noAnswer;
  const std::string title =
      level == PHAccessLevel::addOnly
          ? NSLocalizedString("“Aurimo” Would Like to Add to Your Photos",
                              "Question asked in the terminal before the app may save pictures to the photo library.")
          : NSLocalizedString("“Aurimo” Would Like Full Access to Your Photo Library",
                              "Question asked in the terminal before the app may read and change the photo library.");
  const std::string choices = NSLocalizedString(
      "Allow? [y/n/limited] ",
      "Answer prompt of the terminal question about the photo library; y, n and limited are typed in English.");
  char* line = nullptr;
  std::size_t capacity = 0;
  PhotoPermissionAnswer answer = PhotoPermissionAnswer::noAnswer;
  std::fprintf(output_, "%s\n", title.c_str());
  for (;;) {
    std::fputs(choices.c_str(), output_);
    std::fflush(output_);
    if (getline(&line, &capacity, input_) < 0) break;  // end of input: nobody answered
    std::string word;
    for (const char* c = line; *c; ++c) {
      if (!std::isspace(static_cast<unsigned char>(*c))) word += char(std::tolower(static_cast<unsigned char>(*c)));
    }
    if (word == "y" || word == "yes") {
      answer = PhotoPermissionAnswer::allow;
      break;
    }
    if (word == "n" || word == "no") {
      answer = PhotoPermissionAnswer::deny;
      break;
    }
    if (word == "limited") {
      answer = PhotoPermissionAnswer::allowLimited;
      break;
    }
  }
  std::free(line);
  return answer;
}

}  // namespace aurimo::platform
