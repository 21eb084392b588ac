#pragma once
// Bytes inside JSON, written as base64 text the way the platform's JSON coder
// does by default.
//
// Thread contract: pure functions.
//
//   nlohmann::json j = cache::internal::jsonFromData(bytes);
//   platform::Data back = cache::internal::dataFromJSON(j);

#include <nlohmann/json.hpp>

#include "platform/data.h"

namespace aurimo::cache::internal {

nlohmann::json jsonFromData(const platform::Data& data);
// Throws nlohmann::json::type_error when `json` is not base64 text.
platform::Data dataFromJSON(const nlohmann::json& json);

}  // namespace aurimo::cache::internal
