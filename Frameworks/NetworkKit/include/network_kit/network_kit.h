#pragma once
// NetworkKit: the request object every networked part of the app shares, and
// ApiService, the back-end services it talks to. Requests themselves are not
// made on Linux; the object is handed around as the app hands it around.
//
// Thread contract: immutable after creation; any thread.
//
//   auto network = std::make_shared<NetworkKit::NetworkKit>("Aurimo/1");
//   analytics.setNetworkKit(network);

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace aurimo::NetworkKit {

// The ordinal is the stored value; 1 is the recognition service.
enum class ApiService : std::int32_t {
  general = 0,
  recognition = 1,
  collections = 2,
  community = 3,
};

inline constexpr std::int32_t kApiServiceCount = 4;

// The service with `ordinal`, nullopt when there is none.
inline std::optional<ApiService> apiServiceWithOrdinal(std::int64_t ordinal) {
  if (ordinal < 0 || ordinal >= kApiServiceCount) return std::nullopt;
  return static_cast<ApiService>(ordinal);
}

class NetworkKit {
 public:
  explicit NetworkKit(std::string userAgent) : userAgent_(std::move(userAgent)) {}

  // Sent with every request.
  const std::string& userAgent() const { return userAgent_; }

 private:
  std::string userAgent_;
};

}  // namespace aurimo::NetworkKit
