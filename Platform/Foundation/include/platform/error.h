#pragma once
// Error: the platform's error value, as NSError carries it: a domain, a code
// in that domain, a readable description, and optionally the error it wraps.
// Frameworks map their own error enumerations onto a domain of their own.
//
// Thread contract: an immutable value; copy and share freely.
//
//   platform::Error offline{platform::Error::urlDomain, -1009, "The Internet connection appears to be offline."};
//   platform::Error wrapped{"Sync", 7, "Sync failed", offline};

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace aurimo::platform {

class Error {
 public:
  static constexpr std::string_view urlDomain = "NSURLErrorDomain";

  Error(std::string domain, std::int64_t code, std::string localizedDescription)
      : domain_(std::move(domain)), code_(code), localizedDescription_(std::move(localizedDescription)) {}
  Error(std::string domain, std::int64_t code, std::string localizedDescription, Error underlying)
      : Error(std::move(domain), code, std::move(localizedDescription)) {
    underlying_ = std::make_shared<const Error>(std::move(underlying));
  }

  const std::string& domain() const { return domain_; }
  std::int64_t code() const { return code_; }
  const std::string& localizedDescription() const { return localizedDescription_; }
  // The wrapped error, if any.
  const Error* underlyingError() const { return underlying_.get(); }

  // The whole error in one line, wrapped errors included, e.g.
  // `Error Domain=Sync Code=7 "Sync failed" (underlying: Error Domain=NSURLErrorDomain Code=-1009 "…")`.
  std::string description() const;

  friend bool operator==(const Error& a, const Error& b) {
    return a.domain_ == b.domain_ && a.code_ == b.code_ && a.localizedDescription_ == b.localizedDescription_ &&
           (a.underlying_ && b.underlying_ ? *a.underlying_ == *b.underlying_ : a.underlying_ == b.underlying_);
  }

 private:
  std::string domain_;
  std::int64_t code_;
  std::string localizedDescription_;
  std::shared_ptr<const Error> underlying_;
};

}  // namespace aurimo::platform
