#pragma once
// StorageError: the failures the cache module raises itself. Failures of the
// file system or of JSON coding are thrown as the platform raised them.
//
// Thread contract: an immutable value.
//
//   throw cache::StorageError(cache::StorageError::notFound);
//   catch (const cache::StorageError& e) { if (e.errorCase() == cache::StorageError::typeNotMatch) ... }

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

}  // namespace aurimo::cache
