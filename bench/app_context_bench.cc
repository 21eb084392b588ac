// What a launch costs the main thread: constructing AppContext, with every
// framework and manager stood in and the process warm, against constructing
// the same services alone (the frameworks' objects, the managers, the image
// cache, in the same order) in the same run. Goal: at most 1.2x, and no file
// written on the calling thread while the context is constructed (the launch
// counters go to the user defaults, whose writes land off the main thread).
//
// Counters:
//   files_written_on_caller  atomic file writes made on the constructing thread, per construction

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "app_context/context/app_context.h"
#include "app_context/media/cache_helper.h"
#include "settings_store_kit/constants.h"
#include "testing/environment.h"
#include "testing/recording_app_managers.h"

#include "figures.h"

namespace aurimo {
namespace {

// Counts the atomic writes (each starts with a temporary file) made on one thread.
class CountingFileManager final : public platform::FileManagerWrapper {
 public:
  using FileManagerWrapper::FileManagerWrapper;
  platform::WritableFile createTemporaryFile(const std::string& directory, std::string_view prefix) override {
    if (std::this_thread::get_id() == watched_) ++count_;
    return FileManagerWrapper::createTemporaryFile(directory, prefix);
  }
  std::int64_t count() const { return count_; }

 private:
  const std::thread::id watched_ = std::this_thread::get_id();
  std::atomic<std::int64_t> count_ = 0;
};

struct World {
  test::Environment env;
  CountingFileManager files{*env.files};
  platform::Services services = [this] {
    platform::Services s = env.services();
    s.fileManager = std::shared_ptr<platform::FileManager>(std::shared_ptr<void>(), &files);
    s.userDefaults = std::make_shared<platform::UserDefaults>(env.settingsDirectory() / "bench-defaults.json", files);
    return s;
  }();
  std::shared_ptr<test::CallLog> log = std::make_shared<test::CallLog>();
  test::RecordingAppManagers managers{log};
  AppContext::Frameworks frameworks = AppContext::Frameworks::defaults();
};

void BM_AppContextConstruction(benchmark::State& state) {
  World world;
  const std::int64_t before = world.files.count();
  std::int64_t constructions = 0;
  for (auto _ : state) {
    auto window = std::make_shared<platform::UIWindow>();
    std::shared_ptr<AppContext> context = world.managers.launch(window, world.services, world.frameworks);
    benchmark::DoNotOptimize(context.get());
    state.PauseTiming();
    ++constructions;
    context.reset();
    test::Environment::runUntilIdle();
    state.ResumeTiming();
  }
  state.counters["files_written_on_caller"] =
      static_cast<double>(world.files.count() - before) / static_cast<double>(constructions);
}

// The services alone, made as the context makes them, with none of the launch's bookkeeping.
void BM_ServicesAlone(benchmark::State& state) {
  World world;
  for (auto _ : state) {
    auto window = std::make_shared<platform::UIWindow>();
    auto haptics = world.frameworks.makeHapticFeedbackGenerator();
    auto photos = std::make_unique<PhotoLibraryManager>(world.services.photoLibrary);
    auto remote = world.frameworks.makeRemoteConfig(world.services);
    auto links = UniversalLinkManager::create(world.services);
    auto scheduler = QzLocalUserNotificationScheduler::create(world.services);
    auto manager = QzUserNotificationManager::create(world.services);
    auto core = world.frameworks.makeCoreServicesKit(world.services);
    auto loader = world.frameworks.makeCDNImageLoader(SettingsStoreKit::Constants::CDN::baseURL(), 3,
                                                      std::make_shared<CacheHelper>(), 8);
    benchmark::DoNotOptimize(loader.get());
    state.PauseTiming();
    manager.reset();
    scheduler.reset();
    test::Environment::runUntilIdle();
    state.ResumeTiming();
  }
}

BENCHMARK(BM_ServicesAlone)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AppContextConstruction)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace aurimo

int main(int argc, char** argv) {
  namespace bench = aurimo::bench;
  bench::Figures figures;
  figures.add({"construction vs services alone, CPU", 1.2},
              bench::timeRatio("BM_AppContextConstruction", "BM_ServicesAlone", bench::Time::cpu));
  figures.add({.name = "caller-thread writes per launch", .isCount = true},
              bench::counter("BM_AppContextConstruction", "files_written_on_caller"));
  return bench::runBenchmarks(argc, argv, figures);
}
