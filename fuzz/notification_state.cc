// A notification centre's state file per input, loaded as at start-up.
#include "platform/un_user_notification_center.h"
#include "state_input.h"
#include "testing/environment.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static aurimo::test::Environment env;
  placeInput(env.stateDirectory(), "user_notifications.json", data, size);
  env.restartUserNotificationCenter();
  env.userNotificationCenter().getNotificationSettings([](const aurimo::platform::UNNotificationSettings&) {});
  env.userNotificationCenter().getPendingNotificationRequests([](const auto&) {});
  env.runUntilIdle();
  return 0;
}
