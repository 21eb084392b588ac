#pragma once
// JSONDictionaryWrapper: a text-keyed JSON dictionary as a codable value,
// JSON {"jsonDictionary": "<base64 of the dictionary's JSON text>"}. Bytes
// that parse but are not a dictionary throw StorageError::decodingFailed;
// JSON syntax errors are the JSON library's own.
//
// Thread contract: a plain value.
//
//   cache::JSONDictionaryWrapper wrapper{{{"name", "Aurimo"}}};
//   nlohmann::json json = wrapper;

#include <nlohmann/json.hpp>

#include "cache/json_array_wrapper.h"

namespace aurimo::cache {

struct JSONDictionaryWrapper {
  static constexpr const char* kJSONDictionaryKey = "jsonDictionary";
  JSONDictionary jsonDictionary;
};

void to_json(nlohmann::json& json, const JSONDictionaryWrapper& wrapper);
void from_json(const nlohmann::json& json, JSONDictionaryWrapper& wrapper);

}  // namespace aurimo::cache
