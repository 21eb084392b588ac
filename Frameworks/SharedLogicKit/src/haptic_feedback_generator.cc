#include "shared_logic_kit/haptic_feedback_generator.h"

namespace aurimo::SharedLogicKit {
namespace {

class SilentHapticFeedbackGenerator final : public HapticFeedbackGenerator {
 public:
  bool isEnabled() const override { return enabled_; }
  void setEnabled(bool isEnabled) override { enabled_ = isEnabled; }
  void impactOccurred() override {}

 private:
  bool enabled_ = false;
};

}  // namespace

std::unique_ptr<HapticFeedbackGenerator> HapticFeedbackGenerator::make() {
  return std::make_unique<SilentHapticFeedbackGenerator>();
}

}  // namespace aurimo::SharedLogicKit
