// AppContext's alerts: the plain alert and the standard error alert.

#include <optional>
#include <string>
#include <utility>

#include "app_context/context/app_context.h"
#include "core_services_kit/core_services_kit.h"
#include "foundation_helpers_kit/unwrapped_error.h"
#include "platform/dispatch_queue.h"
#include "platform/localization.h"
#include "shared_logic_kit/qz_view_controller_with_self_controll_window.h"

namespace aurimo {
namespace {

using CoreServicesKit::CoreServicesKitError;
using platform::UIAlertController;

// Shows `alert` above everything, on a window of its own.
void presentOnOwnWindow(const std::shared_ptr<UIAlertController>& alert) {
  auto host = std::make_shared<SharedLogicKit::QzViewControllerWithSelfControllWindow>();
  host->present(alert, /*animated=*/true);
}

}  // namespace

std::shared_ptr<UIAlertController> AppContext::showAlert(std::optional<std::string> title,
                                                         std::optional<std::string> message,
                                                         const std::vector<AlertAction>& actions,
                                                         AlertAction::Completion completion) {
  platform::dispatchPreconditionOnMain();
  auto alert = std::make_shared<UIAlertController>(std::move(title), std::move(message), UIAlertController::Style::alert);
  for (AlertAction action : actions) alert->addAction(action.create(std::nullopt, completion, *services_.bundle));
  presentOnOwnWindow(alert);
  return alert;
}

std::shared_ptr<UIAlertController> AppContext::showAlertForError(const platform::Error& error,
                                                                 std::optional<std::string> overrideDefaultAlertMessage,
                                                                 std::shared_ptr<platform::UIViewController> presenter,
                                                                 std::optional<std::vector<AlertAction>> actions,
                                                                 AlertAction::Completion completion) {
  platform::dispatchPreconditionOnMain();
  const platform::Bundle& bundle = *services_.bundle;
  if (printToConsole_) printToConsole_(error.description());

  std::string title = platform::NSLocalizedString("Oops! Something Went Wrong", std::nullopt, bundle, "", "");
  std::string message = overrideDefaultAlertMessage
                            ? *overrideDefaultAlertMessage
                            : platform::NSLocalizedString("Please try again in a few minutes.", std::nullopt, bundle, "", "");
  std::vector<AlertAction> buttons = actions.value_or(AlertAction::defaultList());

  // Not-found and offline mean no connection whatever the reachability check says.
  const platform::Error& unwrapped = FoundationHelpersKit::unwrappedError(error);
  std::optional<CoreServicesKitError> kind;
  if (unwrapped.code() == -1009 || unwrapped.code() == 404) {
    kind = CoreServicesKitError::noInternetConnection;
  } else if (unwrapped.code() == 449) {
    kind = CoreServicesKitError::storeConnectionFailure;
  } else if (reachability_ && !reachability_->isNetworkReachable()) {
    kind = CoreServicesKitError::noInternetConnection;
  } else {
    kind = CoreServicesKit::coreServicesKitError(unwrapped);
  }

  if (kind) {
    switch (*kind) {
      case CoreServicesKitError::noInternetConnection:
        title = platform::NSLocalizedString("No Internet Connection", std::nullopt, bundle, "", "");
        message = platform::NSLocalizedString("Check connection settings and try again.", std::nullopt, bundle, "", "");
        break;
      case CoreServicesKitError::storeConnectionFailure:  // the generic title stays
        message = platform::NSLocalizedString(
            "Cannot connect to iTunes Store at the moment. Please try again later.", std::nullopt, bundle, "", "");
        break;
      case CoreServicesKitError::serviceNotResponding:
        title = platform::NSLocalizedString("Service Not Responding", std::nullopt, bundle, "", "");
        message = platform::NSLocalizedString("Please try to identify this coin later.", std::nullopt, bundle, "", "");
        buttons = AlertAction::retryList();
        break;
      case CoreServicesKitError::retryableFailure:
        message = platform::NSLocalizedString("Please try again.", std::nullopt, bundle, "", "");
        buttons = AlertAction::acknowledgeList();
        break;
      case CoreServicesKitError::unauthorized:
        break;
    }
  }

  auto alert = std::make_shared<UIAlertController>(std::move(title), std::move(message), UIAlertController::Style::alert);
  for (AlertAction button : buttons) {
    alert->addAction(button.create(
        std::nullopt,
        [self = shared_from_this(), error, presenter, actions, completion](AlertAction tapped) {
          self->handleErrorAlertButton(tapped, error, presenter, actions, completion);
        },
        bundle));
  }
  presentOnOwnWindow(alert);
  return alert;
}

void AppContext::handleErrorAlertButton(AlertAction tapped, const platform::Error& error,
                                        const std::shared_ptr<platform::UIViewController>& presenter,
                                        const std::optional<std::vector<AlertAction>>& actions,
                                        const AlertAction::Completion& completion) {
  if (tapped != AlertAction::info) {
    if (completion) completion(tapped);
    return;
  }
  // The raw error, then back to the error alert, now with its default message.
  showAlert(platform::NSLocalizedString("Error Info", std::nullopt, *services_.bundle, "", ""), error.description(),
            {AlertAction::ok},
            [self = shared_from_this(), error, presenter, actions, completion](AlertAction) {
              self->showAlertForError(error, std::nullopt, presenter, actions, completion);
            });
}

}  // namespace aurimo
