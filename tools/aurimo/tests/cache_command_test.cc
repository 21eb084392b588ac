// `aurimo cache` against a temporary cache directory: what each subcommand
// prints, how it exits and the files it leaves.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

struct Step {
  std::vector<std::string> arguments;  // after `cache --dir PARENT --name Images`
  std::string input;
  int status;
  std::string out, err;
};

TEST(CacheCommandTest, EachSubcommandAnswersThroughTheLibrarysOwnFiles) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string value("binary\0value\n", 13);
  const std::string photo = "72ACDED3ACD45E4C8B6ED680854B8AB1.jpg";  // the key's MD5, keeping its extension
  const std::string usage = "aurimo: * (see aurimo --help)\n";
  const std::vector<Step> steps = {
      {{"put", "k", "--expiry", "tomorrow"}, "", 2, "", "aurimo: cache put: --expiry must be never, seconds:N or date:UNIX\n"},
      {{"put", "k", "--expiry", "seconds:"}, "", 2, "", "aurimo: cache put: --expiry must be never, seconds:N or date:UNIX\n"},
      // Regression: expiries a date cannot hold once wrapped round to 1901 and were swept.
      {{"put", "k", "--expiry", "date:10000000000"}, "", 2, "", "aurimo: cache: --expiry must fall between 1677-09-22 and 2262-04-11\n"},
      {{"put", "k", "--expiry", "seconds:1e10"}, "", 2, "", "aurimo: cache: --expiry must fall between 1677-09-22 and 2262-04-11\n"},
      // Regression: sizes that wrapped into "no limit" or "1 byte" are refused.
      {{"--max-size", "lots", "ls"}, "", 2, "", "aurimo: cache: --max-size must be a whole number of bytes\n"},
      {{"--max-size", "-1", "ls"}, "", 2, "", "aurimo: cache: --max-size must be a whole number of bytes\n"},
      {{"--max-size", "99999999999999999999999", "ls"}, "", 2, "", "aurimo: cache: --max-size must be a whole number of bytes\n"},
      {{"--max-size", "-18446744073709551615", "ls"}, "", 2, "", "aurimo: cache: --max-size must be a whole number of bytes\n"},
      {{"frobnicate"}, "", 2, "", usage},
      {{"get"}, "", 2, "", usage},
      {{"ls"}, "", 1, "", "aurimo: cache: there is no cache at <ROOT>/parent/Images\n"},
      {{"put", "photo.jpg", "--expiry", "date:1900000000"}, value, 0, "", ""},
      {{"get", "photo.jpg"}, "", 0, value, ""},
      {{"entry", "photo.jpg"}, "", 0, R"({"key":"photo.jpg","path":"<ROOT>/parent/Images/)" + photo + R"(","expiry":1900000000,"expired":false,"bytes":13})" "\n", ""},
      {{"put", "gone"}, "x", 0, "", ""},
      {{"rm", "gone"}, "", 0, "", ""},
      {{"get", "gone"}, "", 1, "", "aurimo: cache get: no value for the key gone\n"},
      {{"entry", "gone"}, "", 1, "", "aurimo: cache entry: no value for the key gone\n"},
      {{"rm", "gone"}, "", 1, "", "aurimo: cache rm: no value for the key gone\n"},
      {{"put", "old", "--expiry", "date:1000.5"}, "12345", 0, "", ""},
      {{"put", "soon", "--expiry", "seconds:3600"}, "1234567", 0, "", ""},
      {{"ls"}, "", 0, R"({"name":"149603E6C03516362A8DA23F624DB945","bytes":5,"allocatedBytes":*,"expiry":1000.5})" "\n"
                      R"({"name":")" + photo + R"(","bytes":13,"allocatedBytes":*,"expiry":1900000000})" "\n"
                      R"({"name":"CD9BD96E12A2897F2F1E8A3E79A8956E","bytes":7,"allocatedBytes":*,"expiry":*})" "\n", ""},
      // The expired file goes first; then the 1-byte limit evicts the rest.
      {{"sweep"}, "", 0, R"({"expired":1,"evicted":0,"removedBytes":5,"removedAllocatedBytes":*,"remaining":2,"remainingBytes":20})" "\n", ""},
      {{"--max-size", "1", "sweep"}, "", 0, R"({"expired":0,"evicted":2,"removedBytes":20,"removedAllocatedBytes":*,"remaining":0,"remainingBytes":0})" "\n", ""},
      // Both kinds in one sweep: counted from the one walk, each by its date.
      {{"put", "old", "--expiry", "date:1000"}, "123", 0, "", ""},
      {{"put", "new"}, "1234", 0, "", ""},
      {{"--max-size", "1", "sweep"}, "", 0, R"({"expired":1,"evicted":1,"removedBytes":7,"removedAllocatedBytes":*,"remaining":0,"remainingBytes":0})" "\n", ""},
      {{"put", "again"}, "x", 0, "", ""},
      {{"clear"}, "", 0, "", ""},
      {{"ls"}, "", 0, "", ""},
  };
  for (const Step& step : steps) {
    std::vector<std::string> arguments = {"cache", "--dir", aurimo.path("parent"), "--name", "Images"};
    arguments.insert(arguments.end(), step.arguments.begin(), step.arguments.end());
    const Outcome run = aurimo(arguments, step.input);
    EXPECT_EQ(run.status, step.status) << step.arguments[0];
    EXPECT_TRUE(aurimo.matches(step.out, run.out));
    EXPECT_TRUE(aurimo.matches(step.err, run.err));
    if (step.arguments[0] == "get" && run.status == 0) {
      EXPECT_EQ(slurp(aurimo.path("parent/Images/" + photo)), value) << "the library's own file: the bytes, nothing else";
    }
  }
  const Outcome badName = aurimo({"cache", "--dir", aurimo.path("parent"), "--name", "..", "ls"});
  EXPECT_EQ(badName.status, 2);
  EXPECT_EQ(badName.err, "aurimo: cache: --name must be a single folder name\n");
  // Regression: an empty --dir (an unset shell variable) once meant the root for clear and put.
  const Outcome emptyDir = aurimo({"cache", "--dir", "", "--name", "AurimoTestNeverHere", "put", "k"}, "x");
  EXPECT_EQ(emptyDir.status, 2);
  EXPECT_EQ(emptyDir.err, "aurimo: cache: --dir must not be empty\n");
}

}  // namespace
}  // namespace aurimo::test
