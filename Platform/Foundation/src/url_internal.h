#pragma once
// Shared by url.cc and url_components.cc.

#include <string_view>

namespace aurimo::platform::url_internal {

// True for a non-empty RFC 3986 URI reference.
bool isValidReference(std::string_view text);

}  // namespace aurimo::platform::url_internal
