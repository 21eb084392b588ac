#pragma once
// DesktopNotificationPresenter: shows notifications on the desktop the host
// runs on and reports clicks on them. The platform's centre only decides what
// to deliver and when; this is where a delivered notification becomes visible.
// The D-Bus one lives in its own library (aurimo::dbus_notifications) so that
// nothing else needs a bus.
//
// Thread contract: notify() from one thread at a time; the click handler is
// called on the presenter's own thread.
//
//   presenter.setClickHandler([](std::uint32_t id) { tapped(id); });
//   auto shown = presenter.notify("Reminder", "Your trial ends tomorrow", "TrialExpirationReminder", 0);

#include <cstdint>
#include <functional>
#include <string>

namespace aurimo::platform {

class DesktopNotificationPresenter {
 public:
  struct Shown {
    std::uint32_t id = 0;  // the desktop's id for the notification
    std::string error;     // empty when it was shown
  };

  virtual ~DesktopNotificationPresenter() = default;

  // Shows `summary` and `body` with `category` as the desktop's category hint,
  // replacing the notification `replacesId` unless it is 0.
  virtual Shown notify(const std::string& summary, const std::string& body, const std::string& category,
                       std::uint32_t replacesId) = 0;
  // `handler` hears the id of each notification the person clicked (its
  // default action); the desktop may report other programs' ids too, so the
  // caller acts only on the ids notify() gave it. Once this returns, the
  // handler it replaced is not running and will not run again.
  virtual void setClickHandler(std::function<void(std::uint32_t id)> handler) = 0;
};

}  // namespace aurimo::platform
