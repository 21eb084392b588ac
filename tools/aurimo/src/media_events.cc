// Events of the photo library and the image cache:
//   {"event":"photoPermission","answer":"authorized"|"limited"|"denied"|"restricted"|"notDetermined"}
//   {"event":"savePhoto","file":PATH}                  or "base64":BYTES instead of "file"
//   {"event":"imageCacheWrite","key":"…","file":PATH}  or "base64":BYTES instead of "file"
//   {"event":"imageCacheRead","key":"…"}
//
// photoPermission plays the user: while the add-only decision is open it is
// the prompt's answer, afterwards the choice made in the system's settings
// (restricted and notDetermined are always set there); then it requests
// access and answers with the resulting status. The host's photo library
// never asks on the terminal, since events may be arriving on stdin.

#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "app_context/media/cache_helper.h"
#include "app_context/media/photo_library_manager.h"
#include "events.h"
#include "platform/base64.h"
#include "platform/file_manager.h"
#include "platform/ph_photo_library.h"

namespace aurimo::tool {
namespace {

namespace fs = std::filesystem;
using platform::PHAccessLevel;
using platform::PHAuthorizationStatus;
using platform::PhotoPermissionAnswer;

// Answers what the last photoPermission event chose; nobody answers before that.
class HostPhotoPermissionPrompt final : public platform::PhotoPermissionPrompt {
 public:
  PhotoPermissionAnswer ask(PHAccessLevel) override {
    std::lock_guard lock(mutex_);
    return answer_;
  }
  void setAnswer(PhotoPermissionAnswer answer) {
    std::lock_guard lock(mutex_);
    answer_ = answer;
  }

 private:
  std::mutex mutex_;
  PhotoPermissionAnswer answer_ = PhotoPermissionAnswer::noAnswer;  // guarded by mutex_
};

struct MediaSession {
  std::shared_ptr<HostPhotoPermissionPrompt> prompt = std::make_shared<HostPhotoPermissionPrompt>();
  PhotoLibraryManager photoLibraryManager;
  CacheHelper cacheHelper;
};

PhotoPermissionAnswer promptAnswerFor(PHAuthorizationStatus status) {
  switch (status) {
    case PHAuthorizationStatus::authorized:
      return PhotoPermissionAnswer::allow;
    case PHAuthorizationStatus::limited:
      return PhotoPermissionAnswer::allowLimited;
    case PHAuthorizationStatus::denied:
      return PhotoPermissionAnswer::deny;
    case PHAuthorizationStatus::restricted:
    case PHAuthorizationStatus::notDetermined:
      break;
  }
  return PhotoPermissionAnswer::noAnswer;
}

// The bytes of "file" or of "base64", exactly one of which must be given.
platform::Data requiredBytes(const nlohmann::json& event) {
  const std::string name = requiredString(event, "event");
  const std::optional<std::string> file = optionalString(event, "file");
  const std::optional<std::string> base64 = optionalString(event, "base64");
  if (file.has_value() == base64.has_value()) throw EventError(name + ": give one of \"file\" and \"base64\"");
  if (base64) {
    std::optional<platform::Data> bytes = platform::base64Decode(*base64);
    if (!bytes) throw EventError(name + ": \"base64\" is not valid base64");
    return std::move(*bytes);
  }
  try {
    return platform::FileManager::defaultManager().contentsOfFile(*file).data;
  } catch (const std::filesystem::filesystem_error& error) {
    throw EventError(name + ": " + platform::fileErrorMessage(error));
  }
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

}  // namespace

void registerMediaEvents(EventHost& host) {
  auto session = std::make_shared<MediaSession>();
  platform::PHPhotoLibrary::slot().replace(std::make_shared<platform::PHPhotoLibrary>(session->prompt));

  host.on("photoPermission", [session](const nlohmann::json& event) {
    const std::string answer = requiredString(event, "answer");
    const std::optional<PHAuthorizationStatus> chosen = platform::authorizationStatusNamed(answer);
    if (!chosen) throw EventError("photoPermission: unknown answer \"" + answer + "\"");

    const PhotoPermissionAnswer promptAnswer = promptAnswerFor(*chosen);
    session->prompt->setAnswer(promptAnswer);
    if (!session->photoLibraryManager.canRequestPermissions() ||
        promptAnswer == PhotoPermissionAnswer::noAnswer) {
      if (auto error = platform::PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, *chosen)) {
        throw EventError("photoPermission: " + error->message);
      }
    }

    std::promise<PHAuthorizationStatus> result;
    session->photoLibraryManager.requestAuthorization(
        [&result](PHAuthorizationStatus status) { result.set_value(status); });
    const PHAuthorizationStatus status = result.get_future().get();
    return [session, answer, status](nlohmann::ordered_json& out) {
      out["answer"] = answer;
      out["status"] = std::string(platform::name(status));
      out["canRequestPermissions"] = session->photoLibraryManager.canRequestPermissions();
      out["photoLibraryHasAddPermissionOrMore"] = session->photoLibraryManager.photoLibraryHasAddPermissionOrMore();
    };
  });

  host.on("savePhoto", [session](const nlohmann::json& event) {
    platform::Data bytes = requiredBytes(event);
    const std::size_t size = bytes.size();
    platform::PHPhotoLibrary& library = platform::PHPhotoLibrary::shared();
    const std::set<fs::path> before = filesIn(library.assetsDirectory());
    session->photoLibraryManager.savePhotoData(std::move(bytes));
    library.changeQueue().sync([] {});

    // The save reports nothing, so the new photo is whatever file appeared.
    std::optional<fs::path> saved;
    for (const fs::path& file : filesIn(library.assetsDirectory())) {
      if (!before.contains(file)) saved = file;
    }
    return [size, saved](nlohmann::ordered_json& out) {
      out["bytes"] = size;
      out["photo"] = orNull(saved);
    };
  });

  host.on("imageCacheWrite", [session](const nlohmann::json& event) {
    const std::string key = requiredString(event, "key");
    const platform::Data bytes = requiredBytes(event);
    session->cacheHelper.write(bytes, key);
    // The write's outcome is not reported; a read queued behind it waits it out.
    (void)readAndWait(session->cacheHelper, key);

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

  host.on("imageCacheRead", [session](const nlohmann::json& event) {
    const std::string key = requiredString(event, "key");
    const std::optional<platform::Data> data = readAndWait(session->cacheHelper, key);
    return [key, bytes = data ? std::optional<std::size_t>(data->size()) : std::nullopt](nlohmann::ordered_json& out) {
      out["key"] = key;
      out["storage"] = std::string(CacheHelper::storageName(key));
      out["bytes"] = bytes ? nlohmann::ordered_json(*bytes) : nlohmann::ordered_json(nullptr);
    };
  });
}

}  // namespace aurimo::tool
