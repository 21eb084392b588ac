#include "platform/ph_photo_library.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <string>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include "change_transaction.h"
#include "image_format.h"
#include "platform/atomic_file.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/photo_library_system.h"

namespace platform {
namespace {

using Code = PHPhotosError::Code;

PHPhotosError fileFailure(const FileError& error) {
  bool full = error.errnoValue == ENOSPC || error.errnoValue == EDQUOT;
  return {full ? Code::notEnoughSpace : Code::internalError, error.message()};
}

// "IMG_20261122_031500_123", from `date` in UTC.
std::string nameStem(Date date) {
  using namespace std::chrono;
  auto millis = floor<milliseconds>(date);
  auto day = floor<days>(millis);
  year_month_day ymd(day);
  hh_mm_ss time(millis - day);
  char text[40];
  std::snprintf(text, sizeof text, "IMG_%04d%02u%02u_%02d%02d%02d_%03d", static_cast<int>(ymd.year()),
                static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text;
}

std::string extensionFor(const PHAssetCreationRequest::Resource& photo) {
  std::string_view detected = internal::imageFileExtension(photo.data);
  if (!detected.empty()) return std::string(detected);
  if (photo.options && photo.options->originalFilename) {
    std::string given = std::filesystem::path(*photo.options->originalFilename).extension().string();
    if (given.size() > 1) return given.substr(1);
  }
  return "bin";
}

// Moves `staging` to the first free "<stem>_<n>.<extension>"; never replaces a file,
// even one another process created a moment ago.
std::optional<std::filesystem::path> claimName(const std::filesystem::path& staging,
                                               const std::filesystem::path& folder, const std::string& stem,
                                               const std::string& extension, std::optional<FileError>& failure) {
  for (int suffix = 1;; ++suffix) {
    std::filesystem::path target = folder / (stem + "_" + std::to_string(suffix) + "." + extension);
    if (::renameat2(AT_FDCWD, staging.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return target;
    if (errno == EEXIST) continue;
    if (errno == EINVAL || errno == ENOSYS) {
      // A file system without no-replace renames: check first, as well as it can be done.
      std::error_code ignored;
      if (std::filesystem::exists(target, ignored)) continue;
      if (::rename(staging.c_str(), target.c_str()) == 0) return target;
    }
    failure = FileError{"rename", target, errno};
    return std::nullopt;
  }
}

std::optional<PHPhotosError> checkAccess() {
  PhotoLibrarySystem& system = PhotoLibrarySystem::current();
  if (system.allowsAdding()) return std::nullopt;
  if (system.authorizationStatus(PHAccessLevel::addOnly) == PHAuthorizationStatus::restricted) {
    return PHPhotosError{Code::accessRestricted, "photo library access is restricted"};
  }
  return PHPhotosError{Code::accessUserDenied, "the user has not allowed adding to the photo library"};
}

std::optional<PHPhotosError> validate(const internal::ChangeTransaction& transaction) {
  for (const auto& request : transaction.creationRequests()) {
    const auto& resources = request->resources();
    if (resources.empty()) return PHPhotosError{Code::missingResource, "an asset creation request has no photo"};
    if (resources.size() > 1) {
      return PHPhotosError{Code::invalidResource, "an asset creation request has more than one photo"};
    }
    if (resources.front().data.empty()) return PHPhotosError{Code::invalidResource, "the photo has no bytes"};
  }
  return std::nullopt;
}

}  // namespace

Replaceable<PHPhotoLibrary>& PHPhotoLibrary::slot() {
  static Replaceable<PHPhotoLibrary> instance([] { return std::make_shared<PHPhotoLibrary>(); });
  return instance;
}

PHPhotoLibrary::PHPhotoLibrary(std::optional<std::filesystem::path> assetsDirectory)
    : assetsDirectory_(std::move(assetsDirectory)), changeQueue_("Photos.PHPhotoLibrary.ChangeQueue") {}

std::filesystem::path PHPhotoLibrary::assetsDirectory() const {
  if (assetsDirectory_) return *assetsDirectory_;
  return Directories::current().picturesDirectory() / kAppFolder;
}

PHAuthorizationStatus PHPhotoLibrary::authorizationStatus(PHAccessLevel level) {
  return PhotoLibrarySystem::current().authorizationStatus(level);
}

void PHPhotoLibrary::requestAuthorization(PHAccessLevel level, AuthorizationHandler handler) {
  DispatchQueue::global().async([level, handler = std::move(handler)] {
    PHAuthorizationStatus status = PhotoLibrarySystem::current().resolve(level);
    if (handler) handler(status);
  });
}

void PHPhotoLibrary::performChanges(ChangeBlock changeBlock, CompletionHandler completionHandler) {
  changeQueue_.async([this, changeBlock = std::move(changeBlock), completionHandler = std::move(completionHandler)] {
    apply(changeBlock, completionHandler);
  });
}

void PHPhotoLibrary::apply(const ChangeBlock& changeBlock, const CompletionHandler& completionHandler) {
  internal::ChangeTransaction transaction;
  {
    internal::ChangeTransaction::Scope scope(transaction);
    if (changeBlock) changeBlock();
  }

  auto commit = [&]() -> std::optional<PHPhotosError> {
    if (auto denied = checkAccess()) return denied;
    if (auto invalid = validate(transaction)) return invalid;
    if (transaction.creationRequests().empty()) return std::nullopt;

    const std::filesystem::path folder = assetsDirectory();
    if (std::error_code error = Directories::createPrivateDirectory(folder)) {
      return fileFailure(FileError{"mkdir", folder, error.value()});
    }
    static std::atomic<unsigned long> stagingCounter{0};
    const std::string stem = nameStem(Clock::current().now());
    std::vector<std::filesystem::path> written;
    std::optional<FileError> failure;
    for (const auto& request : transaction.creationRequests()) {
      const auto& photo = request->resources().front();
      std::filesystem::path staging =
          folder / (".staging-" + std::to_string(::getpid()) + "-" + std::to_string(++stagingCounter));
      failure = writeFileAtomically(staging, photo.data);
      if (!failure) {
        if (auto path = claimName(staging, folder, stem, extensionFor(photo), failure)) written.push_back(*path);
      }
      if (failure) {
        std::error_code ignored;
        std::filesystem::remove(staging, ignored);
        break;
      }
    }
    if (!failure) return std::nullopt;
    // All or nothing: take back the assets this change already added.
    for (const auto& path : written) {
      std::error_code ignored;
      std::filesystem::remove(path, ignored);
    }
    return fileFailure(*failure);
  };

  std::optional<PHPhotosError> error = commit();
  if (completionHandler) completionHandler(!error.has_value(), std::move(error));
}

}  // namespace platform
