#pragma once
// AlertAction: the buttons every alert of the app is built from, each with a
// fixed title (a localisation key) and a default style. Two cases are fixed
// in style whatever is asked: leave is always destructive, continue_ always
// default; close defaults to destructive, not cancel. `delete` and `continue`
// are C++ keywords, hence delete_ and continue_.
//
// Thread contract: values; create() on the main thread, like every alert.
//
//   auto button = AlertAction::tryAgain.create([](AlertAction tapped) { retry(); });
//   alert->addAction(button);

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/bundle.h"
#include "platform/ui_alert_controller.h"

namespace aurimo {

class AlertAction {
 public:
  // The ordinal is the stored value.
  enum class Case : std::int8_t { ok, cancel, tryAgain, info, yes, no, delete_, update, wait, close, leave, continue_ };
  using Style = platform::UIAlertAction::Style;
  using Completion = std::function<void(AlertAction action)>;

  static const AlertAction ok, cancel, tryAgain, info, yes, no, delete_, update, wait, close, leave, continue_;
  static constexpr std::size_t kCaseCount = 12;

  constexpr explicit AlertAction(Case value) : case_(value) {}

  constexpr Case value() const { return case_; }
  constexpr int rawValue() const { return static_cast<int>(case_); }
  // The case with raw value `ordinal`, nullopt outside 0..11.
  static std::optional<AlertAction> fromRawValue(int ordinal);
  // The case's name as written in Swift ("ok", "tryAgain", "delete", "continue", ...).
  std::string_view caseName() const;
  static std::optional<AlertAction> named(std::string_view caseName);

  // The title, localised through `bundle` with no table, an empty default and comment.
  std::string title(const platform::Bundle& bundle = platform::Bundle::main()) const;
  Style defaultStyle() const;
  // The style a button of this case shows with when `requested` is asked for.
  Style style(std::optional<Style> requested) const;

  // The platform button; a tap calls `completion` (when there is one) with this very case.
  std::shared_ptr<platform::UIAlertAction> create(std::optional<Style> style, Completion completion,
                                                  const platform::Bundle& bundle = platform::Bundle::main()) const;
  std::shared_ptr<platform::UIAlertAction> create(Completion completion) const {
    return create(std::nullopt, std::move(completion));
  }

  // The button lists of the error alert.
  static const std::vector<AlertAction>& defaultList();      // [ok]
  static const std::vector<AlertAction>& retryList();        // [cancel, tryAgain]
  static const std::vector<AlertAction>& acknowledgeList();  // [cancel, ok]

  friend constexpr bool operator==(AlertAction a, AlertAction b) { return a.case_ == b.case_; }

 private:
  Case case_;
};

inline constexpr AlertAction AlertAction::ok{Case::ok};
inline constexpr AlertAction AlertAction::cancel{Case::cancel};
inline constexpr AlertAction AlertAction::tryAgain{Case::tryAgain};
inline constexpr AlertAction AlertAction::info{Case::info};
inline constexpr AlertAction AlertAction::yes{Case::yes};
inline constexpr AlertAction AlertAction::no{Case::no};
inline constexpr AlertAction AlertAction::delete_{Case::delete_};
inline constexpr AlertAction AlertAction::update{Case::update};
inline constexpr AlertAction AlertAction::wait{Case::wait};
inline constexpr AlertAction AlertAction::close{Case::close};
inline constexpr AlertAction AlertAction::leave{Case::leave};
inline constexpr AlertAction AlertAction::continue_{Case::continue_};

}  // namespace aurimo

template <>
struct std::hash<aurimo::AlertAction> {
  std::size_t operator()(aurimo::AlertAction action) const noexcept {
    return std::hash<int>()(action.rawValue());
  }
};
