#pragma once
// DiskStorageError: the one failure the disk layer raises itself, when the
// cache directory cannot be enumerated. DiskStorage<K, V>::Error names it.
//
// Thread contract: an immutable value.
//
//   try { storage.removeExpiredObjects(); }
//   catch (const cache::DiskStorageError& e) { assert(e.errorCase() == cache::DiskStorageError::fileEnumeratorFailed); }

#include <exception>

namespace aurimo::cache {

class DiskStorageError : public std::exception {
 public:
  enum Case { fileEnumeratorFailed };

  DiskStorageError(Case errorCase) : case_(errorCase) {}  // NOLINT: implicit on purpose

  Case errorCase() const { return case_; }
  const char* what() const noexcept override { return "fileEnumeratorFailed"; }

  friend bool operator==(const DiskStorageError& a, const DiskStorageError& b) { return a.case_ == b.case_; }

 private:
  Case case_;
};

}  // namespace aurimo::cache
