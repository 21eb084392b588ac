#include "platform/ph_photo_library.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "authorization_store.h"
#include "change_transaction.h"
#include "image_format.h"
#include "platform/clock.h"
#include "platform/directories.h"
#include "platform/localization.h"

namespace aurimo::platform {
namespace {

using Code = PHPhotosError::Code;

PHPhotosError fileFailure(const std::filesystem::filesystem_error& error) {
  bool full = error.code().value() == ENOSPC || error.code().value() == EDQUOT;
  return {full ? Code::notEnoughSpace : Code::internalError, fileErrorMessage(error)};
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

// The suffixes that files named "<stem>_<n>.<any extension>" in `folder` already use.
std::set<int> suffixesInUse(FileManager& files, const std::filesystem::path& folder, const std::string& stem) {
  std::set<int> used;
  const std::string prefix = stem + "_";
  (void)files.enumerateDirectory(
      folder, [&](std::string_view name) { return name.starts_with(prefix); },
      [&](const DirectoryEntry& entry) {
        const std::string_view name = entry.name;
        const std::size_t end = name.find('.', prefix.size());
        if (entry.attributes.isDirectory() || end == std::string_view::npos) return;
        int suffix = 0;
        auto [stop, parsed] = std::from_chars(name.data() + prefix.size(), name.data() + end, suffix);
        if (parsed == std::errc() && stop == name.data() + end) used.insert(suffix);
      });
  return used;
}

// Moves `staging` to "<stem>_<n>.<extension>" with the first n that no photo of any
// format uses; never replaces a file, even one another process made a moment ago.
std::string claimName(FileManager& files, const std::string& staging, const std::filesystem::path& folder,
                      const std::string& stem, const std::string& extension) {
  const std::set<int> used = suffixesInUse(files, folder, stem);
  for (int suffix = 1;; ++suffix) {
    if (used.contains(suffix)) continue;
    const std::string target = (folder / (stem + "_" + std::to_string(suffix) + "." + extension)).string();
    try {
      files.moveItem(staging, target);
      return target;
    } catch (const std::filesystem::filesystem_error& error) {
      if (error.code().value() != EEXIST) throw;
    }
  }
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

std::optional<PHPhotosError> checkAccess(const internal::AuthorizationStore& store) {
  if (store.allowsAdding()) return std::nullopt;
  if (store.status(PHAccessLevel::addOnly) == PHAuthorizationStatus::restricted) {
    return PHPhotosError{Code::accessRestricted, "photo library access is restricted"};
  }
  return PHPhotosError{Code::accessUserDenied, "the user has not allowed adding to the photo library"};
}

Presentation permissionQuestion(PHAccessLevel level) {
  return {std::string(PHPhotoLibrary::kPermissionKind),
          level == PHAccessLevel::addOnly
              ? NSLocalizedString("“Aurimo” Would Like to Add to Your Photos",
                                  "Question asked before the app may save pictures to the photo library.")
              : NSLocalizedString("“Aurimo” Would Like Full Access to Your Photo Library",
                                  "Question asked before the app may read and change the photo library."),
          "",
          {std::string(kDontAllowChoice), std::string(kAllowChoice), std::string(kLimitedChoice)}};
}

// The status the choice taken leaves behind; nullopt while nobody answered.
std::optional<PHAuthorizationStatus> statusChosen(const Presentation& question, std::optional<std::size_t> answer) {
  if (!answer) return std::nullopt;
  const std::string& choice = question.choices[*answer];
  if (choice == kAllowChoice) return PHAuthorizationStatus::authorized;
  if (choice == kLimitedChoice) return PHAuthorizationStatus::limited;
  return PHAuthorizationStatus::denied;
}

}  // namespace

struct PHPhotoLibrary::State {
  State(const std::filesystem::path& stateDirectory, const std::filesystem::path& picturesDirectory,
        std::shared_ptr<Person> person, FileManager& files)
      : files(files),
        store(stateDirectory / kStateFileName, files),
        assets(picturesDirectory / kAppFolder),
        person(std::move(person)) {}

  PHAuthorizationStatus resolve(PHAccessLevel level);
  std::optional<PHPhotosError> commit(const internal::ChangeTransaction& transaction);
  void removeQuietly(const std::string& path);

  FileManager& files;
  internal::AuthorizationStore store;
  const std::filesystem::path assets;
  const std::shared_ptr<Person> person;
  std::mutex promptMutex;  // held while the question is up, so it is asked once
};

PHAuthorizationStatus PHPhotoLibrary::State::resolve(PHAccessLevel level) {
  std::lock_guard asking(promptMutex);
  PHAuthorizationStatus status = store.status(level);
  if (status != PHAuthorizationStatus::notDetermined) return status;
  const Presentation question = permissionQuestion(level);
  std::optional<PHAuthorizationStatus> answer = statusChosen(question, person->ask(question));
  if (!answer) return status;
  try {
    store.set(level, *answer);
  } catch (const std::filesystem::filesystem_error& error) {
    std::fprintf(stderr, "aurimo: could not keep the photo library decision: %s\n", fileErrorMessage(error).c_str());
  }
  return *answer;
}

std::optional<PHPhotosError> PHPhotoLibrary::State::commit(const internal::ChangeTransaction& transaction) {
  if (auto denied = checkAccess(store)) return denied;
  if (auto invalid = validate(transaction)) return invalid;
  if (transaction.creationRequests().empty()) return std::nullopt;

  const std::string stem = nameStem(Clock::current().now());
  std::vector<std::string> written;
  try {
    files.createPrivateDirectory(assets);
    for (const auto& request : transaction.creationRequests()) {
      const auto& photo = request->resources().front();
      WritableFile file = files.createTemporaryFile(assets, ".staging-");
      const std::string staging = file.path();
      try {
        files.write(file, photo.data);
        files.syncFile(file);
        files.closeFile(file);
        written.push_back(claimName(files, staging, assets, stem, extensionFor(photo)));
      } catch (const std::filesystem::filesystem_error&) {
        removeQuietly(staging);
        throw;
      }
    }
    return std::nullopt;
  } catch (const std::filesystem::filesystem_error& error) {
    // All or nothing: take back the assets this change already added.
    for (const auto& path : written) removeQuietly(path);
    return fileFailure(error);
  }
}

void PHPhotoLibrary::State::removeQuietly(const std::string& path) {
  try {
    files.removeItem(path);
  } catch (const std::filesystem::filesystem_error&) {
    // Gone already, or the disk is failing; the first error is the one to report.
  }
}

Replaceable<PHPhotoLibrary>& PHPhotoLibrary::slot() {
  static Replaceable<PHPhotoLibrary> instance(
      [] { return std::make_shared<PHPhotoLibrary>(std::make_shared<TerminalPerson>()); });
  return instance;
}

PHPhotoLibrary::PHPhotoLibrary(const std::filesystem::path& stateDirectory,
                               const std::filesystem::path& picturesDirectory,
                               std::shared_ptr<Person> person, FileManager& files)
    : state_(std::make_shared<State>(stateDirectory, picturesDirectory, std::move(person), files)),
      changeQueue_("Photos.PHPhotoLibrary.ChangeQueue") {
  if (!state_->person) {
    std::fprintf(stderr, "PHPhotoLibrary needs a person to ask\n");
    std::abort();
  }
}

PHPhotoLibrary::PHPhotoLibrary(std::shared_ptr<Person> person, FileManager& files)
    : PHPhotoLibrary(Directories::current().stateDirectory(), Directories::current().picturesDirectory(),
                     std::move(person), files) {}

PHPhotoLibrary::~PHPhotoLibrary() = default;

const std::filesystem::path& PHPhotoLibrary::stateFile() const { return state_->store.file(); }
const std::filesystem::path& PHPhotoLibrary::assetsDirectory() const { return state_->assets; }

PHAuthorizationStatus PHPhotoLibrary::authorizationStatus(PHAccessLevel level) {
  return shared().authorizationStatusOf(level);
}

void PHPhotoLibrary::requestAuthorization(PHAccessLevel level, AuthorizationHandler handler) {
  shared().requestAuthorizationOf(level, std::move(handler));
}

PHAuthorizationStatus PHPhotoLibrary::authorizationStatusOf(PHAccessLevel level) const {
  return state_->store.status(level);
}

void PHPhotoLibrary::requestAuthorizationOf(PHAccessLevel level, AuthorizationHandler handler) {
  DispatchQueue::global().async([state = state_, level, handler = std::move(handler)] {
    PHAuthorizationStatus status = state->resolve(level);
    if (handler) handler(status);
  });
}

std::optional<PHPhotosError> PHPhotoLibrary::setAuthorizationStatus(PHAccessLevel level,
                                                                    PHAuthorizationStatus status) {
  try {
    state_->store.set(level, status);
  } catch (const std::filesystem::filesystem_error& error) {
    return fileFailure(error);
  }
  return std::nullopt;
}

void PHPhotoLibrary::performChanges(ChangeBlock changeBlock, CompletionHandler completionHandler) {
  changeQueue_.async([state = state_, changeBlock = std::move(changeBlock),
                      completionHandler = std::move(completionHandler)] {
    internal::ChangeTransaction transaction;
    {
      internal::ChangeTransaction::Scope scope(transaction);
      if (changeBlock) changeBlock();
    }
    std::optional<PHPhotosError> error = state->commit(transaction);
    if (completionHandler) completionHandler(!error.has_value(), std::move(error));
  });
}

}  // namespace aurimo::platform
