#include "app_context/context/alert_action.h"

#include <utility>

#include "platform/localization.h"

namespace aurimo {
namespace {

constexpr std::string_view kCaseNames[] = {"ok",     "cancel", "tryAgain", "info",  "yes",   "no",
                                           "delete", "update", "wait",     "close", "leave", "continue"};

}  // namespace

std::optional<AlertAction> AlertAction::fromRawValue(int ordinal) {
  if (ordinal < 0 || ordinal >= static_cast<int>(kCaseCount)) return std::nullopt;
  return AlertAction(static_cast<Case>(ordinal));
}

std::string_view AlertAction::caseName() const { return kCaseNames[rawValue()]; }

std::optional<AlertAction> AlertAction::named(std::string_view caseName) {
  for (std::size_t i = 0; i < kCaseCount; ++i) {
    if (kCaseNames[i] == caseName) return fromRawValue(static_cast<int>(i));
  }
  return std::nullopt;
}

std::string AlertAction::title(const platform::Bundle& bundle) const {
  // One literal call per key, so the translation template lists every title.
  switch (case_) {
    case Case::ok:
      return platform::NSLocalizedString("OK", std::nullopt, bundle, "", "");
    case Case::cancel:
      return platform::NSLocalizedString("Cancel", std::nullopt, bundle, "", "");
    case Case::tryAgain:
      return platform::NSLocalizedString("Try Again", std::nullopt, bundle, "", "");
    case Case::info:
      return platform::NSLocalizedString("Error Info", std::nullopt, bundle, "", "");
    case Case::yes:
      return platform::NSLocalizedString("Yes", std::nullopt, bundle, "", "");
    case Case::no:
      return platform::NSLocalizedString("No", std::nullopt, bundle, "", "");
    case Case::delete_:
      return platform::NSLocalizedString("Delete", std::nullopt, bundle, "", "");
    case Case::update:
      return platform::NSLocalizedString("Update", std::nullopt, bundle, "", "");
    case Case::wait:
      return platform::NSLocalizedString("Wait", std::nullopt, bundle, "", "");
    case Case::close:
      return platform::NSLocalizedString("Close", std::nullopt, bundle, "", "");
    case Case::leave:
      return platform::NSLocalizedString("Leave", std::nullopt, bundle, "", "");
    case Case::continue_:
      return platform::NSLocalizedString("Continue", std::nullopt, bundle, "", "");
  }
  return {};
}

AlertAction::Style AlertAction::defaultStyle() const {
  switch (case_) {
    case Case::cancel:
    case Case::no:
      return Style::cancel;
    case Case::delete_:
    case Case::close:
    case Case::leave:
      return Style::destructive;
    default:
      return Style::defaultStyle;
  }
}

AlertAction::Style AlertAction::style(std::optional<Style> requested) const {
  // These two keep their look whatever a caller asks for.
  if (case_ == Case::leave) return Style::destructive;
  if (case_ == Case::continue_) return Style::defaultStyle;
  return requested.value_or(defaultStyle());
}

std::shared_ptr<platform::UIAlertAction> AlertAction::create(std::optional<Style> style, Completion completion,
                                                            const platform::Bundle& bundle) const {
  return std::make_shared<platform::UIAlertAction>(
      title(bundle), this->style(style), [action = *this, completion = std::move(completion)](platform::UIAlertAction&) {
        if (completion) completion(action);
      });
}

const std::vector<AlertAction>& AlertAction::defaultList() {
  static const std::vector<AlertAction> list{ok};
  return list;
}

const std::vector<AlertAction>& AlertAction::retryList() {
  static const std::vector<AlertAction> list{cancel, tryAgain};
  return list;
}

const std::vector<AlertAction>& AlertAction::acknowledgeList() {
  static const std::vector<AlertAction> list{cancel, ok};
  return list;
}

}  // namespace aurimo
