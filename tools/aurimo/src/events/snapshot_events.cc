// Pictures of what is on screen.
//   {"event":"snapshot","file":PATH}
// draws every visible window at the device's screen scale and writes a PNG
// to PATH, atomically, through the platform's file manager. The answer gives
// the picture's size in pixels:
//   {"event":"snapshot","file":PATH,"width":W,"height":H}
// A folder that is missing or not writable answers an error and leaves no file.

#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "events/events.h"
#include "platform/application.h"
#include "platform/file_manager.h"
#include "support/plugins.h"

namespace aurimo::tool {
namespace {

class SnapshotEvents final : public EventModule {
 public:
  explicit SnapshotEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}

  void registerEvents(EventHost& host) override {
    host.on("snapshot", [this](const nlohmann::json& event) -> EventHost::Answer {
      app_->context();
      const std::string file = requiredString(event, "file");
      if (file.empty() || file.back() == '/') throw EventError("snapshot: \"file\" must name a file");
      std::string problem;
      const auto snapshot = loadPlugin<SnapshotEntry>("snapshots", kSnapshotEntry, problem);
      std::size_t width = 0;
      std::size_t height = 0;
      if (!snapshot || !snapshot(platform::UIApplication::shared(), file, platform::FileManager::defaultManager(),
                                 &width, &height, &problem)) {
        throw EventError("snapshot: " + problem);
      }
      return [file, width, height](nlohmann::ordered_json& out) {
        out["file"] = file;
        out["width"] = width;
        out["height"] = height;
      };
    });
  }

 private:
  const std::shared_ptr<AppSession> app_;
};

}  // namespace

std::unique_ptr<EventModule> snapshotEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<SnapshotEvents>(std::move(app));
}

}  // namespace aurimo::tool
