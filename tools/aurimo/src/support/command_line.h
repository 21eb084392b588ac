#pragma once
// CommandLine: the `aurimo` command's parser, its global options and the
// subcommands. Each subcommand registers an action; after parsing, the global
// options are applied (--data-dir before anything reads a setting) and the
// chosen subcommand's action runs and gives the exit status.
//
// Thread contract: main thread only.
//
//   CommandLine commandLine;
//   addAllCommands(commandLine);
//   return commandLine.run(argc, argv);

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

namespace aurimo::tool {

// Exit statuses shared by every subcommand.
inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;  // the request failed or was declined (an unreadable file, a link not handled)
inline constexpr int kExitUsage = 2;    // the command line itself is wrong (CLI11 errors, invalid JSON arguments)

class CommandLine {
 public:
  using Action = std::function<int()>;

  CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  // Adds a subcommand whose `action` runs when it is chosen; add its options to
  // the returned app. Options it does not know fall through to the global ones.
  CLI::App* addCommand(std::string name, std::string description, Action action);

  // The top-level parser, for global options a subsystem needs (parsed before any action runs).
  CLI::App& app() { return app_; }

  // Parses, applies the global options, runs the chosen action, then writes
  // pending settings; returns the exit status.
  int run(int argc, char** argv);

  // --data-dir, when given.
  const std::optional<std::filesystem::path>& dataDirectory() const { return dataDirectory_; }

 private:
  int parseAndRun(int argc, char** argv);

  CLI::App app_;
  std::string dataDirectoryText_;
  std::optional<std::filesystem::path> dataDirectory_;
  std::vector<std::pair<CLI::App*, Action>> commands_;
};

// Prints "aurimo: <message>" as one line on stderr and returns `status`.
int fail(int status, std::string_view message);

}  // namespace aurimo::tool
