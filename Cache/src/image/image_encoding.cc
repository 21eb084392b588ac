#include "cache/image_encoding.h"

namespace aurimo::cache {

bool hasAlphaChannel(const platform::UIImage& image) {
  const platform::CGImage* bitmap = image.cgImage();
  if (!bitmap) return false;
  switch (platform::CGImageGetAlphaInfo(*bitmap)) {
    case platform::CGImageAlphaInfo::none:
    case platform::CGImageAlphaInfo::noneSkipLast:
    case platform::CGImageAlphaInfo::noneSkipFirst:
      return false;
    default:
      return true;
  }
}

std::optional<platform::Data> encodedImageData(const platform::UIImage& image) {
  if (hasAlphaChannel(image)) return platform::UIImagePNGRepresentation(image);
  return platform::UIImageJPEGRepresentation(image, 1.0);
}

}  // namespace aurimo::cache
