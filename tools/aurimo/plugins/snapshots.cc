// Module aurimo-snapshots.so: draws the screen with the platform renderer
// (pango and cairo) for the host's snapshot event.
#include <cstddef>
#include <exception>
#include <filesystem>
#include <string>
#include <type_traits>

#include "platform/application.h"
#include "platform/file_manager.h"
#include "platform/screen_renderer.h"
#include "support/plugins.h"

extern "C" __attribute__((visibility("default"))) bool aurimoSnapshot(
    const aurimo::platform::UIApplication& application, const std::string& file, aurimo::platform::FileManager& files,
    std::size_t* width, std::size_t* height, std::string* problem) {
  static_assert(std::is_same_v<decltype(&aurimoSnapshot), aurimo::tool::SnapshotEntry>);
  try {
    const aurimo::platform::ScreenRenderer renderer;
    aurimo::platform::writePNG(renderer.render(application), file, files);
    *width = renderer.pixelWidth();
    *height = renderer.pixelHeight();
    return true;
  } catch (const std::filesystem::filesystem_error& error) {
    *problem = aurimo::platform::fileErrorMessage(error);
  } catch (const std::exception& error) {
    *problem = error.what();
  }
  return false;
}
