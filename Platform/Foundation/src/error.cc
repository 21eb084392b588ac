#include "platform/error.h"

namespace aurimo::platform {

std::string Error::description() const {
  std::string text = "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" + localizedDescription_ + "\"";
  if (underlying_) text += " (underlying: " + underlying_->description() + ")";
  return text;
}

}  // namespace aurimo::platform
