// Events of what is on screen: alerts, the activity indicator, time passing,
// and the whole UI tree.
//   {"event":"alert","title":…,"message":…,"actions":[CASE,…]}
//   {"event":"errorAlert","error":ERROR,"overrideDefaultAlertMessage":…,"actions":[CASE,…]}
//   {"event":"tapAlertButton","title":…}
//   {"event":"showActivityIndicator","title":…|null,"closeButtonAfter":SECONDS}
//   {"event":"hideActivityIndicator"}, {"event":"tapActivityIndicatorClose"}, {"event":"activityIndicator"}
//   {"event":"wait","seconds":S}
//   {"event":"configureNavigationBar","configuration":{…},"backgroundState":…,"isNeedUpdateScrollEdgeAppearance":B}
//   {"event":"tapBarButton","side":"left"|"right"}
//   {"event":"pushScreen","title":…}, {"event":"popScreen"}
//   {"event":"topMost","traverseNavigationController":B}
//   {"event":"screen"}
// ERROR is {"domain":…,"code":N,"description":…,"underlying":ERROR} (each
// optional) or {"coreServicesKitError":ORDINAL}.

#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core_services_kit/core_services_kit.h"
#include "events/events.h"
#include "platform/application.h"
#include "platform/bundle.h"
#include "support/app_session.h"
#include "support/screen_json.h"
#include "platform/ui_navigation_controller.h"
#include "testing/recording_app_managers.h"

namespace aurimo::tool {
namespace {

using Json = nlohmann::ordered_json;

std::optional<std::string> nullableText(const nlohmann::json& object, const char* field, const std::string& event) {
  if (!object.contains(field) || object[field].is_null()) return std::nullopt;
  if (!object[field].is_string()) throw EventError(event + ": \"" + field + "\" must be a string or null");
  return object[field].get<std::string>();
}

std::optional<std::vector<AlertAction>> actionsOf(const nlohmann::json& event, const std::string& name) {
  if (!event.contains("actions") || event["actions"].is_null()) return std::nullopt;
  if (!event["actions"].is_array()) throw EventError(name + ": \"actions\" must be a list of alert actions");
  std::vector<AlertAction> actions;
  for (const nlohmann::json& item : event["actions"]) {
    std::optional<AlertAction> action = item.is_string() ? AlertAction::named(item.get<std::string>()) : std::nullopt;
    if (!action) throw EventError(name + ": unknown alert action " + item.dump());
    actions.push_back(*action);
  }
  return actions;
}

// Nested errors are refused past a sane depth, so a hostile line cannot exhaust the stack.
platform::Error errorOf(const nlohmann::json& value, int depth = 0) {
  if (!value.is_object()) throw EventError("errorAlert: \"error\" must be a JSON object");
  if (depth > 32) throw EventError("errorAlert: errors nest too deeply");
  if (value.contains("coreServicesKitError")) {
    const nlohmann::json& ordinal = value["coreServicesKitError"];
    if (!ordinal.is_number_integer() || ordinal.get<std::int64_t>() < 0 || ordinal.get<std::int64_t>() > 4) {
      throw EventError("errorAlert: \"coreServicesKitError\" must be an ordinal from 0 to 4");
    }
    return CoreServicesKit::makeError(static_cast<CoreServicesKit::CoreServicesKitError>(ordinal.get<int>()));
  }
  const std::string domain = nullableText(value, "domain", "errorAlert").value_or("Aurimo");
  std::int64_t code = 0;
  if (value.contains("code")) {
    if (!value["code"].is_number_integer()) throw EventError("errorAlert: \"code\" must be an integer");
    code = value["code"].get<std::int64_t>();
  }
  std::string description = nullableText(value, "description", "errorAlert").value_or("");
  if (value.contains("underlying") && !value["underlying"].is_null()) {
    return platform::Error(domain, code, std::move(description), errorOf(value["underlying"], depth + 1));
  }
  return platform::Error(domain, code, std::move(description));
}

using Screen = AppContextBaseViewController;

platform::UIColor colorOf(const nlohmann::json& value, const std::string& field) {
  bool valid = value.is_array() && value.size() == 4;
  for (std::size_t i = 0; valid && i < 4; ++i) {
    valid = value[i].is_number() && value[i].get<double>() >= 0 && value[i].get<double>() <= 1;
  }
  if (!valid) throw EventError("configureNavigationBar: \"" + field + "\" must be [r,g,b,a] with components from 0 to 1");
  return {value[0].get<double>(), value[1].get<double>(), value[2].get<double>(), value[3].get<double>()};
}

std::optional<Screen::BaseNavigationBarConfiguration::BarButtonConfiguration> buttonOf(const nlohmann::json& config,
                                                                                    const char* side) {
  if (!config.contains(side) || config[side].is_null()) return std::nullopt;
  const nlohmann::json& button = config[side];
  const std::string where = std::string("configureNavigationBar: \"") + side + "\"";
  if (!button.is_object()) throw EventError(where + " must be a JSON object or null");
  if (!button.contains("action") || !button["action"].is_string()) throw EventError(where + " needs an \"action\" name");
  Screen::BaseNavigationBarConfiguration::BarButtonConfiguration out{
      .action = platform::Selector(button["action"].get<std::string>()),
      .style = platform::UIBarButtonItem::Style::plain,
      .title = std::nullopt,
      .image = std::nullopt,
      .font = std::nullopt,
  };
  const std::string style = button.contains("style") && button["style"].is_string() ? button["style"].get<std::string>() : "plain";
  if (style != "plain" && style != "done") throw EventError(where + ": \"style\" must be plain or done");
  out.style = style == "done" ? platform::UIBarButtonItem::Style::done : platform::UIBarButtonItem::Style::plain;
  out.title = nullableText(button, "title", "configureNavigationBar");
  if (std::optional<std::string> image = nullableText(button, "image", "configureNavigationBar")) {
    out.image = platform::UIImage::named(*image);
  }
  if (button.contains("font") && !button["font"].is_null()) {
    const nlohmann::json& font = button["font"];
    std::optional<platform::UIFont::Weight> weight;
    if (font.is_object() && font.contains("weight") && font["weight"].is_string()) {
      weight = platform::fontWeightNamed(font["weight"].get<std::string>());
    }
    if (!weight || !font.contains("size") || !font["size"].is_number() || font["size"].get<double>() <= 0) {
      throw EventError(where + ": \"font\" must be {\"size\":N,\"weight\":W} with a UIFont.Weight name");
    }
    out.font = platform::UIFont::systemFont(font["size"].get<double>(), *weight);
  }
  return out;
}

Screen::NavigationBackgroundState backgroundOf(const nlohmann::json& event) {
  const nlohmann::json& state = requiredField(event, "backgroundState");
  if (state == "transparent") return Screen::NavigationBackgroundState::transparent();
  if (state == "standart") return Screen::NavigationBackgroundState::standart();
  if (state.is_object() && state.size() == 1 && state.contains("opaque") && state["opaque"].is_number() &&
      state["opaque"].get<double>() >= 0 && state["opaque"].get<double>() <= 1) {
    return Screen::NavigationBackgroundState::opaque(state["opaque"].get<double>());
  }
  throw EventError("configureNavigationBar: \"backgroundState\" must be \"transparent\", \"standart\" or {\"opaque\":ALPHA}");
}

Json stackJson(const platform::UINavigationController& navigation) {
  Json titles = Json::array();
  for (const auto& screen : navigation.viewControllers()) titles.push_back(screen->title() ? Json(*screen->title()) : Json(nullptr));
  return titles;
}

Json consoleJson(std::vector<std::string> lines) {
  if (lines.size() == 1) return Json(std::move(lines.front()));
  return lines.empty() ? Json(nullptr) : Json(std::move(lines));
}

class ScreenEvents final : public EventModule {
 public:
  explicit ScreenEvents(std::shared_ptr<AppSession> app) : app_(std::move(app)) {}
  void registerEvents(EventHost& host) override;

 private:
  // The answer of the indicator events, "handlerCalled" first when asked for.
  EventHost::Answer indicatorAnswer(bool withHandler) {
    return [app = app_, withHandler](Json& out) {
      if (withHandler) out["handlerCalled"] = app->takeCloseHandlerCalled();
      out["indicator"] = indicatorJson(app->context().globalActivityIndicatorView(), platform::UIApplication::shared());
    };
  }

  const std::shared_ptr<AppSession> app_;
};

void ScreenEvents::registerEvents(EventHost& host) {
  host.on("alert", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    std::optional<std::string> title = nullableText(event, "title", "alert");
    std::optional<std::string> message = nullableText(event, "message", "alert");
    std::vector<AlertAction> actions = actionsOf(event, "alert").value_or(std::vector<AlertAction>{});
    std::shared_ptr<platform::UIAlertController> alert =
        context.showAlert(std::move(title), std::move(message), actions, app_->alertCompletion());
    return [alert](Json& out) { out["alert"] = alertJson(*alert, platform::Bundle::main()); };
  });

  host.on("errorAlert", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    const platform::Error error = errorOf(requiredField(event, "error"));
    std::optional<std::string> message = nullableText(event, "overrideDefaultAlertMessage", "errorAlert");
    std::optional<std::vector<AlertAction>> actions = actionsOf(event, "errorAlert");
    app_->takeConsole();
    std::shared_ptr<platform::UIAlertController> alert =
        context.showAlertForError(error, std::move(message), nullptr, std::move(actions), app_->alertCompletion());
    return [app = app_, alert](Json& out) {
      out["console"] = consoleJson(app->takeConsole());
      out["alert"] = alertJson(*alert, platform::Bundle::main());
    };
  });

  host.on("tapAlertButton", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    const std::string title = requiredString(event, "title");
    std::shared_ptr<platform::UIAlertController> alert = topMostAlert(platform::UIApplication::shared());
    if (!alert) throw EventError("tapAlertButton: no alert is shown");
    app_->takeAlertCompletion();
    app_->takeConsole();
    if (!alert->tapButton(title)) throw EventError("tapAlertButton: the alert has no button \"" + title + "\"");
    return [app = app_](Json& out) {
      std::optional<AlertAction> completion = app->takeAlertCompletion();
      out["completion"] = completion ? Json(std::string(completion->caseName())) : Json(nullptr);
      std::shared_ptr<platform::UIAlertController> top = topMostAlert(platform::UIApplication::shared());
      out["alert"] = top ? alertJson(*top, platform::Bundle::main()) : Json(nullptr);
      // An error alert shown again by the tap prints its line again.
      if (std::vector<std::string> lines = app->takeConsole(); !lines.empty()) out["console"] = consoleJson(std::move(lines));
    };
  });

  host.on("showActivityIndicator", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    std::optional<std::string> title = nullableText(event, "title", "showActivityIndicator");
    if (event.contains("closeButtonAfter")) {
      const nlohmann::json& after = event["closeButtonAfter"];
      if (!after.is_number() || !std::isfinite(after.get<double>()) || after.get<double>() < 0) {
        throw EventError("showActivityIndicator: \"closeButtonAfter\" must be a number of seconds, 0 or more");
      }
      app_->takeCloseHandlerCalled();
      context.showGlobalActivityIndicator(std::move(title), after.get<double>(), app_->closeHandler());
    } else {
      context.showGlobalActivityIndicator(std::move(title));
    }
    return indicatorAnswer(false);
  });

  host.on("hideActivityIndicator", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context().hideGlobalActivityIndicator();
    return indicatorAnswer(false);
  });

  host.on("tapActivityIndicatorClose", [this](const nlohmann::json&) -> EventHost::Answer {
    ResultViewsKit::GlobalActivityIndicatorView& indicator = app_->context().globalActivityIndicatorView();
    app_->takeCloseHandlerCalled();
    // A button not yet shown takes no tap.
    if (!indicator.isHidden() && !indicator.closeButton()->isHidden()) indicator.closeButton()->sendActionsForTouchUpInside();
    return indicatorAnswer(true);
  });

  host.on("activityIndicator", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    return indicatorAnswer(false);
  });

  host.on("wait", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    const nlohmann::json& seconds = requiredField(event, "seconds");
    if (!seconds.is_number() || !std::isfinite(seconds.get<double>()) || seconds.get<double>() < 0 ||
        seconds.get<double>() > 1e9) {
      throw EventError("wait: \"seconds\" must be a number of seconds from 0 to 1e9");
    }
    app_->clock().skip(seconds.get<double>());
    return [seconds](Json& out) { out["seconds"] = seconds; };
  });

  host.on("configureNavigationBar", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    const nlohmann::json& config = requiredField(event, "configuration");
    if (!config.is_object()) throw EventError("configureNavigationBar: \"configuration\" must be a JSON object");
    Screen::BaseNavigationBarConfiguration configuration{
        .title = nullableText(config, "title", "configureNavigationBar"),
        .leftBarButtonConfiguration = buttonOf(config, "left"),
        .rightBarButtonConfiguration = buttonOf(config, "right"),
        .tintColor = std::nullopt,
    };
    if (config.contains("tintColor") && !config["tintColor"].is_null()) {
      configuration.tintColor = colorOf(config["tintColor"], "tintColor");
    }
    const Screen::NavigationBackgroundState background = backgroundOf(event);
    const nlohmann::json& scrollEdge = requiredField(event, "isNeedUpdateScrollEdgeAppearance");
    if (!scrollEdge.is_boolean()) throw EventError("configureNavigationBar: \"isNeedUpdateScrollEdgeAppearance\" must be true or false");
    auto screen = std::dynamic_pointer_cast<Screen>(app_->navigation().topViewController());
    if (!screen) throw EventError("configureNavigationBar: the top screen is not an AppContextBaseViewController");
    screen->configureNavigationBar(configuration, background, scrollEdge.get<bool>());
    return [screen](Json& out) { out["navigationItem"] = navigationItemJson(screen->navigationItem()); };
  });

  host.on("tapBarButton", [this](const nlohmann::json& event) -> EventHost::Answer {
    app_->context();
    const std::string side = requiredString(event, "side");
    if (side != "left" && side != "right") throw EventError("tapBarButton: \"side\" must be left or right");
    auto screen = std::dynamic_pointer_cast<test::RecordingScreen>(app_->navigation().topViewController());
    if (!screen) throw EventError("tapBarButton: the top screen takes no taps");
    const auto& item = side == "left" ? screen->navigationItem().leftBarButtonItem() : screen->navigationItem().rightBarButtonItem();
    if (!item) throw EventError("tapBarButton: there is no " + side + " button");
    screen->takeReceivedAction();
    item->tap();
    std::optional<std::string> received = screen->takeReceivedAction();
    return [received](Json& out) { out["action"] = received ? Json(*received) : Json(nullptr); };
  });

  host.on("pushScreen", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    auto screen = std::make_shared<test::RecordingScreen>();
    screen->setTitle(nullableText(event, "title", "pushScreen"));
    screen->setAppContext(context.shared_from_this());
    app_->navigation().pushViewController(std::move(screen), true);
    return [this](Json& out) { out["navigationStack"] = stackJson(app_->navigation()); };
  });

  host.on("popScreen", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    app_->navigation().popViewController(true);
    return [this](Json& out) { out["navigationStack"] = stackJson(app_->navigation()); };
  });

  host.on("topMost", [this](const nlohmann::json& event) -> EventHost::Answer {
    AppContext& context = app_->context();
    const nlohmann::json& traverse = requiredField(event, "traverseNavigationController");
    if (!traverse.is_boolean()) throw EventError("topMost: \"traverseNavigationController\" must be true or false");
    std::shared_ptr<platform::UIViewController> top = context.getTopMostPresentedViewController(traverse.get<bool>());
    return [top](Json& out) {
      out["viewController"] = std::string(top->className());
      out["title"] = top->title() ? Json(*top->title()) : Json(nullptr);
    };
  });

  host.on("screen", [this](const nlohmann::json&) -> EventHost::Answer {
    app_->context();
    return [](Json& out) { out["screen"] = screenJson(platform::UIApplication::shared()); };
  });
}

}  // namespace

std::unique_ptr<EventModule> screenEvents(std::shared_ptr<AppSession> app) {
  return std::make_unique<ScreenEvents>(std::move(app));
}

}  // namespace aurimo::tool
