#include "support/desktop_delivery.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <optional>
#include <utility>

#include "events/events.h"
#include "platform/file_manager.h"
#include "platform/un_user_notification_center.h"
#include "support/notification_json.h"

namespace aurimo::tool {
namespace {

using platform::UNNotificationPresentationOptions;
using platform::UNUserNotificationCenter;

// A wake-up at least this often, so a clock set forward (or a resume from
// sleep, which the monotonic wait does not count) is noticed soon.
constexpr std::chrono::milliseconds kLongestWait = std::chrono::minutes(1);

void drain(int descriptor) {
  std::array<char, 4096> buffer;
  while (::read(descriptor, buffer.data(), buffer.size()) > 0) {
  }
}

std::string systemError(const char* what) { return std::string(what) + ": " + std::strerror(errno); }

}  // namespace

DesktopDelivery::DesktopDelivery(platform::DesktopNotificationPresenter& presenter, std::ostream& out)
    : presenter_(presenter), out_(out), app_(registerAllEvents(host_)),
      clickDescriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  // Nobody sits at the terminal to answer the permission question.
  host_.person()->answer(std::string(UNUserNotificationCenter::kPermissionKind), std::nullopt);
  presenter_.setClickHandler([this](std::uint32_t id) {
    {
      std::lock_guard lock(mutex_);
      clicks_.push_back(id);
    }
    const std::uint64_t one = 1;
    (void)!::write(clickDescriptor_, &one, sizeof one);
  });
}

DesktopDelivery::~DesktopDelivery() {
  presenter_.setClickHandler(nullptr);
  if (clickDescriptor_ >= 0) ::close(clickDescriptor_);
}

std::string DesktopDelivery::deliverDue() {
  // Taken before the app launches: its own calls on the centre would count a
  // due one-shot request as delivered without showing it.
  std::vector<platform::UNNotification> due;
  if (auto error = UNUserNotificationCenter::current().takeDueNotifications(due)) return error->message;
  for (const platform::UNNotification& notification : due) {
    if (std::string problem = deliver(notification); !problem.empty()) return problem;
  }
  return {};
}

std::string DesktopDelivery::deliver(const platform::UNNotification& notification) {
  if (!app_->isLaunched()) {
    app_->context();
    app_->reportLaunchBroadcasts();  // the launch's own broadcasts are no delivery's
  }
  const std::size_t mark = app_->takeBroadcastMark();
  // The app runs, so its willPresent rule decides how the notification shows.
  auto options = std::make_shared<std::atomic<std::uint32_t>>(0);
  UNUserNotificationCenter::current().presentNotification(
      notification, [options](UNNotificationPresentationOptions chosen) { options->store(chosen.rawValue); });
  EventHost::settle();
  const UNNotificationPresentationOptions chosen{options->load()};

  const platform::UNNotificationRequest& request = notification.request;
  nlohmann::ordered_json line;
  line["event"] = "delivered";
  line["identifier"] = request.identifier();
  line["category"] = request.content().categoryIdentifier();
  line["title"] = request.content().title();
  line["id"] = nullptr;
  const bool visible = chosen.contains(UNNotificationPresentationOptions::banner) ||
                       chosen.contains(UNNotificationPresentationOptions::list) ||
                       chosen.contains(UNNotificationPresentationOptions::alert);
  if (visible) {
    platform::DesktopNotificationPresenter::Shown shown = presenter_.notify(
        request.content().title(), request.content().body(), request.content().categoryIdentifier(), 0);
    if (!shown.error.empty()) return "cannot show \"" + request.identifier() + "\": " + shown.error;
    shown_.insert_or_assign(shown.id, request);
    line["id"] = shown.id;
  }
  line["options"] = chosen.rawValue;
  line["broadcasts"] = app_->broadcastsSince(mark);
  out_ << EventHost::format(line) << '\n' << std::flush;
  return {};
}

void DesktopDelivery::tap(std::uint32_t id) {
  auto found = shown_.find(id);
  if (found == shown_.end()) return;  // another program's, or clicked before
  const platform::UNNotificationRequest request = found->second;
  shown_.erase(found);
  // The same path as the event, so the interceptor and the broadcast behave alike.
  nlohmann::ordered_json answer = host_.handle({{"event", "notificationTap"},
                                                {"category", request.content().categoryIdentifier()},
                                                {"identifier", request.identifier()}});
  nlohmann::ordered_json line;
  line["event"] = "tapped";
  line["identifier"] = request.identifier();
  line["category"] = request.content().categoryIdentifier();
  line["id"] = id;
  for (auto& [key, value] : answer.items()) {
    if (key != "event") line[key] = std::move(value);
  }
  out_ << EventHost::format(line) << '\n' << std::flush;
}

std::string DesktopDelivery::follow(int stopDescriptor) {
  if (clickDescriptor_ < 0) return systemError("eventfd");
  // Another process adds and removes requests by replacing the state file, so
  // a change in its folder is the cue to look again.
  const std::filesystem::path folder = UNUserNotificationCenter::current().stateFile().parent_path();
  try {
    platform::FileManager& files = platform::FileManager::defaultManager();
    if (!files.fileExists(folder.string())) {
      files.createDirectory(folder.string(), true);
      files.setPermissions(folder.string(), 0700);  // as the centre makes it
    }
  } catch (const std::filesystem::filesystem_error& error) {
    return "cannot create " + folder.string() + ": " + error.code().message();
  }
  const int watch = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
  if (watch < 0) return systemError("inotify");
  struct Closer {
    int descriptor;
    ~Closer() { ::close(descriptor); }
  } closer{watch};
  if (::inotify_add_watch(watch, folder.c_str(), IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE) < 0) {
    return systemError(("watching " + folder.string()).c_str());
  }

  for (;;) {
    if (std::string problem = deliverDue(); !problem.empty()) return problem;
    std::chrono::milliseconds wait = kLongestWait;
    if (std::optional<platform::Date> next = UNUserNotificationCenter::current().nextDueDate()) {
      const auto until = std::chrono::ceil<std::chrono::milliseconds>(*next - platform::Clock::current().now());
      wait = std::clamp(until, std::chrono::milliseconds(0), kLongestWait);
    }
    std::array<pollfd, 3> fds = {pollfd{stopDescriptor, POLLIN, 0}, pollfd{watch, POLLIN, 0},
                                 pollfd{clickDescriptor_, POLLIN, 0}};
    if (::poll(fds.data(), fds.size(), static_cast<int>(wait.count())) < 0 && errno != EINTR) {
      return systemError("poll");
    }
    if (fds[0].revents != 0) return {};
    if (fds[1].revents != 0) drain(watch);
    if (fds[2].revents != 0) {
      drain(clickDescriptor_);
      std::vector<std::uint32_t> clicks;
      {
        std::lock_guard lock(mutex_);
        clicks.swap(clicks_);
      }
      for (std::uint32_t id : clicks) tap(id);
    }
  }
}

}  // namespace aurimo::tool
