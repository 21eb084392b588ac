#include "platform/ui_device.h"

#include <cctype>
#include <fstream>
#include <memory>
#include <utility>

namespace aurimo::platform {
namespace {

// The machine's product name as the firmware reports it, else a plain name.
std::string machineModelName() {
  std::ifstream product("/sys/class/dmi/id/product_name");
  std::string name;
  if (product && std::getline(product, name)) {
    while (!name.empty() && std::isspace(static_cast<unsigned char>(name.back()))) name.pop_back();
    if (!name.empty()) return name;
  }
  return "Linux";
}

}  // namespace

UIDevice::UIDevice(std::string systemVersion, std::string modelName)
    : systemVersion_(std::move(systemVersion)), modelName_(std::move(modelName)) {}

Replaceable<UIDevice>& UIDevice::slot() {
  static Replaceable<UIDevice> instance(
      [] { return std::make_shared<UIDevice>(kDefaultSystemVersion, machineModelName()); });
  return instance;
}

std::string UIDevice::systemVersion() const {
  std::lock_guard lock(mutex_);
  return systemVersion_;
}

std::string UIDevice::modelName() const {
  std::lock_guard lock(mutex_);
  return modelName_;
}

void UIDevice::setSystemVersion(std::string version) {
  std::lock_guard lock(mutex_);
  systemVersion_ = std::move(version);
}

void UIDevice::setModelName(std::string name) {
  std::lock_guard lock(mutex_);
  modelName_ = std::move(name);
}

bool UIDevice::isOperatingSystemAtLeast(int majorVersion) const {
  const std::string version = systemVersion();
  long long major = 0;
  for (char c : version) {
    if (!std::isdigit(static_cast<unsigned char>(c))) break;
    major = major * 10 + (c - '0');
    if (major > 1'000'000) break;  // far beyond any release; no overflow
  }
  return major >= majorVersion;
}

}  // namespace aurimo::platform
