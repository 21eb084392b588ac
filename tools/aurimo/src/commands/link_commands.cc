// aurimo link URL [--activity-type T] and aurimo payload JSON: one-event
// shortcuts of `run` that print the same answer line.

#include <iostream>
#include <memory>
#include <string>

#include "commands/commands.h"
#include "events/events.h"
#include "platform/bounded_json.h"
#include "platform/user_activity.h"

namespace aurimo::tool {
namespace {

// Answers one event; nullopt (after a message on stderr) when the host refused it.
std::optional<nlohmann::ordered_json> answerOne(const nlohmann::json& event, std::string_view command) {
  EventHost host;
  registerAllEvents(host);
  nlohmann::ordered_json answer = host.handle(event);
  if (answer.contains("error")) {
    fail(kExitUsage, std::string(command) + ": " + answer["error"].get<std::string>());
    return std::nullopt;
  }
  std::cout << EventHost::format(answer) << '\n' << std::flush;
  return answer;
}

}  // namespace

void addLinkCommand(CommandLine& commandLine) {
  struct Options {
    std::string url;
    std::string activityType{platform::NSUserActivityTypeBrowsingWeb};
  };
  auto options = std::make_shared<Options>();
  CLI::App* command = commandLine.addCommand(
      "link", "Continue a user activity with URL; exit 0 when handled, 1 when not", [options] {
        auto answer = answerOne({{"event", "link"}, {"url", options->url}, {"activityType", options->activityType}},
                                "link");
        if (!answer) return kExitUsage;
        return (*answer)["handled"].get<bool>() ? kExitSuccess : kExitFailure;
      });
  command->add_option("URL", options->url, "The link, e.g. https://links.aurimo.app/events/home_tab")->required();
  command->add_option("--activity-type", options->activityType, "The activity type (default: web browsing)")
      ->option_text("T");
}

void addPayloadCommand(CommandLine& commandLine) {
  auto text = std::make_shared<std::string>();
  CLI::App* command = commandLine.addCommand(
      "payload", "Handle an opened message's payload, a JSON object such as {\"action\":\"home_tab\"}", [text] {
        std::optional<nlohmann::json> payload = platform::parseBoundedJson(*text);
        if (!payload) return fail(kExitUsage, "payload: the argument is not valid JSON");
        if (!payload->is_object()) return fail(kExitUsage, "payload: the argument must be a JSON object");
        return answerOne({{"event", "payload"}, {"payload", std::move(*payload)}}, "payload") ? kExitSuccess : kExitUsage;
      });
  command->add_option("JSON", *text, "The payload")->required();
}

}  // namespace aurimo::tool
