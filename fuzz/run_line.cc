// One `aurimo run` line per input, answered by one host and app session that
// live, like a real run's, for the whole process, in a temporary folder.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "events/events.h"
#include "platform/bounded_json.h"
#include "testing/temporary_directory.h"

namespace {
aurimo::tool::EventHost* host = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static const aurimo::test::TemporaryDirectory folder;
  for (const char* name : {"HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME", "XDG_PICTURES_DIR"}) {
    ::setenv(name, (folder.path() / name).c_str(), 1);
  }
  // A question no event answered goes to the terminal, which must not wait.
  if (!std::freopen("/dev/null", "r", stdin)) std::abort();
  // Never destroyed: the app's queues may still run while statics go.
  host = new aurimo::tool::EventHost;
  aurimo::tool::registerAllEvents(*host);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view line(reinterpret_cast<const char*>(data), size);
  if (line.find('\n') != std::string_view::npos) return -1;
  if (std::optional<nlohmann::json> event = aurimo::platform::parseBoundedJson(line); event && event->is_object()) {
    // "file" may name any path on the machine; the same bytes arrive as "base64".
    if (event->contains("file")) return -1;
  }
  if (auto answer = host->handleLine(line)) (void)aurimo::tool::EventHost::format(*answer);
  return 0;
}
