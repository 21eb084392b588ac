#pragma once
// URL: a validated RFC 3986 URI reference, kept as the text it was made from.
//
// Thread contract: an immutable value; copies are independent.
//
//   std::optional<platform::URL> url = platform::URL::fromString("https://example.com/a?b=c");
//   if (url) open(url->absoluteString());

#include <optional>
#include <string>
#include <string_view>

namespace aurimo::platform {

class URL {
 public:
  // nullopt for empty text or text that is not a URI reference (spaces,
  // bad percent escapes, non-ASCII, unbalanced brackets, ...).
  static std::optional<URL> fromString(std::string_view text);

  const std::string& absoluteString() const { return text_; }

  friend bool operator==(const URL&, const URL&) = default;

 private:
  explicit URL(std::string text) : text_(std::move(text)) {}
  std::string text_;
};

// The character sets that percent-encoding leaves as they are.
enum class URLCharacterSet {
  queryAllowed,     // unreserved and !$&'()*+,;=:@/?
  pathAllowed,      // unreserved and !$&'()*+,;=:@/
  hostAllowed,      // unreserved and !$&'()*+,;=
  fragmentAllowed,  // same as queryAllowed
  userAllowed,      // unreserved and !$&'()*+,;=
  queryItemAllowed, // queryAllowed less & = + #, for one name or value
};

// Percent-encodes (upper-case hex) every byte outside `allowed`.
std::string addingPercentEncoding(std::string_view text, URLCharacterSet allowed);
// Decodes %XX escapes; nullopt when an escape is malformed. '+' stays '+'.
std::optional<std::string> removingPercentEncoding(std::string_view text);

}  // namespace aurimo::platform
