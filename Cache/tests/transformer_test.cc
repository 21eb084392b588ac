#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "cache/image_encoding.h"
#include "cache/image_wrapper.h"
#include "cache/json_array_wrapper.h"
#include "cache/json_dictionary_wrapper.h"
#include "cache/storage_error.h"
#include "cache/transformer_factory.h"
#include "platform/base64.h"

namespace aurimo::cache {
namespace {

using platform::CGImage;
using platform::CGImageAlphaInfo;
using platform::Data;
using platform::UIImage;

struct Coin {
  std::string name;
  int year = 0;
  double grams = 0;
  friend bool operator==(const Coin&, const Coin&) = default;
  NLOHMANN_DEFINE_TYPE_INTRUSIVE(Coin, name, year, grams)
};

template <class T>
T roundTrip(const T& value) {
  const Transformer<T> transformer = TransformerFactory::forCodable<T>();
  return transformer.fromData(transformer.toData(value));
}

StorageError::Case errorOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const StorageError& error) {
    return error.errorCase();
  }
  ADD_FAILURE() << "no StorageError thrown";
  return StorageError::notFound;
}

// A smooth gradient, so JPEG's error stays small; alpha varies when present.
UIImage gradient(CGImageAlphaInfo info, std::size_t width = 16, std::size_t height = 12) {
  const std::size_t perPixel = platform::bytesPerPixel(info);
  Data pixels(width * height * perPixel);
  for (std::size_t y = 0; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) {
      std::uint8_t* p = &pixels[(y * width + x) * perPixel];
      for (std::size_t c = 0; c < perPixel; ++c) p[c] = static_cast<std::uint8_t>(40 + x * 8 + y * 5 + c * 20);
    }
  }
  return UIImage(CGImage(width, height, info, std::move(pixels)));
}

TEST(CodableTransformerTest, RoundTripsStructsVectorsAndMaps) {
  EXPECT_EQ(roundTrip(Coin{"Sovereign", 1911, 7.98}), (Coin{"Sovereign", 1911, 7.98}));
  EXPECT_EQ(roundTrip(std::vector<std::string>{"a", "", "ü"}), (std::vector<std::string>{"a", "", "ü"}));
  EXPECT_EQ(roundTrip(std::map<std::string, int>{{"x", 1}, {"y", -2}}), (std::map<std::string, int>{{"x", 1}, {"y", -2}}));
  EXPECT_EQ(roundTrip(std::vector<int>{}), std::vector<int>{});
}

TEST(CodableTransformerTest, WrapsTheValueUnderObject) {
  EXPECT_EQ(TransformerFactory::forCodable<int>().toData(5), platform::dataFromString(R"({"object":5})"));
  EXPECT_EQ(TransformerFactory::forCodable<int>().fromData(platform::dataFromString(R"({"object":5})")), 5);
}

TEST(CodableTransformerTest, DecodingFailuresAreTheJSONLibrarysOwn) {
  const Transformer<int> ints = TransformerFactory::forCodable<int>();
  EXPECT_THROW(ints.fromData(platform::dataFromString("{\"object\":")), nlohmann::json::parse_error);
  EXPECT_THROW(ints.fromData(platform::dataFromString("5")), nlohmann::json::type_error);
  EXPECT_THROW(ints.fromData(platform::dataFromString("{\"value\":5}")), nlohmann::json::out_of_range);
  EXPECT_THROW(ints.fromData(platform::dataFromString("{\"object\":\"5\"}")), nlohmann::json::type_error);
}

TEST(ImageRuleTest, AlphaInfoPicksTheFormat) {
  struct Case {
    CGImageAlphaInfo info;
    bool png;
  } cases[] = {
      {CGImageAlphaInfo::none, false},          {CGImageAlphaInfo::premultipliedLast, true},
      {CGImageAlphaInfo::premultipliedFirst, true}, {CGImageAlphaInfo::last, true},
      {CGImageAlphaInfo::first, true},          {CGImageAlphaInfo::noneSkipLast, false},
      {CGImageAlphaInfo::noneSkipFirst, false}, {CGImageAlphaInfo::alphaOnly, true},
  };
  for (const Case& c : cases) {
    const std::optional<Data> data = encodedImageData(gradient(c.info));
    ASSERT_TRUE(data.has_value()) << static_cast<int>(c.info);
    EXPECT_EQ(hasAlphaChannel(gradient(c.info)), c.png);
    const bool isPNG = data->size() > 4 && (*data)[1] == 'P' && (*data)[2] == 'N' && (*data)[3] == 'G';
    const bool isJPEG = data->size() > 2 && (*data)[0] == 0xFF && (*data)[1] == 0xD8;
    EXPECT_EQ(isPNG, c.png) << static_cast<int>(c.info);
    EXPECT_EQ(isJPEG, !c.png) << static_cast<int>(c.info);
  }
  EXPECT_FALSE(hasAlphaChannel(UIImage()));
}

TEST(ImageTransformerTest, OpaqueGoesThroughJPEGAndAlphaThroughPNGExactly) {
  const Transformer<UIImage> images = TransformerFactory::forImage();

  const UIImage opaque = gradient(CGImageAlphaInfo::none);
  const UIImage jpeg = images.fromData(images.toData(opaque));
  ASSERT_NE(jpeg.cgImage(), nullptr);
  EXPECT_EQ(jpeg.cgImage()->alphaInfo(), CGImageAlphaInfo::none);
  ASSERT_EQ(jpeg.cgImage()->pixels().size(), opaque.cgImage()->pixels().size());
  for (std::size_t i = 0; i < jpeg.cgImage()->pixels().size(); ++i) {
    ASSERT_LE(std::abs(jpeg.cgImage()->pixels()[i] - opaque.cgImage()->pixels()[i]), 4) << "byte " << i;
  }

  const UIImage translucent = gradient(CGImageAlphaInfo::last);
  const UIImage png = images.fromData(images.toData(translucent));
  ASSERT_NE(png.cgImage(), nullptr);
  EXPECT_EQ(png.cgImage()->alphaInfo(), CGImageAlphaInfo::last);
  EXPECT_EQ(png.cgImage()->pixels(), translucent.cgImage()->pixels());
}

TEST(ImageTransformerTest, FailuresAreTransformerFail) {
  const Transformer<UIImage> images = TransformerFactory::forImage();
  EXPECT_EQ(errorOf([&] { images.fromData(platform::dataFromString("not an image")); }), StorageError::transformerFail);
  EXPECT_EQ(errorOf([&] { images.toData(UIImage()); }), StorageError::transformerFail);
}

TEST(ImageWrapperTest, CodesTheImageAsBase64UnderImage) {
  const UIImage translucent = gradient(CGImageAlphaInfo::last, 3, 2);
  const nlohmann::json json = ImageWrapper{translucent};
  ASSERT_EQ(json.size(), 1u);
  EXPECT_EQ(platform::base64Decode(json.at("image").get<std::string>()), encodedImageData(translucent));
  EXPECT_EQ(json.get<ImageWrapper>().image.cgImage()->pixels(), translucent.cgImage()->pixels());

  EXPECT_EQ(errorOf([] { nlohmann::json unused = ImageWrapper{UIImage()}; }), StorageError::encodingFailed);
  const nlohmann::json notAnImage = {{"image", platform::base64Encode(platform::dataFromString("text"))}};
  EXPECT_EQ(errorOf([&] { (void)notAnImage.get<ImageWrapper>(); }), StorageError::decodingFailed);
  EXPECT_THROW((void)nlohmann::json({{"image", "%%%"}}).get<ImageWrapper>(), nlohmann::json::type_error);
}

TEST(JSONWrapperTest, RoundTripsThroughBase64JSONText) {
  const JSONArrayWrapper array{{{{"id", 1}}, {{"tags", {"a", "b"}}}}};
  const nlohmann::json arrayJSON = array;
  const std::optional<Data> arrayText = platform::base64Decode(arrayJSON.at("jsonArray").get<std::string>());
  ASSERT_TRUE(arrayText.has_value());
  EXPECT_EQ(platform::stringView(*arrayText), R"([{"id":1},{"tags":["a","b"]}])");
  EXPECT_EQ(arrayJSON.get<JSONArrayWrapper>().jsonArray, array.jsonArray);

  const JSONDictionaryWrapper dictionary{{{"name", "Aurimo"}, {"n", nullptr}}};
  const nlohmann::json dictionaryJSON = dictionary;
  EXPECT_EQ(dictionaryJSON.get<JSONDictionaryWrapper>().jsonDictionary, dictionary.jsonDictionary);
  EXPECT_EQ(roundTrip(dictionary).jsonDictionary, dictionary.jsonDictionary);
}

TEST(JSONWrapperTest, WrongShapeIsDecodingFailed) {
  auto boxed = [](const char* key, const char* text) {
    return nlohmann::json{{key, platform::base64Encode(platform::dataFromString(text))}};
  };
  struct Case {
    const char* key;
    const char* text;
  } cases[] = {
      {"jsonDictionary", "[1,2]"}, {"jsonDictionary", "\"text\""}, {"jsonDictionary", "null"},
      {"jsonArray", "{\"a\":1}"},  {"jsonArray", "[{\"a\":1},2]"},  {"jsonArray", "[[]]"},
  };
  for (const Case& c : cases) {
    const nlohmann::json json = boxed(c.key, c.text);
    const auto decode = [&] {
      if (std::string(c.key) == "jsonArray") (void)json.get<JSONArrayWrapper>();
      else (void)json.get<JSONDictionaryWrapper>();
    };
    EXPECT_EQ(errorOf(decode), StorageError::decodingFailed) << c.key << " " << c.text;
  }
  EXPECT_THROW((void)boxed("jsonArray", "[{").get<JSONArrayWrapper>(), nlohmann::json::parse_error);
}

}  // namespace
}  // namespace aurimo::cache
