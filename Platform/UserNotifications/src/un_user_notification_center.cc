#include "platform/un_user_notification_center.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <utility>

#include <nlohmann/json.hpp>

#include "platform/directories.h"
#include "platform/dispatch_queue.h"
#include "platform/localization.h"
#include "platform/state_file.h"
#include "request_coding.h"

namespace aurimo::platform {
namespace {

bool allowsDelivery(UNAuthorizationStatus status) {
  return status == UNAuthorizationStatus::authorized || status == UNAuthorizationStatus::provisional ||
         status == UNAuthorizationStatus::ephemeral;
}

// The system's question. Its second line names alerts, sounds and badges, so
// it is true only when the app asks for all three.
Presentation permissionQuestion(UNAuthorizationOptions options) {
  const bool asksForAll = options.contains(UNAuthorizationOptions::alert | UNAuthorizationOptions::sound |
                                           UNAuthorizationOptions::badge);
  return {std::string(UNUserNotificationCenter::kPermissionKind),
          NSLocalizedString("“Aurimo” Would Like to Send You Notifications",
                            "Question asked before the app may show notifications."),
          asksForAll ? NSLocalizedString("Notifications may include alerts, sounds and icon badges.",
                                         "Second line of the question about notifications, saying what they may contain.")
                     : std::string(),
          {std::string(kDontAllowChoice), std::string(kAllowChoice)}};
}

template <class F>
void completeLater(F&& block) {
  DispatchQueue::global().async(std::forward<F>(block));
}

}  // namespace

struct UNUserNotificationCenter::State {
  State(const std::filesystem::path& directory, std::shared_ptr<Person> person,
        FileManager& files)
      : file(directory / "user_notifications.json"), person(std::move(person)), files(files) {}

  const std::filesystem::path file;
  const std::shared_ptr<Person> person;
  FileManager& files;
  // One permission question at a time, as the system's modal prompt.
  DispatchQueue promptQueue{"UNUserNotificationCenter.prompt"};

  mutable std::mutex mutex;
  UNAuthorizationStatus status = UNAuthorizationStatus::notDetermined;  // guarded by mutex
  std::vector<internal::PendingRequest> pending;                       // guarded by mutex
  std::weak_ptr<UNUserNotificationCenterDelegate> delegate;            // guarded by mutex

  // Requires mutex. One-shot requests whose time has come were delivered.
  void dropDelivered() {
    const Date now = Clock::current().now();
    std::erase_if(pending, [now](const internal::PendingRequest& p) { return p.fireDate && *p.fireDate <= now; });
  }

  // Requires mutex.
  std::optional<UNError> save() const {
    try {
      saveStateFile(files, file, internal::encodeState(status, pending).dump(2));
    } catch (const std::filesystem::filesystem_error& error) {
      return UNError{UNError::Code::storageFailed, fileErrorMessage(error)};
    }
    return std::nullopt;
  }

  // Requires mutex. What the file says now, as another process may have changed it.
  void reload() {
    status = UNAuthorizationStatus::notDetermined;
    pending.clear();
    load();
  }

  void load() {
    loadStateFile(files, file, "notification state", "no pending requests, permission undetermined",
                  [this](std::string_view text) -> std::string {
                    if (internal::decodeState(text, status, pending)) return {};
                    status = UNAuthorizationStatus::notDetermined;
                    pending.clear();
                    return "not a saved notification state";
                  });
  }
};

UNUserNotificationCenter::UNUserNotificationCenter(std::filesystem::path stateDirectory,
                                                   std::shared_ptr<Person> person,
                                                   FileManager& files)
    : state_(std::make_shared<State>(stateDirectory, std::move(person), files)) {
  if (!state_->person) {
    std::fprintf(stderr, "UNUserNotificationCenter: a person to ask is required\n");
    std::abort();
  }
  state_->load();
}

UNUserNotificationCenter::~UNUserNotificationCenter() = default;

Replaceable<UNUserNotificationCenter>& UNUserNotificationCenter::slot() {
  static Replaceable<UNUserNotificationCenter> instance([] {
    return std::make_shared<UNUserNotificationCenter>(Directories::current().stateDirectory(),
                                                      std::make_shared<TerminalPerson>());
  });
  return instance;
}

const std::filesystem::path& UNUserNotificationCenter::stateFile() const { return state_->file; }

void UNUserNotificationCenter::setDelegate(std::weak_ptr<UNUserNotificationCenterDelegate> delegate) {
  std::lock_guard lock(state_->mutex);
  state_->delegate = std::move(delegate);
}

std::shared_ptr<UNUserNotificationCenterDelegate> UNUserNotificationCenter::delegate() const {
  std::lock_guard lock(state_->mutex);
  return state_->delegate.lock();
}

void UNUserNotificationCenter::getNotificationSettings(std::function<void(UNNotificationSettings)> completionHandler) {
  UNNotificationSettings settings;
  {
    std::lock_guard lock(state_->mutex);
    settings.authorizationStatus = state_->status;
  }
  if (completionHandler) completeLater([completionHandler = std::move(completionHandler), settings] { completionHandler(settings); });
}

void UNUserNotificationCenter::requestAuthorization(
    UNAuthorizationOptions options, std::function<void(bool, std::optional<UNError>)> completionHandler) {
  state_->promptQueue.async([state = state_, options, completionHandler = std::move(completionHandler)] {
    UNAuthorizationStatus before;
    {
      std::lock_guard lock(state->mutex);
      before = state->status;
    }
    const bool wantsProvisional = options.contains(UNAuthorizationOptions::provisional);
    UNAuthorizationStatus after = before;
    if (before == UNAuthorizationStatus::notDetermined && wantsProvisional) {
      after = UNAuthorizationStatus::provisional;  // granted quietly, without asking
    } else if (before == UNAuthorizationStatus::notDetermined ||
               (before == UNAuthorizationStatus::provisional && !wantsProvisional)) {
      const Presentation question = permissionQuestion(options);
      if (std::optional<std::size_t> answer = state->person->ask(question)) {
        after = question.choices[*answer] == kAllowChoice ? UNAuthorizationStatus::authorized
                                                          : UNAuthorizationStatus::denied;
      }
    }
    std::optional<UNError> error;
    if (after != before) {
      std::lock_guard lock(state->mutex);
      state->status = after;
      state->dropDelivered();
      error = state->save();
    }
    const bool granted = !error && allowsDelivery(after);
    if (completionHandler) {
      completeLater([completionHandler, granted, error] { completionHandler(granted, error); });
    }
  });
}

void UNUserNotificationCenter::add(const UNNotificationRequest& request,
                                   std::function<void(std::optional<UNError>)> completionHandler) {
  std::optional<UNError> error;
  const UNNotificationTrigger* trigger = request.trigger().get();
  std::optional<Date> fireDate, nextDate;
  const Date now = Clock::current().now();
  if (request.identifier().empty()) {
    error = UNError{UNError::Code::invalidRequest, "a request needs an identifier"};
  } else if (dynamic_cast<const UNPushNotificationTrigger*>(trigger)) {
    error = UNError{UNError::Code::invalidRequest, "push notifications come from the push service"};
  } else if (auto* interval = dynamic_cast<const UNTimeIntervalNotificationTrigger*>(trigger)) {
    if (!(interval->timeInterval() > 0)) {
      error = UNError{UNError::Code::invalidRequest, "the time interval must be greater than 0"};
    } else if (!interval->repeats()) {
      // An interval past the end of Date fires at its end rather than wrapping into the past.
      fireDate = addingTimeInterval(now, interval->timeInterval());
    } else {
      nextDate = internal::nextRepeat(interval, now);
    }
  } else if (auto* calendar = dynamic_cast<const UNCalendarNotificationTrigger*>(trigger)) {
    // One that can never fire again counts as delivered.
    if (!calendar->repeats()) fireDate = calendar->nextTriggerDate().value_or(now);
    else nextDate = internal::nextRepeat(calendar, now);
  } else {
    fireDate = now;  // no trigger: delivered at once
  }
  if (!error) {
    std::lock_guard lock(state_->mutex);
    state_->dropDelivered();
    std::erase_if(state_->pending, [&](const internal::PendingRequest& p) {
      return p.request.identifier() == request.identifier();
    });
    state_->pending.push_back({request, fireDate, nextDate});
    error = state_->save();
  }
  if (completionHandler) completeLater([completionHandler = std::move(completionHandler), error] { completionHandler(error); });
}

void UNUserNotificationCenter::getPendingNotificationRequests(
    std::function<void(std::vector<UNNotificationRequest>)> completionHandler) {
  std::vector<UNNotificationRequest> requests;
  {
    std::lock_guard lock(state_->mutex);
    state_->dropDelivered();
    for (const internal::PendingRequest& p : state_->pending) requests.push_back(p.request);
  }
  if (completionHandler) {
    completeLater([completionHandler = std::move(completionHandler), requests = std::move(requests)] {
      completionHandler(requests);
    });
  }
}

void UNUserNotificationCenter::removePendingNotificationRequests(const std::vector<std::string>& withIdentifiers) {
  std::lock_guard lock(state_->mutex);
  state_->dropDelivered();
  std::erase_if(state_->pending, [&](const internal::PendingRequest& p) {
    return std::find(withIdentifiers.begin(), withIdentifiers.end(), p.request.identifier()) != withIdentifiers.end();
  });
  // The platform's call reports nothing; a failed write still shows on stderr.
  if (auto error = state_->save()) std::fprintf(stderr, "UNUserNotificationCenter: %s\n", error->message.c_str());
}

void UNUserNotificationCenter::removeAllPendingNotificationRequests() {
  std::lock_guard lock(state_->mutex);
  state_->pending.clear();
  if (auto error = state_->save()) std::fprintf(stderr, "UNUserNotificationCenter: %s\n", error->message.c_str());
}

std::optional<UNError> UNUserNotificationCenter::setAuthorizationStatus(UNAuthorizationStatus status) {
  std::lock_guard lock(state_->mutex);
  state_->status = status;
  state_->dropDelivered();
  return state_->save();
}

std::optional<UNError> UNUserNotificationCenter::takeDueNotifications(std::vector<UNNotification>& due) {
  std::lock_guard lock(state_->mutex);
  state_->reload();
  const Date now = Clock::current().now();
  const bool shows = allowsDelivery(state_->status);
  bool changed = false;
  for (auto p = state_->pending.begin(); p != state_->pending.end();) {
    if (p->fireDate && *p->fireDate <= now) {
      if (shows) due.push_back({*p->fireDate, p->request});
      p = state_->pending.erase(p);
      changed = true;
      continue;
    }
    if (p->nextDate && *p->nextDate <= now) {
      if (shows) due.push_back({*p->nextDate, p->request});
      // Missed repeats collapse into this one, as a device that was off shows one.
      p->nextDate = internal::nextRepeat(p->request.trigger().get(), now);
      changed = true;
    }
    ++p;
  }
  return changed ? state_->save() : std::nullopt;
}

std::optional<Date> UNUserNotificationCenter::nextDueDate() const {
  std::lock_guard lock(state_->mutex);
  std::optional<Date> next;
  for (const internal::PendingRequest& p : state_->pending) {
    for (const std::optional<Date>& date : {p.fireDate, p.nextDate}) {
      if (date && (!next || *date < *next)) next = date;
    }
  }
  return next;
}

void UNUserNotificationCenter::presentNotification(
    const UNNotification& notification, std::function<void(UNNotificationPresentationOptions)> completionHandler) {
  if (auto delegate = this->delegate()) {
    if (!completionHandler) completionHandler = [](UNNotificationPresentationOptions) {};
    delegate->userNotificationCenter(*this, notification, std::move(completionHandler));
  } else if (completionHandler) {
    completeLater([completionHandler = std::move(completionHandler)] { completionHandler({}); });
  }
}

void UNUserNotificationCenter::openNotification(const UNNotificationResponse& response,
                                                std::function<void()> completionHandler) {
  if (auto delegate = this->delegate()) {
    if (!completionHandler) completionHandler = [] {};
    delegate->userNotificationCenter(*this, response, std::move(completionHandler));
  } else if (completionHandler) {
    completeLater(std::move(completionHandler));
  }
}

}  // namespace aurimo::platform
