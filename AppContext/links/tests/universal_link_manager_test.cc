#include "app_context/links/universal_link_manager.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

#include "platform/dispatch_queue.h"
#include "settings_store_kit/app_settings_storage.h"
#include "testing/environment.h"

namespace aurimo {
namespace {

using Route = UniversalLinkManager::ShouldGoTo;
using OnboardingSettings = SettingsStoreKit::AppSettingsStorage::AppContext::UniversalLinkManager;

class UniversalLinkManagerTest : public ::testing::Test {
 protected:
  UniversalLinkManagerTest() {
    const auto name = UniversalLinkManager::valueForShouldGoToDidChangeNotification();
    token_ = env_.notificationCenter().addObserver(name, nullptr, [this](const platform::Notification& n) {
      senders_.push_back(n.object);
      seen_.push_back(manager_->shouldGoTo());
      onMainThread_ = onMainThread_ && platform::DispatchQueue::isMainThread();
    });
  }

  test::Environment env_;
  std::shared_ptr<UniversalLinkManager> manager_ = UniversalLinkManager::create(env_.services());
  platform::ObserverToken token_;
  std::vector<const void*> senders_;
  std::vector<std::optional<Route>> seen_;
  bool onMainThread_ = true;
};

platform::NSUserActivity webLink(const std::string& url,
                                 std::string_view type = platform::NSUserActivityTypeBrowsingWeb) {
  return {std::string(type), platform::URL::fromString(url)};
}

// A web link or a message payload, and what it leaves behind when the route was kSentinel.
const Route kSentinel = Route::explore("sentinel");
struct Case {
  std::optional<platform::NSUserActivity> link;
  nlohmann::json payload;
  std::optional<Route> after = kSentinel;
  std::optional<std::int64_t> onboarding = std::nullopt;
};
Case link(const std::string& url, std::optional<Route> after = kSentinel, std::optional<std::int64_t> onboarding = {}) {
  return {webLink(url), nullptr, std::move(after), onboarding};
}
Case payload(nlohmann::json json, std::optional<Route> after = kSentinel) {
  return {std::nullopt, std::move(json), std::move(after)};
}

TEST_F(UniversalLinkManagerTest, RoutesLinksAndPayloads) {
  using nlohmann::json;
  const std::string b = "https://links.aurimo.app/events/", ob = b + "onboarding?version=";
  const std::string sn = "make_sn_purchase_offer";
  const Route home = Route::homeTab(), start = Route::explore(std::nullopt);
  const Case cases[] = {
      link(b + "identification?type=coin", Route::coinIdentification()), link(b + "identification?type=Coin"),
      link(b + "identification"), link(b + "explore?identifier=a1&x=y", Route::explore("a1")),
      link(b + "explore", start), link(b + "explore?identifier=", Route::explore("")),
      link(b + "explore?identifier=first&identifier=second", Route::explore("first")),
      link(b + sn + "?sn_event=spring%20sale", Route::openSmartNews("spring sale")),
      link(b + sn + "?sn_event=", Route::openSmartNews("")), link(b + sn + "?sn_event"), link(b + sn),
      link(b + "home_tab", home), link(b + "home_tab/", home), link("https://links.aurimo.app//events//home_tab", home),
      link(b + "home%5Ftab", home), link("http://links.aurimo.app:8080/events/home_tab#top", home),
      link(b + "home_tab/extra"), link("https://links.aurimo.app/events"), link(b + "unknown"),
      link("https://links.aurimo.app/event/home_tab"), link("https://Links.Aurimo.App/events/home_tab"),
      link("https://links.aurimo.app.example.com/events/home_tab"), link("/events/home_tab"),
      {webLink(b + "home_tab", "com.aurimo.handoff"), nullptr}, {webLink(b + "home_tab", ""), nullptr},
      {platform::NSUserActivity{std::string(platform::NSUserActivityTypeBrowsingWeb), std::nullopt}, nullptr},
      // The onboarding link writes a setting and leaves the route alone.
      link(ob + "7", kSentinel, 7), link(ob + "+7", kSentinel, 7), link(ob + "-3", kSentinel, -3),
      link(ob + "9223372036854775807", kSentinel, INT64_MAX), link(ob + "-9223372036854775808", kSentinel, INT64_MIN),
      link(ob + "9223372036854775808"), link(ob + "-9223372036854775809"), link(ob), link(b + "onboarding"),
      link(ob + "7a"), link(ob + "%207"), link(ob + "-"), link(ob + "+-3"),
      payload({{"action", "explore"}, {"explore_id", "a1"}}, Route::explore("a1")),
      payload({{"action", "explore"}}, start), payload({{"action", "explore"}, {"explore_id", 42}}, start),
      payload({{"action", sn}, {"sn_event", "spring"}}, Route::openSmartNews("spring")),
      payload({{"action", sn}, {"sn_event", ""}}, Route::openSmartNews("")), payload({{"action", sn}}),
      payload({{"action", sn}, {"sn_event", nullptr}}),
      payload({{"action", "identification"}, {"type", "coin"}}, Route::coinIdentification()),
      payload({{"action", "identification"}, {"type", "Coin"}}), payload({{"action", "identification"}}),
      payload({{"action", "home_tab"}, {"extra", true}}, home), payload({{"action", "open_app"}}, std::nullopt),
      payload({{"action", "onboarding"}, {"version", "7"}}), payload({{"action", "HOME_TAB"}}),
      payload({{"action", 5}}), payload(json::object()), payload(json::array({"home_tab"})), payload(nullptr),
  };
  for (const Case& c : cases) {
    const std::string url = c.link && c.link->webpageURL ? c.link->webpageURL->absoluteString() : "";
    SCOPED_TRACE(c.link ? c.link->activityType + " " + url : c.payload.dump());
    manager_->handleActionPayload({{"action", "explore"}, {"explore_id", "sentinel"}});
    env_.runUntilIdle();
    ASSERT_EQ(manager_->shouldGoTo(), kSentinel);
    senders_.clear();
    OnboardingSettings::setOnboardingVersion(std::nullopt, env_.userDefaults());

    const bool announces = c.after && *c.after != kSentinel;
    if (c.link) {
      EXPECT_EQ(manager_->continueUserActivity(*c.link), announces || c.onboarding);
    } else {
      manager_->handleActionPayload(c.payload);
    }
    EXPECT_TRUE(senders_.empty()) << "announced before returning";
    env_.runUntilIdle();
    EXPECT_EQ(manager_->shouldGoTo(), c.after);
    EXPECT_EQ(senders_, announces ? std::vector<const void*>{manager_.get()} : std::vector<const void*>{});
    EXPECT_EQ(OnboardingSettings::onboardingVersion(env_.userDefaults()), c.onboarding);
  }
  EXPECT_TRUE(onMainThread_);
}

TEST_F(UniversalLinkManagerTest, EachRouteIsAnnouncedButNotAResetAndObserversReadTheRouteAtDelivery) {
  EXPECT_TRUE(manager_->continueUserActivity(webLink("https://links.aurimo.app/events/explore?identifier=a")));
  manager_->handleActionPayload({{"action", "home_tab"}});
  manager_->resetShouldGoTo();
  EXPECT_EQ(manager_->shouldGoTo(), std::nullopt);
  env_.runUntilIdle();
  EXPECT_THAT(seen_, ::testing::ElementsAre(std::nullopt, std::nullopt));
}

TEST_F(UniversalLinkManagerTest, PendingAnnouncementKeepsTheManagerAlive) {
  std::weak_ptr<UniversalLinkManager> weak = manager_;
  const void* identity = manager_.get();
  manager_->handleActionPayload({{"action", "home_tab"}});
  manager_ = UniversalLinkManager::create(env_.services());  // the observer reads this one's (empty) route

  EXPECT_FALSE(weak.expired());
  env_.runUntilIdle();
  EXPECT_THAT(senders_, ::testing::ElementsAre(identity));
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace aurimo
