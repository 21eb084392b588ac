#include "platform/ui_image.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <random>

namespace aurimo::platform {
namespace {

UIImage checker(CGImageAlphaInfo info, std::size_t side = 8) {
  Data pixels(side * side * bytesPerPixel(info));
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>((i * 37) ^ (i >> 3));
  return UIImage(CGImage(side, side, info, std::move(pixels)));
}

void putBigEndian(Data& data, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) data[at + i] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
}

// A valid PNG whose IHDR (with a correct CRC) claims width x height.
Data pngClaiming(std::uint32_t width, std::uint32_t height) {
  Data png = *UIImagePNGRepresentation(checker(CGImageAlphaInfo::last));
  putBigEndian(png, 16, width, 4);
  putBigEndian(png, 20, height, 4);
  putBigEndian(png, 29, static_cast<std::uint32_t>(::crc32(0, &png[12], 17)), 4);
  return png;
}

// A valid JPEG whose frame header claims width x height.
Data jpegClaiming(std::uint16_t width, std::uint16_t height) {
  Data jpeg = *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none), 1.0);
  std::size_t i = 2;
  while (i + 8 < jpeg.size() && !(jpeg[i] == 0xFF && (jpeg[i + 1] == 0xC0 || jpeg[i + 1] == 0xC1))) ++i;
  putBigEndian(jpeg, i + 5, height, 2);
  putBigEndian(jpeg, i + 7, width, 2);
  return jpeg;
}

TEST(UIImage, EveryAlphaLayoutEncodesAsStraightRGBAInPNGAndAsRGBInJPEG) {
  // Premultiplied 128 at alpha 128 is straight 255 (JPEG keeps the stored colour);
  // first-layouts move alpha last; an alpha mask is grey in JPEG.
  using enum CGImageAlphaInfo;
  const struct { CGImageAlphaInfo info; Data pixel, png, jpeg; } cases[] = {
      {last, {10, 20, 30, 40}, {10, 20, 30, 40}, {10, 20, 30}},
      {first, {40, 10, 20, 30}, {10, 20, 30, 40}, {10, 20, 30}},
      {premultipliedLast, {128, 64, 0, 128}, {255, 128, 0, 128}, {128, 64, 0}},
      {premultipliedFirst, {128, 128, 64, 0}, {255, 128, 0, 128}, {128, 64, 0}},
      {alphaOnly, {77}, {0, 0, 0, 77}, {77, 77, 77}},
      {noneSkipLast, {1, 2, 3, 99}, {1, 2, 3}, {1, 2, 3}},
      {noneSkipFirst, {99, 1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.info));
    const UIImage image(CGImage(1, 1, c.info, c.pixel));
    const std::optional<UIImage> png = UIImage::fromData(UIImagePNGRepresentation(image).value());
    ASSERT_TRUE(png && png->cgImage());
    EXPECT_EQ(png->cgImage()->alphaInfo(), c.png.size() == 4 ? last : none);
    EXPECT_EQ(png->cgImage()->pixels(), c.png);
    const std::optional<UIImage> jpeg = UIImage::fromData(UIImageJPEGRepresentation(image, 1.0).value());
    ASSERT_TRUE(jpeg && jpeg->cgImage());
    ASSERT_EQ(jpeg->cgImage()->pixels().size(), 3u);  // RGB
    for (int k = 0; k < 3; ++k) EXPECT_LE(std::abs(jpeg->cgImage()->pixels()[k] - c.jpeg[k]), 2) << k;
  }
}

TEST(UIImage, EncodersNeedABitmapAndHostileBytesDecodeToNothing) {
  EXPECT_FALSE(UIImagePNGRepresentation(UIImage()).has_value());
  EXPECT_FALSE(UIImageJPEGRepresentation(UIImage(), 1.0).has_value());
  EXPECT_FALSE(UIImagePNGRepresentation(UIImage(CGImage(0, 0, CGImageAlphaInfo::last, {}))).has_value());

  const Data png = *UIImagePNGRepresentation(checker(CGImageAlphaInfo::last));
  const Data jpeg = *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none), 1.0);
  const std::pair<const char*, Data> cases[] = {
      {"empty", {}},
      {"text", dataFromString("definitely not an image")},
      {"png signature only", Data(png.begin(), png.begin() + 8)},
      {"png cut in half", Data(png.begin(), png.begin() + png.size() / 2)},
      {"jpeg markers only", Data(jpeg.begin(), jpeg.begin() + 3)},
      {"jpeg cut in half", Data(jpeg.begin(), jpeg.begin() + jpeg.size() / 2)},
      {"png claiming 2^31 x 1", pngClaiming(0x7FFFFFFF, 1)},
      {"png claiming 100000 x 100000", pngClaiming(100'000, 100'000)},
      {"jpeg claiming 65000 x 65000", jpegClaiming(65'000, 65'000)},
  };
  for (const auto& [name, bytes] : cases) EXPECT_FALSE(UIImage::fromData(bytes).has_value()) << name;
  // The patching itself leaves sound images.
  EXPECT_TRUE(UIImage::fromData(pngClaiming(8, 8)) && UIImage::fromData(jpegClaiming(8, 8)));
}

TEST(UIImage, CorruptedBytesNeverCrash) {
  std::mt19937 random(1234);
  for (const Data& source : {*UIImagePNGRepresentation(checker(CGImageAlphaInfo::last, 24)),
                             *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none, 24), 0.8)}) {
    for (int round = 0; round < 300; ++round) {
      Data bytes = source;
      for (int f = 0; f <= round % 8; ++f) bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
      if (std::optional<UIImage> image = UIImage::fromData(bytes)) {
        EXPECT_LE(image->cgImage()->width() * image->cgImage()->height(), kMaxImagePixels);
      }
    }
  }
}

}  // namespace
}  // namespace aurimo::platform
