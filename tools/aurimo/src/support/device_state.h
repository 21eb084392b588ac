#pragma once
// DeviceState: the device the host plays, kept in "device.json" in the state
// folder so a later run plays the same one. apply() hands it to the platform's
// device and main screen before the app launches.
//
// Thread contract: main thread only, like the host.
//
//   DeviceState device = DeviceState::load(files, stateDirectory);
//   device.apply();

#include <filesystem>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "platform/file_manager.h"

namespace aurimo::tool {

struct DeviceState {
  static constexpr std::string_view kFileName = "device.json";

  std::string systemVersion = "17.0";
  std::string modelName = "iPhone 15";
  nlohmann::json screenScale = 3;  // a JSON number, printed as it was given
  bool networkReachable = true;
  std::string buildNumber = "1";

  // The defaults when the file is missing; a damaged file is moved aside and reported.
  static DeviceState load(platform::FileManager& files, const std::filesystem::path& stateDirectory);
  // Throws std::filesystem::filesystem_error.
  void save(platform::FileManager& files, const std::filesystem::path& stateDirectory) const;

  // Takes the fields an event gives; throws EventError naming a bad one and changes nothing then.
  void update(const nlohmann::json& fields);
  void apply() const;
  // The five fields, in this order: systemVersion, modelName, screenScale, networkReachable, buildNumber.
  nlohmann::ordered_json json() const;
};

}  // namespace aurimo::tool
