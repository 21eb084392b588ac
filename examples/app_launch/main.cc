// Launching the application context: the app hands in its managers (minimal stand-ins here) and
// its window; the context makes every other service and runs the launch bookkeeping as it is created.
#include <cstdio>
#include <memory>
#include <string>

#include "app_context/context/app_context.h"
#include "platform/run_loop.h"

namespace {
using namespace aurimo;

struct Account final : AppContextAccountManagerProtocol {
  bool isSignedIn() const override { return false; }
  SignInState signInState() const override { return {}; }
  void getFirebaseToken(TokenCompletion done) override { done("token", std::nullopt); }
  void getFirebaseTokenAndRefreshIt(TokenCompletion done) override { done("fresh token", std::nullopt); }
};

struct Amplitude final : AppContextAmplitudeAnalyticsManagerProtocol {
  void setUserProperty(const std::string& key, const std::string&) override { std::printf("set %s\n", key.c_str()); }
  void unsetUserProperty(const std::string& key) override { std::printf("unset %s\n", key.c_str()); }
  void start() override { std::printf("analytics started\n"); }
};

struct AppsFlyer final : AppContextAppsFlyerAnalyticsManagerProtocol {
  void setNetworkKit(std::shared_ptr<NetworkKit::NetworkKit>) override {}
  // The context hands in where opened messages' payloads go.
  void setDeepLinkHandler(DeepLinkHandler handler) override { openMessage = std::move(handler); }
  DeepLinkHandler openMessage;
};

// Nothing in the context calls these.
struct Identification final : AppContextIdentificationManagerProtocol {};
struct Collections final : AppContextCollectionsManagerProtocol {};
struct Firebase final : AppContextFirebaseAnalyticsManagerProtocol {};
struct Qonversion final : AppContextQonversionAnalyticsManagerProtocol {};

}  // namespace

int main() {
  auto window = std::make_shared<platform::UIWindow>();
  window->setRootViewController(std::make_shared<platform::UIViewController>());
  window->makeKeyAndVisible();
  auto appsFlyer = std::make_shared<AppsFlyer>();
  auto context = AppContext::create(window, std::make_shared<Account>(), std::make_shared<Identification>(),
                                    std::make_shared<Collections>(), std::make_shared<Amplitude>(), appsFlyer,
                                    std::make_shared<Firebase>(), std::make_shared<Qonversion>());
  platform::RunLoop::main().runUntilAllQueuesIdle();  // let queued launch work finish

  std::printf("marketplace: %s\n", context->isMarketplaceEnabled() ? "on" : "off");
  context->getFirebaseToken([](std::optional<std::string> token, std::optional<platform::Error>) {
    std::printf("token: %s\n", token ? token->c_str() : "(failed)");  // exactly one of the two is set
  });
  appsFlyer->openMessage({{"action", "home_tab"}});
  const bool routed = context->universalLinkManager()->shouldGoTo().has_value();

  context.reset();  // on the main thread, where it was made
  return routed ? 0 : 1;
}
