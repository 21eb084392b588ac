#include "platform/un_user_notification_center.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>
#include <tuple>

#include "testing/fake_clock.h"
#include "testing/scripted_person.h"
#include "testing/temporary_directory.h"

namespace aurimo::platform {
namespace {

using test::ScriptedPerson;
using Status = UNAuthorizationStatus;

// Starts an operation with a completion that hands its arguments back, blocks
// until the completion has run, and checks it ran on another thread.
template <class... Args, class Start>
std::tuple<std::decay_t<Args>...> await(Start start) {
  struct Shared {
    std::promise<std::tuple<std::decay_t<Args>...>> done;
    std::atomic<bool> onCaller{false};
  };
  auto shared = std::make_shared<Shared>();
  auto result = shared->done.get_future();
  start([shared, caller = std::this_thread::get_id()](Args... args) {
    shared->onCaller = std::this_thread::get_id() == caller;
    shared->done.set_value({args...});
  });
  auto values = result.get();
  EXPECT_FALSE(shared->onCaller) << "the completion ran inside the call";
  return values;
}

UNNotificationRequest reminder(std::string identifier, std::string category, DateComponents when, bool repeats = false) {
  UNMutableNotificationContent content;
  content.title = "Don't miss out! \xF0\x9F\x8F\x83\xE2\x80\x8D\xE2\x9E\xA1\xEF\xB8\x8F";
  content.body = "body";
  content.sound = UNNotificationSound::defaultSound();
  content.categoryIdentifier = std::move(category);
  content.userInfo = {{"offer", 7}};
  return UNNotificationRequest(std::move(identifier), content,
                               std::make_shared<UNCalendarNotificationTrigger>(std::move(when), repeats));
}

std::vector<std::string> identifiers(const std::vector<UNNotificationRequest>& requests) {
  std::vector<std::string> ids;
  for (const auto& r : requests) ids.push_back(r.identifier());
  return ids;
}

// Damaged state files and failing disks: Platform/tests/persistence_test.cc.
class UserNotificationCenter : public testing::Test {
 protected:
  std::unique_ptr<UNUserNotificationCenter> makeCenter() {
    return std::make_unique<UNUserNotificationCenter>(dir_, person_);
  }
  std::vector<UNNotificationRequest> pending(UNUserNotificationCenter& center) {
    return std::get<0>(await<std::vector<UNNotificationRequest>>(
        [&](auto done) { center.getPendingNotificationRequests(done); }));
  }
  Status status(UNUserNotificationCenter& center) {
    return std::get<0>(await<UNNotificationSettings>([&](auto done) { center.getNotificationSettings(done); }))
        .authorizationStatus;
  }

  // 2023-11-14 22:13:20 UTC; reminders in Berlin.
  std::shared_ptr<test::FakeClock> clock_ = std::make_shared<test::FakeClock>();
  ScopedReplacement<Clock> pinClock_{Clock::slot(), clock_};
  ScopedReplacement<TimeZone> pinZone_{TimeZone::slot(), std::make_shared<TimeZone>(*TimeZone::named("Europe/Berlin"))};
  std::shared_ptr<ScriptedPerson> person_ = std::make_shared<ScriptedPerson>();
  test::TemporaryDirectory tmp_;
  std::filesystem::path dir_ = tmp_.path() / "state";
};

TEST_F(UserNotificationCenter, PendingRequestsAndStatusSurviveARestart) {
  DateComponents inNewYork{.timeZone = TimeZone::named("America/New_York"), .year = 2023, .month = 11, .day = 20,
                           .hour = 10, .minute = 0, .second = 0};
  {
    auto center = makeCenter();
    ASSERT_FALSE(center->setAuthorizationStatus(Status::authorized));
    center->add(reminder("trial_expiration_reminder", "TrialExpirationReminder", inNewYork), nullptr);
    center->add(reminder("discount", "DiscountReminder", {.hour = 9, .weekday = 2}, /*repeats=*/true), nullptr);
  }
  auto reopened = makeCenter();
  EXPECT_EQ(status(*reopened), Status::authorized);
  const auto requests = pending(*reopened);
  ASSERT_THAT(identifiers(requests), testing::ElementsAre("trial_expiration_reminder", "discount"));
  EXPECT_EQ(requests[0].content(), reminder("", "TrialExpirationReminder", inNewYork).content());
  auto* trigger = dynamic_cast<const UNCalendarNotificationTrigger*>(requests[0].trigger().get());
  ASSERT_NE(trigger, nullptr);
  EXPECT_EQ(trigger->dateComponents(), inNewYork);
  EXPECT_FALSE(trigger->repeats());
  EXPECT_TRUE(requests[1].trigger()->repeats());
}

TEST_F(UserNotificationCenter, AddReplacesByIdentifierRefusesTheUndeliverableAndRemoveTakesOnlyTheNamed) {
  auto center = makeCenter();
  for (const char* id : {"a", "b", "c"}) center->add(reminder(id, "first", {.hour = 10}), nullptr);
  center->add(reminder("b", "second", {.hour = 11}), nullptr);
  const UNNotificationRequest push("push", UNMutableNotificationContent{}, std::make_shared<UNPushNotificationTrigger>());
  for (const auto& request : {push, UNNotificationRequest("", UNMutableNotificationContent{}, nullptr)}) {
    auto [error] = await<std::optional<UNError>>([&](auto done) { center->add(request, done); });
    EXPECT_EQ(error ? std::optional(error->code) : std::nullopt, UNError::Code::invalidRequest);
  }
  center->removePendingNotificationRequests({"a", "not-there"});
  const auto requests = pending(*center);
  ASSERT_THAT(identifiers(requests), testing::ElementsAre("c", "b"));
  EXPECT_EQ(requests[1].content().categoryIdentifier(), "second");
  center->removePendingNotificationRequests({});
  EXPECT_EQ(pending(*center).size(), 2u);
}

TEST_F(UserNotificationCenter, DueRequestsAreTakenOnceAndRepeatingOnesWaitForTheirNextDate) {
  auto center = makeCenter();
  ASSERT_FALSE(center->setAuthorizationStatus(Status::authorized));
  center->add(reminder("once", "a", {.year = 2023, .month = 11, .day = 15, .hour = 9, .minute = 0, .second = 0}), nullptr);
  center->add(reminder("daily", "b", {.hour = 10, .minute = 0}, /*repeats=*/true), nullptr);
  EXPECT_EQ(center->nextDueDate(), dateFromUnixSeconds(1'700'035'200));  // 09:00 in Berlin
  clock_->set(dateFromUnixSeconds(1'700'040'600));                         // 10:30
  std::vector<UNNotification> due;
  ASSERT_FALSE(center->takeDueNotifications(due));
  ASSERT_EQ(due.size(), 2u);
  EXPECT_EQ(due[0].request.identifier(), "once");
  EXPECT_EQ(due[0].date, dateFromUnixSeconds(1'700'035'200));
  EXPECT_EQ(due[1].date, dateFromUnixSeconds(1'700'038'800));
  EXPECT_THAT(identifiers(pending(*center)), testing::ElementsAre("daily"));
  EXPECT_EQ(center->nextDueDate(), dateFromUnixSeconds(1'700'125'200));  // 10:00 the next day
  // Nothing twice, and nothing while the user refuses.
  ASSERT_FALSE(center->setAuthorizationStatus(Status::denied));
  center->add(UNNotificationRequest("now", UNMutableNotificationContent{}, nullptr), nullptr);
  due.clear();
  ASSERT_FALSE(makeCenter()->takeDueNotifications(due));
  EXPECT_TRUE(due.empty());
}

TEST_F(UserNotificationCenter, DeliveredOneShotRequestsAreNoLongerPending) {
  auto center = makeCenter();
  center->add(reminder("once", "c", {.hour = 10}), nullptr);
  center->add(reminder("daily", "c", {.hour = 10}, /*repeats=*/true), nullptr);
  center->add(reminder("past", "c", {.year = 2020, .month = 1, .day = 1}), nullptr);
  EXPECT_THAT(identifiers(pending(*center)), testing::ElementsAre("once", "daily"));
  clock_->advance(12 * 3600);  // past 10:00 in Berlin the next morning
  EXPECT_THAT(identifiers(pending(*makeCenter())), testing::ElementsAre("daily"));
}

TEST_F(UserNotificationCenter, RequestsAuthorizationThroughThePerson) {
  constexpr std::uint32_t kBadgeSoundAlert = 7;
  const char* const kAll = "Notifications may include alerts, sounds and icon badges.";
  const struct {
    Status before;
    std::uint32_t options;
    std::vector<std::string> script;
    bool granted;
    Status after;
    const char* asked;  // the question's second line; nullptr: nobody is asked
  } cases[] = {
      {Status::notDetermined, kBadgeSoundAlert, {"Allow"}, true, Status::authorized, kAll},
      {Status::notDetermined, kBadgeSoundAlert, {"Don't Allow"}, false, Status::denied, kAll},
      {Status::notDetermined, kBadgeSoundAlert, {}, false, Status::notDetermined, kAll},
      {Status::notDetermined, 6, {"Allow"}, true, Status::authorized, ""},  // without badges the line goes
      {Status::notDetermined, UNAuthorizationOptions::provisional, {}, true, Status::provisional, nullptr},
      {Status::denied, kBadgeSoundAlert, {"Allow"}, false, Status::denied, nullptr},
      {Status::authorized, kBadgeSoundAlert, {"Don't Allow"}, true, Status::authorized, nullptr},
      {Status::provisional, kBadgeSoundAlert, {"Allow"}, true, Status::authorized, kAll},
      {Status::ephemeral, kBadgeSoundAlert, {}, true, Status::ephemeral, nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "from status " << int(c.before) << " with options " << c.options);
    std::filesystem::remove_all(dir_);
    person_ = std::make_shared<ScriptedPerson>(c.script);
    auto center = makeCenter();
    ASSERT_FALSE(center->setAuthorizationStatus(c.before));
    auto [granted, error] =
        await<bool, std::optional<UNError>>([&](auto done) { center->requestAuthorization({c.options}, done); });
    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(granted, c.granted);
    const auto asked = person_->presentations();
    ASSERT_EQ(asked.size(), c.asked ? 1u : 0u);
    if (c.asked) { EXPECT_EQ(asked[0].presentation.message, c.asked); }
    EXPECT_EQ(status(*makeCenter()), c.after);  // the decision is saved
  }
}

class Delegate final : public UNUserNotificationCenterDelegate {
 public:
  void userNotificationCenter(UNUserNotificationCenter&, const UNNotification& notification,
                              std::function<void(UNNotificationPresentationOptions)> completion) override {
    presented = notification.request.identifier();
    completion({UNNotificationPresentationOptions::banner | UNNotificationPresentationOptions::sound});
  }
  void userNotificationCenter(UNUserNotificationCenter&, const UNNotificationResponse& response,
                              std::function<void()> completion) override {
    opened = response.notification.request.content().categoryIdentifier();
    completion();
  }
  std::string presented, opened;
};

TEST_F(UserNotificationCenter, HoldsTheDelegateWeakly) {
  auto center = makeCenter();
  auto delegate = std::make_shared<Delegate>();
  center->setDelegate(delegate);
  const UNNotification notification{clock_->now(), reminder("r", "DiscountReminder", {.hour = 10})};
  UNNotificationPresentationOptions shown;
  center->presentNotification(notification, [&](UNNotificationPresentationOptions o) { shown = o; });
  center->openNotification({notification}, [] {});
  EXPECT_EQ(shown.rawValue, 18u);
  EXPECT_EQ(delegate->presented, "r");
  EXPECT_EQ(delegate->opened, "DiscountReminder");

  delegate.reset();
  EXPECT_EQ(center->delegate(), nullptr);
  auto [options] = await<UNNotificationPresentationOptions>(
      [&](auto done) { center->presentNotification(notification, done); });
  EXPECT_EQ(options.rawValue, 0u);
  await<>([&](auto done) { center->openNotification({notification}, done); });
}

}  // namespace
}  // namespace aurimo::platform
