#pragma once
// StorageError: the failures the cache module raises itself. Failures of the
// file system or of JSON coding are thrown as the platform raised them.
//
// Thread contract: an immutable value.
//
//   throw cache::StorageError(cache::StorageError::notFound);
//   catch (const cache::StorageError& e) { if (e.errorCase() == cache::StorageError::typeNotMatch) ... }
//   storage->async().object(key, [](cache::Result<int> r) { if (cache::isNotFound(r.error())) ... });

#include <exception>

namespace aurimo::cache {

class StorageError : public std::exception {
 public:
  enum Case {
    notFound,
    typeNotMatch,
    malformedFileAttributes,
    decodingFailed,
    encodingFailed,
    deallocated,
    transformerFail,
  };

  StorageError(Case errorCase) : case_(errorCase) {}  // NOLINT: implicit on purpose

  Case errorCase() const { return case_; }
  // The case's name, e.g. "notFound".
  const char* what() const noexcept override { return name(case_); }
  static const char* name(Case errorCase) noexcept;

  friend bool operator==(const StorageError& a, const StorageError& b) { return a.case_ == b.case_; }

 private:
  Case case_;
};

// True when `error` reports a key that is not stored, whichever layer said
// so: a miss in memory is StorageError::notFound, a miss on disk the
// platform's file-not-found error (a std::system_error, which includes
// std::filesystem::filesystem_error, whose code is ENOENT). Every other
// failure, typeNotMatch and decoding errors included, is false.
bool isNotFound(const std::exception& error) noexcept;
// The same for a stored error, e.g. Result::error(); false for a null one.
bool isNotFound(const std::exception_ptr& error) noexcept;

}  // namespace aurimo::cache
