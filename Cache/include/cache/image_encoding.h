#pragma once
// The image rule: images with an alpha channel are stored as PNG, all others
// (and images without a bitmap) as JPEG at full quality. Part of the optional
// target aurimo::cache_image.
//
// Thread contract: pure functions.
//
//   std::optional<platform::Data> bytes = cache::encodedImageData(image);
//   bool png = cache::hasAlphaChannel(image);

#include <optional>

#include "platform/data.h"
#include "platform/ui_image.h"

namespace aurimo::cache {

// True when the image has a bitmap whose alpha info is not none, noneSkipLast or noneSkipFirst.
bool hasAlphaChannel(const platform::UIImage& image);
// PNG or JPEG bytes by the rule above; absent when the encoder produces nothing.
std::optional<platform::Data> encodedImageData(const platform::UIImage& image);

}  // namespace aurimo::cache
