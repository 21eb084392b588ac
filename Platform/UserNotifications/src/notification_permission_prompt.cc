#include "platform/notification_permission_prompt.h"

#include <cctype>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "platform/localization.h"

namespace aurimo::platform {

NotificationPermissionAnswer TerminalNotificationPermissionPrompt::ask(UNAuthorizationOptions) {
  if (onlyOnTerminal_ && !isatty(fileno(input_))) return NotificationPermissionAnswer::noAnswer;
  const std::string title = NSLocalizedString("“Aurimo” Would Like to Send You Notifications",
                                              "Question asked in the terminal before the app may show notifications.");
  const std::string detail = NSLocalizedString(
      "Notifications may include alerts, sounds and icon badges.",
      "Second line of the terminal question about notifications, saying what they may contain.");
  const std::string choices = NSLocalizedString(
      "Allow? [y/n] ", "Answer prompt of the terminal question about notifications; y and n are typed in English.");
  char* line = nullptr;
  std::size_t capacity = 0;
  NotificationPermissionAnswer answer = NotificationPermissionAnswer::noAnswer;
  std::fprintf(output_, "%s\n%s\n", title.c_str(), detail.c_str());
  for (;;) {
    std::fputs(choices.c_str(), output_);
    std::fflush(output_);
    if (getline(&line, &capacity, input_) < 0) break;  // end of input: nobody answered
    std::string word;
    for (const char* c = line; *c; ++c) {
      if (!std::isspace(static_cast<unsigned char>(*c))) word += char(std::tolower(static_cast<unsigned char>(*c)));
    }
    if (word == "y" || word == "yes") {
      answer = NotificationPermissionAnswer::allow;
      break;
    }
    if (word == "n" || word == "no") {
      answer = NotificationPermissionAnswer::deny;
      break;
    }
  }
  std::free(line);
  return answer;
}

}  // namespace aurimo::platform
