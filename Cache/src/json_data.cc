#include "cache/internal/json_data.h"

#include <optional>
#include <string>

#include "platform/base64.h"

namespace aurimo::cache::internal {

nlohmann::json jsonFromData(const platform::Data& data) { return platform::base64Encode(data); }

platform::Data dataFromJSON(const nlohmann::json& json) {
  // get_ref throws the library's type_error when the value is not text.
  const auto& text = json.get_ref<const std::string&>();
  std::optional<platform::Data> data = platform::base64Decode(text);
  if (!data) throw nlohmann::json::type_error::create(302, "text is not valid base64 data", &json);
  return std::move(*data);
}

}  // namespace aurimo::cache::internal
