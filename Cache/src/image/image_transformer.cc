// TransformerFactory::forImage, the one factory member that needs the image
// codecs; it is built into aurimo::cache_image.
#include "cache/image_transformer.h"

#include "cache/image_encoding.h"
#include "cache/storage_error.h"

namespace aurimo::cache {

Transformer<platform::UIImage> TransformerFactory::forImage() {
  return Transformer<platform::UIImage>(
      [](const platform::UIImage& image) {
        std::optional<platform::Data> data = encodedImageData(image);
        if (!data) throw StorageError(StorageError::transformerFail);
        return std::move(*data);
      },
      [](const platform::Data& data) {
        std::optional<platform::UIImage> image = platform::UIImage::fromData(data);
        if (!image) throw StorageError(StorageError::transformerFail);
        return std::move(*image);
      });
}

}  // namespace aurimo::cache
