#include "cache/storage_error.h"

#include <system_error>

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

bool isNotFound(const std::exception& error) noexcept {
  if (const auto* storageError = dynamic_cast<const StorageError*>(&error)) {
    return storageError->errorCase() == StorageError::notFound;
  }
  if (const auto* systemError = dynamic_cast<const std::system_error*>(&error)) {
    return systemError->code() == std::errc::no_such_file_or_directory;
  }
  return false;
}

bool isNotFound(const std::exception_ptr& error) noexcept {
  if (!error) return false;
  try {
    std::rethrow_exception(error);
  } catch (const std::exception& thrown) {
    return isNotFound(thrown);
  } catch (...) {
    return false;
  }
}

}  // namespace aurimo::cache
