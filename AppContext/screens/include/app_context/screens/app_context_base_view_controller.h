#pragma once
// AppContextBaseViewController: the base of the app's screens. It gives each
// screen a non-owning reference to the application context and one way to
// style its navigation bar, so every screen shares one look: a medium
// 17-point font, the orange default tint, a half-transparent pressed state,
// and one of three backgrounds. Everything goes to the screen's own
// navigation item, never to the stack's bar.
//
// The context must outlive its screens; reading the reference after the
// context is gone stops the process instead of handing out a dangling one.
//
// Thread contract: main thread only, like every screen.
//
//   screen->configureNavigationBar({.title = "Collection", .rightBarButtonConfiguration = done},
//                                  NavigationBackgroundState::standart(), /*isNeedUpdateScrollEdgeAppearance=*/true);

#include <memory>
#include <optional>
#include <string>

#include "platform/selector.h"
#include "platform/ui_bar_button_item.h"
#include "platform/ui_color.h"
#include "platform/ui_font.h"
#include "platform/ui_image.h"
#include "shared_logic_kit/base_view_controller.h"

namespace aurimo {

class AppContext;

class AppContextBaseViewController : public SharedLogicKit::BaseViewController {
 public:
  // The bar's background: an opaque white bar at an alpha, a transparent bar,
  // or the system's default bar (spelled "standart", as the app's code has it).
  class NavigationBackgroundState {
   public:
    enum class Case { opaque, transparent, standart };

    static NavigationBackgroundState opaque(double alpha) { return NavigationBackgroundState(Case::opaque, alpha); }
    static NavigationBackgroundState transparent() { return NavigationBackgroundState(Case::transparent, 0); }
    static NavigationBackgroundState standart() { return NavigationBackgroundState(Case::standart, 0); }

    Case value() const { return case_; }
    // The opaque case's alpha; 0 for the others.
    double alpha() const { return alpha_; }

    friend bool operator==(const NavigationBackgroundState&, const NavigationBackgroundState&) = default;

   private:
    NavigationBackgroundState(Case value, double alpha) : case_(value), alpha_(alpha) {}
    Case case_;
    double alpha_;
  };

  struct BaseNavigationBarConfiguration {
    struct BarButtonConfiguration {
      platform::Selector action;  // sent to the screen on a tap
      platform::UIBarButtonItem::Style style = platform::UIBarButtonItem::Style::plain;
      std::optional<std::string> title = std::nullopt;
      std::optional<platform::UIImage> image = std::nullopt;
      std::optional<platform::UIFont> font = std::nullopt;  // nullopt: the default font
    };

    // Defaults let designated initialisers name only the fields they set.
    std::optional<std::string> title = std::nullopt;
    std::optional<BarButtonConfiguration> leftBarButtonConfiguration = std::nullopt;
    std::optional<BarButtonConfiguration> rightBarButtonConfiguration = std::nullopt;
    std::optional<platform::UIColor> tintColor = std::nullopt;  // nullopt: the default tint
  };

  // The app's default tint: (244, 132, 55, 255).
  static platform::UIColor defaultTintColor();

  AppContextBaseViewController() = default;
  AppContextBaseViewController(std::optional<std::string> nibName, std::shared_ptr<platform::Bundle> bundle)
      : BaseViewController(std::move(nibName), std::move(bundle)) {}
  // init?(coder:) is UIViewController::restore<Screen>(coder).
  explicit AppContextBaseViewController(const platform::NSCoder& coder) : BaseViewController(coder) {}

  // Null until setAppContext(); stops the process once the context it was given is gone.
  AppContext* appContext() const;
  void setAppContext(const std::shared_ptr<AppContext>& appContext);

  // Styles this screen's navigation item: title, left and right buttons, and
  // the bar's look; the scroll-edge look only when asked, else it stays.
  void configureNavigationBar(const BaseNavigationBarConfiguration& configuration,
                              NavigationBackgroundState backgroundState, bool isNeedUpdateScrollEdgeAppearance);

  std::string_view className() const override { return "AppContextBaseViewController"; }

 private:
  std::weak_ptr<AppContext> appContext_;
  bool hasAppContext_ = false;
};

}  // namespace aurimo
