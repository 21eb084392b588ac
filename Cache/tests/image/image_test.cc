// aurimo::cache_image: the image rule, the image transformer and ImageWrapper.
#include "../cache_test_support.h"
#include "cache/image_encoding.h"
#include "cache/image_transformer.h"
#include "cache/image_wrapper.h"
#include "platform/base64.h"

namespace aurimo::cache {
namespace {

using platform::CGImage;
using platform::CGImageAlphaInfo;
using platform::UIImage;

// A smooth gradient, so JPEG's error stays small; alpha varies when present.
UIImage gradient(CGImageAlphaInfo info, std::size_t width = 16, std::size_t height = 12) {
  const std::size_t perPixel = platform::bytesPerPixel(info);
  Data pixels(width * height * perPixel);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t pixel = i / perPixel, x = pixel % width, y = pixel / width, c = i % perPixel;
    pixels[i] = static_cast<std::uint8_t>(40 + x * 8 + y * 5 + c * 20);
  }
  return UIImage(CGImage(width, height, info, std::move(pixels)));
}

TEST(ImageTest, AlphaPicksPNGAndEverythingElseJPEG) {
  using Alpha = CGImageAlphaInfo;
  for (const auto& [info, png] : std::vector<std::pair<Alpha, bool>>{
           {Alpha::none, false}, {Alpha::premultipliedLast, true}, {Alpha::premultipliedFirst, true}, {Alpha::last, true},
           {Alpha::first, true}, {Alpha::noneSkipLast, false}, {Alpha::noneSkipFirst, false}, {Alpha::alphaOnly, true}}) {
    const Data data = encodedImageData(gradient(info)).value_or(Data());
    EXPECT_EQ(hasAlphaChannel(gradient(info)), png) << static_cast<int>(info);
    const std::string magic(data.begin(), data.begin() + std::min<std::size_t>(data.size(), png ? 4 : 2));
    EXPECT_EQ(magic, png ? "\x89PNG" : "\xFF\xD8") << static_cast<int>(info);
  }
  EXPECT_FALSE(hasAlphaChannel(UIImage()));
}

using ImageStorageTest = CacheTest;

TEST_F(ImageStorageTest, StoresOpaqueImagesThroughJPEGAndTranslucentOnesThroughPNGExactly) {
  auto bytes = Storage<std::string, Data>::create(diskConfig(), MemoryConfig(Expiry::never, 0, 0),
                                                  TransformerFactory::forData(), files_);
  auto images = bytes->transformImage();
  const UIImage opaque = gradient(CGImageAlphaInfo::none), translucent = gradient(CGImageAlphaInfo::last);
  images->setObject(opaque, "opaque");
  images->setObject(translucent, "translucent");
  auto reader = bytes->transformImage();  // empty memory: decoded from the files
  const UIImage jpeg = reader->object("opaque"), png = reader->object("translucent");
  ASSERT_TRUE(jpeg.cgImage() && png.cgImage());
  EXPECT_EQ(jpeg.cgImage()->alphaInfo(), CGImageAlphaInfo::none);
  ASSERT_EQ(jpeg.cgImage()->pixels().size(), opaque.cgImage()->pixels().size());
  for (std::size_t i = 0; i < jpeg.cgImage()->pixels().size(); ++i) {
    ASSERT_LE(std::abs(jpeg.cgImage()->pixels()[i] - opaque.cgImage()->pixels()[i]), 4) << "byte " << i;
  }
  EXPECT_EQ(png.cgImage()->alphaInfo(), CGImageAlphaInfo::last);
  EXPECT_EQ(png.cgImage()->pixels(), translucent.cgImage()->pixels());

  const Transformer<UIImage> transformer = TransformerFactory::forImage();
  EXPECT_EQ(failureOf([&] { transformer.fromData(platform::dataFromString("not an image")); }), "transformerFail");
  EXPECT_EQ(failureOf([&] { transformer.toData(UIImage()); }), "transformerFail");
}

TEST(ImageTest, ImageWrapperCodesTheRuleBytesAsBase64UnderImage) {
  const UIImage translucent = gradient(CGImageAlphaInfo::last, 3, 2);
  const nlohmann::json json = ImageWrapper{translucent};
  ASSERT_EQ(json.size(), 1u);
  EXPECT_EQ(platform::base64Decode(json.at("image").get<std::string>()), encodedImageData(translucent));
  EXPECT_EQ(json.get<ImageWrapper>().image.cgImage()->pixels(), translucent.cgImage()->pixels());
  EXPECT_EQ(failureOf([] { nlohmann::json unused = ImageWrapper{UIImage()}; }), "encodingFailed");
  const nlohmann::json notAnImage = {{"image", platform::base64Encode(platform::dataFromString("text"))}};
  EXPECT_EQ(failureOf([&] { (void)notAnImage.get<ImageWrapper>(); }), "decodingFailed");
  EXPECT_THROW((void)nlohmann::json({{"image", "%%%"}}).get<ImageWrapper>(), nlohmann::json::type_error);
}

}  // namespace
}  // namespace aurimo::cache
