#pragma once
// Lookup of a URL's query items by name.
//
// When a name occurs more than once the first item wins; an item without a
// value ("?flag") reads as nullopt, an empty one ("?flag=") as "".
//
// Thread contract: pure functions.
//
//   auto items = components.queryItems().value_or(std::vector<platform::URLQueryItem>{});
//   std::optional<std::string> type = ToolboxKit::value(items, "type");

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/url_components.h"

namespace aurimo::ToolboxKit {

std::optional<std::string> value(const std::vector<platform::URLQueryItem>& items, std::string_view name);

// The same lookup as a subscript: QueryItems(items)["type"].
class QueryItems {
 public:
  explicit QueryItems(const std::vector<platform::URLQueryItem>& items) : items_(items) {}
  std::optional<std::string> operator[](std::string_view name) const { return value(items_, name); }

 private:
  const std::vector<platform::URLQueryItem>& items_;
};

}  // namespace aurimo::ToolboxKit
