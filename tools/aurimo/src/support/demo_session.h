#pragma once
// The demo's session script, demo/session.jsonl, built into the binary so the
// demo runs from any folder. The definition is generated at build time.

#include <string_view>

namespace aurimo::tool {

std::string_view demoSession();

}  // namespace aurimo::tool
