#pragma once
// UILabel: a view showing a line of text.
//
// Thread contract: main thread only, like every view.
//
//   auto caption = std::make_shared<platform::UILabel>();
//   caption->setText("Counting your collectibles...");

#include <optional>
#include <string>
#include <utility>

#include "platform/ui_view.h"

namespace aurimo::platform {

class UILabel : public UIView {
 public:
  const std::optional<std::string>& text() const { return text_; }
  void setText(std::optional<std::string> text) { text_ = std::move(text); }

  std::string_view className() const override { return "UILabel"; }

 private:
  std::optional<std::string> text_;
};

}  // namespace aurimo::platform
