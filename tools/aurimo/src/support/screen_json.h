#pragma once
// The JSON forms of what is on screen: the whole UI tree, an alert, and the
// activity indicator. Keys keep a fixed order so dumps diff well.
//
//   std::cout << screenJson(platform::UIApplication::shared(), bundle).dump() << '\n';

#include <nlohmann/json.hpp>

#include "platform/application.h"
#include "platform/bundle.h"
#include "platform/ui_alert_controller.h"
#include "platform/ui_navigation_item.h"
#include "result_views_kit/global_activity_indicator_view.h"

namespace aurimo::tool {

// {"windows":[WINDOW,…]} in stacking order, lowest first. A window is its view
// with "level" and "rootViewController"; a controller is {"class","presented":…}
// plus "viewControllers" for a navigation stack and "alert" for an alert; a view
// is {"class","hidden","translatesAutoresizingMaskIntoConstraints"} plus "text"
// for labels and buttons, then "subviews" and "constraints".
nlohmann::ordered_json screenJson(const platform::UIApplication& application);

// {"title","message","actions":[{"action":CASE|null,"title","style"},…]}; CASE is
// the AlertAction whose title (through `bundle`) the button shows.
nlohmann::ordered_json alertJson(const platform::UIAlertController& alert, const platform::Bundle& bundle);

// The alert on top of everything, if any: the top of the highest window's presented chain.
std::shared_ptr<platform::UIAlertController> topMostAlert(const platform::UIApplication& application);

// [r,g,b,a], components from 0 to 1.
nlohmann::ordered_json colorJson(const platform::UIColor& color);
// {"title","leftBarButtonItem","rightBarButtonItem","standardAppearance","scrollEdgeAppearance"}.
nlohmann::ordered_json navigationItemJson(const platform::UINavigationItem& item);

// {"visible","caption","closeButtonVisible","host":"window"|"view"|null,"idleTimerDisabled"}.
nlohmann::ordered_json indicatorJson(ResultViewsKit::GlobalActivityIndicatorView& indicator,
                                     const platform::UIApplication& application);

}  // namespace aurimo::tool
