// aurimo demo: runs the built-in session, printing its narration and each
// event with its answer. Without --data-dir the settings live in a temporary
// folder, so every run starts from the same state and leaves nothing behind.
// The demo's photos and cache files always stay beside its settings, never in
// the user's own pictures or caches folders.

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "commands/commands.h"
#include "events/events.h"
#include "platform/directories.h"
#include "support/demo_session.h"

namespace aurimo::tool {
namespace {

class ScratchFolder {
 public:
  ScratchFolder() {
    std::error_code error;
    std::string pattern = (std::filesystem::temp_directory_path(error) / "aurimo-demo-XXXXXX").string();
    if (!error && ::mkdtemp(pattern.data()) != nullptr) path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    if (path_) std::filesystem::remove_all(*path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::optional<std::filesystem::path>& path() const { return path_; }

 private:
  std::optional<std::filesystem::path> path_;
};

// A line "#! restart" ends the app's run: the next events go to a new host,
// as a second start of the app in the same data folder would see them.
constexpr std::string_view kRestart = "#! restart";

void play(std::string_view session, std::ostream& out) {
  auto host = std::make_unique<EventHost>();
  registerAllEvents(*host);
  while (!session.empty()) {
    const std::size_t end = session.find('\n');
    std::string_view line = session.substr(0, end);
    session.remove_prefix(end == std::string_view::npos ? session.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

    if (line.find_first_not_of(" \t") == std::string_view::npos) {
      out << '\n';
    } else if (line == kRestart) {
      host.reset();  // the old app goes before the new one starts
      host = std::make_unique<EventHost>();
      registerAllEvents(*host);
    } else if (line.front() == '#') {
      line.remove_prefix(1);
      if (!line.empty() && line.front() == ' ') line.remove_prefix(1);
      out << line << '\n';
    } else {
      out << "  in:  " << line << '\n';
      if (auto answer = host->handleLine(line)) out << "  out: " << EventHost::format(*answer) << '\n';
    }
  }
}

}  // namespace

void addDemoCommand(CommandLine& commandLine) {
  commandLine.addCommand("demo", "Run a built-in session that shows what the library does", [&commandLine] {
    std::optional<ScratchFolder> scratch;
    if (!commandLine.dataDirectory()) {
      scratch.emplace();
      if (!scratch->path()) return fail(kExitFailure, "demo: cannot create a temporary folder");
      const std::filesystem::path& root = *scratch->path();
      platform::Directories::slot().replace(std::make_shared<platform::Directories>(
          platform::Directories::Locations{root, root, root / "caches", root / "pictures"}));
      std::cout << "(settings for this demo are kept in " << root.string() << " and removed afterwards)\n\n";
    } else {
      const std::filesystem::path root = platform::Directories::current().settingsDirectory();
      platform::Directories::slot().replace(std::make_shared<platform::Directories>(
          platform::Directories::Locations{root, platform::Directories::current().stateDirectory(),
                                           root / "caches", root / "pictures"}));
    }
    play(demoSession(), std::cout);
    std::cout << std::flush;
    return kExitSuccess;
  });
}

}  // namespace aurimo::tool
