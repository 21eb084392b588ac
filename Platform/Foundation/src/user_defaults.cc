#include "platform/user_defaults.h"

#include "platform/bounded_json.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

#include "platform/directories.h"
#include "platform/state_file.h"

namespace aurimo::platform {
namespace {

// Data is stored in the file as {"$base64": "..."}; in memory it is a JSON
// binary value, so objectForKey() tells it apart from strings.
constexpr const char* kDataTag = "$base64";
constexpr char kBase64Alphabet[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string encodeBase64(const std::vector<std::uint8_t>& bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = std::uint32_t{bytes[i]} << 16;
    if (i + 1 < bytes.size()) group |= std::uint32_t{bytes[i + 1]} << 8;
    if (i + 2 < bytes.size()) group |= bytes[i + 2];
    out += kBase64Alphabet[(group >> 18) & 63];
    out += kBase64Alphabet[(group >> 12) & 63];
    out += i + 1 < bytes.size() ? kBase64Alphabet[(group >> 6) & 63] : '=';
    out += i + 2 < bytes.size() ? kBase64Alphabet[group & 63] : '=';
  }
  return out;
}

std::optional<Data> decodeBase64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  auto sextet = [](char c) -> int {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
  };
  Data out;
  out.reserve(text.size() / 4 * 3);
  for (std::size_t i = 0; i < text.size(); i += 4) {
    const bool last = i + 4 == text.size();
    const int padding = last ? (text[i + 3] == '=') + (text[i + 2] == '=') : 0;
    if (padding == 1 && text[i + 2] == '=') return std::nullopt;
    std::uint32_t group = 0;
    for (int k = 0; k < 4; ++k) {
      int value = k >= 4 - padding ? 0 : sextet(text[i + k]);
      if (value < 0) return std::nullopt;
      group = group << 6 | static_cast<std::uint32_t>(value);
    }
    out.push_back(static_cast<std::uint8_t>(group >> 16));
    if (padding < 2) out.push_back(static_cast<std::uint8_t>(group >> 8));
    if (padding < 1) out.push_back(static_cast<std::uint8_t>(group));
  }
  return out;
}

nlohmann::json toFile(const nlohmann::json& value) {
  if (value.is_binary()) return {{kDataTag, encodeBase64(value.get_binary())}};
  if (value.is_object()) {
    nlohmann::json out = nlohmann::json::object();
    for (const auto& [key, item] : value.items()) out[key] = toFile(item);
    return out;
  }
  if (value.is_array()) {
    nlohmann::json out = nlohmann::json::array();
    for (const auto& item : value) out.push_back(toFile(item));
    return out;
  }
  return value;
}

// Throws std::invalid_argument on a malformed data tag.
nlohmann::json fromFile(const nlohmann::json& value) {
  if (value.is_object()) {
    if (value.size() == 1 && value.contains(kDataTag)) {
      const nlohmann::json& text = value[kDataTag];
      std::optional<Data> bytes =
          text.is_string() ? decodeBase64(text.get_ref<const std::string&>()) : std::nullopt;
      if (!bytes) throw std::invalid_argument("malformed base64 data value");
      return nlohmann::json::binary(std::move(*bytes));
    }
    nlohmann::json out = nlohmann::json::object();
    for (const auto& [key, item] : value.items()) out[key] = fromFile(item);
    return out;
  }
  if (value.is_array()) {
    nlohmann::json out = nlohmann::json::array();
    for (const auto& item : value) out.push_back(fromFile(item));
    return out;
  }
  return value;
}

std::string_view skipSpaces(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  return text;
}

// Like the platform store: leading spaces, an optional sign, then "Y", "y",
// "T", "t" or a digit 1-9 after any zeros means true.
bool boolFromString(std::string_view text) {
  text = skipSpaces(text);
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
  while (!text.empty() && text.front() == '0') text.remove_prefix(1);
  if (text.empty()) return false;
  char c = text.front();
  return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
}

double doubleFromString(std::string_view text) {
  text = skipSpaces(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

std::int64_t clampToInteger(double value) {
  if (std::isnan(value)) return 0;
  if (value >= 9.2233720368547758e18) return std::numeric_limits<std::int64_t>::max();
  if (value <= -9.2233720368547758e18) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(value);
}

// Leading spaces, an optional sign, digits; stops at the first non-digit and
// saturates on overflow.
std::int64_t integerFromString(std::string_view text) {
  text = skipSpaces(text);
  bool negative = false;
  if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
    negative = text.front() == '-';
    text.remove_prefix(1);
  }
  std::uint64_t magnitude = 0;
  const std::uint64_t limit = negative ? std::uint64_t{1} << 63 : (std::uint64_t{1} << 63) - 1;
  for (char c : text) {
    if (c < '0' || c > '9') break;
    std::uint64_t digit = static_cast<std::uint64_t>(c - '0');
    if (magnitude > (limit - digit) / 10) {
      magnitude = limit;
      break;
    }
    magnitude = magnitude * 10 + digit;
  }
  if (!negative) return static_cast<std::int64_t>(magnitude);
  return magnitude == std::uint64_t{1} << 63 ? std::numeric_limits<std::int64_t>::min()
                                            : -static_cast<std::int64_t>(magnitude);
}

}  // namespace

UserDefaults::UserDefaults() = default;

UserDefaults::UserDefaults(std::filesystem::path file, FileManager& files)
    : file_(std::move(file)), files_(&files), writer_(std::make_shared<Writer>(this)) {
  load();
}

UserDefaults::~UserDefaults() {
  if (!writer_) return;
  // Waits out a save in flight; a save still queued then finds no owner. Not
  // queue.sync(): at exit the workers stop taking blocks, and the flush must still land.
  std::lock_guard lock(writer_->mutex);
  writer_->owner = nullptr;
  writeIfDirty(false);
}

Replaceable<UserDefaults>& UserDefaults::slot() {
  static Replaceable<UserDefaults> instance([] {
    return std::make_shared<UserDefaults>(Directories::current().settingsDirectory() /
                                          std::string(kFileName));
  });
  return instance;
}

void UserDefaults::load() {
  loadStateFile(*files_, *file_, "user defaults", "starting empty", [this](std::string_view text) -> std::string {
    std::string problem;
    std::optional<nlohmann::json> read = parseBoundedJson(text, &problem);
    if (!read) return "not valid JSON: " + problem;
    nlohmann::json parsed = std::move(*read);
    if (!parsed.is_object()) return "not a JSON object";
    try {
      values_ = fromFile(parsed);
    } catch (const std::invalid_argument& error) {
      return error.what();
    }
    return {};
  });
}

bool UserDefaults::writeIfDirty(bool scheduledSave) {
  nlohmann::json snapshot;
  {
    std::lock_guard lock(mutex_);
    // From here on a change needs a save of its own.
    if (scheduledSave) saveScheduled_ = false;
    if (!dirty_) return true;
    dirty_ = false;
    snapshot = toFile(values_);
  }
  std::string problem;
  try {
    // Text that is not UTF-8 is written with U+FFFD: a throw here would end the process.
    saveStateFile(*files_, *file_, snapshot.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
  } catch (const std::filesystem::filesystem_error& error) {
    problem = fileErrorMessage(error);
  }
  std::lock_guard lock(mutex_);
  // Report a failing disk once, not on every set().
  if (!problem.empty() && !saveFailing_) {
    std::fprintf(stderr, "aurimo: cannot save user defaults: %s\n", problem.c_str());
  }
  saveFailing_ = !problem.empty();
  if (saveFailing_) dirty_ = true;
  return !saveFailing_;
}

bool UserDefaults::synchronize() {
  if (!writer_) return true;
  std::lock_guard lock(writer_->mutex);
  return writeIfDirty(false);
}

std::optional<nlohmann::json> UserDefaults::find(std::string_view key) const {
  std::lock_guard lock(mutex_);
  auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return *found;
}

void UserDefaults::store(std::string_view key, nlohmann::json value) {
  {
    std::lock_guard lock(mutex_);
    if (value.is_null()) {
      if (values_.erase(std::string(key)) == 0) return;
    } else {
      // Writing back what is stored needs no save, unless an earlier one failed and waits for a retry.
      if (auto found = values_.find(key); found != values_.end() && *found == value && !dirty_) return;
      values_[std::string(key)] = std::move(value);
    }
    if (!file_) return;
    dirty_ = true;
    // A save that has not taken its snapshot yet will carry this change too.
    if (std::exchange(saveScheduled_, true)) return;
  }
  saveQueue_.async([writer = writer_] {
    std::lock_guard lock(writer->mutex);
    if (writer->owner) writer->owner->writeIfDirty(true);
  });
}

bool UserDefaults::boolForKey(std::string_view key) const {
  std::optional<nlohmann::json> value = find(key);
  if (!value) return false;
  if (value->is_boolean()) return value->get<bool>();
  if (value->is_number()) return value->get<double>() != 0;
  if (value->is_string()) return boolFromString(value->get_ref<const std::string&>());
  return false;
}

std::int64_t UserDefaults::integerForKey(std::string_view key) const {
  std::optional<nlohmann::json> value = find(key);
  if (!value) return 0;
  if (value->is_number_integer()) return value->get<std::int64_t>();
  if (value->is_number_unsigned()) {
    return static_cast<std::int64_t>(std::min<std::uint64_t>(
        value->get<std::uint64_t>(), std::numeric_limits<std::int64_t>::max()));
  }
  if (value->is_number_float()) return clampToInteger(value->get<double>());
  if (value->is_boolean()) return value->get<bool>() ? 1 : 0;
  if (value->is_string()) return integerFromString(value->get_ref<const std::string&>());
  return 0;
}

double UserDefaults::doubleForKey(std::string_view key) const {
  std::optional<nlohmann::json> value = find(key);
  if (!value) return 0;
  if (value->is_number()) return value->get<double>();
  if (value->is_boolean()) return value->get<bool>() ? 1 : 0;
  if (value->is_string()) return doubleFromString(value->get_ref<const std::string&>());
  return 0;
}

std::optional<std::string> UserDefaults::stringForKey(std::string_view key) const {
  std::optional<nlohmann::json> value = find(key);
  if (!value) return std::nullopt;
  if (value->is_string()) return value->get<std::string>();
  if (value->is_number()) return value->dump();
  if (value->is_boolean()) return value->get<bool>() ? "1" : "0";
  return std::nullopt;
}

std::optional<Data> UserDefaults::dataForKey(std::string_view key) const {
  std::optional<nlohmann::json> value = find(key);
  if (!value || !value->is_binary()) return std::nullopt;
  const auto& bytes = value->get_binary();
  return Data(bytes.begin(), bytes.end());
}

std::optional<nlohmann::json> UserDefaults::objectForKey(std::string_view key) const {
  return find(key);
}

void UserDefaults::set(bool value, std::string_view key) { store(key, value); }
void UserDefaults::set(std::int64_t value, std::string_view key) { store(key, value); }
void UserDefaults::set(double value, std::string_view key) { store(key, value); }
void UserDefaults::set(std::string_view value, std::string_view key) { store(key, std::string(value)); }
void UserDefaults::set(const Data& value, std::string_view key) {
  store(key, nlohmann::json::binary(value));
}
void UserDefaults::setObject(nlohmann::json value, std::string_view key) { store(key, std::move(value)); }
void UserDefaults::removeObjectForKey(std::string_view key) { store(key, nullptr); }

}  // namespace aurimo::platform
