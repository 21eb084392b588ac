#include "platform/ui_image.h"

#include <png.h>
#include <turbojpeg.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace aurimo::platform {

std::optional<UIImage> UIImage::named(std::string name) {
  if (name.empty()) return std::nullopt;
  UIImage image;
  image.name_ = std::move(name);
  return image;
}
namespace {

bool acceptableSize(std::size_t width, std::size_t height) {
  return width > 0 && height > 0 && width <= kMaxImageSide && height <= kMaxImageSide &&
         width * height <= kMaxImagePixels;
}

// The bitmap as straight (not premultiplied) RGBA or, when it has no alpha, RGB.
struct Pixels {
  Data bytes;
  bool hasAlpha;
};

std::uint8_t unpremultiply(std::uint8_t colour, std::uint8_t alpha) {
  if (alpha == 0) return 0;
  return static_cast<std::uint8_t>(std::min(255u, (colour * 255u + alpha / 2u) / alpha));
}

Pixels straightPixels(const CGImage& image, bool keepAlpha) {
  const std::size_t count = image.width() * image.height();
  const std::uint8_t* in = image.pixels().data();
  const CGImageAlphaInfo info = image.alphaInfo();
  const bool sourceHasAlpha = info != CGImageAlphaInfo::none && info != CGImageAlphaInfo::noneSkipLast &&
                              info != CGImageAlphaInfo::noneSkipFirst;
  const bool withAlpha = keepAlpha && sourceHasAlpha;
  const std::size_t outStride = withAlpha ? 4 : 3;
  Pixels out{Data(count * outStride), withAlpha};
  std::uint8_t* o = out.bytes.data();
  const std::size_t inStride = bytesPerPixel(info);
  for (std::size_t i = 0; i < count; ++i, in += inStride, o += outStride) {
    std::uint8_t r = 0, g = 0, b = 0, a = 255;
    switch (info) {
      case CGImageAlphaInfo::none:
      case CGImageAlphaInfo::noneSkipLast:
        r = in[0], g = in[1], b = in[2];
        break;
      case CGImageAlphaInfo::noneSkipFirst:
        r = in[1], g = in[2], b = in[3];
        break;
      case CGImageAlphaInfo::last:
      case CGImageAlphaInfo::premultipliedLast:
        r = in[0], g = in[1], b = in[2], a = in[3];
        break;
      case CGImageAlphaInfo::first:
      case CGImageAlphaInfo::premultipliedFirst:
        a = in[0], r = in[1], g = in[2], b = in[3];
        break;
      case CGImageAlphaInfo::alphaOnly:
        a = in[0];
        // Without alpha the mask survives as grey levels.
        if (!withAlpha) r = g = b = a;
        break;
    }
    const bool premultiplied =
        info == CGImageAlphaInfo::premultipliedLast || info == CGImageAlphaInfo::premultipliedFirst;
    if (withAlpha && premultiplied) {
      r = unpremultiply(r, a), g = unpremultiply(g, a), b = unpremultiply(b, a);
    }
    o[0] = r, o[1] = g, o[2] = b;
    if (withAlpha) o[3] = a;
  }
  return out;
}

bool isPNG(const Data& data) { return data.size() >= 8 && png_sig_cmp(data.data(), 0, 8) == 0; }
bool isJPEG(const Data& data) {
  return data.size() >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

// libpng's simplified API keeps its setjmp/longjmp inside libpng, so no
// C++ frame is ever jumped over; every failure comes back as a zero result.
std::optional<UIImage> decodePNG(const Data& data) {
  png_image image;
  std::memset(&image, 0, sizeof image);
  image.version = PNG_IMAGE_VERSION;
  struct Release {
    png_image* image;
    ~Release() { png_image_free(image); }
  } release{&image};
  if (!png_image_begin_read_from_memory(&image, data.data(), data.size())) return std::nullopt;
  if (!acceptableSize(image.width, image.height)) return std::nullopt;
  const bool hasAlpha = (image.format & PNG_FORMAT_FLAG_ALPHA) != 0;
  image.format = hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  Data pixels(PNG_IMAGE_SIZE(image));
  if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return std::nullopt;
  return UIImage(CGImage(image.width, image.height, hasAlpha ? CGImageAlphaInfo::last : CGImageAlphaInfo::none,
                         std::move(pixels)));
}

struct TurboHandle {
  tjhandle handle;
  explicit TurboHandle(tjhandle h) : handle(h) {}
  ~TurboHandle() {
    if (handle) tjDestroy(handle);
  }
  TurboHandle(const TurboHandle&) = delete;
  TurboHandle& operator=(const TurboHandle&) = delete;
};

std::optional<UIImage> decodeJPEG(const Data& data) {
  TurboHandle decoder(tjInitDecompress());
  if (!decoder.handle) return std::nullopt;
  int width = 0, height = 0, subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(decoder.handle, data.data(), data.size(), &width, &height, &subsampling,
                          &colourspace) != 0) {
    return std::nullopt;
  }
  if (width <= 0 || height <= 0 ||
      !acceptableSize(static_cast<std::size_t>(width), static_cast<std::size_t>(height))) {
    return std::nullopt;
  }
  Data pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3);
  // Stopping on warnings turns truncated or corrupt scans into a failure
  // instead of a half-grey picture.
  if (tjDecompress2(decoder.handle, data.data(), data.size(), pixels.data(), width, 0, height, TJPF_RGB,
                    TJFLAG_ACCURATEDCT | TJFLAG_STOPONWARNING) != 0) {
    return std::nullopt;
  }
  return UIImage(CGImage(static_cast<std::size_t>(width), static_cast<std::size_t>(height),
                         CGImageAlphaInfo::none, std::move(pixels)));
}

}  // namespace

std::size_t bytesPerPixel(CGImageAlphaInfo alphaInfo) {
  switch (alphaInfo) {
    case CGImageAlphaInfo::none: return 3;
    case CGImageAlphaInfo::alphaOnly: return 1;
    default: return 4;
  }
}

CGImage::CGImage(std::size_t width, std::size_t height, CGImageAlphaInfo alphaInfo, Data pixels)
    : width_(width), height_(height), alphaInfo_(alphaInfo), pixels_(std::move(pixels)) {
  const std::size_t perPixel = bytesPerPixel(alphaInfo);
  const bool overflows = width != 0 && height > SIZE_MAX / width / perPixel;
  if (overflows || pixels_.size() != width * height * perPixel) {
    std::fprintf(stderr, "platform::CGImage: %zu bytes do not make a %zux%zu bitmap of %zu bytes per pixel\n",
                 pixels_.size(), width, height, perPixel);
    std::abort();
  }
}

std::optional<UIImage> UIImage::fromData(const Data& data) {
  if (isPNG(data)) return decodePNG(data);
  if (isJPEG(data)) return decodeJPEG(data);
  return std::nullopt;
}

std::optional<Data> UIImagePNGRepresentation(const UIImage& image) {
  const CGImage* bitmap = image.cgImage();
  if (!bitmap || !acceptableSize(bitmap->width(), bitmap->height())) return std::nullopt;
  const Pixels pixels = straightPixels(*bitmap, /*keepAlpha=*/true);
  png_image png;
  std::memset(&png, 0, sizeof png);
  png.version = PNG_IMAGE_VERSION;
  png.width = static_cast<png_uint_32>(bitmap->width());
  png.height = static_cast<png_uint_32>(bitmap->height());
  png.format = pixels.hasAlpha ? PNG_FORMAT_RGBA : PNG_FORMAT_RGB;
  png_alloc_size_t size = 0;
  if (!png_image_write_get_memory_size(png, size, 0, pixels.bytes.data(), 0, nullptr)) {
    png_image_free(&png);
    return std::nullopt;
  }
  Data out(size);
  const bool ok = png_image_write_to_memory(&png, out.data(), &size, 0, pixels.bytes.data(), 0, nullptr);
  png_image_free(&png);
  if (!ok) return std::nullopt;
  out.resize(size);
  return out;
}

std::optional<Data> UIImageJPEGRepresentation(const UIImage& image, double compressionQuality) {
  const CGImage* bitmap = image.cgImage();
  if (!bitmap || !acceptableSize(bitmap->width(), bitmap->height())) return std::nullopt;
  const Pixels pixels = straightPixels(*bitmap, /*keepAlpha=*/false);
  if (!(compressionQuality >= 0)) compressionQuality = 0;  // NaN too
  const int quality = std::clamp(static_cast<int>(std::lround(std::min(compressionQuality, 1.0) * 100)), 1, 100);

  TurboHandle encoder(tjInitCompress());
  if (!encoder.handle) return std::nullopt;
  unsigned char* jpeg = nullptr;  // allocated by TurboJPEG, released with tjFree
  unsigned long size = 0;
  const int failed = tjCompress2(encoder.handle, pixels.bytes.data(), static_cast<int>(bitmap->width()), 0,
                                 static_cast<int>(bitmap->height()), TJPF_RGB, &jpeg, &size, TJSAMP_444, quality,
                                 TJFLAG_ACCURATEDCT);
  std::optional<Data> out;
  if (!failed && jpeg) out = Data(jpeg, jpeg + size);
  tjFree(jpeg);
  return out;
}

}  // namespace aurimo::platform
