#pragma once
// HapticFeedbackGenerator: taps the user feels on a touch. Linux has no
// haptic engine, so the default generator keeps the switch and plays nothing.
//
// Thread contract: main thread only, like the screens that use it.
//
//   std::unique_ptr<HapticFeedbackGenerator> haptics = HapticFeedbackGenerator::make();
//   haptics->setEnabled(AppSettingsStorage::hapticFeedbackGenerator_isEnabled());

#include <memory>

namespace aurimo::SharedLogicKit {

class HapticFeedbackGenerator {
 public:
  virtual ~HapticFeedbackGenerator() = default;

  // The default generator, disabled until told otherwise.
  static std::unique_ptr<HapticFeedbackGenerator> make();

  virtual bool isEnabled() const = 0;
  virtual void setEnabled(bool isEnabled) = 0;
  // A light impact, felt only while enabled.
  virtual void impactOccurred() = 0;
};

}  // namespace aurimo::SharedLogicKit
