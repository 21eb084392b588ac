#pragma once
// The AppContext tests' fixture: one world, a visible app window with a root
// screen, recording managers, a fixed network answer and a captured console.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "app_context/context/app_context.h"
#include "platform/application.h"
#include "testing/environment.h"
#include "testing/recording_app_managers.h"
#include "toolbox_kit/network_reachability.h"

namespace aurimo {

class AppContextTest : public ::testing::Test {
 protected:
  AppContextTest() {
    window_->setRootViewController(root_);
    window_->makeKeyAndVisible();
  }
  ~AppContextTest() override {
    // The close button's handler and every alert's buttons hold the context: let them go first.
    if (context_) context_->hideGlobalActivityIndicator();
    for (const auto& window : env_.application->windows()) if (window != window_) window->setHidden(true);
    context_.reset();
    env_.runUntilIdle();
  }

  // A fresh launch in the same world, as the next start of the app.
  void launch(const AppContext::Frameworks& frameworks) {
    context_.reset();
    context_ = app_.launch(window_, env_.services(), frameworks);
    env_.runUntilIdle();
  }
  void launch() {
    AppContext::Frameworks frameworks = test::recordingFrameworks(log_);
    frameworks.reachability = reachability_;
    frameworks.printToConsole = [this](std::string_view line) { console_.emplace_back(line); };
    launch(frameworks);
  }
  platform::UserDefaults& defaults() { return env_.userDefaults(); }

  test::Environment env_;
  std::shared_ptr<test::CallLog> log_ = std::make_shared<test::CallLog>();
  test::RecordingAppManagers app_{log_};
  std::shared_ptr<ToolboxKit::FixedNetworkReachability> reachability_ =
      std::make_shared<ToolboxKit::FixedNetworkReachability>(true);
  std::vector<std::string> console_;
  std::shared_ptr<platform::UIWindow> window_ = std::make_shared<platform::UIWindow>();
  std::shared_ptr<platform::UIViewController> root_ = std::make_shared<platform::UIViewController>();
  std::shared_ptr<AppContext> context_;  // last: goes before the environment
};

}  // namespace aurimo
