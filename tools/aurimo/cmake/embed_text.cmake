# Writes OUTPUT, a C++ file defining `std::string_view FUNCTION()` in namespace
# NAMESPACE that returns the bytes of INPUT.
#   cmake -DINPUT=a.txt -DOUTPUT=a.cc -DNAMESPACE=ns -DFUNCTION=text -P embed_text.cmake
file(READ "${INPUT}" hex HEX)
string(LENGTH "${hex}" hex_length)
math(EXPR size "${hex_length} / 2")
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n  "
       bytes "${bytes}")
file(WRITE "${OUTPUT}.tmp" "// Generated from ${INPUT}; do not edit.
#include <string_view>

namespace ${NAMESPACE} {
namespace {
const unsigned char kBytes[] = {
  ${bytes}0x00};
}  // namespace

std::string_view ${FUNCTION}() { return {reinterpret_cast<const char*>(kBytes), ${size}}; }

}  // namespace ${NAMESPACE}
")
file(COPY_FILE "${OUTPUT}.tmp" "${OUTPUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUTPUT}.tmp")
