#include "toolbox_kit/query_items.h"

#include <gtest/gtest.h>

namespace aurimo {
namespace {

TEST(QueryItems, FirstItemOfTheNameWinsAndValuelessItemsReadAsAbsent) {
  const std::vector<platform::URLQueryItem> items{{"type", "coin"}, {"type", "medal"}, {"flag", std::nullopt},
                                                  {"empty", ""},    {"Type", "x"},     {"version", std::nullopt},
                                                  {"version", "7"}};
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"type", "coin"},  {"flag", std::nullopt}, {"empty", ""},
      {"missing", std::nullopt}, {"TYPE", std::nullopt},
      {"version", std::nullopt},  // a valueless first item shadows a later value
  };
  for (const auto& [name, expected] : cases) EXPECT_EQ(ToolboxKit::QueryItems(items)[name], expected) << name;
}

}  // namespace
}  // namespace aurimo
