#include "remote_services_kit/firebase_remote_config_helper.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "testing/environment.h"

namespace aurimo::RemoteServicesKit {
namespace {

TEST(FirebaseRemoteConfigHelper, KeepsValuesAcrossInstancesAndMovesADamagedFileAside) {
  test::Environment env;
  const auto make = [&] { return FirebaseRemoteConfigHelper::make(env.services()); };
  EXPECT_TRUE(make()->setCachedBoolValues({{"a", true}, {"b", false}, {"c", true}}));
  EXPECT_TRUE(make()->setCachedBoolValues({{"c", std::nullopt}}));
  EXPECT_EQ(make()->cachedBoolValues(), (std::map<std::string, bool>{{"a", true}, {"b", false}}));

  const std::filesystem::path file = env.stateDirectory() / FirebaseRemoteConfigHelper::kFileName;
  std::ofstream(file) << R"({"a": true, "b": "yes"})";
  EXPECT_EQ(make()->getCachedBoolValueForKey("a"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_TRUE(std::filesystem::exists(file.string() + ".corrupt-1700000000"));  // the fake clock's start
}

}  // namespace
}  // namespace aurimo::RemoteServicesKit
