#include "platform/ph_photo_library.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>

#include "platform/file_manager.h"
#include "testing/environment.h"
#include "testing/temporary_directory.h"

namespace aurimo::platform {
namespace {

using Code = PHPhotosError::Code;
using Status = PHAuthorizationStatus;
using namespace std::string_literals;

const Data kJpeg{0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10, 'J', 'F', 'I', 'F'};
const Data kPng{0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A, 0, 0, 0, 0x0D};

Data ftyp(std::string brands) {
  std::string box = "\0\0\0"s + static_cast<char>(8 + brands.size()) + "ftyp" + brands;
  return Data(box.begin(), box.end());
}

// Requests authorization and waits for the handler; checks it ran on another thread.
Status request(PHAccessLevel level = PHAccessLevel::addOnly) {
  std::promise<std::pair<Status, bool>> done;
  PHPhotoLibrary::requestAuthorization(level, [&done, caller = std::this_thread::get_id()](Status status) {
    done.set_value({status, std::this_thread::get_id() == caller});
  });
  auto [status, onCaller] = done.get_future().get();
  EXPECT_FALSE(onCaller) << "the handler ran inside the call";
  return status;
}

struct Outcome {
  bool success = false;
  std::optional<PHPhotosError> error;
};

// One change creating an asset per entry of `photos` (nullopt: a request with no
// resource), waited for.
Outcome save(std::vector<std::optional<Data>> photos, std::optional<std::string> originalFilename = std::nullopt) {
  Outcome outcome;
  PHPhotoLibrary::shared().performChanges(
      [photos, originalFilename] {
        for (const auto& bytes : photos) {
          auto& request = PHAssetCreationRequest::forAsset();
          if (!bytes) continue;
          std::optional<PHAssetResourceCreationOptions> options;
          if (originalFilename) options = PHAssetResourceCreationOptions{originalFilename};
          request.addResource(PHAssetResourceType::photo, *bytes, options);
        }
      },
      [&outcome](bool success, std::optional<PHPhotosError> error) { outcome = {success, std::move(error)}; });
  test::Environment::runUntilIdle();
  return outcome;
}

TEST(PhotoLibraryAuthorization, AsksOnlyWhileUndecidedAndKeepsTheAnswer) {
  const struct {
    Status before;
    std::vector<std::string> script;
    Status status;
    std::size_t questionsAfterTwoRequests;
  } cases[] = {
      {Status::notDetermined, {"Allow"}, Status::authorized, 1},
      {Status::notDetermined, {"Limited"}, Status::limited, 1},
      {Status::notDetermined, {"Don't Allow"}, Status::denied, 1},
      {Status::notDetermined, {}, Status::notDetermined, 2},
      {Status::restricted, {"Allow"}, Status::restricted, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << name(c.before) << " " << c.script.size());
    test::Environment env;
    ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, c.before));
    for (const std::string& choice : c.script) env.person->push(choice);

    EXPECT_EQ(request(), c.status);
    EXPECT_EQ(request(), c.status);
    EXPECT_EQ(env.person->presentations().size(), c.questionsAfterTwoRequests);

    env.restartPhotoLibrary();
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::addOnly), c.status);
    EXPECT_EQ(PHPhotoLibrary::authorizationStatus(PHAccessLevel::readWrite), Status::notDetermined);
  }
}

TEST(PhotoLibraryAuthorization, ConcurrentRequestsShareOneQuestion) {
  test::Environment env;
  env.person->push("Allow");

  auto first = std::async(std::launch::async, [] { return request(); });
  auto second = std::async(std::launch::async, [] { return request(); });

  EXPECT_EQ(first.get(), Status::authorized);
  EXPECT_EQ(second.get(), Status::authorized);
  EXPECT_EQ(env.person->presentations().size(), 1u);
}

TEST(PhotoLibraryChanges, SavesTheBytesUnchangedUnderANameForTheirFormat) {
  struct Case {
    const char* label;
    Data bytes;
    std::optional<std::string> originalFilename;
    const char* extension;
  };
  const Case cases[] = {
      {"jpeg", kJpeg, std::nullopt, "jpg"},
      {"png", kPng, "shot.jpg", "png"},
      {"heic major brand", ftyp("heic\0\0\0\0mif1"s), std::nullopt, "heic"},
      {"heif generic brand", ftyp("mif1\0\0\0\0"s), std::nullopt, "heic"},
      {"heic compatible brand", ftyp("isom\0\0\0\0heix"s), std::nullopt, "heic"},
      {"avif", ftyp("avif\0\0\0\0mif1miaf"s), std::nullopt, "bin"},
      {"png signature cut short", Data(kPng.begin(), kPng.begin() + 4), std::nullopt, "bin"},
      {"unknown with a file name", {1, 2, 3}, "scan.tiff", "tiff"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.label);
    test::Environment env;
    env.clock->set(Date(std::chrono::milliseconds(1'700'000'000'123)));
    ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, Status::authorized));

    Outcome outcome = save({c.bytes}, c.originalFilename);

    EXPECT_TRUE(outcome.success);
    ASSERT_EQ(env.savedPhotos().size(), 1u);
    const std::filesystem::path photo = env.savedPhotos().front();
    EXPECT_EQ(photo.filename(), std::string("IMG_20231114_221320_123_1.") + c.extension);
    EXPECT_EQ(FileManager::defaultManager().contentsOfFile(photo).data, c.bytes);
    EXPECT_EQ(test::permissions(photo), 0600u);
    EXPECT_EQ(test::permissions(env.assetsDirectory()), 0700u);
  }
}

TEST(PhotoLibraryChanges, NamesStayUniqueWithinOneMillisecond) {
  test::Environment env;
  ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, Status::authorized));

  PHPhotoLibrary::shared().performChanges([] {
    PHAssetCreationRequest::forAsset().addResource(PHAssetResourceType::photo, kJpeg);
  });
  EXPECT_TRUE(save({kPng, kJpeg}).success);
  env.restartPhotoLibrary();  // a new library must not overwrite what an earlier one saved
  EXPECT_TRUE(save({kJpeg}).success);

  std::vector<std::string> names;
  for (const auto& photo : env.savedPhotos()) names.push_back(photo.filename().string());
  EXPECT_EQ(names, (std::vector<std::string>{"IMG_20231114_221320_000_1.jpg", "IMG_20231114_221320_000_2.png",
                                             "IMG_20231114_221320_000_3.jpg", "IMG_20231114_221320_000_4.jpg"}));
  EXPECT_EQ(FileManager::defaultManager().contentsOfFile(env.assetsDirectory() / names[1]).data, kPng);
}

// Lets the first `claims` photos take their names, then fails the next with `error`.
struct FailingClaims final : FileManagerWrapper {
  FailingClaims(int claims, int error) : FileManagerWrapper(FileManager::defaultManager()), claims(claims), error(error) {}
  void moveItem(const std::string& from, const std::string& to) override {
    if (claims-- <= 0) throwFileError("rename", to, error);
    FileManagerWrapper::moveItem(from, to);
  }
  int claims, error;
};

// A change keeps all its photos or none, and never prompts.
TEST(PhotoLibraryChanges, KeepsAllOrNothingOfAChange) {
  const std::vector<std::optional<Data>> two{kJpeg, kPng};
  const struct {
    Status addOnly, readWrite = Status::notDetermined;
    std::vector<std::optional<Data>> photos;
    int claims = 9, error = 0;
    std::optional<Code> code = std::nullopt;
  } cases[] = {
      {.addOnly = Status::notDetermined, .photos = two, .code = Code::accessUserDenied},
      {.addOnly = Status::denied, .photos = two, .code = Code::accessUserDenied},
      {.addOnly = Status::restricted, .photos = two, .code = Code::accessRestricted},
      {.addOnly = Status::authorized, .photos = two},
      {.addOnly = Status::limited, .photos = two},
      {.addOnly = Status::denied, .readWrite = Status::limited, .photos = two},
      {.addOnly = Status::authorized, .photos = two, .claims = 0, .error = EIO, .code = Code::internalError},
      {.addOnly = Status::authorized, .photos = two, .claims = 1, .error = ENOSPC, .code = Code::notEnoughSpace},
      {.addOnly = Status::authorized, .photos = two, .claims = 1, .error = EDQUOT, .code = Code::notEnoughSpace},
      {.addOnly = Status::authorized, .photos = {kJpeg, std::nullopt}, .code = Code::missingResource},
      {.addOnly = Status::authorized, .photos = {kJpeg, Data{}}, .code = Code::invalidResource},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << name(c.addOnly) << "/" << name(c.readWrite) << " errno " << c.error
                                    << " photos " << c.photos.size() << (c.photos[1] ? "" : " one missing"));
    FailingClaims files(c.claims, c.error);
    test::Environment env;
    env.restartPhotoLibrary(files);
    ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::addOnly, c.addOnly));
    ASSERT_FALSE(PHPhotoLibrary::shared().setAuthorizationStatus(PHAccessLevel::readWrite, c.readWrite));

    Outcome outcome = save(c.photos);

    EXPECT_EQ(outcome.success, !c.code);
    EXPECT_EQ(outcome.error ? std::optional(outcome.error->code) : std::nullopt, c.code);
    EXPECT_EQ(env.savedPhotos().size(), c.code ? 0u : 2u) << "nor any staging file";
    EXPECT_TRUE(env.person->presentations().empty());
  }
}

}  // namespace
}  // namespace aurimo::platform
