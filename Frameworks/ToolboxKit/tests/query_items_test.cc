#include "toolbox_kit/query_items.h"

#include <gtest/gtest.h>

namespace aurimo {
namespace {

using platform::URLQueryItem;

TEST(QueryItemLookup, FirstItemOfTheNameWinsAndValuelessItemsReadAsAbsent) {
  const std::vector<URLQueryItem> items{
      {"type", "coin"}, {"type", "medal"}, {"flag", std::nullopt}, {"empty", ""}, {"Type", "x"},
      {"version", std::nullopt}, {"version", "7"}};
  struct Case {
    const char* name;
    std::optional<std::string> expected;
  } cases[] = {
      {"type", "coin"},         // duplicates: the first one
      {"flag", std::nullopt},   // present without a value
      {"empty", ""},            // present with an empty value
      {"missing", std::nullopt},
      {"TYPE", std::nullopt},   // names match exactly
      {"version", std::nullopt},  // a valueless first item shadows a later value
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToolboxKit::value(items, c.name), c.expected) << c.name;
    EXPECT_EQ(ToolboxKit::QueryItems(items)[c.name], c.expected) << c.name;
  }
  EXPECT_EQ(ToolboxKit::value({}, "type"), std::nullopt);
}

}  // namespace

}  // namespace aurimo
