#include "platform/bounded_json.h"

namespace aurimo::platform {
namespace {

struct TooDeep {};

}  // namespace

std::string withoutJsonExceptionId(std::string message) {
  if (!message.empty() && message.front() == '[') {
    if (std::size_t end = message.find("] "); end != std::string::npos) message.erase(0, end + 2);
  }
  return message;
}

std::optional<nlohmann::json> parseBoundedJson(std::string_view text, std::string* problem) {
  try {
    // The parser itself keeps its own stack; refusing past the limit here keeps
    // every later recursive walk of the value shallow.
    return nlohmann::json::parse(text, [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) {
      if (depth > static_cast<int>(kMaxJsonDepth)) throw TooDeep{};
      return true;
    });
  } catch (const TooDeep&) {
    if (problem) *problem = "nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
  } catch (const nlohmann::json::exception& error) {
    if (problem) *problem = withoutJsonExceptionId(error.what());
  }
  return std::nullopt;
}

}  // namespace aurimo::platform
