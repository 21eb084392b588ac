// JSON coding of the JSON-collection wrappers.
#include <string>

#include "cache/internal/json_data.h"
#include "cache/json_array_wrapper.h"
#include "cache/json_dictionary_wrapper.h"
#include "cache/storage_error.h"

namespace aurimo::cache {
namespace {

nlohmann::json jsonTextData(const nlohmann::json& value) {
  const std::string text = value.dump();  // invalid UTF-8 throws the library's type_error
  return internal::jsonFromData(platform::Data(text.begin(), text.end()));
}

nlohmann::json parseJSONTextData(const nlohmann::json& json, const char* key) {
  const platform::Data data = internal::dataFromJSON(json.at(key));
  return nlohmann::json::parse(data.begin(), data.end());
}

}  // namespace

void to_json(nlohmann::json& json, const JSONArrayWrapper& wrapper) {
  json = nlohmann::json::object();
  json[JSONArrayWrapper::kJSONArrayKey] = jsonTextData(wrapper.jsonArray);
}

void from_json(const nlohmann::json& json, JSONArrayWrapper& wrapper) {
  nlohmann::json parsed = parseJSONTextData(json, JSONArrayWrapper::kJSONArrayKey);
  if (!parsed.is_array()) throw StorageError(StorageError::decodingFailed);
  std::vector<JSONDictionary> array;
  array.reserve(parsed.size());
  for (auto& element : parsed) {
    if (!element.is_object()) throw StorageError(StorageError::decodingFailed);
    array.push_back(std::move(element.get_ref<JSONDictionary&>()));
  }
  wrapper.jsonArray = std::move(array);
}

void to_json(nlohmann::json& json, const JSONDictionaryWrapper& wrapper) {
  json = nlohmann::json::object();
  json[JSONDictionaryWrapper::kJSONDictionaryKey] = jsonTextData(wrapper.jsonDictionary);
}

void from_json(const nlohmann::json& json, JSONDictionaryWrapper& wrapper) {
  nlohmann::json parsed = parseJSONTextData(json, JSONDictionaryWrapper::kJSONDictionaryKey);
  if (!parsed.is_object()) throw StorageError(StorageError::decodingFailed);
  wrapper.jsonDictionary = std::move(parsed.get_ref<JSONDictionary&>());
}

}  // namespace aurimo::cache
