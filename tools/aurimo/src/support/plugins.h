#pragma once
// The host's parts that need large shared libraries (pango and cairo to draw
// snapshots, the bus client to show desktop notifications) live in modules
// beside the executable, loaded the first time a run uses them: the dozens of
// libraries they pull in would otherwise be loaded, relocated and initialised
// by every run, tripling the start-up of a plain `aurimo info`.
//
// A module exports one C-named entry point with the signature below; it
// reports failures through `problem` and never lets an exception cross back.
// Modules are built against the executable's own copies of the platform
// objects (the executable exports its symbols), so they share its state.
//
//   std::string problem;
//   if (auto snapshot = loadPlugin<SnapshotEntry>("snapshots", kSnapshotEntry, problem)) ...

#include <cstddef>
#include <string>

namespace aurimo::platform {
class DesktopNotificationPresenter;
class FileManager;
class UIApplication;
}  // namespace aurimo::platform

namespace aurimo::tool {

// Draws every visible window of `application` and writes it to `file` as PNG;
// false with `problem` set when it could not.
using SnapshotEntry = bool (*)(const platform::UIApplication& application, const std::string& file,
                               platform::FileManager& files, std::size_t* width, std::size_t* height,
                               std::string* problem);
inline constexpr const char* kSnapshotEntry = "aurimoSnapshot";

// Connects to the session bus; the presenter the caller then owns, or nullptr with `problem` set.
using DesktopEntry = platform::DesktopNotificationPresenter* (*)(std::string* problem);
inline constexpr const char* kDesktopEntry = "aurimoConnectDesktop";

// The entry point `symbol` of module aurimo-`name`.so in the executable's
// folder, loaded once per process; nullptr with `problem` set when the
// module or the symbol is missing.
void* pluginSymbol(const std::string& name, const char* symbol, std::string& problem);

template <class Entry>
Entry loadPlugin(const std::string& name, const char* symbol, std::string& problem) {
  return reinterpret_cast<Entry>(pluginSymbol(name, symbol, problem));
}

}  // namespace aurimo::tool
