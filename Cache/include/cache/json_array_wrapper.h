#pragma once
// JSONArrayWrapper: an array of text-keyed JSON dictionaries as a codable
// value, JSON {"jsonArray": "<base64 of the array's JSON text>"}. Bytes that
// parse but are not such an array throw StorageError::decodingFailed; JSON
// syntax errors are the JSON library's own.
//
// Thread contract: a plain value.
//
//   cache::JSONArrayWrapper wrapper{{{{"id", 1}}, {{"id", 2}}}};
//   nlohmann::json json = wrapper;

#include <vector>

#include <nlohmann/json.hpp>

namespace aurimo::cache {

using JSONDictionary = nlohmann::json::object_t;

struct JSONArrayWrapper {
  static constexpr const char* kJSONArrayKey = "jsonArray";
  std::vector<JSONDictionary> jsonArray;
};

void to_json(nlohmann::json& json, const JSONArrayWrapper& wrapper);
void from_json(const nlohmann::json& json, JSONArrayWrapper& wrapper);

}  // namespace aurimo::cache
