#include "platform/screen_renderer.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include "painter.h"
#include "platform/dispatch_queue.h"
#include "platform/ui_alert_controller.h"
#include "platform/ui_button.h"
#include "platform/ui_label.h"
#include "platform/ui_navigation_controller.h"
#include "platform/ui_navigation_item.h"

namespace aurimo::platform {
namespace {

using rendering::Align;
using rendering::Painter;
using rendering::Point;
using rendering::Rect;
using rendering::kBlack, rendering::kGroupedBackground, rendering::kSecondaryLabel, rendering::kSeparator,
    rendering::kSystemBlue, rendering::kSystemRed, rendering::kWhite;

// The geometry of a recent phone, in points.
constexpr double kStatusBarHeight = 54;
constexpr double kNavigationBarHeight = 44;
constexpr double kMargin = 16;
constexpr double kSheetTop = kStatusBarHeight + 10;

constexpr UIFont kBody{17, UIFont::Weight::regular};
constexpr UIFont kBodyBold{17, UIFont::Weight::semibold};
constexpr UIFont kFootnote{13, UIFont::Weight::regular};

// The platform's bar colours when an appearance leaves them unset.
constexpr UIColor kDefaultBarBackground{249 / 255.0, 249 / 255.0, 249 / 255.0, 0.94};
constexpr UIColor kDefaultBarShadow{0, 0, 0, 0.3};

// One render: the painter and which controller each loaded view belongs to.
class Scene {
 public:
  Scene(Painter& painter, Rect screen) : painter_(painter), screen_(screen) {}

  // The first window is the app's and paints the screen; windows above it
  // (alerts on windows of their own) show it through their root screens.
  void window(UIWindow& window) {
    if (const auto& root = window.rootViewController()) {
      collectOwners(root);
      if (painted_) clearRoots_.push_back(root.get());
    }
    if (!painted_) painter_.fill(screen_, kWhite);
    painted_ = true;
    subviews(window, screen_);
  }

  void view(UIView& view, const Rect& rect) {
    if (view.isHidden()) return;
    if (auto owner = owners_.find(&view); owner != owners_.end()) return controller(*owner->second, rect);
    if (view.className() == "GlobalActivityIndicatorView") return activityIndicator(view, rect);
    subviews(view, rect);
  }

  void markPainted() { painted_ = true; }

  // What the platform draws over every app: the status bar and the home indicator.
  void chrome() {
    const Rect& s = screen_;
    painter_.text("9:41", {17, UIFont::Weight::semibold}, kBlack, {s.x + 24, s.y + 19, 76, 22}, Align::center);
    painter_.fillRounded({s.midX() - 62.5, s.y + 11, 125, 37}, 18.5, kBlack);  // the camera cut-out
    const double right = s.maxX() - 28;
    for (int bar = 0; bar < 4; ++bar) {
      const double height = 4 + 2.5 * bar;
      painter_.fillRounded({right - 74 + bar * 4.5, s.y + 35 - height, 3, height}, 1, kBlack);
    }
    painter_.fillCircle({right - 44, s.y + 33}, 2, kBlack);  // Wi-Fi, as a dot under two arcs
    painter_.line({right - 49, s.y + 29}, {right - 39, s.y + 29}, 2, kBlack);
    painter_.line({right - 52, s.y + 25.5}, {right - 36, s.y + 25.5}, 2, kBlack);
    painter_.fillRounded({right - 27, s.y + 24, 25, 12}, 3.5, kBlack.withAlphaComponent(0.35));
    painter_.fillRounded({right - 25, s.y + 26, 21, 8}, 2, kBlack);
    painter_.fillRounded({right - 1.5, s.y + 28, 1.5, 4}, 0.75, kBlack.withAlphaComponent(0.35));
    painter_.fillRounded({s.midX() - 67, s.maxY() - 13, 134, 5}, 2.5, kBlack);
  }

 private:
  void collectOwners(const std::shared_ptr<UIViewController>& controller) {
    if (controller->isViewLoaded()) owners_[controller->view().get()] = controller;
    if (auto* navigation = dynamic_cast<UINavigationController*>(controller.get())) {
      for (const auto& screen : navigation->viewControllers()) collectOwners(screen);
    }
    if (const auto& presented = controller->presentedViewController()) collectOwners(presented);
  }

  void controller(UIViewController& screen, const Rect& rect) {
    if (auto* alert = dynamic_cast<UIAlertController*>(&screen)) return this->alert(*alert, rect);
    Rect frame = rect;
    bool clipped = false;
    const UIModalPresentationStyle style = screen.modalPresentationStyle();
    if (screen.presentingViewController() && style != UIModalPresentationStyle::fullScreen &&
        style != UIModalPresentationStyle::overFullScreen) {
      // A sheet: the presenter dims behind a card that stops short of the status bar.
      painter_.fill(rect, kBlack.withAlphaComponent(0.4));
      frame = {rect.x, rect.y + kSheetTop, rect.width, rect.height - kSheetTop};
      painter_.clipRounded({frame.x, frame.y, frame.width, frame.height + 20}, 12);
      clipped = true;
    }
    if (std::find(clearRoots_.begin(), clearRoots_.end(), &screen) == clearRoots_.end()) {
      painter_.fill(frame, kGroupedBackground);
    }
    subviews(*screen.view(), frame);
    if (auto* navigation = dynamic_cast<UINavigationController*>(&screen)) {
      if (auto top = navigation->topViewController()) navigationBar(top->navigationItem(), top->title(), frame);
    }
    if (clipped) painter_.restore();
  }

  // Views carry no frames: labels and buttons stack down the content area,
  // anything else fills the rectangle it is drawn in.
  void subviews(UIView& parent, const Rect& rect) {
    double y = rect.y + (rect.y > screen_.y ? 0 : kStatusBarHeight) + kNavigationBarHeight + 20;
    const Rect column{rect.x + kMargin + 4, 0, rect.width - 2 * (kMargin + 4), 0};
    for (const auto& child : parent.subviews()) {
      if (child->isHidden()) continue;
      if (const auto* label = dynamic_cast<const UILabel*>(child.get())) {
        y += painter_.text(label->text().value_or(""), kBody, kBlack, {column.x, y, column.width, 0}, Align::left, true) + 12;
      } else if (const auto* button = dynamic_cast<const UIButton*>(child.get())) {
        buttonContent(*button, column.x, y + 11, kSystemBlue);
        y += 34;
      } else {
        view(*child, rect);
      }
    }
  }

  // Draws a button's image and title starting at `x`, centred on `midY`; returns the width used.
  double buttonContent(const UIButton& button, double x, double midY, const UIColor& tint, bool measureOnly = false) {
    std::optional<std::string> title = button.title();
    UIFont font = kBody;
    UIColor color = tint;
    double width = 0;
    if (const auto& look = button.configuration()) {
      if (look->attributedTitle) {
        title = look->attributedTitle->string;
        font = look->attributedTitle->attributes.font.value_or(font);
        color = look->attributedTitle->attributes.foregroundColor.value_or(color);
      }
      if (look->image) {
        // The image takes the title's colour, as a configured button tints both alike.
        if (!measureOnly) painter_.imagePlaceholder(*look->image, {x, midY - 11, 22, 22}, color);
        width = 22 + (title ? std::clamp(look->imagePadding, 0.0, 40.0) : 0);
      }
    }
    if (title) width += textItem(*title, font, color, x + width, midY, measureOnly);
    return width;
  }

  double textItem(const std::string& title, const UIFont& font, const UIColor& color, double x, double midY,
                  bool measureOnly) {
    const rendering::Size size = painter_.measure(title, font);
    const double width = std::min(size.width, screen_.width / 3);
    if (!measureOnly) painter_.text(title, font, color, {x, midY - size.height / 2, width + 1, size.height}, Align::left);
    return width;
  }

  double barItem(const UIBarButtonItem& item, double x, double midY, bool measureOnly) {
    const UIColor tint = item.tintColor().value_or(kSystemBlue);
    switch (item.kind()) {
      case UIBarButtonItem::Kind::title: {
        const std::optional<TextAttributes> attributes = item.titleTextAttributes(UIControlState::normal);
        const UIFont standard = item.style() == UIBarButtonItem::Style::done ? kBodyBold : kBody;
        return textItem(item.title().value_or(""), attributes && attributes->font ? *attributes->font : standard,
                        attributes && attributes->foregroundColor ? *attributes->foregroundColor : tint, x, midY,
                        measureOnly);
      }
      case UIBarButtonItem::Kind::image:
        if (!measureOnly) painter_.imagePlaceholder(item.image().value_or(UIImage()), {x, midY - 12, 24, 24}, tint);
        return 24;
      case UIBarButtonItem::Kind::customView:
        if (const auto* button = dynamic_cast<const UIButton*>(item.customView().get())) {
          return buttonContent(*button, x, midY, tint, measureOnly);
        }
        return 0;
    }
    return 0;
  }

  // An item without a title shows its screen's, as on the platform.
  void navigationBar(const UINavigationItem& item, const std::optional<std::string>& screenTitle, const Rect& frame) {
    const bool underStatusBar = frame.y <= screen_.y;
    const double barTop = frame.y + (underStatusBar ? kStatusBarHeight : 0);
    // The content sits at its top, where the scroll-edge look applies when there is one.
    const auto& appearance = item.scrollEdgeAppearance() ? item.scrollEdgeAppearance() : item.standardAppearance();
    using Background = UINavigationBarAppearance::Background;
    const Background style = appearance ? appearance->background() : Background::defaultBackground;
    const UIColor background = appearance && appearance->backgroundColor() ? *appearance->backgroundColor()
                               : style == Background::opaque               ? kWhite
                               : style == Background::transparent          ? UIColor::clear()
                                                                           : kDefaultBarBackground;
    const UIColor shadow = appearance && appearance->shadowColor() ? *appearance->shadowColor()
                           : style == Background::transparent      ? UIColor::clear()
                                                                   : kDefaultBarShadow;
    const Rect bar{frame.x, frame.y, frame.width, barTop + kNavigationBarHeight - frame.y};
    painter_.fill(bar, background);
    painter_.fill({bar.x, bar.maxY(), bar.width, painter_.hairline()}, shadow);

    const double midY = barTop + kNavigationBarHeight / 2;
    double side = 0;
    if (const auto& left = item.leftBarButtonItem()) side = barItem(*left, frame.x + kMargin, midY, false);
    if (const auto& right = item.rightBarButtonItem()) {
      const double width = barItem(*right, 0, midY, true);
      barItem(*right, frame.maxX() - kMargin - width, midY, false);
      side = std::max(side, width);
    }
    if (const std::optional<std::string>& title = item.title() ? item.title() : screenTitle) {
      const double room = frame.width - 2 * (kMargin + side + 8);
      const double height = painter_.measure(*title, kBodyBold).height;
      painter_.text(*title, kBodyBold, kBlack, {frame.midX() - room / 2, midY - height / 2, room, height}, Align::center);
    }
  }

  static UIColor actionColor(const UIAlertAction& action) {
    return action.style() == UIAlertAction::Style::destructive ? kSystemRed : kSystemBlue;
  }
  static UIFont actionFont(const UIAlertAction& action, double size) {
    return {size, action.style() == UIAlertAction::Style::cancel ? UIFont::Weight::semibold : UIFont::Weight::regular};
  }

  void alert(const UIAlertController& alert, const Rect& rect) {
    painter_.fill(rect, kBlack.withAlphaComponent(0.2));
    if (alert.preferredStyle() == UIAlertController::Style::actionSheet) return actionSheet(alert, rect);
    constexpr double kWidth = 270;
    constexpr double kButton = 44;
    const double textWidth = kWidth - 32;
    double textHeight = 0;
    if (alert.title()) textHeight += painter_.measure(*alert.title(), kBodyBold, textWidth).height;
    if (alert.message()) textHeight += painter_.measure(*alert.message(), kFootnote, textWidth).height + 4;
    const auto& actions = alert.actions();
    // Two buttons sit side by side, cancel first; more stack, cancel last.
    std::vector<const UIAlertAction*> ordered;
    for (const auto& action : actions) ordered.push_back(action.get());
    const bool sideBySide = ordered.size() == 2;
    std::stable_partition(ordered.begin(), ordered.end(), [sideBySide](const UIAlertAction* action) {
      return (action->style() == UIAlertAction::Style::cancel) == sideBySide;
    });
    const double buttons = ordered.empty() ? 0 : sideBySide ? kButton : kButton * static_cast<double>(ordered.size());
    const double height = std::min(40 + textHeight + buttons, rect.height - 2 * kStatusBarHeight);
    const Rect card{rect.midX() - kWidth / 2, rect.midY() - height / 2, kWidth, height};
    painter_.clipRounded(card, 14);
    painter_.fill(card, {0.97, 0.97, 0.97, 0.98});
    double y = card.y + 20;
    if (alert.title()) y += painter_.text(*alert.title(), kBodyBold, kBlack, {card.x + 16, y, textWidth, 0}, Align::center, true);
    if (alert.message()) painter_.text(*alert.message(), kFootnote, kBlack, {card.x + 16, y + 4, textWidth, 0}, Align::center, true);
    y = card.maxY() - buttons;
    for (std::size_t i = 0; i < ordered.size(); ++i) {
      const UIAlertAction& action = *ordered[i];
      const Rect cell = sideBySide ? Rect{card.x + kWidth / 2 * static_cast<double>(i), y, kWidth / 2, kButton}
                                   : Rect{card.x, y + kButton * static_cast<double>(i), kWidth, kButton};
      painter_.fill({cell.x, cell.y, cell.width, painter_.hairline()}, kSeparator);
      if (sideBySide && i == 1) painter_.fill({cell.x, cell.y, painter_.hairline(), cell.height}, kSeparator);
      painter_.text(action.title(), actionFont(action, 17), actionColor(action), {cell.x + 8, cell.midY() - 11, cell.width - 16, 22},
                    Align::center);
    }
    painter_.restore();
  }

  void actionSheet(const UIAlertController& alert, const Rect& rect) {
    constexpr double kButton = 57;
    const double width = rect.width - 16;
    std::vector<const UIAlertAction*> group;
    const UIAlertAction* cancel = nullptr;
    for (const auto& action : alert.actions()) {
      if (action->style() == UIAlertAction::Style::cancel && !cancel) {
        cancel = action.get();
      } else {
        group.push_back(action.get());
      }
    }
    double header = 0;
    if (alert.title() || alert.message()) {
      header = 28 + painter_.measure(alert.title().value_or("") + "\n" + alert.message().value_or(""), kFootnote, width - 32).height;
    }
    double bottom = rect.maxY() - 34;
    if (cancel) {
      const Rect cell{rect.x + 8, bottom - kButton, width, kButton};
      painter_.fillRounded(cell, 14, kWhite);
      painter_.text(cancel->title(), actionFont(*cancel, 20), actionColor(*cancel), {cell.x, cell.midY() - 12, cell.width, 24}, Align::center);
      bottom = cell.y - 8;
    }
    const double height = std::min(header + kButton * static_cast<double>(group.size()), bottom - rect.y - kSheetTop);
    const Rect card{rect.x + 8, bottom - height, width, height};
    painter_.clipRounded(card, 14);
    painter_.fill(card, {0.97, 0.97, 0.97, 0.98});
    double y = card.y + 14;
    if (alert.title()) y += painter_.text(*alert.title(), {13, UIFont::Weight::semibold}, kSecondaryLabel, {card.x + 16, y, width - 32, 0}, Align::center, true);
    if (alert.message()) painter_.text(*alert.message(), kFootnote, kSecondaryLabel, {card.x + 16, y + 2, width - 32, 0}, Align::center, true);
    for (std::size_t i = 0; i < group.size(); ++i) {
      const Rect cell{card.x, card.y + header + kButton * static_cast<double>(i), width, kButton};
      if (header > 0 || i > 0) painter_.fill({cell.x, cell.y, width, painter_.hairline()}, kSeparator);
      painter_.text(group[i]->title(), actionFont(*group[i], 20), actionColor(*group[i]), {cell.x, cell.midY() - 12, width, 24}, Align::center);
    }
    painter_.restore();
  }

  // The indicator's own label and button are its caption and close button.
  void activityIndicator(UIView& indicator, const Rect& rect) {
    painter_.fill(rect, kBlack.withAlphaComponent(0.4));
    const UILabel* caption = nullptr;
    const UIButton* close = nullptr;
    for (const auto& child : indicator.subviews()) {
      if (child->isHidden()) continue;
      if (!caption) caption = dynamic_cast<const UILabel*>(child.get());
      if (!close) close = dynamic_cast<const UIButton*>(child.get());
    }
    const std::string text = caption ? caption->text().value_or("") : "";
    constexpr UIFont kCaption{15, UIFont::Weight::medium};
    const double textWidth = std::min(rect.width - 96, 220.0);
    const double textHeight = text.empty() ? 0 : painter_.measure(text, kCaption, textWidth).height + 12;
    const Rect panel{rect.midX() - (textWidth + 32) / 2, rect.midY() - (88 + textHeight) / 2, textWidth + 32, 88 + textHeight};
    painter_.fillRounded(panel, 16, {0.12, 0.12, 0.12, 0.85});
    painter_.spinner({panel.midX(), panel.y + 44}, 18, kWhite);
    if (!text.empty()) painter_.text(text, kCaption, kWhite, {panel.x + 16, panel.y + 80, textWidth, 0}, Align::center, true);
    if (close) {
      const double top = rect.y + (rect.y > screen_.y ? 0 : kStatusBarHeight) + 8;
      const double x = rect.maxX() - kMargin - 15, y = top + 15;
      if (close->title() || close->configuration()) {
        buttonContent(*close, rect.maxX() - kMargin - buttonContent(*close, 0, y, kWhite, true), y, kWhite);
      } else {
        painter_.fillCircle({x, y}, 15, kWhite.withAlphaComponent(0.25));
        painter_.line({x - 5, y - 5}, {x + 5, y + 5}, 2, kWhite);
        painter_.line({x - 5, y + 5}, {x + 5, y - 5}, 2, kWhite);
      }
    }
  }

  Painter& painter_;
  const Rect screen_;
  std::map<const UIView*, std::shared_ptr<UIViewController>> owners_;
  std::vector<const UIViewController*> clearRoots_;
  bool painted_ = false;
};

}  // namespace

ScreenRenderer::ScreenRenderer(double scale, double width, double height)
    : scale_(scale >= 1 ? std::min(scale, 4.0) : 1),
      width_(width >= 100 ? std::min(width, 2000.0) : kPhoneWidth),
      height_(height >= 100 ? std::min(height, 2000.0) : kPhoneHeight) {}

std::size_t ScreenRenderer::pixelWidth() const { return static_cast<std::size_t>(std::ceil(width_ * scale_)); }
std::size_t ScreenRenderer::pixelHeight() const { return static_cast<std::size_t>(std::ceil(height_ * scale_)); }

UIImage ScreenRenderer::render(const UIApplication& application) const {
  dispatchPreconditionOnMain();
  Painter painter(width_, height_, scale_);
  Scene scene(painter, {0, 0, width_, height_});
  painter.fill({0, 0, width_, height_}, rendering::kBlack);  // no window: the screen is off
  for (const auto& window : application.windows()) scene.window(*window);
  scene.chrome();
  return UIImage(painter.image());
}

UIImage ScreenRenderer::render(UIWindow& window) const {
  dispatchPreconditionOnMain();
  Painter painter(width_, height_, scale_);
  Scene scene(painter, {0, 0, width_, height_});
  scene.window(window);
  scene.chrome();
  return UIImage(painter.image());
}

UIImage ScreenRenderer::render(UIView& view) const {
  dispatchPreconditionOnMain();
  Painter painter(width_, height_, scale_);
  Scene scene(painter, {0, 0, width_, height_});
  painter.fill({0, 0, width_, height_}, rendering::kWhite);
  scene.markPainted();
  scene.view(view, {0, 0, width_, height_});
  scene.chrome();
  return UIImage(painter.image());
}

void writePNG(const UIImage& image, const std::string& path, FileManager& files) {
  std::optional<Data> bytes = UIImagePNGRepresentation(image);
  if (!bytes) throw std::runtime_error("the image has no bitmap to encode");
  files.writeFileAtomically(path, *bytes, ".snapshot-", std::nullopt);
}

}  // namespace aurimo::platform
