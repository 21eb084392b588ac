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
#include "platform/file_manager.h"
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
// A line "#! snapshot NAME" marks a section's screen: with --snapshots DIR it
// becomes DIR/NN-NAME.png, numbered in session order; otherwise it is skipped.
constexpr std::string_view kSnapshot = "#! snapshot ";

struct Snapshots {
  std::filesystem::path folder;
  int taken = 0;
  bool failed = false;
};

void snapshot(EventHost& host, std::string_view name, Snapshots& snapshots, std::ostream& out) {
  ++snapshots.taken;
  const std::string number = (snapshots.taken < 10 ? "0" : "") + std::to_string(snapshots.taken) + "-";
  const std::string file = (snapshots.folder / (number + std::string(name) + ".png")).string();
  const nlohmann::ordered_json answer = host.handle({{"event", "snapshot"}, {"file", file}});
  if (answer.contains("error")) {
    snapshots.failed = true;
    fail(kExitFailure, "demo: " + answer["error"].get<std::string>());
    return;
  }
  out << "  snapshot: " << file << " (" << answer["width"] << "x" << answer["height"] << ")\n";
}

void play(std::string_view session, std::ostream& out, Snapshots* snapshots) {
  auto host = std::make_unique<EventHost>();
  registerAllEvents(*host);
  while (!session.empty()) {
    const std::size_t end = session.find('\n');
    std::string_view line = session.substr(0, end);
    session.remove_prefix(end == std::string_view::npos ? session.size() : end + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

    if (line.find_first_not_of(" \t") == std::string_view::npos) {
      out << '\n';
    } else if (line.starts_with(kSnapshot)) {
      if (snapshots) snapshot(*host, line.substr(kSnapshot.size()), *snapshots, out);
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
  auto snapshotFolder = std::make_shared<std::optional<std::string>>();
  CLI::App* demo = commandLine.addCommand("demo", "Run a built-in session that shows what the library does",
                                          [&commandLine, snapshotFolder] {
    std::optional<Snapshots> snapshots;
    if (*snapshotFolder) {
      if ((*snapshotFolder)->empty()) return fail(kExitUsage, "--snapshots: the folder name is empty");
      snapshots.emplace(Snapshots{**snapshotFolder});
      try {
        platform::FileManager::defaultManager().createDirectory(**snapshotFolder, true);
      } catch (const std::filesystem::filesystem_error& error) {
        return fail(kExitFailure, "demo: --snapshots: " + platform::fileErrorMessage(error));
      }
    }
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
    play(demoSession(), std::cout, snapshots ? &*snapshots : nullptr);
    std::cout << std::flush;
    return snapshots && snapshots->failed ? kExitFailure : kExitSuccess;
  });
  demo->add_option("--snapshots", *snapshotFolder, "Write a PNG of each section's screen into DIR (created when missing)")
      ->option_text("DIR");
}

}  // namespace aurimo::tool
