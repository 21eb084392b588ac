#include "app_context/links/universal_link_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/dispatch_queue.h"
#include "platform/notification_center.h"
#include "platform/run_loop.h"
#include "platform/user_defaults.h"
#include "settings_store_kit/app_settings_storage.h"

namespace aurimo {
namespace {

using aurimo::UniversalLinkManager;
using Route = UniversalLinkManager::ShouldGoTo;
using OnboardingSettings = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

class UniversalLinkManagerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    token_ = center_->addObserver(UniversalLinkManager::valueForShouldGoToDidChangeNotification(), nullptr,
                                  [this](const platform::Notification& n) {
                                    senders_.push_back(n.object);
                                    seen_.push_back(manager_->shouldGoTo());
                                    onMainThread_ = onMainThread_ && platform::DispatchQueue::isMainThread();
                                  });
  }
  // A block left queued would post into the next test's centre.
  void TearDown() override { platform::RunLoop::main().runUntilIdle(); }

  // Puts a known route in place and forgets its announcement, so a case can
  // tell "unchanged" from "cleared".
  void primeWith(const Route& route) {
    manager_->handleActionPayload({{"action", "explore"}, {"explore_id", "sentinel"}});
    platform::RunLoop::main().runUntilIdle();
    ASSERT_EQ(manager_->shouldGoTo(), route);
    senders_.clear();
    seen_.clear();
  }

  static platform::NSUserActivity webLink(const std::string& text) {
    return {std::string(platform::NSUserActivityTypeBrowsingWeb), platform::URL::fromString(text)};
  }

  std::shared_ptr<platform::NotificationCenter> center_ = std::make_shared<platform::NotificationCenter>();
  platform::ScopedReplacement<platform::NotificationCenter> pinCenter_{platform::NotificationCenter::slot(), center_};
  platform::ScopedReplacement<platform::UserDefaults> pinDefaults_{platform::UserDefaults::slot(),
                                                                  std::make_shared<platform::UserDefaults>()};
  std::shared_ptr<UniversalLinkManager> manager_ = UniversalLinkManager::create();
  platform::ObserverToken token_;
  std::vector<const void*> senders_;
  std::vector<std::optional<Route>> seen_;
  bool onMainThread_ = true;
};

const Route kSentinel = Route::explore("sentinel");

// What a request should leave behind: the route unchanged, cleared, or replaced.
struct Outcome {
  enum Kind { unchanged, cleared, stored } kind;
  std::optional<Route> route;
};
Outcome unchanged() { return {Outcome::unchanged, std::nullopt}; }
Outcome cleared() { return {Outcome::cleared, std::nullopt}; }
Outcome stores(Route route) { return {Outcome::stored, std::move(route)}; }

struct LinkCase {
  std::string url;
  bool handled;
  Outcome outcome;
  std::optional<std::int64_t> onboardingVersion = std::nullopt;
};

TEST_F(UniversalLinkManagerTest, RoutesLinksByHostPathAndQuery) {
  const std::string base = "https://links.aurimo.app";
  const std::vector<LinkCase> cases = {
      {base + "/events/identification?type=coin", true, stores(Route::coinIdentification())},
      {base + "/events/identification?type=Coin", false, unchanged()},
      {base + "/events/identification", false, unchanged()},
      {base + "/events/explore?identifier=a1&x=y", true, stores(Route::explore("a1"))},
      {base + "/events/explore", true, stores(Route::explore(std::nullopt))},
      {base + "/events/explore?identifier=", true, stores(Route::explore(""))},
      {base + "/events/explore?identifier=first&identifier=second", true, stores(Route::explore("first"))},
      {base + "/events/make_sn_purchase_offer?sn_event=spring%20sale", true,
       stores(Route::openSmartNews("spring sale"))},
      {base + "/events/make_sn_purchase_offer?sn_event=", true, stores(Route::openSmartNews(""))},
      {base + "/events/make_sn_purchase_offer?sn_event", false, unchanged()},
      {base + "/events/make_sn_purchase_offer", false, unchanged()},
      {base + "/events/home_tab", true, stores(Route::homeTab())},
      {base + "/events/home_tab/", true, stores(Route::homeTab())},
      {base + "//events//home_tab", true, stores(Route::homeTab())},
      {base + "/events/home%5Ftab", true, stores(Route::homeTab())},
      {"http://links.aurimo.app:8080/events/home_tab#top", true, stores(Route::homeTab())},
      {base + "/events/home_tab/extra", false, unchanged()},
      {base + "/events", false, unchanged()},
      {base + "/event/home_tab", false, unchanged()},
      {base + "/events/unknown", false, unchanged()},
      {"https://Links.Aurimo.App/events/home_tab", false, unchanged()},
      {"https://links.aurimo.app.example.com/events/home_tab", false, unchanged()},
      {"/events/home_tab", false, unchanged()},
      // The onboarding link writes a setting and leaves the route alone.
      {base + "/events/onboarding?version=7", true, unchanged(), 7},
      {base + "/events/onboarding?version=+7", true, unchanged(), 7},
      {base + "/events/onboarding?version=-3", true, unchanged(), -3},
      {base + "/events/onboarding?version=9223372036854775807", true, unchanged(), INT64_MAX},
      {base + "/events/onboarding?version=-9223372036854775808", true, unchanged(), INT64_MIN},
      {base + "/events/onboarding?version=9223372036854775808", false, unchanged()},
      {base + "/events/onboarding?version=-9223372036854775809", false, unchanged()},
      {base + "/events/onboarding?version=", false, unchanged()},
      {base + "/events/onboarding", false, unchanged()},
      {base + "/events/onboarding?version=7a", false, unchanged()},
      {base + "/events/onboarding?version=%207", false, unchanged()},
      {base + "/events/onboarding?version=-", false, unchanged()},
      {base + "/events/onboarding?version=+-3", false, unchanged()},
  };
  for (const LinkCase& c : cases) {
    SCOPED_TRACE(c.url);
    primeWith(kSentinel);
    OnboardingSettings::setOnboardingVersion(std::nullopt);

    EXPECT_EQ(manager_->continueUserActivity(webLink(c.url)), c.handled);
    EXPECT_TRUE(senders_.empty()) << "announced before returning";
    platform::RunLoop::main().runUntilIdle();

    EXPECT_EQ(manager_->shouldGoTo(), c.outcome.kind == Outcome::stored ? c.outcome.route : kSentinel);
    EXPECT_EQ(senders_.size(), c.outcome.kind == Outcome::stored ? 1u : 0u);
    EXPECT_EQ(OnboardingSettings::onboardingVersion(), c.onboardingVersion);
  }
}

TEST_F(UniversalLinkManagerTest, IgnoresActivitiesThatAreNotWebLinks) {
  const auto link = platform::URL::fromString("https://links.aurimo.app/events/home_tab");
  const std::vector<platform::NSUserActivity> activities = {
      {"com.aurimo.handoff", link},
      {"", link},
      {std::string(platform::NSUserActivityTypeBrowsingWeb), std::nullopt},
  };
  for (const auto& activity : activities) {
    SCOPED_TRACE(activity.activityType);
    EXPECT_FALSE(manager_->continueUserActivity(activity));
  }
  platform::RunLoop::main().runUntilIdle();
  EXPECT_EQ(manager_->shouldGoTo(), std::nullopt);
  EXPECT_TRUE(senders_.empty());
}

struct PayloadCase {
  nlohmann::json payload;
  Outcome outcome;
};

TEST_F(UniversalLinkManagerTest, RoutesPayloadsByAction) {
  using nlohmann::json;
  const std::vector<PayloadCase> cases = {
      {{{"action", "explore"}, {"explore_id", "a1"}}, stores(Route::explore("a1"))},
      {{{"action", "explore"}}, stores(Route::explore(std::nullopt))},
      {{{"action", "explore"}, {"explore_id", 42}}, stores(Route::explore(std::nullopt))},
      {{{"action", "make_sn_purchase_offer"}, {"sn_event", "spring"}}, stores(Route::openSmartNews("spring"))},
      {{{"action", "make_sn_purchase_offer"}, {"sn_event", ""}}, stores(Route::openSmartNews(""))},
      {{{"action", "make_sn_purchase_offer"}}, unchanged()},
      {{{"action", "make_sn_purchase_offer"}, {"sn_event", nullptr}}, unchanged()},
      {{{"action", "identification"}, {"type", "coin"}}, stores(Route::coinIdentification())},
      {{{"action", "identification"}, {"type", "Coin"}}, unchanged()},
      {{{"action", "identification"}}, unchanged()},
      {{{"action", "home_tab"}, {"extra", true}}, stores(Route::homeTab())},
      {{{"action", "open_app"}}, cleared()},
      {{{"action", "onboarding"}, {"version", "7"}}, unchanged()},
      {{{"action", "HOME_TAB"}}, unchanged()},
      {{{"action", 5}}, unchanged()},
      {json::object(), unchanged()},
      {json::array({"home_tab"}), unchanged()},
      {nullptr, unchanged()},
  };
  for (const PayloadCase& c : cases) {
    SCOPED_TRACE(c.payload.dump());
    primeWith(kSentinel);

    manager_->handleActionPayload(c.payload);
    EXPECT_TRUE(senders_.empty()) << "announced before returning";
    platform::RunLoop::main().runUntilIdle();

    std::optional<Route> expected = kSentinel;
    if (c.outcome.kind == Outcome::stored) expected = c.outcome.route;
    if (c.outcome.kind == Outcome::cleared) expected = std::nullopt;
    EXPECT_EQ(manager_->shouldGoTo(), expected);
    EXPECT_EQ(senders_.size(), c.outcome.kind == Outcome::stored ? 1u : 0u);
    EXPECT_EQ(OnboardingSettings::onboardingVersion(), std::nullopt);
  }
}

TEST_F(UniversalLinkManagerTest, AnnouncesEachRouteOnceFromTheMainLoopWithTheManagerAsSender) {
  EXPECT_TRUE(manager_->continueUserActivity(webLink("https://links.aurimo.app/events/explore?identifier=a")));
  manager_->handleActionPayload({{"action", "home_tab"}});
  EXPECT_TRUE(senders_.empty());

  platform::RunLoop::main().runUntilIdle();
  // Both posts came after the second request, so both observers read the latest route.
  EXPECT_THAT(senders_, ::testing::ElementsAre(manager_.get(), manager_.get()));
  EXPECT_THAT(seen_, ::testing::ElementsAre(Route::homeTab(), Route::homeTab()));
  EXPECT_TRUE(onMainThread_);

  platform::RunLoop::main().runUntilIdle();
  EXPECT_EQ(senders_.size(), 2u) << "a request must post exactly once";
}

TEST_F(UniversalLinkManagerTest, ClearingNeverAnnounces) {
  EXPECT_TRUE(manager_->continueUserActivity(webLink("https://links.aurimo.app/events/home_tab")));
  manager_->handleActionPayload({{"action", "open_app"}});
  EXPECT_EQ(manager_->shouldGoTo(), std::nullopt);
  platform::RunLoop::main().runUntilIdle();
  EXPECT_EQ(senders_.size(), 1u) << "only the link announces";

  manager_->handleActionPayload({{"action", "home_tab"}});
  manager_->resetShouldGoTo();
  EXPECT_EQ(manager_->shouldGoTo(), std::nullopt);
  platform::RunLoop::main().runUntilIdle();
  EXPECT_EQ(senders_.size(), 2u);
  EXPECT_EQ(seen_.back(), std::nullopt) << "the observer reads the value at delivery";
}

TEST_F(UniversalLinkManagerTest, PendingAnnouncementKeepsTheManagerAlive) {
  std::weak_ptr<UniversalLinkManager> weak = manager_;
  const void* identity = manager_.get();
  manager_->handleActionPayload({{"action", "home_tab"}});
  manager_ = UniversalLinkManager::create();  // the observer reads this one's (empty) route

  EXPECT_FALSE(weak.expired());
  platform::RunLoop::main().runUntilIdle();
  EXPECT_THAT(senders_, ::testing::ElementsAre(identity));
  EXPECT_TRUE(weak.expired());
}

TEST(UniversalLinkManagerNameTest, NotificationNameIsFixedAndShared) {
  const auto name = UniversalLinkManager::valueForShouldGoToDidChangeNotification();
  EXPECT_EQ(name.rawValue(), "UniversalLinkManager.valueForShouldGoToDidChangeNotification");
  EXPECT_EQ(name, platform::NotificationName("UniversalLinkManager.valueForShouldGoToDidChangeNotification"));
}

}  // namespace

}  // namespace aurimo
