#pragma once
// UIDevice: the device the app runs on: its model name and the version of
// its operating system. current() is a replaceable process-wide service, so a
// host plays any device and a test pins one; by default it models the phone
// platform's current release on this machine's model name.
//
// Thread contract: safe from any thread.
//
//   if (platform::UIDevice::current().isOperatingSystemAtLeast(17)) useAutocrop();

#include <mutex>
#include <string>

#include "platform/replaceable.h"

namespace aurimo::platform {

class UIDevice {
 public:
  static constexpr const char* kDefaultSystemVersion = "17.0";

  UIDevice(std::string systemVersion, std::string modelName);

  static UIDevice& current() { return slot().get(); }
  static Replaceable<UIDevice>& slot();

  std::string systemVersion() const;
  std::string modelName() const;
  void setSystemVersion(std::string version);
  void setModelName(std::string name);

  // Compares the leading number of systemVersion() ("17.2" → 17); a version
  // without one counts as 0.
  bool isOperatingSystemAtLeast(int majorVersion) const;

 private:
  mutable std::mutex mutex_;
  std::string systemVersion_;  // guarded by mutex_
  std::string modelName_;      // guarded by mutex_
};

}  // namespace aurimo::platform
