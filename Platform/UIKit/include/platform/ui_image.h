#pragma once
// UIImage: an image backed by an 8-bit bitmap (CGImage), with the platform's
// PNG and JPEG encoders and a decoder for both formats.
//
// Thread contract: immutable values; safe to share and to encode or decode
// from any thread.
//
//   std::optional<platform::UIImage> image = platform::UIImage::fromData(bytes);
//   std::optional<platform::Data> png = image ? platform::UIImagePNGRepresentation(*image) : std::nullopt;

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/data.h"

namespace aurimo::platform {

// How a bitmap's pixels carry alpha; the raw values are the platform's.
enum class CGImageAlphaInfo : std::uint32_t {
  none = 0,                // RGB
  premultipliedLast = 1,   // RGBA, colour premultiplied by alpha
  premultipliedFirst = 2,  // ARGB, colour premultiplied by alpha
  last = 3,                // RGBA
  first = 4,               // ARGB
  noneSkipLast = 5,        // RGBX, the fourth byte ignored
  noneSkipFirst = 6,       // XRGB, the first byte ignored
  alphaOnly = 7,           // A only
};

// Bytes per pixel of a bitmap with the given alpha layout: 3, 4 or 1.
std::size_t bytesPerPixel(CGImageAlphaInfo alphaInfo);

// An 8-bit-per-component bitmap, rows packed without padding.
class CGImage {
 public:
  // Aborts when `pixels` does not hold width * height * bytesPerPixel(alphaInfo) bytes.
  CGImage(std::size_t width, std::size_t height, CGImageAlphaInfo alphaInfo, Data pixels);

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  CGImageAlphaInfo alphaInfo() const { return alphaInfo_; }
  std::size_t bytesPerRow() const { return width_ * bytesPerPixel(alphaInfo_); }
  const Data& pixels() const { return pixels_; }

 private:
  std::size_t width_;
  std::size_t height_;
  CGImageAlphaInfo alphaInfo_;
  Data pixels_;
};

inline CGImageAlphaInfo CGImageGetAlphaInfo(const CGImage& image) { return image.alphaInfo(); }

class UIImage {
 public:
  // An image with no bitmap behind it.
  UIImage() = default;
  explicit UIImage(CGImage bitmap) : bitmap_(std::make_shared<const CGImage>(std::move(bitmap))) {}

  // UIImage(data:): decodes PNG or JPEG bytes; absent for anything else,
  // for damaged bytes and for absurdly large dimensions.
  static std::optional<UIImage> fromData(const Data& data);

  // UIImage(named:): an image of the app's assets by name. Linux ships no
  // asset catalogue, so the image carries its name and no bitmap; nullopt for an empty name.
  static std::optional<UIImage> named(std::string name);

  // The bitmap, or null when the image has none.
  const CGImage* cgImage() const { return bitmap_.get(); }
  // The asset name the image was made from, if any.
  const std::optional<std::string>& name() const { return name_; }

 private:
  std::shared_ptr<const CGImage> bitmap_;  // shared: images are immutable and cheap to copy
  std::optional<std::string> name_;
};

// PNG bytes, or absent when the image has no bitmap or encoding fails.
std::optional<Data> UIImagePNGRepresentation(const UIImage& image);
// JPEG bytes at `compressionQuality` in [0, 1] (1 = best); absent when the
// image has no bitmap or encoding fails. Alpha is dropped.
std::optional<Data> UIImageJPEGRepresentation(const UIImage& image, double compressionQuality);

// Decoders refuse images with more pixels than this, or a side above kMaxImageSide.
inline constexpr std::size_t kMaxImagePixels = std::size_t{1} << 26;
inline constexpr std::size_t kMaxImageSide = 1 << 15;

}  // namespace aurimo::platform
