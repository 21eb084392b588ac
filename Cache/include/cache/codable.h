#pragma once
// JSONCodable: a type the JSON library can write and read, which is what
// makes a value storable through TransformerFactory::forCodable.
//
// Thread contract: a compile-time check only.
//
//   static_assert(cache::JSONCodable<std::map<std::string, int>>);
//   struct Point { int x, y; };  // needs to_json/from_json to qualify

#include <nlohmann/json.hpp>

namespace aurimo::cache {

template <class T>
concept JSONCodable = requires(const T& value, const nlohmann::json& json) {
  nlohmann::json(value);
  json.get<T>();
};

}  // namespace aurimo::cache
