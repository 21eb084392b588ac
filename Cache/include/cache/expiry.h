#pragma once
// Expiry: when a stored object stops being fresh. `seconds` is relative and
// re-resolved against the clock at every call, so storages turn an expiry into
// an absolute `date` at the moment they write.
//
// Thread contract: an immutable value; safe to share between threads.
//
//   cache::Expiry inAMinute = cache::Expiry::seconds(60);
//   bool stale = cache::Expiry::date(platform::Clock::current().now()).isExpired();

#include "platform/clock.h"

namespace aurimo::cache {

class Expiry {
 public:
  enum class Kind { seconds, date, never };

  static constexpr Expiry seconds(platform::TimeInterval interval) { return Expiry(Kind::seconds, interval, {}); }
  static constexpr Expiry date(platform::Date date) { return Expiry(Kind::date, 0, date); }
  // A fixed far date, 2037-12-15 00:00:00 UTC, not "infinity": objects stored
  // with it do expire once the clock passes that day.
  static const Expiry never;
  static constexpr platform::TimeInterval kNeverUnixSeconds = 2'144'448'000;

  Kind kind() const { return kind_; }
  // The interval of a `seconds` expiry; 0 for the other kinds.
  platform::TimeInterval interval() const { return interval_; }

  // The absolute date this expiry stands for, resolved against now.
  platform::Date date() const;
  // True when date() lies strictly before now; a date equal to now is fresh.
  bool isExpired() const;

  friend bool operator==(const Expiry&, const Expiry&) = default;

 private:
  constexpr Expiry(Kind kind, platform::TimeInterval interval, platform::Date date)
      : kind_(kind), interval_(interval), date_(date) {}

  platform::Date dateAt(platform::Date now) const;

  Kind kind_;
  platform::TimeInterval interval_;
  platform::Date date_;
};

inline constexpr Expiry Expiry::never{Kind::never, 0, platform::Date{}};

// Declared for completeness; no storage reads it. `auto` is a keyword, hence
// the trailing underscore.
enum class ExpirationMode { auto_, manual };

}  // namespace aurimo::cache
