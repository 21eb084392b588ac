#pragma once
// UIViewController: a screen of the headless UI model. It owns its view
// (made on first access by loadView(), then viewDidLoad()), the controller it
// presents, and, as a container, its children. present() and dismiss() act at
// once and then call their completion; appearance callbacks run as the
// platform runs them. A presented screen's view joins the presenter's window.
//
// Thread contract: main thread only (checked in debug builds).
//
//   auto sheet = std::make_shared<platform::UIViewController>();
//   screen->present(sheet, /*animated=*/true);
//   sheet->dismiss(/*animated=*/true);

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/bundle.h"
#include "platform/ns_coder.h"
#include "platform/selector.h"
#include "platform/ui_navigation_item.h"
#include "platform/ui_view.h"

namespace aurimo::platform {

class UINavigationController;

// How a presented screen covers its presenter; the raw values are the platform's.
enum class UIModalPresentationStyle {
  fullScreen = 0,
  pageSheet = 1,
  formSheet = 2,
  currentContext = 3,
  custom = 4,
  overFullScreen = 5,
  overCurrentContext = 6,
  popover = 7,
  none = -1,
  automatic = -2,
};

// "fullScreen", "pageSheet", …
std::string_view name(UIModalPresentationStyle style);

class UIViewController : public std::enable_shared_from_this<UIViewController>, public ActionTarget {
 public:
  // Reachable through the controller too: UIViewController::UIModalPresentationStyle::pageSheet.
  using UIModalPresentationStyle = platform::UIModalPresentationStyle;

  UIViewController();
  // init(nibName:bundle:): Linux has no interface files; the name and bundle are kept.
  UIViewController(std::optional<std::string> nibName, std::shared_ptr<Bundle> bundle);
  // init?(coder:): see restore(); a valid archive's "title" becomes the title.
  explicit UIViewController(const NSCoder& coder);
  virtual ~UIViewController();
  UIViewController(const UIViewController&) = delete;
  UIViewController& operator=(const UIViewController&) = delete;

  // The view, loaded on first access.
  const std::shared_ptr<UIView>& view();
  bool isViewLoaded() const { return view_ != nullptr; }

  // The controller this one presents, and the one presenting it (non-owning).
  const std::shared_ptr<UIViewController>& presentedViewController() const { return presented_; }
  UIViewController* presentingViewController() const { return presenting_; }
  // The container this controller is a child of (non-owning), and the nearest
  // navigation controller among its containers.
  UIViewController* parent() const { return parent_; }
  UINavigationController* navigationController() const;

  // Presents `controller` above this one. A controller that already presents
  // another, or one that is already presented, is reported on stderr and left
  // alone, as the platform does; `completion` does not run then.
  virtual void present(std::shared_ptr<UIViewController> controller, bool animated,
                       std::function<void()> completion = nullptr);
  // Dismisses what this controller presents (with everything above it), or,
  // when it presents nothing, asks its presenter to dismiss it.
  virtual void dismiss(bool animated, std::function<void()> completion = nullptr);
  // True while this controller is being dismissed (during its disappearance callbacks).
  bool isBeingDismissed() const { return beingDismissed_; }
  bool isBeingPresented() const { return beingPresented_; }

  // Recorded for the presenter to honour; the headless model presents every style alike.
  UIModalPresentationStyle modalPresentationStyle() const;
  void setModalPresentationStyle(UIModalPresentationStyle style);

  // The platform's class name, for dumps of the tree.
  virtual std::string_view className() const { return "UIViewController"; }

  const std::optional<std::string>& title() const { return title_; }
  void setTitle(std::optional<std::string> title) { title_ = std::move(title); }
  const std::optional<std::string>& nibName() const { return nibName_; }
  // What this screen shows in a navigation bar while it is on top.
  UINavigationItem& navigationItem() { return navigationItem_; }
  const UINavigationItem& navigationItem() const { return navigationItem_; }

  // A failable init?(coder:) for any screen type constructible from a coder: null when the archive is not valid.
  template <class Screen>
  static std::shared_ptr<Screen> restore(const NSCoder& coder) {
    if (!coder.isValid()) return nullptr;
    return std::make_shared<Screen>(coder);
  }

 protected:
  // Makes the view; the default is a plain UIView.
  virtual std::shared_ptr<UIView> loadView();
  virtual void viewDidLoad() {}
  virtual void viewWillAppear(bool /*animated*/) {}
  virtual void viewDidAppear(bool /*animated*/) {}
  virtual void viewWillDisappear(bool /*animated*/) {}
  virtual void viewDidDisappear(bool /*animated*/) {}

  // For containers: adopt or release `child` as theirs.
  void addChild(UIViewController& child);
  static void removeFromParent(UIViewController& child);

 private:
  void dismissPresented(bool animated);

  std::shared_ptr<UIView> view_;
  std::optional<std::string> title_;
  std::optional<std::string> nibName_;
  std::shared_ptr<Bundle> nibBundle_;
  UINavigationItem navigationItem_;
  UIModalPresentationStyle modalPresentationStyle_ = UIModalPresentationStyle::automatic;
  std::shared_ptr<UIViewController> presented_;
  UIViewController* presenting_ = nullptr;
  UIViewController* parent_ = nullptr;
  bool beingPresented_ = false;
  bool beingDismissed_ = false;
};

}  // namespace aurimo::platform
