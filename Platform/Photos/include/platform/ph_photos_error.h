#pragma once
// PHPhotosError: why the photo library refused a change.
//
// Thread contract: a plain value.
//
//   library.performChanges(change, [](bool ok, std::optional<platform::PHPhotosError> error) {
//     if (!ok) std::fprintf(stderr, "%s\n", error->message.c_str()); });

#include <string>

namespace aurimo::platform {

struct PHPhotosError {
  enum class Code : int {
    internalError = -1,
    invalidResource = 3302,
    missingResource = 3303,
    notEnoughSpace = 3305,
    accessRestricted = 3310,
    accessUserDenied = 3311,
  };

  Code code = Code::internalError;
  std::string message;
};

}  // namespace aurimo::platform
