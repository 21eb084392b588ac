#pragma once
// fatalError: stops the process on a programming error, naming the cause and
// where it was detected. Input from outside never reaches it: callers check
// such input and answer with an error value instead.
//
// Thread contract: any thread.
//
//   if (!window.rootViewController()) platform::fatalError("the window has no root view controller");

#include <source_location>
#include <string_view>

namespace aurimo::platform {

// Prints "aurimo: fatal error: <message> (<file>:<line>)" on stderr and aborts.
[[noreturn]] void fatalError(std::string_view message,
                             const std::source_location& where = std::source_location::current());

}  // namespace aurimo::platform
