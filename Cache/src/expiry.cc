#include "cache/expiry.h"

namespace aurimo::cache {

platform::Date Expiry::dateAt(platform::Date now) const {
  switch (kind_) {
    case Kind::seconds:
      return platform::addingTimeInterval(now, interval_);
    case Kind::date:
      return date_;
    case Kind::never:
      break;
  }
  return platform::dateFromUnixSeconds(kNeverUnixSeconds);
}

platform::Date Expiry::date() const {
  return kind_ == Kind::seconds ? dateAt(platform::Clock::current().now()) : dateAt(platform::Date{});
}

// One reading of the clock, so a `seconds` expiry cannot race past "now".
bool Expiry::isExpired() const {
  const platform::Date now = platform::Clock::current().now();
  return dateAt(now) < now;
}

}  // namespace aurimo::cache
