#include "platform/url_components.h"

#include <charconv>

#include "url_internal.h"

namespace aurimo::platform {
namespace {

// Decodes for the plain accessors; text that was set already encoded and is
// malformed comes back as it is rather than being lost.
std::string decoded(std::string_view text) {
  if (auto plain = removingPercentEncoding(text)) return *plain;
  return std::string(text);
}

std::optional<std::string> decodedOptional(const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  return decoded(std::string_view(*text));
}

bool isValidScheme(std::string_view scheme) {
  if (scheme.empty() || !std::isalpha(static_cast<unsigned char>(scheme.front()))) return false;
  for (char c : scheme) {
    if (!std::isalnum(static_cast<unsigned char>(c)) && c != '+' && c != '-' && c != '.') return false;
  }
  return true;
}

}  // namespace

std::optional<URLComponents> URLComponents::fromURL(const URL& url, bool /*resolvingAgainstBaseURL*/) {
  return fromString(url.absoluteString());
}

std::optional<URLComponents> URLComponents::fromString(std::string_view text) {
  if (!url_internal::isValidReference(text)) return std::nullopt;
  // The text is a valid reference, so the generic split of RFC 3986
  // appendix B takes it apart exactly.
  URLComponents parts;
  std::string_view rest = text;
  if (std::size_t colon = rest.find_first_of(":/?#");
      colon != std::string_view::npos && rest[colon] == ':') {
    parts.scheme_ = std::string(rest.substr(0, colon));
    rest.remove_prefix(colon + 1);
  }
  if (rest.starts_with("//")) {
    rest.remove_prefix(2);
    std::size_t end = std::min(rest.find_first_of("/?#"), rest.size());
    std::string_view authority = rest.substr(0, end);
    rest.remove_prefix(end);
    if (std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
      parts.user_ = std::string(authority.substr(0, at));
      authority.remove_prefix(at + 1);
    }
    std::string_view port;
    if (authority.starts_with('[')) {
      std::size_t close = authority.find(']');
      parts.host_ = std::string(authority.substr(1, close - 1));
      authority.remove_prefix(close + 1);
      if (authority.starts_with(':')) port = authority.substr(1);
    } else if (std::size_t colon = authority.find(':'); colon != std::string_view::npos) {
      parts.host_ = std::string(authority.substr(0, colon));
      port = authority.substr(colon + 1);
    } else {
      parts.host_ = std::string(authority);
    }
    if (!port.empty()) {
      int number = 0;
      auto [end, error] = std::from_chars(port.data(), port.data() + port.size(), number);
      if (error != std::errc() || end != port.data() + port.size()) return std::nullopt;
      parts.port_ = number;
    }
  }
  std::size_t pathEnd = std::min(rest.find_first_of("?#"), rest.size());
  parts.path_ = std::string(rest.substr(0, pathEnd));
  rest.remove_prefix(pathEnd);
  if (rest.starts_with('?')) {
    std::size_t queryEnd = std::min(rest.find('#'), rest.size());
    parts.query_ = std::string(rest.substr(1, queryEnd - 1));
    rest.remove_prefix(queryEnd);
  }
  if (rest.starts_with('#')) parts.fragment_ = std::string(rest.substr(1));
  return parts;
}

std::optional<std::string> URLComponents::user() const { return decodedOptional(user_); }
std::optional<std::string> URLComponents::host() const { return decodedOptional(host_); }
std::string URLComponents::path() const { return decoded(std::string_view(path_)); }
std::optional<std::string> URLComponents::query() const { return decodedOptional(query_); }
std::optional<std::string> URLComponents::fragment() const { return decodedOptional(fragment_); }

std::optional<std::vector<URLQueryItem>> URLComponents::queryItems() const {
  if (!query_) return std::nullopt;
  std::vector<URLQueryItem> items;
  if (query_->empty()) return items;
  std::string_view rest = *query_;
  for (;;) {
    std::size_t end = std::min(rest.find('&'), rest.size());
    std::string_view piece = rest.substr(0, end);
    std::size_t equals = piece.find('=');
    if (equals == std::string_view::npos) {
      items.push_back({decoded(piece), std::nullopt});
    } else {
      items.push_back({decoded(piece.substr(0, equals)), decoded(piece.substr(equals + 1))});
    }
    if (end == rest.size()) break;
    rest.remove_prefix(end + 1);
  }
  return items;
}

void URLComponents::setUser(const std::optional<std::string>& user) {
  user_ = user ? std::optional(addingPercentEncoding(*user, URLCharacterSet::userAllowed)) : std::nullopt;
}

void URLComponents::setHost(const std::optional<std::string>& host) {
  if (!host) {
    host_.reset();
  } else if (host->find(':') != std::string::npos) {
    host_ = *host;  // an IPv6 literal; url() checks it
  } else {
    host_ = addingPercentEncoding(*host, URLCharacterSet::hostAllowed);
  }
}

void URLComponents::setPath(std::string_view path) {
  path_ = addingPercentEncoding(path, URLCharacterSet::pathAllowed);
}

void URLComponents::setQuery(const std::optional<std::string>& query) {
  query_ = query ? std::optional(addingPercentEncoding(*query, URLCharacterSet::queryAllowed)) : std::nullopt;
}

void URLComponents::setQueryItems(const std::optional<std::vector<URLQueryItem>>& items) {
  if (!items) {
    query_.reset();
    return;
  }
  std::string query;
  for (std::size_t i = 0; i < items->size(); ++i) {
    const URLQueryItem& item = (*items)[i];
    if (i > 0) query += '&';
    query += addingPercentEncoding(item.name, URLCharacterSet::queryItemAllowed);
    if (item.value) query += '=' + addingPercentEncoding(*item.value, URLCharacterSet::queryItemAllowed);
  }
  query_ = std::move(query);
}

void URLComponents::setFragment(const std::optional<std::string>& fragment) {
  fragment_ = fragment ? std::optional(addingPercentEncoding(*fragment, URLCharacterSet::fragmentAllowed))
                       : std::nullopt;
}

std::optional<std::string> URLComponents::string() const {
  std::string text;
  if (scheme_) {
    if (!isValidScheme(*scheme_)) return std::nullopt;
    text += *scheme_ + ':';
  }
  const bool hasAuthority = user_ || host_ || port_;
  if (hasAuthority) {
    text += "//";
    if (user_) text += *user_ + '@';
    if (host_) text += host_->find(':') != std::string::npos ? '[' + *host_ + ']' : *host_;
    if (port_) {
      if (*port_ < 0) return std::nullopt;
      text += ':' + std::to_string(*port_);
    }
    if (!path_.empty() && path_.front() != '/') return std::nullopt;
  } else {
    if (path_.starts_with("//")) return std::nullopt;
    // Without a scheme, a colon in the first segment would read as one.
    if (!scheme_) {
      std::string_view firstSegment = std::string_view(path_).substr(0, path_.find('/'));
      if (firstSegment.find(':') != std::string_view::npos) return std::nullopt;
    }
  }
  text += path_;
  if (query_) text += '?' + *query_;
  if (fragment_) text += '#' + *fragment_;
  return text;
}

std::optional<URL> URLComponents::url() const {
  std::optional<std::string> text = string();
  if (!text) return std::nullopt;
  return URL::fromString(*text);
}

}  // namespace aurimo::platform
