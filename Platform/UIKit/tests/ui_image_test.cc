#include <gtest/gtest.h>

#include <cstdint>
#include <random>

#include "platform/ui_image.h"

namespace aurimo::platform {
namespace {

UIImage checker(CGImageAlphaInfo info, std::size_t width = 8, std::size_t height = 8) {
  Data pixels(width * height * bytesPerPixel(info));
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<std::uint8_t>((i * 37) ^ (i >> 3));
  return UIImage(CGImage(width, height, info, std::move(pixels)));
}

std::uint32_t crc32(const std::uint8_t* bytes, std::size_t size) {
  std::uint32_t crc = 0xFFFFFFFFu;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= bytes[i];
    for (int k = 0; k < 8; ++k) crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

void putBigEndian(Data& data, std::size_t at, std::uint32_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) data[at + i] = static_cast<std::uint8_t>(value >> (8 * (bytes - 1 - i)));
}

// A valid PNG whose IHDR (with a correct CRC) claims width x height.
Data pngClaiming(std::uint32_t width, std::uint32_t height) {
  Data png = *UIImagePNGRepresentation(checker(CGImageAlphaInfo::last));
  putBigEndian(png, 16, width, 4);
  putBigEndian(png, 20, height, 4);
  putBigEndian(png, 29, crc32(&png[12], 17), 4);
  return png;
}

// A valid JPEG whose frame header claims width x height.
Data jpegClaiming(std::uint16_t width, std::uint16_t height) {
  Data jpeg = *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none), 1.0);
  for (std::size_t i = 2; i + 8 < jpeg.size(); ++i) {
    if (jpeg[i] == 0xFF && (jpeg[i + 1] == 0xC0 || jpeg[i + 1] == 0xC1)) {
      putBigEndian(jpeg, i + 5, height, 2);
      putBigEndian(jpeg, i + 7, width, 2);
      return jpeg;
    }
  }
  ADD_FAILURE() << "no frame header";
  return jpeg;
}

TEST(UIImageTest, PNGKeepsEveryAlphaLayoutAsStraightRGBA) {
  // premultiplied 128 at alpha 128 is straight 255; first-layouts move alpha last.
  struct Case {
    CGImageAlphaInfo info;
    Data pixel;
    CGImageAlphaInfo decodedInfo;
    Data decoded;
  } cases[] = {
      {CGImageAlphaInfo::last, {10, 20, 30, 40}, CGImageAlphaInfo::last, {10, 20, 30, 40}},
      {CGImageAlphaInfo::first, {40, 10, 20, 30}, CGImageAlphaInfo::last, {10, 20, 30, 40}},
      {CGImageAlphaInfo::premultipliedLast, {128, 64, 0, 128}, CGImageAlphaInfo::last, {255, 128, 0, 128}},
      {CGImageAlphaInfo::premultipliedFirst, {128, 128, 64, 0}, CGImageAlphaInfo::last, {255, 128, 0, 128}},
      {CGImageAlphaInfo::alphaOnly, {77}, CGImageAlphaInfo::last, {0, 0, 0, 77}},
      {CGImageAlphaInfo::noneSkipLast, {1, 2, 3, 99}, CGImageAlphaInfo::none, {1, 2, 3}},
      {CGImageAlphaInfo::noneSkipFirst, {99, 1, 2, 3}, CGImageAlphaInfo::none, {1, 2, 3}},
  };
  for (const Case& c : cases) {
    const std::optional<Data> png = UIImagePNGRepresentation(UIImage(CGImage(1, 1, c.info, c.pixel)));
    ASSERT_TRUE(png.has_value());
    const std::optional<UIImage> back = UIImage::fromData(*png);
    ASSERT_TRUE(back && back->cgImage()) << static_cast<int>(c.info);
    EXPECT_EQ(back->cgImage()->alphaInfo(), c.decodedInfo) << static_cast<int>(c.info);
    EXPECT_EQ(back->cgImage()->pixels(), c.decoded) << static_cast<int>(c.info);
  }
}

TEST(UIImageTest, EncodersNeedABitmap) {
  EXPECT_FALSE(UIImagePNGRepresentation(UIImage()).has_value());
  EXPECT_FALSE(UIImageJPEGRepresentation(UIImage(), 1.0).has_value());
  EXPECT_FALSE(UIImagePNGRepresentation(UIImage(CGImage(0, 0, CGImageAlphaInfo::last, {}))).has_value());
}

TEST(UIImageTest, HostileBytesDecodeToNothing) {
  const Data png = *UIImagePNGRepresentation(checker(CGImageAlphaInfo::last));
  const Data jpeg = *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none), 1.0);
  struct Case {
    const char* name;
    Data bytes;
  } cases[] = {
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
  for (const Case& c : cases) EXPECT_FALSE(UIImage::fromData(c.bytes).has_value()) << c.name;
}

TEST(UIImageTest, CorruptedBytesNeverCrash) {
  const Data sources[] = {*UIImagePNGRepresentation(checker(CGImageAlphaInfo::last, 24, 24)),
                          *UIImageJPEGRepresentation(checker(CGImageAlphaInfo::none, 24, 24), 0.8)};
  std::mt19937 random(1234);
  for (const Data& source : sources) {
    for (int round = 0; round < 300; ++round) {
      Data bytes = source;
      const int flips = 1 + round % 8;
      for (int f = 0; f < flips; ++f) {
        bytes[std::uniform_int_distribution<std::size_t>(0, bytes.size() - 1)(random)] =
            static_cast<std::uint8_t>(random());
      }
      if (std::optional<UIImage> image = UIImage::fromData(bytes)) {
        const CGImage& bitmap = *image->cgImage();
        EXPECT_EQ(bitmap.pixels().size(), bitmap.bytesPerRow() * bitmap.height());
      }
    }
  }
}

}  // namespace
}  // namespace aurimo::platform
