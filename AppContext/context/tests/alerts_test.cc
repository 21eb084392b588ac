#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "app_context_fixture.h"
#include "core_services_kit/core_services_kit.h"
#include "platform/ui_alert_controller.h"

namespace aurimo {
namespace {

using A = AlertAction;
using Style = AlertAction::Style;
using platform::UIAlertController;
// What a person sees of an alert: title, message and the button titles in order.
using Shown = std::tuple<std::optional<std::string>, std::optional<std::string>, std::vector<std::string>>;

Shown shown(const UIAlertController& alert) {
  std::vector<std::string> buttons;
  for (const auto& action : alert.actions()) buttons.push_back(action->title());
  return {alert.title(), alert.message(), buttons};
}

class AlertsTest : public AppContextTest {
 protected:
  // The alert on the highest window, if any.
  std::shared_ptr<UIAlertController> topAlert() {
    const auto windows = env_.application->windows();
    return std::dynamic_pointer_cast<UIAlertController>(windows.back()->rootViewController()->presentedViewController());
  }
};

TEST_F(AlertsTest, EachActionHasItsTitleAndStylesAndTapsBackItself) {
  launch();
  const struct { A action; const char* title; Style byDefault, cancelAsked; } rows[] = {
      {A::ok, "OK", Style::defaultStyle, Style::cancel},
      {A::cancel, "Cancel", Style::cancel, Style::cancel},
      {A::tryAgain, "Try Again", Style::defaultStyle, Style::cancel},
      {A::info, "Error Info", Style::defaultStyle, Style::cancel},
      {A::yes, "Yes", Style::defaultStyle, Style::cancel},
      {A::no, "No", Style::cancel, Style::cancel},
      {A::delete_, "Delete", Style::destructive, Style::cancel},
      {A::update, "Update", Style::defaultStyle, Style::cancel},
      {A::wait, "Wait", Style::defaultStyle, Style::cancel},
      {A::close, "Close", Style::destructive, Style::cancel},
      {A::leave, "Leave", Style::destructive, Style::destructive},
      {A::continue_, "Continue", Style::defaultStyle, Style::defaultStyle},
  };
  static_assert(std::size(rows) == AlertAction::kCaseCount);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.title);
    std::vector<A> taps;
    const auto alert = context_->showAlert(std::nullopt, std::nullopt, {row.action}, [&](A a) { taps.push_back(a); });
    ASSERT_EQ(alert->actions().size(), 1u);
    EXPECT_EQ(alert->actions()[0]->title(), row.title);
    EXPECT_EQ(alert->actions()[0]->style(), row.byDefault);
    EXPECT_EQ(row.action.create(Style::cancel, nullptr)->style(), row.cancelAsked);
    ASSERT_TRUE(alert->tapButton(row.title));
    EXPECT_EQ(taps, std::vector<A>{row.action});
  }
}

TEST_F(AlertsTest, ErrorAlertTextAndButtonsFollowTheErrorsKind) {
  launch();
  const platform::Error offline{"Sync", 7, "Sync failed", {std::string(platform::Error::urlDomain), -1009, "offline"}};
  const platform::Error notFound{"HTTP", 404, "missing"}, store{"HTTP", 449, "store"}, other{"App", 1, "odd"};
  const auto kit = [](int ordinal) {
    return CoreServicesKit::makeError(static_cast<CoreServicesKit::CoreServicesKitError>(ordinal));
  };
  const std::string oops = "Oops! Something Went Wrong", later = "Please try again in a few minutes.";
  const Shown noConnection{"No Internet Connection", "Check connection settings and try again.", {"OK"}};
  const Shown storeFailed{oops, "Cannot connect to iTunes Store at the moment. Please try again later.", {"Yes", "No"}};
  const std::vector<A> given{A::yes, A::no};
  const struct { platform::Error error; bool reachable; std::optional<std::vector<A>> actions;
                 std::optional<std::string> message; Shown expected; } rows[] = {
      {offline, true, std::nullopt, "mine", noConnection},
      {offline, true, given, std::nullopt, {"No Internet Connection", std::get<1>(noConnection), {"Yes", "No"}}},
      {notFound, true, std::nullopt, "mine", noConnection},
      {kit(0), true, std::nullopt, std::nullopt, noConnection},
      {other, false, std::nullopt, "mine", noConnection},
      {store, true, given, "mine", storeFailed},
      {kit(1), true, given, std::nullopt, storeFailed},
      {kit(2), true, given, "mine",
       {"Service Not Responding", "Please try to identify this coin later.", {"Cancel", "Try Again"}}},
      {kit(4), true, given, "mine", {oops, "Please try again.", {"Cancel", "OK"}}},
      {kit(3), true, given, "mine", {oops, "mine", {"Yes", "No"}}},
      {kit(3), true, std::nullopt, std::nullopt, {oops, later, {"OK"}}},
      {other, true, std::nullopt, "mine", {oops, "mine", {"OK"}}},
      {other, true, given, std::nullopt, {oops, later, {"Yes", "No"}}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "row " << (&row - rows));
    reachability_->setReachable(row.reachable);
    console_.clear();
    const auto alert = context_->showAlertForError(row.error, row.message, nullptr, row.actions);
    EXPECT_EQ(shown(*alert), row.expected);
    EXPECT_EQ(console_, std::vector<std::string>{row.error.description()});
    alert->dismiss(false);
  }
}

TEST_F(AlertsTest, ErrorInfoShowsTheRawErrorThenTheErrorAlertAgainWithItsDefaultMessage) {
  launch();
  const platform::Error error{"App", 1, "odd", {"Inner", 2, "deeper"}};
  std::vector<A> taps;
  context_->showAlertForError(error, "mine", nullptr, std::vector<A>{A::info, A::cancel},
                              [&](A a) { taps.push_back(a); });
  ASSERT_TRUE(topAlert()->tapButton("Error Info"));
  EXPECT_EQ(shown(*topAlert()), (Shown{"Error Info", error.description(), {"OK"}}));
  ASSERT_TRUE(topAlert()->tapButton("OK"));
  EXPECT_EQ(shown(*topAlert()),
            (Shown{"Oops! Something Went Wrong", "Please try again in a few minutes.", {"Error Info", "Cancel"}}));
  EXPECT_TRUE(taps.empty());
  ASSERT_TRUE(topAlert()->tapButton("Cancel"));
  EXPECT_EQ(taps, std::vector<A>{A::cancel});
  EXPECT_EQ(console_.size(), 2u);
  EXPECT_EQ(env_.application->windows(), std::vector{window_});
}

TEST_F(AlertsTest, EachAlertGetsItsOwnWindowAboveTheOthersUntilDismissed) {
  launch();
  const auto bare = context_->showAlert("first", std::nullopt, {}, nullptr);
  const auto second = context_->showAlert("second", std::nullopt, {A::ok}, nullptr);
  EXPECT_TRUE(bare->actions().empty());
  auto windows = env_.application->windows();
  ASSERT_EQ(windows.size(), 3u);
  EXPECT_EQ(windows[0], window_);
  EXPECT_LT(windows[0]->windowLevel(), windows[1]->windowLevel());
  EXPECT_LT(windows[1]->windowLevel(), windows[2]->windowLevel());
  EXPECT_EQ(windows[1]->rootViewController()->presentedViewController(), bare);
  EXPECT_EQ(topAlert(), second);

  ASSERT_TRUE(second->tapButton("OK"));
  EXPECT_EQ(env_.application->windows(), (std::vector{window_, windows[1]}));
  bare->dismiss(false);
  EXPECT_EQ(env_.application->windows(), std::vector{window_});
}

}  // namespace
}  // namespace aurimo
