// JSON coding of the image wrapper.
#include "cache/image_wrapper.h"

#include <optional>

#include "cache/image_encoding.h"
#include "cache/internal/json_data.h"
#include "cache/storage_error.h"

namespace aurimo::cache {

void to_json(nlohmann::json& json, const ImageWrapper& wrapper) {
  std::optional<platform::Data> data = encodedImageData(wrapper.image);
  if (!data) throw StorageError(StorageError::encodingFailed);
  json = nlohmann::json::object();
  json[ImageWrapper::kImageKey] = internal::jsonFromData(*data);
}

void from_json(const nlohmann::json& json, ImageWrapper& wrapper) {
  std::optional<platform::UIImage> image =
      platform::UIImage::fromData(internal::dataFromJSON(json.at(ImageWrapper::kImageKey)));
  if (!image) throw StorageError(StorageError::decodingFailed);
  wrapper.image = std::move(*image);
}

}  // namespace aurimo::cache
