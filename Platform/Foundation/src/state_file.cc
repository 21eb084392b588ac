#include "platform/state_file.h"

#include <cerrno>
#include <cstdio>

#include "platform/clock.h"

namespace aurimo::platform {

void loadStateFile(FileManager& files, const std::filesystem::path& path, std::string_view what,
                   std::string_view consequence, const std::function<std::string(std::string_view text)>& use) {
  std::string problem;
  try {
    const FileContents contents = files.contentsOfFile(path);
    problem = use(stringView(contents.data));
  } catch (const std::filesystem::filesystem_error& error) {
    if (error.code().value() == ENOENT) return;
    problem = fileErrorMessage(error);
  }
  if (problem.empty()) return;
  // Keep the bad file for inspection rather than overwrite it on the next save.
  std::string outcome;
  try {
    outcome = "moved to " + files.moveItemAside(path, Clock::current().now());
  } catch (const std::filesystem::filesystem_error& error) {
    outcome = "could not move it aside (" + fileErrorMessage(error) + ")";
  }
  std::fprintf(stderr, "aurimo: %.*s %s unusable (%s), %s; %.*s\n", static_cast<int>(what.size()), what.data(),
               path.c_str(), problem.c_str(), outcome.c_str(), static_cast<int>(consequence.size()),
               consequence.data());
}

void saveStateFile(FileManager& files, const std::filesystem::path& path, std::string_view text) {
  if (path.has_parent_path()) files.createPrivateDirectory(path.parent_path());
  const std::string temporaryPrefix = "." + path.filename().string() + ".tmp-";
  files.writeFileAtomically(path, std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()),
                            temporaryPrefix, std::nullopt, FileManager::SyncPolicy::durable);
}

}  // namespace aurimo::platform
