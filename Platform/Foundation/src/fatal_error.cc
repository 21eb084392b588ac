#include "platform/fatal_error.h"

#include <cstdio>
#include <cstdlib>

namespace aurimo::platform {

void fatalError(std::string_view message, const std::source_location& where) {
  std::fprintf(stderr, "aurimo: fatal error: %.*s (%s:%u)\n", static_cast<int>(message.size()), message.data(),
               where.file_name(), static_cast<unsigned>(where.line()));
  std::fflush(stderr);
  // Output already written but still buffered (the host's answers) is not lost with the process.
  std::fflush(stdout);
  std::abort();
}

}  // namespace aurimo::platform
