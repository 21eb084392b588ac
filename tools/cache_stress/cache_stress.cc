// cache_stress: one cache folder shared by processes that crash or race.
//
//   cache_stress crash   a writer is SIGKILLed at a random point, 300 times;
//                        after each kill every key reads back whole, and no
//                        temporary file survives the final sweep
//   cache_stress share   two processes write, read, remove, sweep and clear
//                        one folder, 4000 operations each, with no error
//
// AURIMO_STRESS_SCALE=N multiplies the counts. Each run works in a fresh
// folder under $TMPDIR, removed when the run is clean and kept otherwise.
// Exit 0 when clean; otherwise the faults on stderr and exit 1.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "cache/disk_storage.h"
#include "cache/transformer_factory.h"
#include "platform/clock.h"
#include "platform/file_manager.h"

namespace {

using namespace aurimo;
using Disk = cache::DiskStorage<std::string, platform::Data>;
namespace fs = std::filesystem;

constexpr int kKeys = 8;

int scale() {
  const char* text = std::getenv("AURIMO_STRESS_SCALE");
  const int value = text ? std::atoi(text) : 1;
  return value > 0 ? value : 1;
}

Disk openDisk(const std::string& folder, std::uint64_t maxSize = 0) {
  return Disk(cache::DiskConfig("Cache", cache::Expiry::never, maxSize, fs::path(folder), std::nullopt),
              platform::FileManager::defaultManager(), cache::TransformerFactory::forData());
}

std::string keyName(int key) { return "key" + std::to_string(key); }

// A value names its key, generation and length, and every byte after that
// header follows from them, so any torn or mixed value is caught.
platform::Data valueFor(int key, std::uint64_t generation) {
  const std::string header = keyName(key) + " " + std::to_string(generation) + "\n";
  const std::size_t length = header.size() + (generation * 7919 + static_cast<std::uint64_t>(key) * 104729) % 150'000;
  platform::Data data(header.begin(), header.end());
  for (std::size_t i = data.size(); i < length; ++i) data.push_back(static_cast<std::uint8_t>(i * 31 + generation));
  return data;
}

bool isWhole(const platform::Data& data, int key) {
  const std::string text(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(data.size(), 40)));
  const std::string prefix = keyName(key) + " ";
  if (!text.starts_with(prefix)) return false;
  const std::uint64_t generation = std::strtoull(text.c_str() + prefix.size(), nullptr, 10);
  return data == valueFor(key, generation);
}

bool isNotFound(const std::system_error& error) { return error.code() == std::errc::no_such_file_or_directory; }

// Reads a key: true when it is absent or whole.
bool readsWhole(Disk& disk, int key, std::string& fault) {
  try {
    if (isWhole(disk.object(keyName(key)), key)) return true;
    fault = keyName(key) + " reads back torn";
  } catch (const std::system_error& error) {
    if (isNotFound(error)) return true;
    fault = keyName(key) + ": " + error.what();
  }
  return false;
}

// Runs this program again with `arguments`; the child closes `closeInChild`.
pid_t spawn(const std::vector<std::string>& arguments, int closeInChild) {
  std::vector<char*> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::close(closeInChild);
    ::execv("/proc/self/exe", argv.data());
    std::_Exit(127);
  }
  return child;
}

// A clock past the sweep's grace for temporaries, so the crash check sees
// every leftover of a killed writer removed.
class LaterClock final : public platform::Clock {
 public:
  platform::Date now() const override { return std::chrono::system_clock::now() + std::chrono::minutes(5); }
};

// Child "writer FOLDER SEED READY": writes new generations of random keys
// until killed; says it is ready through the descriptor READY once the folder is open.
int writer(const std::vector<std::string>& arguments) {
  Disk disk = openDisk(arguments[1]);
  std::mt19937 random(static_cast<unsigned>(std::stoul(arguments[2])));
  const int ready = std::stoi(arguments[3]);
  const char byte = 1;
  if (::write(ready, &byte, 1) != 1) return 1;
  for (std::uint64_t generation = 0;; ++generation) {
    const int key = static_cast<int>(random() % kKeys);
    disk.setObject(valueFor(key, generation), keyName(key));
  }
}

int crash(const std::string& folder) {
  const int cycles = 300 * scale();
  Disk disk = openDisk(folder);
  std::mt19937 random(std::random_device{}());
  int faults = 0;
  for (int cycle = 0; cycle < cycles && faults < 10; ++cycle) {
    int ready[2];
    if (::pipe(ready) != 0) return 1;
    const pid_t child = spawn({"cache_stress", "writer", folder, std::to_string(random()), std::to_string(ready[1])}, ready[0]);
    ::close(ready[1]);
    char byte = 0;
    const bool started = ::read(ready[0], &byte, 1) == 1;
    ::close(ready[0]);
    // Kill within the writer's first few writes: the point of the test, not synchronisation.
    if (started) std::this_thread::sleep_for(std::chrono::microseconds(random() % 3000));
    ::kill(child, SIGKILL);
    int status = 0;
    ::waitpid(child, &status, 0);
    if (!started) return std::fprintf(stderr, "crash: the writer never started\n"), 1;
    for (int key = 0; key < kKeys; ++key) {
      std::string fault;
      if (!readsWhole(disk, key, fault)) ++faults, std::fprintf(stderr, "crash: cycle %d: %s\n", cycle, fault.c_str());
    }
  }
  std::size_t temporaries = 0;
  const auto countTemporaries = [&] {
    temporaries = 0;
    for (const auto& item : fs::directory_iterator(disk.path())) temporaries += item.path().filename().string().starts_with(".aurimo-");
    return temporaries;
  };
  const std::size_t leftBehind = countTemporaries();
  {
    platform::ScopedReplacement<platform::Clock> later(platform::Clock::slot(), std::make_shared<LaterClock>());
    disk.removeExpiredObjects();
  }
  if (countTemporaries() != 0) ++faults, std::fprintf(stderr, "crash: %zu temporaries survived the sweep\n", temporaries);
  std::printf("crash: %d kills, %zu temporaries left by them, %d faults\n", cycles, leftBehind, faults);
  return faults == 0 ? 0 : 1;
}

// Child "worker FOLDER SEED OPERATIONS GATE": a random mix of every operation
// on a small size limit, once the parent opens the gate (closes its end of GATE).
int worker(const std::vector<std::string>& arguments) {
  Disk disk = openDisk(arguments[1], 400'000);
  std::mt19937 random(static_cast<unsigned>(std::stoul(arguments[2])));
  const int operations = std::stoi(arguments[3]), gate = std::stoi(arguments[4]);
  char byte;
  while (::read(gate, &byte, 1) > 0) {
  }
  int errors = 0;
  for (int i = 0; i < operations && errors < 10; ++i) {
    const int key = static_cast<int>(random() % kKeys);
    const unsigned pick = random() % 100;
    const char* operation = pick < 45 ? "set" : pick < 75 ? "get" : pick < 85 ? "remove" : pick < 97 ? "sweep" : "clear";
    try {
      std::string fault;
      if (pick < 45) {
        // Some already expired, so sweeps find work besides the size limit.
        disk.setObject(valueFor(key, random()), keyName(key), cache::Expiry::seconds(pick < 10 ? -1 : 3600));
      } else if (pick < 75) {
        if (!readsWhole(disk, key, fault)) ++errors, std::fprintf(stderr, "share: get: %s\n", fault.c_str());
      } else if (pick < 85) {
        disk.removeObject(keyName(key));
      } else if (pick < 97) {
        disk.removeExpiredObjects();
      } else {
        disk.removeAll();
      }
    } catch (const std::system_error& error) {
      if (pick >= 75 && pick < 85 && isNotFound(error)) continue;  // removing what is not there
      ++errors, std::fprintf(stderr, "share: %s: %s\n", operation, error.what());
    } catch (const std::exception& error) {
      ++errors, std::fprintf(stderr, "share: %s: %s\n", operation, error.what());
    }
  }
  return errors == 0 ? 0 : 1;
}

int share(const std::string& folder) {
  const int operations = 4000 * scale();
  { openDisk(folder); }
  int gate[2];
  if (::pipe(gate) != 0) return 1;
  std::vector<pid_t> children;
  children.reserve(2);
  for (int i = 0; i < 2; ++i) {
    children.push_back(spawn({"cache_stress", "worker", folder, std::to_string(std::random_device{}()),
                              std::to_string(operations), std::to_string(gate[0])}, gate[1]));
  }
  ::close(gate[0]);
  ::close(gate[1]);
  int failed = 0;
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    failed += !(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  std::printf("share: 2 processes, %d operations each, %d failed\n", operations, failed);
  return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 4 && arguments[0] == "writer") return writer(arguments);
  if (arguments.size() == 5 && arguments[0] == "worker") return worker(arguments);
  if (arguments.size() != 1 || (arguments[0] != "crash" && arguments[0] != "share")) {
    std::fprintf(stderr, "usage: cache_stress crash|share\n");
    return 2;
  }
  std::string pattern = (fs::temp_directory_path() / "aurimo-stress-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) return std::perror("mkdtemp"), 1;
  const int status = arguments[0] == "crash" ? crash(pattern) : share(pattern);
  if (status == 0) fs::remove_all(pattern);
  else std::fprintf(stderr, "%s: the folder is kept at %s\n", arguments[0].c_str(), pattern.c_str());
  return status;
}
