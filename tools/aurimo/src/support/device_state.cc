#include "support/device_state.h"

#include <cmath>

#include "platform/bundle.h"
#include "platform/state_file.h"
#include "platform/ui_device.h"
#include "platform/ui_screen.h"
#include "support/event_host.h"

namespace aurimo::tool {
namespace {

// A scale the launch can turn into a 64-bit integer, so its fatal error stays for defects.
bool usableScale(const nlohmann::json& scale) {
  if (!scale.is_number()) return false;
  const double value = scale.get<double>();
  return std::isfinite(value) && value >= -0x1p63 && value < 0x1p63;
}

}  // namespace

DeviceState DeviceState::load(platform::FileManager& files, const std::filesystem::path& stateDirectory) {
  DeviceState state;
  platform::loadStateFile(files, stateDirectory / std::string(kFileName), "device", "playing the default device",
                          [&state](std::string_view text) -> std::string {
                            nlohmann::json parsed = nlohmann::json::parse(text, nullptr, false);
                            if (parsed.is_discarded() || !parsed.is_object()) return "not a JSON object";
                            try {
                              state.update(parsed);
                            } catch (const EventError& error) {
                              return error.what();
                            }
                            return {};
                          });
  return state;
}

void DeviceState::save(platform::FileManager& files, const std::filesystem::path& stateDirectory) const {
  platform::saveStateFile(files, stateDirectory / std::string(kFileName), json().dump(2) + "\n");
}

void DeviceState::update(const nlohmann::json& fields) {
  DeviceState next = *this;
  auto text = [&fields](const char* name, std::string& into) {
    if (!fields.contains(name)) return;
    if (!fields[name].is_string()) throw EventError(std::string("device: \"") + name + "\" must be a string");
    into = fields[name].get<std::string>();
  };
  text("systemVersion", next.systemVersion);
  text("modelName", next.modelName);
  text("buildNumber", next.buildNumber);
  if (fields.contains("screenScale")) {
    if (!usableScale(fields["screenScale"])) {
      throw EventError("device: \"screenScale\" must be a finite number within the 64-bit integer range");
    }
    next.screenScale = fields["screenScale"];
  }
  if (fields.contains("networkReachable")) {
    if (!fields["networkReachable"].is_boolean()) throw EventError("device: \"networkReachable\" must be true or false");
    next.networkReachable = fields["networkReachable"].get<bool>();
  }
  *this = std::move(next);
}

void DeviceState::apply() const {
  platform::UIDevice::current().setSystemVersion(systemVersion);
  platform::UIDevice::current().setModelName(modelName);
  platform::UIScreen::main().setScale(screenScale.get<double>());
  platform::Bundle::main().setInfoDictionary(nlohmann::json{{"CFBundleVersion", buildNumber}});
}

nlohmann::ordered_json DeviceState::json() const {
  return nlohmann::ordered_json{{"systemVersion", systemVersion},
                                {"modelName", modelName},
                                {"screenScale", screenScale},
                                {"networkReachable", networkReachable},
                                {"buildNumber", buildNumber}};
}

}  // namespace aurimo::tool
