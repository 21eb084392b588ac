// The least a JSON-line host can do per event, as a process: read a line,
// parse it, and write a one-line JSON answer naming the event. The floor
// host_bench measures `aurimo run --script` against.
//
//   run_floor FILE

#include <fstream>
#include <iostream>
#include <string>

#include <nlohmann/json.hpp>

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  std::ifstream in(argv[1]);
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line.front() == '#') continue;
    const nlohmann::json event = nlohmann::json::parse(line, nullptr, false);
    nlohmann::ordered_json answer;
    answer["event"] = event.is_object() && event.contains("event") ? event["event"] : nlohmann::json("?");
    std::cout << answer.dump() << '\n';
  }
  return 0;
}
