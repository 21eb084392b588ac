// aurimo cache: inspects and edits any cache directory through the cache
// library's own Storage, so the files it reads and writes are the library's.

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <stdexcept>
#include <unordered_map>
#include <vector>

#include <nlohmann/json.hpp>

#include "cache/storage.h"
#include "cache/transformer_factory.h"
#include "commands/commands.h"
#include "platform/clock.h"
#include "platform/file_manager.h"
#include "support/event_host.h"

namespace aurimo::tool {
namespace {

using CacheStorage = cache::Storage<std::string, platform::Data>;

// Directories at least this large get a progress bar while they are swept.
constexpr std::size_t kProgressThreshold = 5'000;

struct CacheOptions {
  std::string parent;
  std::string name;
  std::string maxSizeText = "0";
  std::uint64_t maxSize = 0;
  std::string key;
  std::string expiry = "never";
};

// A whole number of seconds prints without a fraction.
nlohmann::ordered_json unixSeconds(platform::Date date) {
  const double seconds = std::chrono::duration<double>(date.time_since_epoch()).count();
  if (seconds == std::floor(seconds) && std::abs(seconds) < 9e15) return static_cast<std::int64_t>(seconds);
  return seconds;
}

std::optional<double> parseNumber(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<cache::Expiry> parseExpiry(std::string_view text) {
  if (text == "never") return cache::Expiry::never;
  if (text.starts_with("seconds:")) {
    if (auto seconds = parseNumber(text.substr(8))) return cache::Expiry::seconds(*seconds);
  } else if (text.starts_with("date:")) {
    if (auto seconds = parseNumber(text.substr(5))) return cache::Expiry::date(platform::dateFromUnixSeconds(*seconds));
  }
  return std::nullopt;
}

bool isNotFound(const std::exception& error) {
  const auto* fileError = dynamic_cast<const std::filesystem::filesystem_error*>(&error);
  return fileError != nullptr && fileError->code() == std::errc::no_such_file_or_directory;
}

std::string directoryOf(const CacheOptions& options) {
  return (std::filesystem::path(options.parent) / options.name).string();
}

// Digits only, within 64 bits: "-1" or an overlong number must not wrap into a limit.
std::optional<std::uint64_t> parseByteCount(std::string_view text) {
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || text.front() == '-' || error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// One regular, non-hidden file of the cache directory.
struct CacheFile {
  std::string name;
  std::uint64_t bytes;
  std::uint64_t allocatedBytes;
  std::optional<platform::Date> expiry;
};

std::vector<CacheFile> listFiles(platform::FileManager& files, const std::string& directory) {
  std::vector<CacheFile> result;
  const bool listed = files.enumerateDirectory(
      directory, [](std::string_view name) { return name.front() != '.'; },
      [&](const platform::DirectoryEntry& entry) {
        if (entry.attributes.type != platform::FileAttributes::Type::regular) return;
        result.push_back(CacheFile{std::filesystem::path(entry.path).lexically_relative(directory).string(),
                                   entry.attributes.size, entry.attributes.totalFileAllocatedSize.value_or(entry.attributes.size),
                                   entry.attributes.modificationDate});
      });
  if (!listed) throw std::runtime_error("cannot open " + directory);
  std::sort(result.begin(), result.end(), [](const CacheFile& a, const CacheFile& b) { return a.name < b.name; });
  return result;
}

// Counts what the library's sweep finds and removes as it goes, so the
// folder is walked once: a regular file dated before `now` (the instant the
// sweep runs at) is one the sweep removes as expired; any other removal of a
// file it listed is an eviction. On a terminal it also draws the progress.
class SweepTally final : public platform::FileManagerWrapper {
 public:
  struct Totals {
    std::uint64_t count = 0;
    std::uint64_t bytes = 0;
    std::uint64_t allocatedBytes = 0;

    void add(const CacheFile& file) {
      ++count;
      bytes += file.bytes;
      allocatedBytes += file.allocatedBytes;
    }
    void subtract(const CacheFile& file) {
      --count;
      bytes -= file.bytes;
      allocatedBytes -= file.allocatedBytes;
    }
  };

  // `evictions`: whether a size limit may remove unexpired files, which then
  // need looking up by path. `progressTotal`: 0 draws nothing.
  SweepTally(platform::FileManager& base, platform::Date now, bool evictions, std::size_t progressTotal)
      : FileManagerWrapper(base), now_(now), evictions_(evictions), progressTotal_(progressTotal) {}
  ~SweepTally() override {
    if (drawn_) std::fputs("\r\033[K", stderr);
  }

  // Counted before the call: a file someone else removed first is gone all the same.
  void removeItem(const std::string& path) override {
    if (auto found = kept_.find(path); found != kept_.end()) {
      evicted.add(found->second);
      remaining.subtract(found->second);
      kept_.erase(found);
    }
    FileManagerWrapper::removeItem(path);
    ++removed_;
    draw();
  }
  [[nodiscard]] bool enumerateDirectory(const std::string& path, const NameFilter& include,
                                        const EntryVisitor& visit) override {
    return FileManagerWrapper::enumerateDirectory(path, include, [&](const platform::DirectoryEntry& entry) {
      count(entry);
      visit(entry);
      ++examined_;
      draw();
    });
  }

  Totals expired;
  Totals evicted;
  Totals remaining;

 private:
  // Hidden names are the library's temporaries, never cache files.
  void count(const platform::DirectoryEntry& entry) {
    if (entry.attributes.type != platform::FileAttributes::Type::regular || entry.name.front() == '.') return;
    const CacheFile file{{}, entry.attributes.size,
                         entry.attributes.totalFileAllocatedSize.value_or(entry.attributes.size),
                         entry.attributes.modificationDate};
    if (file.expiry && *file.expiry < now_) {
      expired.add(file);
      return;
    }
    remaining.add(file);
    if (evictions_) kept_.emplace(entry.path, file);
  }

  void draw() {
    if (progressTotal_ == 0) return;
    const auto now = std::chrono::steady_clock::now();
    if (drawn_ && now - lastDrawn_ < std::chrono::milliseconds(100)) return;
    lastDrawn_ = now;
    drawn_ = true;
    constexpr std::size_t kWidth = 30;
    const std::size_t filled = std::min(kWidth, examined_ * kWidth / progressTotal_);
    std::fprintf(stderr, "\r\033[Ksweeping [%s%s] %zu/%zu files examined, %zu removed",
                 std::string(filled, '#').c_str(), std::string(kWidth - filled, '.').c_str(),
                 std::min(examined_, progressTotal_), progressTotal_, removed_);
    std::fflush(stderr);
  }

  platform::Date now_;
  bool evictions_;
  std::size_t progressTotal_;
  std::unordered_map<std::string, CacheFile> kept_;  // by path; only with a size limit
  std::size_t examined_ = 0;
  std::size_t removed_ = 0;
  bool drawn_ = false;
  std::chrono::steady_clock::time_point lastDrawn_;
};

// The library's sweep reads the clock once; a clock stopped at one instant
// makes that instant the tally's too.
class StoppedClock final : public platform::Clock {
 public:
  explicit StoppedClock(platform::Date now) : now_(now) {}
  platform::Date now() const override { return now_; }

 private:
  platform::Date now_;
};

// The entries directly in `directory`, by name only (nothing examined): the
// progress bar's total.
std::size_t countNames(platform::FileManager& files, const std::string& directory) {
  std::size_t count = 0;
  (void)files.enumerateDirectory(
      directory,
      [&](std::string_view name) {
        count += name.front() != '.';
        return false;
      },
      [](const platform::DirectoryEntry&) {});
  return count;
}

std::shared_ptr<CacheStorage> openStorage(const CacheOptions& options, platform::FileManager& files) {
  return CacheStorage::create(
      cache::DiskConfig(options.name, cache::Expiry::never, options.maxSize, std::filesystem::path(options.parent),
                        std::nullopt),
      cache::MemoryConfig(cache::Expiry::never, 0, 0), cache::TransformerFactory::forData(), files);
}

int put(const CacheOptions& options) {
  const auto expiry = parseExpiry(options.expiry);
  if (!expiry) return fail(kExitUsage, "cache put: --expiry must be never, seconds:N or date:UNIX");
  // Beyond what a date holds, the library would store the nearest end instead.
  if (const platform::Date date = expiry->date(); date == platform::Date::max() || date == platform::Date::min()) {
    return fail(kExitUsage, "cache: --expiry must fall between 1677-09-22 and 2262-04-11");
  }
  std::cin >> std::noskipws;
  const platform::Data value((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
  openStorage(options, platform::FileManager::defaultManager())->setObject(value, options.key, *expiry);
  return kExitSuccess;
}

// Runs `work` on the key's storage; a miss becomes "cache COMMAND: no value for the key KEY", exit 1.
template <class Work>
int onKey(const CacheOptions& options, const char* command, Work work) {
  try {
    work(*openStorage(options, platform::FileManager::defaultManager()));
    return kExitSuccess;
  } catch (const std::exception& error) {
    if (isNotFound(error)) return fail(kExitFailure, std::string("cache ") + command + ": no value for the key " + options.key);
    throw;
  }
}

int get(const CacheOptions& options) {
  return onKey(options, "get", [&](CacheStorage& storage) {
    const platform::Data value = storage.object(options.key);
    std::cout.write(reinterpret_cast<const char*>(value.data()), static_cast<std::streamsize>(value.size()));
    std::cout.flush();
  });
}

int entry(const CacheOptions& options) {
  return onKey(options, "entry", [&](CacheStorage& storage) {
    const auto found = storage.entry(options.key);
    nlohmann::ordered_json line;
    line["key"] = options.key;
    line["path"] = found.filePath.value_or("");
    line["expiry"] = unixSeconds(found.expiry.date());
    line["expired"] = found.expiry.isExpired();
    line["bytes"] = found.object.size();
    std::cout << EventHost::format(line) << '\n';
  });
}

int remove(const CacheOptions& options) {
  return onKey(options, "rm", [&](CacheStorage& storage) { storage.removeObject(options.key); });
}

int list(const CacheOptions& options) {
  for (const CacheFile& file : listFiles(platform::FileManager::defaultManager(), directoryOf(options))) {
    nlohmann::ordered_json line;
    line["name"] = file.name;
    line["bytes"] = file.bytes;
    line["allocatedBytes"] = file.allocatedBytes;
    line["expiry"] = file.expiry ? unixSeconds(*file.expiry) : nlohmann::ordered_json();
    std::cout << EventHost::format(line) << '\n';
  }
  return kExitSuccess;
}

// Counts from the library's own sweep (see SweepTally): one walk in all.
int sweep(const CacheOptions& options) {
  platform::FileManager& files = platform::FileManager::defaultManager();
  const std::string directory = directoryOf(options);
  const platform::Date start = platform::Clock::current().now();
  std::size_t progressTotal = 0;
  if (::isatty(STDERR_FILENO)) {
    progressTotal = countNames(files, directory);
    if (progressTotal < kProgressThreshold) progressTotal = 0;
  }
  SweepTally tally(files, start, options.maxSize != 0, progressTotal);
  {
    platform::ScopedReplacement<platform::Clock> stopped(platform::Clock::slot(), std::make_shared<StoppedClock>(start));
    openStorage(options, tally)->removeExpiredObjects();
  }
  nlohmann::ordered_json line;
  line["expired"] = tally.expired.count;
  line["evicted"] = tally.evicted.count;
  line["removedBytes"] = tally.expired.bytes + tally.evicted.bytes;
  line["removedAllocatedBytes"] = tally.expired.allocatedBytes + tally.evicted.allocatedBytes;
  line["remaining"] = tally.remaining.count;
  line["remainingBytes"] = tally.remaining.bytes;
  std::cout << EventHost::format(line) << '\n';
  return kExitSuccess;
}

int clear(const CacheOptions& options) {
  openStorage(options, platform::FileManager::defaultManager())->removeAll();
  return kExitSuccess;
}

// The subcommands, in the order --help lists them.
struct CacheSubcommand {
  const char* name;
  const char* description;
  bool takesKey;
  bool createsCache;  // the rest need an existing cache directory
  int (*run)(const CacheOptions& options);
};

constexpr CacheSubcommand kSubcommands[] = {
    {"put", "Store stdin under KEY", true, true, put},
    {"get", "Write KEY's bytes to stdout; exit 1 when absent", true, false, get},
    {"entry", "One JSON line: key, path, expiry (Unix seconds), expired, bytes", true, false, entry},
    {"rm", "Remove KEY's file; exit 1 when absent", true, false, remove},
    {"ls", "One JSON line per file: name, bytes, allocatedBytes, expiry", false, false, list},
    {"sweep", "Remove expired files, then enforce --max-size; one JSON line of counts", false, false, sweep},
    {"clear", "Remove every file", false, true, clear},
};

int runSubcommand(const CacheSubcommand& subcommand, CacheOptions options) {
  // An empty parent (an unset shell variable) must never mean the root; a
  // relative one is made absolute once, so every check and the storage agree.
  if (options.parent.empty()) return fail(kExitUsage, "cache: --dir must not be empty");
  std::error_code ignored;
  options.parent = std::filesystem::absolute(options.parent, ignored).string();
  std::optional<std::uint64_t> maxSize = parseByteCount(options.maxSizeText);
  if (!maxSize) return fail(kExitUsage, "cache: --max-size must be a whole number of bytes");
  options.maxSize = *maxSize;
  const std::string& name = options.name;
  if (name.empty() || name == "." || name == ".." || name.find('/') != std::string::npos) {
    return fail(kExitUsage, "cache: --name must be a single folder name");
  }
  if (!subcommand.createsCache && !std::filesystem::is_directory(directoryOf(options))) {
    return fail(kExitFailure, "cache: there is no cache at " + directoryOf(options));
  }
  try {
    return subcommand.run(options);
  } catch (const std::exception& error) {
    return fail(kExitFailure, std::string("cache ") + subcommand.name + ": " + error.what());
  }
}

}  // namespace

void addCacheCommand(CommandLine& commandLine) {
  auto options = std::make_shared<CacheOptions>();
  // Set by the chosen subcommand's callback while parsing.
  auto chosen = std::make_shared<const CacheSubcommand*>(nullptr);
  CLI::App* cacheCommand = commandLine.addCommand("cache", "Inspect or edit the cache directory PARENT/NAME",
                                                  [options, chosen] { return runSubcommand(**chosen, *options); });
  cacheCommand->add_option("--dir", options->parent, "The folder that holds the cache directory")
      ->option_text("PARENT")
      ->required();
  cacheCommand->add_option("--name", options->name, "The cache directory's name")->option_text("NAME")->required();
  cacheCommand->add_option("--max-size", options->maxSizeText, "Size limit in bytes that sweep enforces (0: none)")
      ->option_text("BYTES");
  cacheCommand->require_subcommand(1);

  for (const CacheSubcommand& subcommand : kSubcommands) {
    CLI::App* command = cacheCommand->add_subcommand(subcommand.name, subcommand.description);
    command->callback([chosen, &subcommand] { *chosen = &subcommand; });
    if (subcommand.takesKey) command->add_option("KEY", options->key, "The key")->required();
  }
  cacheCommand->get_subcommand("put")
      ->add_option("--expiry", options->expiry, "never (default), seconds:N or date:UNIX")
      ->option_text("EXPIRY");
}

}  // namespace aurimo::tool
