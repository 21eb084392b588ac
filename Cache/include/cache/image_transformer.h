#pragma once
// The image half of the cache, from the optional target aurimo::cache_image
// (which links aurimo::uikit and with it libpng and libjpeg):
// TransformerFactory::forImage() and Storage<K, V>::transformImage() work
// only with this header included and that target linked, so aurimo::cache
// alone stays free of the image codecs. ImageWrapper and the image rule
// (cache/image_wrapper.h, cache/image_encoding.h) belong to the same target.
//
// Thread contract: as TransformerFactory's and Storage's.
//
//   target_link_libraries(my_app PRIVATE aurimo::cache_image)
//   #include "cache/image_transformer.h"
//   std::shared_ptr<cache::Storage<std::string, platform::UIImage>> images = storage->transformImage();

#include <memory>

#include "cache/storage.h"
#include "cache/transformer_factory.h"
#include "platform/ui_image.h"

namespace aurimo::cache {

template <StorageKey Key, std::copyable Value>
template <class Image>
std::shared_ptr<Storage<Key, Image>> Storage<Key, Value>::transformImage() const {
  return transform<Image>(TransformerFactory::forImage());
}

}  // namespace aurimo::cache
