#pragma once
// PhotoLibraryEnvironment: everything a photo-library test touches, kept in a
// fresh temporary folder for the test's lifetime: Directories point there,
// the clock is a FakeClock, and the shared PHPhotoLibrary is a new one that
// asks a ScriptedPerson. Everything is put back and removed at the end.
//
// Thread contract: create and destroy on the test's thread; wait for queued
// photo-library work before the environment goes.
//
//   test::PhotoLibraryEnvironment env;
//   env.person->push("Allow");

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/directories.h"
#include "platform/ph_photo_library.h"
#include "testing/fake_clock.h"
#include "testing/scripted_person.h"

namespace aurimo::test {

class PhotoLibraryEnvironment {
 public:
  PhotoLibraryEnvironment() : root_(makeRoot()) {
    platform::Directories::Locations locations{
        .settings = root_ / "data", .state = root_ / "data", .caches = root_ / "caches", .pictures = root_ / "Pictures"};
    directories_.emplace(platform::Directories::slot(), std::make_shared<platform::Directories>(locations));
    clockPin_.emplace(platform::Clock::slot(), clock);
    library_.emplace(platform::PHPhotoLibrary::slot(), std::make_shared<platform::PHPhotoLibrary>(person));
  }
  ~PhotoLibraryEnvironment() {
    library_.reset();
    clockPin_.reset();
    directories_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  PhotoLibraryEnvironment(const PhotoLibraryEnvironment&) = delete;
  PhotoLibraryEnvironment& operator=(const PhotoLibraryEnvironment&) = delete;

  // Puts a new library on the same folders in place of the shared one, as a
  // restart would; `files` must outlive the environment.
  void restartLibrary(platform::FileManager& files = platform::FileManager::defaultManager()) {
    platform::PHPhotoLibrary::slot().replace(std::make_shared<platform::PHPhotoLibrary>(person, files));
  }

  // Waits until every change queued on the shared library so far has finished.
  static void drainChanges() {
    platform::PHPhotoLibrary::shared().changeQueue().sync([] {});
  }

  // The files in the app's photo folder, sorted by name.
  std::vector<std::filesystem::path> savedPhotos() const {
    std::vector<std::filesystem::path> files;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(assetsDirectory(), ignored)) {
      files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
  }

  std::filesystem::path assetsDirectory() const { return root_ / "Pictures" / platform::PHPhotoLibrary::kAppFolder; }
  std::filesystem::path stateDirectory() const { return root_ / "data"; }
  const std::filesystem::path& root() const { return root_; }

  const std::shared_ptr<FakeClock> clock = std::make_shared<FakeClock>();
  const std::shared_ptr<ScriptedPerson> person = std::make_shared<ScriptedPerson>();

 private:
  static std::filesystem::path makeRoot() {
    std::string pattern = (std::filesystem::temp_directory_path() / "aurimo-photos-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      std::fprintf(stderr, "PhotoLibraryEnvironment: cannot create a temporary folder\n");
      std::abort();
    }
    return pattern;
  }

  const std::filesystem::path root_;
  std::optional<platform::ScopedReplacement<platform::Directories>> directories_;
  std::optional<platform::ScopedReplacement<platform::Clock>> clockPin_;
  std::optional<platform::ScopedReplacement<platform::PHPhotoLibrary>> library_;
};

}  // namespace aurimo::test
