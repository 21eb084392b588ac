#pragma once
// TransformerFactory: the transformers the module offers: raw bytes, images
// (PNG with alpha, JPEG without) and any JSON-codable type, boxed as
// {"object": ...}. forImage() is the one part that needs the image codecs:
// it is built into the optional target aurimo::cache_image, and callers
// include cache/image_transformer.h; aurimo::cache alone does not provide it.
//
// Thread contract: the transformers are immutable and safe on any thread.
//
//   cache::Transformer<int> ints = cache::TransformerFactory::forCodable<int>();
//   platform::Data five = ints.toData(5);  // the bytes {"object":5}

#include <string>

#include <nlohmann/json.hpp>

#include "cache/codable.h"
#include "cache/transformer.h"
#include "cache/type_wrapper.h"
#include "platform/data.h"

namespace aurimo::platform {
class UIImage;  // defined by aurimo::uikit, which only aurimo::cache_image links
}  // namespace aurimo::platform

namespace aurimo::cache {

class TransformerFactory {
 public:
  TransformerFactory() = delete;

  // Bytes in, the same bytes out.
  static Transformer<platform::Data> forData();
  // Throws StorageError::transformerFail when an image yields no bytes or
  // the bytes are not an image. In aurimo::cache_image (cache/image_transformer.h).
  static Transformer<platform::UIImage> forImage();
  // The JSON library's errors pass through unchanged.
  template <JSONCodable T>
  static Transformer<T> forCodable() {
    return Transformer<T>(
        [](const T& object) {
          const std::string text = nlohmann::json(TypeWrapper<T>{object}).dump();
          return platform::Data(text.begin(), text.end());
        },
        [](const platform::Data& data) {
          return nlohmann::json::parse(data.begin(), data.end()).template get<TypeWrapper<T>>().object;
        });
  }
};

}  // namespace aurimo::cache
