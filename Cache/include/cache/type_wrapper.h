#pragma once
// TypeWrapper<T>: the JSON box codable values are stored in, so any value,
// even a bare number, becomes a JSON object: 5 is written as {"object":5}.
//
// Thread contract: a plain value.
//
//   std::string text = nlohmann::json(cache::TypeWrapper<int>{5}).dump();  // {"object":5}
//   int five = nlohmann::json::parse(text).get<cache::TypeWrapper<int>>().object;

#include <nlohmann/json.hpp>

#include "cache/codable.h"

namespace aurimo::cache {

template <JSONCodable T>
struct TypeWrapper {
  static constexpr const char* kObjectKey = "object";
  T object;
};

}  // namespace aurimo::cache

// A serializer rather than from_json so T need not be default-constructible.
template <class T>
struct nlohmann::adl_serializer<aurimo::cache::TypeWrapper<T>> {
  static void to_json(nlohmann::json& json, const aurimo::cache::TypeWrapper<T>& wrapper) {
    json = nlohmann::json::object();
    json[aurimo::cache::TypeWrapper<T>::kObjectKey] = wrapper.object;
  }
  // A missing key or a value of the wrong type throws the JSON library's own errors.
  static aurimo::cache::TypeWrapper<T> from_json(const nlohmann::json& json) {
    return aurimo::cache::TypeWrapper<T>{json.at(aurimo::cache::TypeWrapper<T>::kObjectKey).template get<T>()};
  }
};
