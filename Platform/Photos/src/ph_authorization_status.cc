#include "platform/ph_authorization_status.h"

#include <array>

namespace aurimo::platform {
namespace {

constexpr std::array<std::string_view, 5> kStatusNames{"notDetermined", "restricted", "denied", "authorized",
                                                       "limited"};

}  // namespace

std::string_view name(PHAuthorizationStatus status) {
  auto index = static_cast<std::size_t>(status);
  return index < kStatusNames.size() ? kStatusNames[index] : std::string_view("unknown");
}

std::string_view name(PHAccessLevel level) {
  return level == PHAccessLevel::addOnly ? "addOnly" : "readWrite";
}

std::optional<PHAuthorizationStatus> authorizationStatusNamed(std::string_view text) {
  for (std::size_t index = 0; index < kStatusNames.size(); ++index) {
    if (kStatusNames[index] == text) return static_cast<PHAuthorizationStatus>(index);
  }
  return std::nullopt;
}

std::optional<PHAuthorizationStatus> authorizationStatusFromRawValue(int rawValue) {
  if (rawValue < 0 || rawValue >= static_cast<int>(kStatusNames.size())) return std::nullopt;
  return static_cast<PHAuthorizationStatus>(rawValue);
}

}  // namespace aurimo::platform
