#pragma once
// unwrappedError: the error a wrapping error carries, or the error itself
// when it wraps none; classification looks at what actually went wrong.
//
// Thread contract: a pure function; any thread.
//
//   if (FoundationHelpersKit::unwrappedError(error).code() == -1009) showOffline();

#include "platform/error.h"

namespace aurimo::FoundationHelpersKit {

inline const platform::Error& unwrappedError(const platform::Error& error) {
  const platform::Error* underlying = error.underlyingError();
  return underlying ? *underlying : error;
}

}  // namespace aurimo::FoundationHelpersKit
