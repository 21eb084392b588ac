#include "platform/un_user_notification_center.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <future>
#include <thread>
#include <tuple>

#include "testing/fake_clock.h"
#include "testing/scripted_permission_prompt.h"
#include "testing/temporary_directory.h"

namespace aurimo::platform {
namespace {

using test::ScriptedNotificationPermissionPrompt;
using Answer = NotificationPermissionAnswer;
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
    return std::make_unique<UNUserNotificationCenter>(dir_, prompt_);
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
  std::shared_ptr<ScriptedNotificationPermissionPrompt> prompt_ = std::make_shared<ScriptedNotificationPermissionPrompt>();
  test::TemporaryDirectory tmp_;
  std::filesystem::path dir_ = tmp_.path() / "state";
};

TEST_F(UserNotificationCenter, CompletionsNeverRunInsideTheCall) {
  auto center = makeCenter();
  await<UNNotificationSettings>([&](auto done) { center->getNotificationSettings(done); });
  await<bool, std::optional<UNError>>([&](auto done) { center->requestAuthorization({7}, done); });
  await<std::optional<UNError>>([&](auto done) { center->add(reminder("a", "c", {.hour = 10}), done); });
  await<std::vector<UNNotificationRequest>>([&](auto done) { center->getPendingNotificationRequests(done); });
  await<UNNotificationPresentationOptions>([&](auto done) {
    center->presentNotification({clock_->now(), reminder("a", "c", {.hour = 10})}, done);
  });
  await<>([&](auto done) { center->openNotification({{clock_->now(), reminder("a", "c", {.hour = 10})}}, done); });
}

TEST_F(UserNotificationCenter, PendingRequestsSurviveARestart) {
  DateComponents inNewYork{.timeZone = TimeZone::named("America/New_York"), .year = 2023, .month = 11, .day = 20,
                           .hour = 10, .minute = 0, .second = 0};
  {
    auto center = makeCenter();
    center->add(reminder("trial_expiration_reminder", "TrialExpirationReminder", inNewYork), nullptr);
    center->add(reminder("discount", "DiscountReminder", {.hour = 9, .weekday = 2}, /*repeats=*/true), nullptr);
  }
  auto reopened = makeCenter();
  const auto requests = pending(*reopened);
  ASSERT_THAT(identifiers(requests), testing::ElementsAre("trial_expiration_reminder", "discount"));
  const auto& original = reminder("trial_expiration_reminder", "TrialExpirationReminder", inNewYork);
  EXPECT_EQ(requests[0].content(), original.content());
  auto* trigger = dynamic_cast<const UNCalendarNotificationTrigger*>(requests[0].trigger().get());
  ASSERT_NE(trigger, nullptr);
  EXPECT_EQ(trigger->dateComponents(), inNewYork);
  EXPECT_FALSE(trigger->repeats());
  EXPECT_TRUE(requests[1].trigger()->repeats());
}

TEST_F(UserNotificationCenter, AddReplacesByIdentifierAndRemoveTakesOnlyTheNamedOnes) {
  auto center = makeCenter();
  for (const char* id : {"a", "b", "c"}) center->add(reminder(id, "first", {.hour = 10}), nullptr);
  center->add(reminder("b", "second", {.hour = 11}), nullptr);
  center->removePendingNotificationRequests({"a", "not-there"});
  const auto requests = pending(*center);
  ASSERT_THAT(identifiers(requests), testing::ElementsAre("c", "b"));
  EXPECT_EQ(requests[1].content().categoryIdentifier(), "second");
  center->removePendingNotificationRequests({});
  EXPECT_EQ(pending(*center).size(), 2u);
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

TEST_F(UserNotificationCenter, RefusesRequestsItCannotDeliver) {
  auto center = makeCenter();
  const UNNotificationRequest push("push", UNMutableNotificationContent{}, std::make_shared<UNPushNotificationTrigger>());
  const UNNotificationRequest nameless("", UNMutableNotificationContent{}, nullptr);
  for (const auto& request : {push, nameless}) {
    auto [error] = await<std::optional<UNError>>([&](auto done) { center->add(request, done); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->code, UNError::Code::invalidRequest);
  }
  EXPECT_TRUE(pending(*center).empty());
}

struct AuthorizationCase {
  Status before;
  std::uint32_t options;
  std::vector<Answer> script;
  bool granted;
  Status after;
  std::size_t questions;
};

TEST_F(UserNotificationCenter, RequestsAuthorizationThroughThePrompt) {
  constexpr std::uint32_t kBadgeSoundAlert = 7;
  const AuthorizationCase cases[] = {
      {Status::notDetermined, kBadgeSoundAlert, {Answer::allow}, true, Status::authorized, 1},
      {Status::notDetermined, kBadgeSoundAlert, {Answer::deny}, false, Status::denied, 1},
      {Status::notDetermined, kBadgeSoundAlert, {Answer::noAnswer}, false, Status::notDetermined, 1},
      {Status::notDetermined, UNAuthorizationOptions::provisional, {}, true, Status::provisional, 0},
      {Status::denied, kBadgeSoundAlert, {Answer::allow}, false, Status::denied, 0},
      {Status::authorized, kBadgeSoundAlert, {Answer::deny}, true, Status::authorized, 0},
      {Status::provisional, kBadgeSoundAlert, {Answer::allow}, true, Status::authorized, 1},
      {Status::ephemeral, kBadgeSoundAlert, {}, true, Status::ephemeral, 0},
  };
  for (const AuthorizationCase& c : cases) {
    SCOPED_TRACE(testing::Message() << "from status " << int(c.before) << " with options " << c.options);
    std::filesystem::remove_all(dir_);
    prompt_ = std::make_shared<ScriptedNotificationPermissionPrompt>(c.script);
    auto center = makeCenter();
    ASSERT_FALSE(center->setAuthorizationStatus(c.before));
    auto [granted, error] =
        await<bool, std::optional<UNError>>([&](auto done) { center->requestAuthorization({c.options}, done); });
    EXPECT_FALSE(error.has_value());
    EXPECT_EQ(granted, c.granted);
    EXPECT_EQ(prompt_->asked().size(), c.questions);
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
}

struct TerminalCase {
  const char* typed;
  Answer answer;
};

TEST(TerminalNotificationPermissionPrompt, ReadsYesOrNoUntilItGetsOne) {
  const TerminalCase cases[] = {{"Y\n", Answer::allow}, {"maybe\n no \n", Answer::deny}, {"", Answer::noAnswer},
                                {"what\n", Answer::noAnswer}};
  for (const TerminalCase& c : cases) {
    std::string typed = c.typed;
    std::FILE* input = fmemopen(typed.data(), typed.size() + 1, "r");
    std::FILE* output = std::tmpfile();
    EXPECT_EQ(TerminalNotificationPermissionPrompt(input, output, false).ask({7}), c.answer) << c.typed;
    std::fclose(input);
    std::fclose(output);
  }
  // A pipe is not a terminal: nobody is asked.
  std::string typed = "y\n";
  std::FILE* input = fmemopen(typed.data(), typed.size(), "r");
  EXPECT_EQ(TerminalNotificationPermissionPrompt(input, stderr).ask({7}), Answer::noAnswer);
  std::fclose(input);
}

}  // namespace
}  // namespace aurimo::platform
