#pragma once
// DesktopDelivery: plays the system's delivery of notifications on a Linux
// desktop. Each request the centre hands out as due is first put to the
// running app's willPresent rule, then shown through the presenter when the
// rule lets it show; a click on one it showed reaches the app as the
// notificationTap event does. Each delivery and tap prints one JSON line.
//
// Thread contract: main thread only, like the host; the presenter's clicks
// may come from any thread.
//
//   DesktopDelivery delivery(presenter, std::cout);
//   return delivery.follow(stop);   // until `stop` is readable

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "platform/desktop_notification_presenter.h"
#include "platform/un_notification.h"
#include "support/app_session.h"
#include "support/event_host.h"

namespace aurimo::tool {

class DesktopDelivery {
 public:
  DesktopDelivery(platform::DesktopNotificationPresenter& presenter, std::ostream& out);
  ~DesktopDelivery();
  DesktopDelivery(const DesktopDelivery&) = delete;
  DesktopDelivery& operator=(const DesktopDelivery&) = delete;

  // Delivers what is due now; an empty string, or what went wrong.
  std::string deliverDue();
  // Delivers each request at its time and answers clicks, waking when the
  // state folder changes, until `stopDescriptor` becomes readable; an empty
  // string, or what went wrong.
  std::string follow(int stopDescriptor);

 private:
  std::string deliver(const platform::UNNotification& notification);
  void tap(std::uint32_t id);

  platform::DesktopNotificationPresenter& presenter_;
  std::ostream& out_;
  EventHost host_;
  std::shared_ptr<AppSession> app_;
  std::map<std::uint32_t, platform::UNNotificationRequest> shown_;  // by the desktop's id

  const int clickDescriptor_;  // an eventfd the presenter's thread wakes the loop with
  std::mutex mutex_;
  std::vector<std::uint32_t> clicks_;  // guarded by mutex_
};

}  // namespace aurimo::tool
