#include "toolbox_kit/query_items.h"

#include <algorithm>

namespace aurimo::ToolboxKit {

std::optional<std::string> value(const std::vector<platform::URLQueryItem>& items, std::string_view name) {
  auto first = std::find_if(items.begin(), items.end(),
                            [&](const platform::URLQueryItem& item) { return item.name == name; });
  if (first == items.end()) return std::nullopt;
  return first->value;
}

}  // namespace aurimo::ToolboxKit
