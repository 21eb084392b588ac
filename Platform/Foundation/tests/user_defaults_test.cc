#include "platform/user_defaults.h"

#include <gtest/gtest.h>

#include <fstream>
#include <limits>

#include "platform/directories.h"
#include "testing/temporary_directory.h"
#include "testing/fake_clock.h"

namespace aurimo {
namespace {

using platform::Data;
using platform::UserDefaults;

class UserDefaultsTest : public ::testing::Test {
 protected:
  test::TemporaryDirectory tmp_;
  std::filesystem::path settings_ = tmp_.path() / "settings";
  std::filesystem::path file_ = settings_ / "user-defaults.json";
  std::shared_ptr<test::FakeClock> clock_ =
      std::make_shared<test::FakeClock>(platform::dateFromUnixSeconds(1'700'000'000));
  platform::ScopedReplacement<platform::Clock> pinClock_{platform::Clock::slot(), clock_};
  platform::ScopedReplacement<platform::Directories> pinDirectories_{
      platform::Directories::slot(),
      std::make_shared<platform::Directories>(platform::Directories::Locations{
          settings_, settings_, tmp_.path() / "caches", tmp_.path() / "pictures"})};

  void writeRaw(const std::string& text) {
    std::filesystem::create_directories(settings_);
    std::ofstream(file_) << text;
  }
};

TEST_F(UserDefaultsTest, ValuesRoundTripThroughTheFileWithTheirTypes) {
  Data allBytes;
  for (int b = 0; b < 256; ++b) allBytes.push_back(static_cast<std::uint8_t>(b));
  {
    UserDefaults defaults(file_);
    defaults.set(true, "bool");
    defaults.set(std::numeric_limits<std::int64_t>::min(), "integer");
    defaults.set(2.5, "double");
    defaults.set("text", "string");
    defaults.set(allBytes, "data");
    // Every padding length of the base64 form.
    for (std::size_t size = 0; size < 4; ++size) defaults.set(Data(size, 0xFF), "data" + std::to_string(size));
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
  EXPECT_EQ(test::permissions(file_), 0600u);
  EXPECT_EQ(test::permissions(settings_), 0700u);
}

TEST_F(UserDefaultsTest, MissingKeysReadAsDefaultsAndRemovalPersists) {
  UserDefaults defaults(file_);
  EXPECT_FALSE(defaults.boolForKey("missing"));
  EXPECT_EQ(defaults.integerForKey("missing"), 0);
  EXPECT_EQ(defaults.doubleForKey("missing"), 0.0);
  EXPECT_EQ(defaults.stringForKey("missing"), std::nullopt);
  EXPECT_EQ(defaults.dataForKey("missing"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(file_));  // reading never creates the file

  defaults.set(3, "count");
  defaults.removeObjectForKey("count");
  EXPECT_EQ(UserDefaults(file_).objectForKey("count"), std::nullopt);
}

TEST_F(UserDefaultsTest, ReadersConvertBetweenScalarTypes) {
  UserDefaults defaults;
  struct Case {
    nlohmann::json stored;
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
  };
  for (const Case& c : cases) {
    defaults.setObject(c.stored, "key");
    SCOPED_TRACE(c.stored.dump());
    EXPECT_EQ(defaults.boolForKey("key"), c.asBool);
    EXPECT_EQ(defaults.integerForKey("key"), c.asInteger);
    EXPECT_EQ(defaults.doubleForKey("key"), c.asDouble);
    EXPECT_EQ(defaults.stringForKey("key"), c.asString);
  }
}

TEST_F(UserDefaultsTest, UnusableFileIsMovedAsideReportedOnceAndReplaced) {
  const char* contents[] = {"{not json", "[1, 2]", R"({"d": {"$base64": "%%%"}})"};
  for (const char* content : contents) {
    SCOPED_TRACE(content);
    clock_->advance(1);
    writeRaw(content);
    const auto aside = settings_.string() + "/user-defaults.json.corrupt-" +
                       std::to_string(static_cast<long long>(platform::unixSeconds(clock_->now())));

    ::testing::internal::CaptureStderr();
    UserDefaults defaults(file_);
    std::string report = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 1) << report;
    EXPECT_NE(report.find(aside), std::string::npos) << report;

    EXPECT_EQ(defaults.objectForKey("d"), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(file_));
    std::ifstream kept(aside);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(kept), {}), content);

    defaults.set(1, "fresh");
    EXPECT_EQ(UserDefaults(file_).integerForKey("fresh"), 1);
  }
}

TEST_F(UserDefaultsTest, StandardStoreLivesInTheSettingsDirectory) {
  platform::ScopedReplacement<UserDefaults> fresh(UserDefaults::slot(), nullptr);
  UserDefaults::standard().set("yes", "flag");
  EXPECT_EQ(UserDefaults::standard().file(), file_);
  EXPECT_EQ(UserDefaults(file_).stringForKey("flag"), "yes");
}

}  // namespace

}  // namespace aurimo
