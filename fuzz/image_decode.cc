// PNG or JPEG bytes per input, read back as the image cache reads them.
#include <cstdint>

#include "cache/image_transformer.h"
#include "cache/storage_error.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto images = aurimo::cache::TransformerFactory::forImage();
  try {
    (void)images.fromData(aurimo::platform::Data(data, data + size));
  } catch (const aurimo::cache::StorageError&) {
  }
  return 0;
}
