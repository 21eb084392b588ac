#include "cache/storage_error.h"

namespace aurimo::cache {

const char* StorageError::name(Case errorCase) noexcept {
  switch (errorCase) {
    case notFound: return "notFound";
    case typeNotMatch: return "typeNotMatch";
    case malformedFileAttributes: return "malformedFileAttributes";
    case decodingFailed: return "decodingFailed";
    case encodingFailed: return "encodingFailed";
    case deallocated: return "deallocated";
    case transformerFail: return "transformerFail";
  }
  return "unknown";
}

}  // namespace aurimo::cache
