#pragma once
// URLComponents: a URL taken apart into scheme, user, host, port, path, query
// and fragment, and put back together with correct percent-encoding.
//
// Parts are kept percent-encoded; the plain accessors decode and the setters
// encode. host() gives an IPv6 literal without its brackets, and setHost()
// adds them back. queryItems() is nullopt when there is no "?" at all, empty
// for a bare "?"; an item without "=" has no value, "a=" has an empty one;
// '+' is a plain '+', never a space.
//
// Thread contract: a value type; no shared state.
//
//   auto parts = platform::URLComponents::fromURL(url, true);
//   if (parts && parts->host() == "example.com") auto items = parts->queryItems();

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/url.h"

namespace aurimo::platform {

struct URLQueryItem {
  std::string name;
  std::optional<std::string> value;

  friend bool operator==(const URLQueryItem&, const URLQueryItem&) = default;
};

class URLComponents {
 public:
  // No parts: url() is nullopt until one is set.
  URLComponents() = default;

  // A URL carries no base here, so `resolvingAgainstBaseURL` changes nothing;
  // it is kept for callers written against the platform's signature.
  static std::optional<URLComponents> fromURL(const URL& url, bool resolvingAgainstBaseURL);
  static std::optional<URLComponents> fromString(std::string_view text);

  const std::optional<std::string>& scheme() const { return scheme_; }
  std::optional<std::string> user() const;
  std::optional<std::string> host() const;
  std::optional<int> port() const { return port_; }
  std::string path() const;
  std::optional<std::string> query() const;
  std::optional<std::vector<URLQueryItem>> queryItems() const;
  std::optional<std::string> fragment() const;

  const std::optional<std::string>& percentEncodedHost() const { return host_; }
  const std::string& percentEncodedPath() const { return path_; }
  const std::optional<std::string>& percentEncodedQuery() const { return query_; }

  // Setters take plain text and encode it; nullopt removes the part.
  void setScheme(std::optional<std::string> scheme) { scheme_ = std::move(scheme); }
  void setUser(const std::optional<std::string>& user);
  void setHost(const std::optional<std::string>& host);
  void setPort(std::optional<int> port) { port_ = port; }
  void setPath(std::string_view path);
  void setQuery(const std::optional<std::string>& query);
  void setQueryItems(const std::optional<std::vector<URLQueryItem>>& items);
  void setFragment(const std::optional<std::string>& fragment);
  // Already-encoded query text, used as given.
  void setPercentEncodedQuery(std::optional<std::string> query) { query_ = std::move(query); }

  // nullopt when the parts cannot form a URL (a path not starting with "/"
  // beside a host, a path starting with "//" without one, a bad scheme, ...).
  std::optional<URL> url() const;
  std::optional<std::string> string() const;

 private:
  std::optional<std::string> scheme_;
  std::optional<std::string> user_;  // percent-encoded, may hold ":password"
  std::optional<std::string> host_;  // percent-encoded; IPv6 without brackets
  std::optional<int> port_;
  std::string path_;                 // percent-encoded
  std::optional<std::string> query_;     // percent-encoded, without "?"
  std::optional<std::string> fragment_;  // percent-encoded, without "#"
};

}  // namespace aurimo::platform
