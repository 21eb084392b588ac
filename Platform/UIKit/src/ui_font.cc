#include "platform/ui_font.h"

#include <cstddef>

namespace aurimo::platform {
namespace {

constexpr std::string_view kWeights[] = {"ultraLight", "thin", "light", "regular", "medium",
                                         "semibold",   "bold", "heavy", "black"};

}  // namespace

std::string_view name(UIFont::Weight weight) { return kWeights[static_cast<int>(weight)]; }

std::optional<UIFont::Weight> fontWeightNamed(std::string_view name) {
  for (std::size_t i = 0; i < std::size(kWeights); ++i) {
    if (kWeights[i] == name) return static_cast<UIFont::Weight>(i);
  }
  return std::nullopt;
}

}  // namespace aurimo::platform
