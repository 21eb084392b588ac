#pragma once
// UniversalLinkManager: turns universal links and opened-message payloads into
// one pending navigation request, shouldGoTo(), and announces each new route
// with valueForShouldGoToDidChangeNotification() on the default notification
// centre. It never navigates: screens observe, read shouldGoTo(), act and call
// resetShouldGoTo(). Links and payloads that do not match change nothing.
//
// Thread contract: main thread only (checked in debug builds). The
// announcement is posted later, from the main queue, with the manager as the
// sender; the queued block keeps the manager alive, hence create().
//
//   auto links = aurimo::UniversalLinkManager::create();
//   bool handled = links->continueUserActivity(activity);  // route announced later

#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include <nlohmann/json.hpp>

#include "platform/notification_center.h"
#include "platform/services.h"
#include "platform/user_activity.h"

namespace aurimo {

class UniversalLinkManager : public std::enable_shared_from_this<UniversalLinkManager> {
 public:
  // The pending navigation request: one of four cases.
  class ShouldGoTo {
   public:
    struct Explore {
      std::optional<std::string> articleIdentifier;  // nullopt: the section's start
      friend bool operator==(const Explore&, const Explore&) = default;
    };
    struct OpenSmartNews {
      std::string eventName;  // may be empty
      friend bool operator==(const OpenSmartNews&, const OpenSmartNews&) = default;
    };
    struct CoinIdentification {
      friend bool operator==(const CoinIdentification&, const CoinIdentification&) = default;
    };
    struct HomeTab {
      friend bool operator==(const HomeTab&, const HomeTab&) = default;
    };
    using Case = std::variant<Explore, OpenSmartNews, CoinIdentification, HomeTab>;

    static ShouldGoTo explore(std::optional<std::string> articleIdentifier) {
      return ShouldGoTo(Explore{std::move(articleIdentifier)});
    }
    static ShouldGoTo openSmartNews(std::string eventName) {
      return ShouldGoTo(OpenSmartNews{std::move(eventName)});
    }
    static ShouldGoTo coinIdentification() { return ShouldGoTo(CoinIdentification{}); }
    static ShouldGoTo homeTab() { return ShouldGoTo(HomeTab{}); }

    // For std::visit.
    const Case& value() const { return case_; }
    // The case's payload, or null when this is another case.
    template <class T>
    const T* as() const { return std::get_if<T>(&case_); }
    // "explore", "openSmartNews", "coinIdentification" or "homeTab".
    std::string_view caseName() const;

    friend bool operator==(const ShouldGoTo&, const ShouldGoTo&) = default;
    // Readable form for logs and test failures, e.g. explore(articleIdentifier: "a1").
    friend std::ostream& operator<<(std::ostream& out, const ShouldGoTo& route);

   private:
    explicit ShouldGoTo(Case value) : case_(std::move(value)) {}
    Case case_;
  };

  // The only host whose links are routed; compared exactly (case-sensitive).
  static constexpr std::string_view universalLinkHost = "links.aurimo.app";

  static std::shared_ptr<UniversalLinkManager> create(
      const platform::Services& services = platform::Services::defaults());

  UniversalLinkManager(const UniversalLinkManager&) = delete;
  UniversalLinkManager& operator=(const UniversalLinkManager&) = delete;

  // "UniversalLinkManager.valueForShouldGoToDidChangeNotification", made on first use.
  static platform::NotificationName valueForShouldGoToDidChangeNotification();

  // nullopt while nothing is pending.
  const std::optional<ShouldGoTo>& shouldGoTo() const;

  // True when the activity is a web link on universalLinkHost under /events/ that
  // stored a route (announced) or wrote the onboarding version (not announced).
  // On false nothing changed.
  [[nodiscard]] bool continueUserActivity(const platform::NSUserActivity& userActivity);

  // Routes an opened message's payload, a JSON object keyed by "action"; values of
  // the wrong type count as missing, and anything unrecognised is ignored.
  // "open_app" clears the pending route without an announcement.
  void handleActionPayload(const nlohmann::json& payload);

  // Clears the pending route; announces nothing.
  void resetShouldGoTo();

 private:
  struct Passkey {
    explicit Passkey() = default;
  };

 public:
  UniversalLinkManager(Passkey, platform::Services services) : services_(std::move(services)) {}

 private:
  bool routeLink(const platform::NSUserActivity& userActivity);
  void store(ShouldGoTo route);

  const platform::Services services_;
  std::optional<ShouldGoTo> shouldGoTo_;
};

}  // namespace aurimo
