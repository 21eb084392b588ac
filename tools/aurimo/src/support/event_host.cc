#include "support/event_host.h"

#include <cstdio>
#include <cstdlib>
#include <istream>
#include <ostream>

#include "platform/bounded_json.h"
#include "platform/run_loop.h"

namespace aurimo::tool {
namespace {

std::string eventName(const nlohmann::json& event) {
  auto found = event.find("event");
  return found != event.end() && found->is_string() ? found->get<std::string>() : "event";
}

}  // namespace

void EventHost::on(std::string event, Handler handler) {
  if (handlers_.contains(event)) {
    std::fprintf(stderr, "aurimo: event \"%s\" registered twice\n", event.c_str());
    std::abort();
  }
  handlers_.emplace(std::move(event), std::move(handler));
}

void EventHost::add(std::unique_ptr<EventModule> module) {
  module->registerEvents(*this);
  modules_.push_back(std::move(module));
}

nlohmann::ordered_json EventHost::handle(const nlohmann::json& event) {
  if (!event.is_object()) return error("an event must be a JSON object");
  auto name = event.find("event");
  if (name == event.end() || !name->is_string()) return error("\"event\" must be a string");
  auto handler = handlers_.find(name->get_ref<const std::string&>());
  if (handler == handlers_.end()) return error("unknown event \"" + name->get<std::string>() + "\"");

  try {
    Answer answer = handler->second(event);
    settle();
    nlohmann::ordered_json out;
    out["event"] = handler->first;
    if (answer) answer(out);
    return out;
  } catch (const std::exception& failure) {
    // Drain anyway so the next event does not see this one's leftovers.
    settle();
    return error(platform::withoutJsonExceptionId(failure.what()));
  }
}

std::optional<nlohmann::ordered_json> EventHost::handleLine(std::string_view line) {
  const std::size_t start = line.find_first_not_of(" \t\r\n");
  if (start == std::string_view::npos || line[start] == '#') return std::nullopt;
  // Syntax errors, numbers no double holds (1e400) and hostile nesting alike.
  std::string problem;
  std::optional<nlohmann::json> event = platform::parseBoundedJson(line, &problem);
  if (!event) return error("invalid JSON: " + problem);
  return handle(*event);
}

void EventHost::run(std::istream& in, std::ostream& out, bool flushEachAnswer) {
  std::string line;
  std::string text;
  while (std::getline(in, line)) {
    if (std::optional<nlohmann::ordered_json> answer = handleLine(line)) {
      text = format(*answer);
      text += '\n';
      out.write(text.data(), static_cast<std::streamsize>(text.size()));
      if (flushEachAnswer) out.flush();
    }
  }
  out.flush();
}

std::string EventHost::format(const nlohmann::ordered_json& answer) {
  return answer.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

nlohmann::ordered_json EventHost::error(std::string_view message) {
  nlohmann::ordered_json out;
  out["error"] = std::string(message);
  return out;
}

void EventHost::settle() { platform::RunLoop::main().runUntilAllQueuesIdle(); }

const nlohmann::json& requiredField(const nlohmann::json& event, const char* field) {
  auto found = event.find(field);
  if (found == event.end()) throw EventError(eventName(event) + ": \"" + field + "\" is missing");
  return *found;
}

std::string requiredString(const nlohmann::json& event, const char* field) {
  const nlohmann::json& value = requiredField(event, field);
  if (!value.is_string()) throw EventError(eventName(event) + ": \"" + field + "\" must be a string");
  return value.get<std::string>();
}

std::optional<std::string> optionalString(const nlohmann::json& event, const char* field) {
  if (!event.contains(field)) return std::nullopt;
  return requiredString(event, field);
}

}  // namespace aurimo::tool
