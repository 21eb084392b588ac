// The least a JSON-line host can do per event, as a process: read a line,
// parse it, and write a one-line JSON answer. The floor host_bench measures
// `aurimo run --script` against. ANSWERS (JSON lines, as `aurimo run` wrote
// them for the same events) gives each event's answer, so both sides build
// and write the same bytes; an event without one is answered with its name.
//
//   run_floor FILE [ANSWERS]

#include <fstream>
#include <iostream>
#include <map>
#include <string>

#include <nlohmann/json.hpp>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  std::map<std::string, nlohmann::ordered_json> answers;
  if (argc > 2) {
    std::ifstream in(argv[2]);
    for (std::string line; std::getline(in, line);) {
      nlohmann::ordered_json answer = nlohmann::ordered_json::parse(line, nullptr, false);
      if (!answer.is_object() || !answer.contains("event") || !answer["event"].is_string()) continue;
      const std::string event = answer["event"].get<std::string>();
      answers[event] = std::move(answer);
    }
  }
  std::ifstream in(argv[1]);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line.front() == '#') continue;
    const nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
    const nlohmann::json name = event.is_object() && event.contains("event") ? event["event"] : nlohmann::json("?");
    const auto known = name.is_string() ? answers.find(name.get<std::string>()) : answers.end();
    nlohmann::ordered_json answer = known != answers.end() ? known->second : nlohmann::ordered_json{{"event", name}};
    std::cout << answer.dump() << '\n';
  }
  return 0;
}
