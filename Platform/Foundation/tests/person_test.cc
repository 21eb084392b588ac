#include "platform/person.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "testing/scripted_person.h"

namespace aurimo::platform {
namespace {

const Presentation kPermission{"notificationPermission", "Title", "Message", {"Don't Allow", "Allow"}};
const Presentation kPhotos{"photoPermission", "Photos", "", {"Don't Allow", "Allow", "Limited"}};
const Presentation kAlert{"alert", "Delete?", "", {"Cancel", "Delete"}};

// Takes whatever index it was given, even one the question does not offer.
struct ChoosesAt final : Person {
  std::optional<std::size_t> choose(const Presentation&) override { return 2; }
};

TEST(Person, RecordsWhatWasPresentedWithTheChoiceTaken) {
  const std::pair<std::shared_ptr<Person>, std::optional<std::size_t>> cases[] = {
      {std::make_shared<test::ScriptedPerson>(std::vector<std::string>{"Delete"}), 1},
      {std::make_shared<FixedPerson>("Delete"), 1},
      {std::make_shared<FixedPerson>(std::nullopt), std::nullopt},
      {std::make_shared<ChoosesAt>(), std::nullopt},
  };
  const Presentation shown{"activityIndicator", "Saving", "", {}};
  for (const auto& [person, answer] : cases) {
    std::vector<PresentedItem> heard;
    person->setListener([&heard](const PresentedItem& item) { heard.push_back(item); });
    EXPECT_EQ(person->ask(kAlert), answer);
    person->show(shown);
    const std::vector<PresentedItem> expected{{kAlert, answer}, {shown, std::nullopt}};
    EXPECT_EQ(person->presentations(), expected);
    EXPECT_EQ(heard, expected);
  }
}

TEST(TerminalPerson, ReadsLinesUntilOneNamesAChoice) {
  struct Case {
    const Presentation* question;
    std::string typed;
    std::optional<std::size_t> answer;
    const char* printed;  // nullptr: not checked
    bool onlyOnTerminal = false;
  };
  const Case cases[] = {
      {&kPermission, "y\n", 1, "Title\nMessage\nAllow? [y/n] "},
      {&kPermission, "  YES \n", 1, nullptr},
      {&kPermission, "n\n", 0, nullptr},
      {&kPermission, "No\n", 0, nullptr},
      {&kPermission, "maybe\nlimited\ny\n", 1, "Title\nMessage\nAllow? [y/n] Allow? [y/n] Allow? [y/n] "},
      {&kPermission, "", std::nullopt, nullptr},
      {&kPermission, "y\n", std::nullopt, "", /*onlyOnTerminal=*/true},  // not a terminal: nobody is asked
      {&kPhotos, "Limited\n", 2, "Photos\nAllow? [y/n/limited] "},
      {&kAlert, "0\n3\nDelete\n2\n", 1, "Delete?\n  1. Cancel\n  2. Delete\nNumber? Number? Number? Number? "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.question->kind + " typed " + c.typed);
    std::string typed = c.typed, printed(256, '\0');
    FILE* input = typed.empty() ? std::fopen("/dev/null", "r") : fmemopen(typed.data(), typed.size(), "r");
    FILE* output = fmemopen(printed.data(), printed.size(), "w");
    EXPECT_EQ(TerminalPerson(input, output, c.onlyOnTerminal).ask(*c.question), c.answer);
    std::fclose(output);
    std::fclose(input);
    if (c.printed) {
      EXPECT_STREQ(printed.c_str(), c.printed);
    }
  }
}

}  // namespace
}  // namespace aurimo::platform
