#include "platform/photo_permission_prompt.h"

#include <cctype>
#include <cstdio>
#include <memory>
#include <string>

namespace platform {

Replaceable<PhotoPermissionPrompt>& PhotoPermissionPrompt::slot() {
  static Replaceable<PhotoPermissionPrompt> instance(
      [] { return std::make_shared<TerminalPhotoPermissionPrompt>(); });
  return instance;
}

PHAuthorizationStatus TerminalPhotoPermissionPrompt::answerForReply(std::string_view reply) {
  while (!reply.empty() && std::isspace(static_cast<unsigned char>(reply.back()))) reply.remove_suffix(1);
  while (!reply.empty() && std::isspace(static_cast<unsigned char>(reply.front()))) reply.remove_prefix(1);
  std::string lower(reply);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  if (lower == "y" || lower == "yes" || lower == "allow") return PHAuthorizationStatus::authorized;
  if (lower == "n" || lower == "no" || lower == "deny") return PHAuthorizationStatus::denied;
  if (auto status = authorizationStatusNamed(reply)) return *status;
  if (auto status = authorizationStatusNamed(lower)) return *status;
  return PHAuthorizationStatus::notDetermined;
}

PHAuthorizationStatus TerminalPhotoPermissionPrompt::ask(PHAccessLevel level) {
  // The terminal rather than stdin: the host may be reading its events from stdin.
  std::unique_ptr<FILE, int (*)(FILE*)> terminal(std::fopen(terminal_.c_str(), "r+"), &std::fclose);
  if (!terminal) return PHAuthorizationStatus::notDetermined;
  std::fprintf(terminal.get(), "\"Aurimo\" would like to %s your photos. Allow? [yes/no/limited] ",
               level == PHAccessLevel::addOnly ? "add to" : "access");
  std::fflush(terminal.get());
  std::string reply;
  for (int c; (c = std::fgetc(terminal.get())) != EOF && c != '\n';) reply.push_back(static_cast<char>(c));
  return answerForReply(reply);
}

}  // namespace platform
