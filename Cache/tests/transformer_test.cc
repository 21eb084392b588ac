// The codable transformer and the JSON-collection wrappers.
#include <map>

#include "cache/json_dictionary_wrapper.h"
#include "cache_test_support.h"
#include "platform/base64.h"

namespace aurimo::cache {
namespace {

template <class T>
T roundTrip(const T& value) {
  const Transformer<T> transformer = TransformerFactory::forCodable<T>();
  return transformer.fromData(transformer.toData(value));
}

TEST(TransformerTest, CodableValuesGoBoxedUnderObjectAndJSONErrorsPassThrough) {
  const std::map<std::string, std::vector<int>> nested{{"ü", {1, -2}}, {"", {}}};
  EXPECT_EQ(roundTrip(nested), nested);
  const Transformer<int> ints = TransformerFactory::forCodable<int>();
  EXPECT_EQ(ints.toData(5), platform::dataFromString(R"({"object":5})"));
  EXPECT_EQ(TransformerFactory::forData().toData(ints.toData(5)), ints.toData(5));
  EXPECT_THROW(ints.fromData(platform::dataFromString(R"({"object":)")), nlohmann::json::parse_error);
  EXPECT_THROW(ints.fromData(platform::dataFromString("5")), nlohmann::json::type_error);
  EXPECT_THROW(ints.fromData(platform::dataFromString(R"({"value":5})")), nlohmann::json::out_of_range);
  EXPECT_THROW(ints.fromData(platform::dataFromString(R"({"object":"5"})")), nlohmann::json::type_error);
}

TEST(TransformerTest, JSONWrappersHoldBase64JSONTextAndRejectTheWrongShape) {
  const JSONArrayWrapper array{{{{"id", 1}}, {{"tags", {"a", "b"}}}}};
  const nlohmann::json arrayJSON = array;
  const std::optional<Data> arrayText = platform::base64Decode(arrayJSON.at("jsonArray").get<std::string>());
  ASSERT_TRUE(arrayText.has_value());
  EXPECT_EQ(platform::stringView(*arrayText), R"([{"id":1},{"tags":["a","b"]}])");
  EXPECT_EQ(arrayJSON.get<JSONArrayWrapper>().jsonArray, array.jsonArray);
  const JSONDictionaryWrapper dictionary{{{"name", "Aurimo"}, {"n", nullptr}}};
  EXPECT_EQ(roundTrip(dictionary).jsonDictionary, dictionary.jsonDictionary);

  for (const auto& [key, text] : std::vector<std::pair<std::string, std::string>>{
           {"jsonDictionary", "[1,2]"}, {"jsonDictionary", "\"text\""}, {"jsonDictionary", "null"},
           {"jsonArray", "{\"a\":1}"}, {"jsonArray", "[{\"a\":1},2]"}, {"jsonArray", "[[]]"}}) {
    const nlohmann::json json{{key, platform::base64Encode(platform::dataFromString(text))}};
    const auto decode = [&] { key == "jsonArray" ? (void)json.get<JSONArrayWrapper>() : (void)json.get<JSONDictionaryWrapper>(); };
    EXPECT_EQ(failureOf(decode), "decodingFailed") << key << " " << text;
  }
  const nlohmann::json broken{{"jsonArray", platform::base64Encode(platform::dataFromString("[{"))}};
  EXPECT_THROW((void)broken.get<JSONArrayWrapper>(), nlohmann::json::parse_error);
}

}  // namespace
}  // namespace aurimo::cache
