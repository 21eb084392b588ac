#include "platform/url.h"

#include <uriparser/Uri.h>

#include "url_internal.h"

namespace aurimo::platform {
namespace {

bool isUnreserved(unsigned char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

bool isSubDelimiter(unsigned char c) {
  switch (c) {
    case '!': case '$': case '&': case '\'': case '(': case ')':
    case '*': case '+': case ',': case ';': case '=':
      return true;
    default:
      return false;
  }
}

bool isAllowed(unsigned char c, URLCharacterSet set) {
  if (isUnreserved(c)) return true;
  switch (set) {
    case URLCharacterSet::queryAllowed:
    case URLCharacterSet::fragmentAllowed:
      return isSubDelimiter(c) || c == ':' || c == '@' || c == '/' || c == '?';
    case URLCharacterSet::pathAllowed:
      return isSubDelimiter(c) || c == ':' || c == '@' || c == '/';
    case URLCharacterSet::hostAllowed:
    case URLCharacterSet::userAllowed:
      return isSubDelimiter(c);
    case URLCharacterSet::queryItemAllowed:
      return (isSubDelimiter(c) && c != '&' && c != '=' && c != '+') || c == ':' || c == '@' ||
             c == '/' || c == '?';
  }
  return false;
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

}  // namespace

namespace url_internal {

bool isValidReference(std::string_view text) {
  if (text.empty()) return false;
  UriUriA uri;
  const char* errorPosition = nullptr;
  const int result = uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &errorPosition);
  if (result == URI_SUCCESS) uriFreeUriMembersA(&uri);
  return result == URI_SUCCESS;
}

}  // namespace url_internal

std::optional<URL> URL::fromString(std::string_view text) {
  if (!url_internal::isValidReference(text)) return std::nullopt;
  return URL(std::string(text));
}

std::string addingPercentEncoding(std::string_view text, URLCharacterSet allowed) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (isAllowed(byte, allowed)) {
      out += c;
    } else {
      out += '%';
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    }
  }
  return out;
}

std::optional<std::string> removingPercentEncoding(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      out += text[i];
      continue;
    }
    if (i + 2 >= text.size()) return std::nullopt;
    const int high = hexValue(text[i + 1]);
    const int low = hexValue(text[i + 2]);
    if (high < 0 || low < 0) return std::nullopt;
    out += static_cast<char>(high << 4 | low);
    i += 2;
  }
  return out;
}

}  // namespace aurimo::platform
