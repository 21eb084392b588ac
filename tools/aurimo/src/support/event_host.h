#pragma once
// EventHost: answers JSON-line events, one answer line per event. Each
// subsystem is an EventModule that registers handlers by event name; after an
// event the host runs the main run loop until every queue is idle before it
// asks the handler for its answer, so answers see everything the event set off.
//
// Thread contract: main thread only, like the managers its handlers drive.
//
//   EventHost host;
//   host.add(linkEvents());
//   host.run(std::cin, std::cout);

#include <functional>
#include <iosfwd>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/person.h"
#include "support/event_module.h"

namespace aurimo::tool {

// Thrown by a handler for an event it cannot take (a missing or mistyped field);
// the host answers {"error": what()} and goes on.
class EventError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The person in front of the screen while events arrive: a question gets the
// choice an event last made for its kind, else it is asked on the terminal.
// Any thread (the platform asks on worker threads).
class HostPerson final : public platform::Person {
 public:
  // From now on questions of `kind` take `choice`; nullopt: nobody answers them.
  void answer(std::string kind, std::optional<std::string> choice) {
    std::lock_guard lock(mutex_);
    answers_.insert_or_assign(std::move(kind), std::move(choice));
  }

 protected:
  std::optional<std::size_t> choose(const platform::Presentation& question) override {
    {
      std::lock_guard lock(mutex_);
      if (auto set = answers_.find(question.kind); set != answers_.end()) {
        return set->second ? platform::choiceIndex(question, *set->second) : std::nullopt;
      }
    }
    return terminal_.ask(question);
  }

 private:
  platform::TerminalPerson terminal_;
  std::mutex mutex_;
  std::map<std::string, std::optional<std::string>, std::less<>> answers_;  // guarded by mutex_
};

class EventHost {
 public:
  // Adds the answer's fields after "event", once the main loop has drained.
  using Answer = std::function<void(nlohmann::ordered_json& answer)>;
  // Does the event's work and returns how to answer it; throws EventError on bad input.
  using Handler = std::function<Answer(const nlohmann::json& event)>;

  EventHost() = default;
  EventHost(const EventHost&) = delete;
  EventHost& operator=(const EventHost&) = delete;

  // Keeps `module` as long as the host and lets it register its handlers.
  void add(std::unique_ptr<EventModule> module);
  // Registers the handler of `event`; a name registered twice is a programming error.
  void on(std::string event, Handler handler);

  // The answer to one event: {"event": name, ...} or {"error": "..."}.
  nlohmann::ordered_json handle(const nlohmann::json& event);
  // The answer to one line of text; nullopt for blank lines and '#' comments.
  std::optional<nlohmann::ordered_json> handleLine(std::string_view line);
  // Answers every line of `in` on `out`. With `flushEachAnswer` each answer
  // is flushed as it is written, for a reader waiting on it; without, `out`
  // is flushed once at the end.
  void run(std::istream& in, std::ostream& out, bool flushEachAnswer = true);

  // Whom the subsystems' questions go to; events choose its answers.
  const std::shared_ptr<HostPerson>& person() const { return person_; }

  // Runs the main run loop until every queue is idle: after each event, and
  // when a module's session starts in the middle of one.
  static void settle();

  // The one-line text of an answer; bytes that are not UTF-8 print as U+FFFD.
  static std::string format(const nlohmann::ordered_json& answer);
  static nlohmann::ordered_json error(std::string_view message);

 private:
  std::map<std::string, Handler, std::less<>> handlers_;
  std::vector<std::unique_ptr<EventModule>> modules_;
  const std::shared_ptr<HostPerson> person_ = std::make_shared<HostPerson>();
};

// Field readers for handlers; they throw EventError naming the event and field.
const nlohmann::json& requiredField(const nlohmann::json& event, const char* field);
std::string requiredString(const nlohmann::json& event, const char* field);
std::optional<std::string> optionalString(const nlohmann::json& event, const char* field);

}  // namespace aurimo::tool
