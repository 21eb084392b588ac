#include "platform/url_components.h"

#include <gtest/gtest.h>

namespace aurimo {
namespace {

using platform::URL;
using platform::URLComponents;
using platform::URLQueryItem;
using Items = std::vector<URLQueryItem>;

TEST(URLComponents, TakesValidURLsApart) {
  for (const char* text : {"", "https://exa mple.com/", "https://h/%zz", "https://[::1/", "https://h/\xC3\xA4",
                           "http://h/a b", "https://h/#a#b"}) {
    EXPECT_EQ(URL::fromString(text), std::nullopt) << text;
  }
  EXPECT_EQ(URL::fromString("https://h/p?q=1#f")->absoluteString(), "https://h/p?q=1#f");
  EXPECT_TRUE(URL::fromString("relative/path"));

  struct Case {
    const char* text;
    std::optional<std::string> scheme, host;
    std::optional<int> port;
    std::string path;
    std::optional<Items> items;
  } cases[] = {
      {"https://aurimo.app/events/explore?identifier=a%20b&x=1+2", "https", "aurimo.app", std::nullopt,
       "/events/explore", Items{{"identifier", "a b"}, {"x", "1+2"}}},
      {"https://aurimo.app/events/explore", "https", "aurimo.app", std::nullopt, "/events/explore", std::nullopt},
      {"https://aurimo.app/?", "https", "aurimo.app", std::nullopt, "/", Items{}},
      {"https://h/p?flag&empty=&v=a=b", "https", "h", std::nullopt, "/p",
       Items{{"flag", std::nullopt}, {"empty", ""}, {"v", "a=b"}}},
      {"http://user:pw@[2001:db8::1]:8080/a%2Fb?q#frag", "http", "2001:db8::1", 8080, "/a/b",
       Items{{"q", std::nullopt}}},
      {"mailto:someone@example.com", "mailto", std::nullopt, std::nullopt, "someone@example.com", std::nullopt},
      {"//h//events//home_tab/", std::nullopt, "h", std::nullopt, "//events//home_tab/", std::nullopt},
      {"HTTPS://Aurimo.App", "HTTPS", "Aurimo.App", std::nullopt, "", std::nullopt},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    std::optional<URLComponents> parts = URLComponents::fromURL(*URL::fromString(c.text), true);
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->scheme(), c.scheme);
    EXPECT_EQ(parts->host(), c.host);
    EXPECT_EQ(parts->port(), c.port);
    EXPECT_EQ(parts->path(), c.path);
    EXPECT_EQ(parts->queryItems(), c.items);
    EXPECT_EQ(parts->string(), c.text);  // taking apart and rebuilding changes nothing
  }
  EXPECT_EQ(URLComponents::fromString("http://h:99999999999/"), std::nullopt);
  std::optional<URLComponents> emptyPort = URLComponents::fromString("http://h:/x");
  EXPECT_EQ(emptyPort->port(), std::nullopt);
  EXPECT_EQ(emptyPort->string(), "http://h/x");
}

TEST(URLComponents, BuildsPercentEncodedURLs) {
  URLComponents support;
  support.setScheme("https");
  support.setHost("support.aurimo.app");
  support.setPath("/contact us");
  support.setQueryItems(Items{{"devname", "iPhone 14"}, {"iosver", "17.2"}, {"note", "a&b=c+d#e%"},
                              {"flag", std::nullopt}, {"empty", ""}});
  EXPECT_EQ(support.string(),
            "https://support.aurimo.app/contact%20us?devname=iPhone%2014&iosver=17.2&note=a%26b%3Dc%2Bd%23e%25"
            "&flag&empty=");
  ASSERT_TRUE(support.url());
  EXPECT_EQ(URLComponents::fromURL(*support.url(), true)->queryItems(), support.queryItems());

  // The text of what `setUp` builds, nullopt when that is no valid URL.
  const auto built = [](void (*setUp)(URLComponents&)) {
    URLComponents parts;
    setUp(parts);
    return parts.url() ? parts.string() : std::nullopt;
  };
  EXPECT_EQ(built([](URLComponents& p) { p.setScheme("http"); p.setHost("::1"); p.setPort(8080); }),
            "http://[::1]:8080");
  EXPECT_EQ(built([](URLComponents& p) { p.setHost("h"); p.setPath("relative"); }), std::nullopt);
  EXPECT_EQ(built([](URLComponents& p) { p.setScheme("1http"); }), std::nullopt);

  support.setQueryItems(std::nullopt);
  EXPECT_EQ(support.string(), "https://support.aurimo.app/contact%20us");
}

}  // namespace

}  // namespace aurimo
