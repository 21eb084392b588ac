#pragma once
// EventHost: answers JSON-line events, one answer line per event. Each
// subsystem registers handlers by event name; after an event the host drains
// the main run loop (and waits for registered background work) before it asks
// the handler for its answer, so answers see everything the event set off.
//
// Thread contract: main thread only, like the managers its handlers drive.
//
//   EventHost host;
//   registerAllEvents(host);
//   host.run(std::cin, std::cout);

#include <functional>
#include <iosfwd>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace aurimo::tool {

// Thrown by a handler for an event it cannot take (a missing or mistyped field);
// the host answers {"error": what()} and goes on.
class EventError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class EventHost {
 public:
  // Adds the answer's fields after "event", once the main loop has drained.
  using Answer = std::function<void(nlohmann::ordered_json& answer)>;
  // Does the event's work and returns how to answer it; throws EventError on bad input.
  using Handler = std::function<Answer(const nlohmann::json& event)>;
  // Blocks until a subsystem's background work is done; returns true when it had
  // any, since that work may have queued more blocks on the main queue.
  using BackgroundWait = std::function<bool()>;

  EventHost() = default;
  EventHost(const EventHost&) = delete;
  EventHost& operator=(const EventHost&) = delete;

  // Registers the handler of `event`; a name registered twice is a programming error.
  void on(std::string event, Handler handler);
  void addBackgroundWait(BackgroundWait wait);

  // The answer to one event: {"event": name, ...} or {"error": "..."}.
  nlohmann::ordered_json handle(const nlohmann::json& event);
  // The answer to one line of text; nullopt for blank lines and '#' comments.
  std::optional<nlohmann::ordered_json> handleLine(std::string_view line);
  // Answers every line of `in` on `out`, flushing after each answer.
  void run(std::istream& in, std::ostream& out);

  // The registered event names, sorted.
  std::vector<std::string> eventNames() const;

  // The one-line text of an answer; bytes that are not UTF-8 print as U+FFFD.
  static std::string format(const nlohmann::ordered_json& answer);
  static nlohmann::ordered_json error(std::string_view message);

 private:
  void settle();

  std::map<std::string, Handler, std::less<>> handlers_;
  std::vector<BackgroundWait> backgroundWaits_;
};

// Field readers for handlers; they throw EventError naming the event and field.
const nlohmann::json& requiredField(const nlohmann::json& event, const char* field);
std::string requiredString(const nlohmann::json& event, const char* field);
std::optional<std::string> optionalString(const nlohmann::json& event, const char* field);

}  // namespace aurimo::tool
