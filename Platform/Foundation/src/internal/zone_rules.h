#pragma once
// The offset rules behind a TimeZone, in the date library's terms.

#include <string>

#include <date/tz.h>

namespace aurimo::platform::internal {

class ZoneRules {
 public:
  virtual ~ZoneRules() = default;
  virtual const std::string& identifier() const = 0;
  virtual date::sys_info sysInfo(date::sys_seconds instant) const = 0;
  // Unique, ambiguous (the wall time is repeated) or nonexistent (it falls
  // into a gap); `first` and `second` are the periods before and after.
  virtual date::local_info localInfo(date::local_seconds wallTime) const = 0;
};

}  // namespace aurimo::platform::internal
