// Routing: a universal link and an opened message's payload each become the
// one pending route. The manager never navigates; a screen observes the
// announcement, reads shouldGoTo(), goes there and calls resetShouldGoTo().
#include <iostream>

#include <nlohmann/json.hpp>

#include "app_context/links/universal_link_manager.h"
#include "platform/notification_center.h"
#include "platform/run_loop.h"
#include "platform/url.h"
#include "platform/user_activity.h"

int main() {
  using namespace aurimo;
  using Route = UniversalLinkManager::ShouldGoTo;
  const auto links = UniversalLinkManager::create();  // over the process's own services

  int announced = 0;
  const platform::ObserverToken observation = platform::NotificationCenter::defaultCenter().addObserver(
      UniversalLinkManager::valueForShouldGoToDidChangeNotification(), links.get(),
      [&](const platform::Notification&) {
        ++announced;
        std::cout << "go to " << *links->shouldGoTo() << "\n";
        links->resetShouldGoTo();  // as a screen would once it is there
      });

  // What the system hands over when a link to the app is opened.
  const platform::NSUserActivity opened{std::string(platform::NSUserActivityTypeBrowsingWeb),
                                        platform::URL::fromString("https://links.aurimo.app/events/home_tab")};
  const bool handled = links->continueUserActivity(opened);
  const bool stored = links->shouldGoTo() == Route::homeTab();
  // Announcements are posted from the main queue: let the main run loop run them.
  platform::RunLoop::main().runUntilIdle();

  // A tapped message carries its route in an "action" payload.
  links->handleActionPayload({{"action", "explore"}, {"explore_id", "a1"}});
  platform::RunLoop::main().runUntilIdle();

  // Links to other hosts change nothing.
  const platform::NSUserActivity elsewhere{std::string(platform::NSUserActivityTypeBrowsingWeb),
                                           platform::URL::fromString("https://example.com/events/home_tab")};
  const bool foreign = links->continueUserActivity(elsewhere);

  return handled && stored && !foreign && announced == 2 ? 0 : 1;
}
