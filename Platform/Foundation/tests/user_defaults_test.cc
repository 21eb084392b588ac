#include "platform/user_defaults.h"

#include <gtest/gtest.h>

#include <limits>

#include "platform/directories.h"
#include "testing/fake_clock.h"
#include "testing/faulty_file_manager.h"
#include "testing/temporary_directory.h"

namespace aurimo {
namespace {

using platform::Data;
using platform::UserDefaults;

// Which files are unusable, and failing disks: Platform/tests/persistence_test.cc.
class UserDefaultsTest : public ::testing::Test {
 protected:
  test::TemporaryDirectory tmp_;
  std::filesystem::path settings_ = tmp_.path() / "settings";
  std::filesystem::path file_ = settings_ / "user-defaults.json";
  platform::ScopedReplacement<platform::Clock> pinClock_{platform::Clock::slot(), std::make_shared<test::FakeClock>()};
  platform::ScopedReplacement<platform::Directories> pinDirectories_{
      platform::Directories::slot(),
      std::make_shared<platform::Directories>(platform::Directories::Locations{
          settings_, settings_, tmp_.path() / "caches", tmp_.path() / "pictures"})};
};

TEST_F(UserDefaultsTest, ValuesRoundTripThroughTheStandardFileWithTheirTypes) {
  Data allBytes;
  for (int b = 0; b < 256; ++b) allBytes.push_back(static_cast<std::uint8_t>(b));
  {  // written by the destructor at the latest
    UserDefaults defaults(file_);
    defaults.set(true, "bool");
    defaults.set(std::numeric_limits<std::int64_t>::min(), "integer");
    defaults.set(2.5, "double");
    defaults.set("text", "string");
    defaults.set(allBytes, "data");
    // Every padding length of the base64 form.
    for (std::size_t size = 0; size < 4; ++size) defaults.set(Data(size, 0xFF), "data" + std::to_string(size));
    defaults.set(3, "removed");
    defaults.removeObjectForKey("removed");
  }
  UserDefaults reloaded(file_);
  EXPECT_TRUE(reloaded.boolForKey("bool"));
  EXPECT_EQ(reloaded.integerForKey("integer"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(reloaded.doubleForKey("double"), 2.5);
  EXPECT_EQ(reloaded.stringForKey("string"), "text");
  EXPECT_EQ(reloaded.dataForKey("data"), allBytes);
  EXPECT_EQ(reloaded.stringForKey("data"), std::nullopt);  // data is not a string
  for (std::size_t size = 0; size < 4; ++size) {
    EXPECT_EQ(reloaded.dataForKey("data" + std::to_string(size)), Data(size, 0xFF));
  }
  EXPECT_EQ(reloaded.objectForKey("removed"), std::nullopt);
  EXPECT_EQ(test::permissions(file_), 0600u);
  EXPECT_EQ(test::permissions(settings_), 0700u);

  // The standard store is the same file in the settings directory.
  platform::ScopedReplacement<UserDefaults> fresh(UserDefaults::slot(), nullptr);
  UserDefaults::standard().set("yes", "flag");
  EXPECT_TRUE(UserDefaults::standard().synchronize());
  EXPECT_EQ(UserDefaults(file_).stringForKey("flag"), "yes");
}

TEST_F(UserDefaultsTest, AFailedSaveIsRetriedBySynchronize) {
  test::FaultyFileManager files;
  UserDefaults defaults(file_, files);
  files.failRenames(true);
  testing::internal::CaptureStderr();
  defaults.set(1, "n");
  EXPECT_FALSE(defaults.synchronize());
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");
  files.failRenames(false);
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(UserDefaults(file_).integerForKey("n"), 1);
}

TEST_F(UserDefaultsTest, ReadersConvertBetweenScalarTypes) {
  UserDefaults defaults;
  struct Case {
    nlohmann::json stored;  // null: a missing key
    bool asBool;
    std::int64_t asInteger;
    double asDouble;
    std::optional<std::string> asString;
  } cases[] = {
      {true, true, 1, 1.0, "1"},
      {-7.9, true, -7, -7.9, "-7.9"},
      {"  42abc", true, 42, 42.0, "  42abc"},
      {"YES", true, 0, 0.0, "YES"},
      {"99999999999999999999", true, std::numeric_limits<std::int64_t>::max(), 1e20, "99999999999999999999"},
      {nlohmann::json::array({1}), false, 0, 0.0, std::nullopt},
      {nullptr, false, 0, 0.0, std::nullopt},
  };
  for (const Case& c : cases) {
    defaults.setObject(c.stored, "key");
    SCOPED_TRACE(c.stored.dump());
    EXPECT_EQ(defaults.boolForKey("key"), c.asBool);
    EXPECT_EQ(defaults.integerForKey("key"), c.asInteger);
    EXPECT_EQ(defaults.doubleForKey("key"), c.asDouble);
    EXPECT_EQ(defaults.stringForKey("key"), c.asString);
    EXPECT_EQ(defaults.dataForKey("key"), std::nullopt);
  }
}

}  // namespace
}  // namespace aurimo
