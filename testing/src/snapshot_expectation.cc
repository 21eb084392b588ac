#include "testing/snapshot_expectation.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/file_manager.h"
#include "platform/screen_renderer.h"

namespace aurimo::test {
namespace {

std::optional<platform::UIImage> readPNG(const std::string& path) {
  try {
    return platform::UIImage::fromData(platform::FileManager::defaultManager().contentsOfFile(path).data);
  } catch (const std::filesystem::filesystem_error&) {
    return std::nullopt;
  }
}

int channelDistance(const platform::Data& a, const platform::Data& b, std::size_t pixel) {
  int worst = 0;
  for (std::size_t c = 0; c < 3; ++c) worst = std::max(worst, std::abs(a[pixel * 3 + c] - b[pixel * 3 + c]));
  return worst;
}

}  // namespace

::testing::AssertionResult matchesReference(const platform::UIImage& render, const std::string& name,
                                            const SnapshotFolders& folders, SnapshotTolerance tolerance) {
  platform::FileManager& files = platform::FileManager::defaultManager();
  const std::string reference = folders.references + "/" + name + ".png";
  const char* update = std::getenv("AURIMO_UPDATE_SNAPSHOTS");
  if (update && std::string_view(update) == "1") {
    platform::writePNG(render, reference, files);
    return ::testing::AssertionSuccess() << "recorded " << reference;
  }
  const platform::CGImage& actual = *render.cgImage();
  const std::optional<platform::UIImage> expected = readPNG(reference);
  const platform::CGImage* wanted = expected ? expected->cgImage() : nullptr;
  files.createDirectory(folders.output, true);
  const std::string actualPath = folders.output + "/" + name + ".png";
  if (!wanted || wanted->width() != actual.width() || wanted->height() != actual.height() ||
      wanted->alphaInfo() != platform::CGImageAlphaInfo::none) {
    platform::writePNG(render, actualPath, files);
    return ::testing::AssertionFailure() << reference << " is missing or of another size or kind; the render is "
                                         << actualPath << " (AURIMO_UPDATE_SNAPSHOTS=1 records it)";
  }
  const std::size_t pixels = actual.width() * actual.height();
  platform::Data difference(pixels * 3);
  std::size_t differing = 0;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
    const bool differs = channelDistance(actual.pixels(), wanted->pixels(), pixel) > tolerance.perChannel;
    differing += differs ? 1 : 0;
    for (std::size_t c = 0; c < 3; ++c) {
      const auto faded = static_cast<std::uint8_t>(191 + actual.pixels()[pixel * 3 + c] / 4);
      difference[pixel * 3 + c] = differs ? (c == 0 ? 255 : 0) : faded;
    }
  }
  if (static_cast<double>(differing) <= tolerance.differingFraction * static_cast<double>(pixels)) {
    return ::testing::AssertionSuccess();
  }
  const std::string differencePath = folders.output + "/" + name + ".difference.png";
  platform::writePNG(render, actualPath, files);
  platform::writePNG(platform::UIImage(platform::CGImage(actual.width(), actual.height(), platform::CGImageAlphaInfo::none,
                                                         std::move(difference))),
                     differencePath, files);
  return ::testing::AssertionFailure() << differing << " of " << pixels << " pixels differ from " << reference
                                       << "; the render is " << actualPath << ", the difference " << differencePath;
}

}  // namespace aurimo::test
