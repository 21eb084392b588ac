#pragma once
// ImageWrapper: an image as a codable value, JSON {"image": "<base64 bytes>"}
// with the bytes encoded by the image rule (PNG with alpha, JPEG without).
// Encoding without bytes throws StorageError::encodingFailed; bytes that are
// not an image throw StorageError::decodingFailed. Part of the optional target
// aurimo::cache_image.
//
// Thread contract: a plain value.
//
//   nlohmann::json json = cache::ImageWrapper{image};
//   platform::UIImage back = json.get<cache::ImageWrapper>().image;

#include <nlohmann/json.hpp>

#include "platform/ui_image.h"

namespace aurimo::cache {

struct ImageWrapper {
  static constexpr const char* kImageKey = "image";
  platform::UIImage image;
};

void to_json(nlohmann::json& json, const ImageWrapper& wrapper);
void from_json(const nlohmann::json& json, ImageWrapper& wrapper);

}  // namespace aurimo::cache
