// Events of the photo library and the image cache:
//   {"event":"photoPermission","answer":"authorized"|"limited"|"denied"|"restricted"|"notDetermined"}
//   {"event":"savePhoto","file":PATH}                  or "base64":BYTES instead of "file"
//   {"event":"imageCacheWrite","key":"…","file":PATH}  or "base64":BYTES instead of "file"
//   {"event":"imageCacheRead","key":"…"}
//
// photoPermission plays the user: while the add-only decision is open it is
// the person's answer, afterwards the choice made in the system's settings
// (restricted and notDetermined are always set there); then it requests
// access and answers with the resulting status. The host's photo library
// never asks on the terminal, since events may be arriving on stdin.

#include <cerrno>
#include <filesystem>
#include <future>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "app_context/media/cache_helper.h"
#include "app_context/media/photo_library_manager.h"
#include "events/events.h"
#include "platform/base64.h"
#include "platform/file_manager.h"
#include "platform/ph_photo_library.h"
#include "support/app_session.h"
#include "support/input_file.h"

namespace aurimo::tool {
namespace {

namespace fs = std::filesystem;
using platform::PHAccessLevel;
using platform::PHAuthorizationStatus;

// The choice the user takes when asked; nullopt for a status only the system's settings set.
std::optional<std::string> choiceFor(PHAuthorizationStatus status) {
  switch (status) {
    case PHAuthorizationStatus::authorized:
      return std::string(platform::kAllowChoice);
    case PHAuthorizationStatus::limited:
      return std::string(platform::kLimitedChoice);
    case PHAuthorizationStatus::denied:
      return std::string(platform::kDontAllowChoice);
    case PHAuthorizationStatus::restricted:
    case PHAuthorizationStatus::notDetermined:
      break;
  }
  return std::nullopt;
}

// The bytes of "file" or of "base64", exactly one of which must be given.
platform::Data requiredBytes(const nlohmann::json& event) {
  const std::string name = requiredString(event, "event");
  const std::optional<std::string> file = optionalString(event, "file");
  const std::optional<std::string> base64 = optionalString(event, "base64");
  if (file.has_value() == base64.has_value()) throw EventError(name + ": give one of \"file\" and \"base64\"");
  if (!base64) return readInputFile(*file, kInputFileLimit, name);
  std::optional<platform::Data> bytes = platform::base64Decode(*base64);
  if (!bytes) throw EventError(name + ": \"base64\" is not valid base64");
  if (bytes->size() > kInputFileLimit) throw EventError(name + ": \"base64\" holds more than 64 MiB");
  return std::move(*bytes);
}

// The image cache serving `key`, once its folder is known to be usable. The
// library cannot run without its storages and treats one it cannot create
// as fatal; here the caches folder comes from outside, so the event is
// refused instead and the run goes on. Checked on every event, with the
// calls the storage makes, since the folder can break mid-run.
CacheHelper& usableImageCache(AppSession& app, const std::string& event, std::string_view key) {
  platform::FileManager& files = platform::FileManager::defaultManager();
  try {
    const std::string folder = files.cachesDirectory() + "/" + std::string(CacheHelper::storageName(key));
    if (!files.fileExists(folder)) files.createDirectory(folder, true);
    std::error_code ignored;
    if (!fs::is_directory(folder, ignored)) platform::throwFileError("mkdir", folder, ENOTDIR);
  } catch (const std::filesystem::filesystem_error& error) {
    throw EventError(event + ": the image cache is unusable (" + platform::fileErrorMessage(error) + ")");
  }
  return app.imageCache();
}

std::set<fs::path> filesIn(const fs::path& directory) {
  std::set<fs::path> files;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(directory, ignored)) files.insert(entry.path());
  return files;
}

std::optional<platform::Data> readAndWait(CacheHelper& cacheHelper, const std::string& key) {
  std::promise<std::optional<platform::Data>> promise;
  cacheHelper.read(key, [&promise](std::optional<platform::Data> data) { promise.set_value(std::move(data)); });
  return promise.get_future().get();
}

nlohmann::ordered_json orNull(const std::optional<fs::path>& path) {
  return path ? nlohmann::ordered_json(path->string()) : nlohmann::ordered_json(nullptr);
}

class MediaEvents final : public EventModule {
 public:
  explicit MediaEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}
  void registerEvents(EventHost& host) override;

 private:
  const std::shared_ptr<AppSession> app_;
};

void MediaEvents::registerEvents(EventHost& host) {
  host.on("photoPermission", [this, person = host.person()](const nlohmann::json& event) {
    app_->context();
    const std::string answer = requiredString(event, "answer");
    const std::optional<PHAuthorizationStatus> chosen = platform::authorizationStatusNamed(answer);
    if (!chosen) throw EventError("photoPermission: unknown answer \"" + answer + "\"");

    PhotoLibraryManager& photos = app_->context().photoLibraryManager();
    const std::optional<std::string> choice = choiceFor(*chosen);
    person->answer(std::string(platform::PHPhotoLibrary::kPermissionKind), choice);
    if (!photos.canRequestPermissions() || !choice) {
      if (auto error = platform::PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, *chosen)) {
        throw EventError("photoPermission: " + error->message);
      }
    }

    std::promise<PHAuthorizationStatus> result;
    photos.requestAuthorization([&result](PHAuthorizationStatus status) { result.set_value(status); });
    const PHAuthorizationStatus status = result.get_future().get();
    return [&photos, answer, status](nlohmann::ordered_json& out) {
      out["answer"] = answer;
      out["status"] = std::string(platform::name(status));
      out["canRequestPermissions"] = photos.canRequestPermissions();
      out["photoLibraryHasAddPermissionOrMore"] = photos.photoLibraryHasAddPermissionOrMore();
    };
  });

  host.on("savePhoto", [this](const nlohmann::json& event) {
    PhotoLibraryManager& photos = app_->context().photoLibraryManager();
    platform::Data bytes = requiredBytes(event);
    const std::size_t size = bytes.size();
    platform::PHPhotoLibrary& library = platform::PHPhotoLibrary::shared();
    const std::set<fs::path> before = filesIn(library.assetsDirectory());
    std::optional<platform::PHPhotosError> failure;  // written on the change queue, read after sync
    photos.savePhotoData(std::move(bytes), [&failure](bool, std::optional<platform::PHPhotosError> error) {
      failure = std::move(error);
    });
    library.changeQueue().sync([] {});
    // A refusal is no failure: "photo":null says it. A disk that failed is.
    using Code = platform::PHPhotosError::Code;
    if (failure && (failure->code == Code::accessUserDenied || failure->code == Code::accessRestricted)) {
      failure.reset();
    }

    // The save reports nothing, so the new photo is whatever file appeared.
    std::optional<fs::path> saved;
    for (const fs::path& file : filesIn(library.assetsDirectory())) {
      if (!before.contains(file)) saved = file;
    }
    return [size, saved, failure](nlohmann::ordered_json& out) {
      out["bytes"] = size;
      out["photo"] = orNull(saved);
      if (failure) out["error"] = "savePhoto: the photo could not be saved (" + failure->message + ")";
    };
  });

  host.on("imageCacheWrite", [this](const nlohmann::json& event) {
    app_->context();
    const std::string key = requiredString(event, "key");
    const platform::Data bytes = requiredBytes(event);
    CacheHelper& cache = usableImageCache(*app_, "imageCacheWrite", key);
    cache.write(bytes, key);
    // The write's outcome is not reported; a read queued behind it waits it out.
    (void)readAndWait(cache, key);

    std::optional<fs::path> file = fs::path(CacheHelper::storage(key).hybridStorage().diskStorage().filePath(key));
    std::error_code ignored;
    if (!fs::is_regular_file(*file, ignored)) file.reset();
    return [key, size = bytes.size(), file](nlohmann::ordered_json& out) {
      out["key"] = key;
      out["storage"] = std::string(CacheHelper::storageName(key));
      out["bytes"] = size;
      out["cacheFile"] = orNull(file);
    };
  });

  host.on("imageCacheRead", [this](const nlohmann::json& event) {
    app_->context();
    const std::string key = requiredString(event, "key");
    const std::optional<platform::Data> data = readAndWait(usableImageCache(*app_, "imageCacheRead", key), key);
    return [key, bytes = data ? std::optional<std::size_t>(data->size()) : std::nullopt](nlohmann::ordered_json& out) {
      out["key"] = key;
      out["storage"] = std::string(CacheHelper::storageName(key));
      out["bytes"] = bytes ? nlohmann::ordered_json(*bytes) : nlohmann::ordered_json(nullptr);
    };
  });
}

}  // namespace

std::unique_ptr<EventModule> mediaEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<MediaEvents>(std::move(app));
}

}  // namespace aurimo::tool
