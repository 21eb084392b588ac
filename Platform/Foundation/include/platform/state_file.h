#pragma once
// The small files that keep settings and state (user defaults, the
// notification centre's and the photo library's decisions), read and written
// through a FileManager, so one fault-injecting wrapper reaches them all.
//
// Thread contract: free functions; callers serialise access to one file.
//
//   platform::loadStateFile(files, path, "user defaults", "starting empty",
//                           [&](std::string_view text) { return parse(text); });
//   platform::saveStateFile(files, path, text);

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include "platform/file_manager.h"

namespace aurimo::platform {

// Hands the text of `path` to `use`, which returns an empty string when it
// took the content, or what is wrong with it. A file that cannot be read or
// used is moved aside (FileManager::moveItemAside, stamped with the current
// clock) and reported in one line on stderr:
//   aurimo: <what> <path> unusable (<problem>), moved to <aside>; <consequence>
// A missing file is no problem: `use` is not called.
void loadStateFile(FileManager& files, const std::filesystem::path& path, std::string_view what,
                   std::string_view consequence, const std::function<std::string(std::string_view text)>& use);

// Replaces `path` with `text` atomically and durably, in a private (0700)
// folder created when missing. Throws std::filesystem::filesystem_error.
void saveStateFile(FileManager& files, const std::filesystem::path& path, std::string_view text);

}  // namespace aurimo::platform
