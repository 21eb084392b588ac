// What `aurimo run` shows on screen: alerts on windows of their own, the
// activity indicator with its delayed close button, and the UI tree.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "testing/command_runner.h"

namespace aurimo::test {
namespace {

const std::string kOops = R"("title":"Oops! Something Went Wrong",)";
const std::string kInfoCancel = R"("actions":[{"action":"info","title":"Error Info","style":"default"},{"action":"cancel","title":"Cancel","style":"cancel"}]})";
std::string indicator(const std::string& visible, const std::string& close, const std::string& host) {
  return R"({"visible":)" + visible + R"(,"caption":"Wait",)" + R"("closeButtonVisible":)" + close + R"(,"host":)" + host +
         R"(,"idleTimerDisabled":)" + visible + "}}";
}

TEST(ScreenEventsTest, AlertsStackTheErrorInfoRoundTripAndTheIndicatorsCloseButton) {
  CommandRunner aurimo(AURIMO_BINARY);
  aurimo.expectRun({
      {R"({"event":"device","networkReachable":false})", R"({"event":"device",*"networkReachable":false,*})"},
      {R"({"event":"errorAlert","error":{"code":5,"description":"x"},"overrideDefaultAlertMessage":"m"})",
       R"({"event":"errorAlert","console":"Error Domain=Aurimo Code=5 \"x\"","alert":{"title":"No Internet Connection","message":"Check connection settings and try again.",*})"},
      {R"({"event":"device","networkReachable":true})", R"({"event":"device",*"networkReachable":true,*})"},
      {R"({"event":"errorAlert","error":{"domain":"D","code":1},"overrideDefaultAlertMessage":"m","actions":["info","cancel"]})",
       R"({"event":"errorAlert","console":*,"alert":{)" + kOops + R"("message":"m",)" + kInfoCancel + "}"},
      {R"({"event":"screen"})", R"({"event":"screen","screen":{"windows":[{"class":"UIWindow","level":0.0,*},{"class":"UIWindow","level":2000.0,*},{"class":"UIWindow","level":2001.0,*}]}})"},
      {R"({"event":"tapAlertButton","title":"Error Info"})", R"({"event":"tapAlertButton","completion":null,"alert":{"title":"Error Info",*})"},
      {R"({"event":"tapAlertButton","title":"OK"})", R"({"event":"tapAlertButton","completion":null,"alert":{)" + kOops + R"("message":"Please try again in a few minutes.",)" + kInfoCancel + R"(,"console":*})"},
      {R"({"event":"tapAlertButton","title":"Cancel"})", R"({"event":"tapAlertButton","completion":"cancel","alert":{"title":"No Internet Connection",*})"},
      {R"({"event":"tapAlertButton","title":"Nope"})", R"({"error":"tapAlertButton: the alert has no button \"Nope\""})"},
      {R"({"event":"showActivityIndicator","title":"Wait","closeButtonAfter":10})", R"({"event":"showActivityIndicator","indicator":)" + indicator("true", "false", "\"window\"")},
      {R"({"event":"wait","seconds":9.5})", R"({"event":"wait","seconds":9.5})"},
      {R"({"event":"tapActivityIndicatorClose"})", R"({"event":"tapActivityIndicatorClose","handlerCalled":false,"indicator":)" + indicator("true", "false", "\"window\"")},
      {R"({"event":"wait","seconds":0.5})", R"({"event":"wait","seconds":0.5})"},
      {R"({"event":"tapActivityIndicatorClose"})", R"({"event":"tapActivityIndicatorClose","handlerCalled":true,"indicator":)" + indicator("false", "false", "null")},
      {R"({"event":"hideActivityIndicator"})", R"({"event":"hideActivityIndicator","indicator":)" + indicator("false", "false", "null")},
  }, {"--data-dir", aurimo.path("data"), "run"});
}

TEST(ScreenEventsTest, TheTopScreenStylesItsBarAndAnswersItsButtons) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string both = R"({"action":"back","title":"Back","image":"chevron"})";
  const std::string share = R"({"action":"share","title":"Share","image":"arrow"})";
  aurimo.expectRun({
      {R"({"event":"pushScreen","title":"Detail"})", R"({"event":"pushScreen","navigationStack":["Home","Detail"]})"},
      {R"({"event":"configureNavigationBar","configuration":{"left":)" + both + R"(,"right":)" + share + R"(},"backgroundState":{"opaque":0.25},"isNeedUpdateScrollEdgeAppearance":false})",
       R"({"event":"configureNavigationBar","navigationItem":{"title":null,"leftBarButtonItem":{"kind":"customView",*"customView":{"attributedTitle":{"text":"Back",*"imagePadding":6.0,"action":"back","controlEvent":"touchUpInside"}},"rightBarButtonItem":{"kind":"title",*"image":null,"action":"share",*"standardAppearance":{"background":"opaque","shadowColor":[0.0,0.0,0.0,0.0],"backgroundColor":[1.0,1.0,1.0,0.25]},"scrollEdgeAppearance":null}})"},
      {R"({"event":"tapBarButton","side":"left"})", R"({"event":"tapBarButton","action":"back"})"},
      {R"({"event":"tapBarButton","side":"right"})", R"({"event":"tapBarButton","action":"share"})"},
      {R"({"event":"configureNavigationBar","configuration":{},"backgroundState":"opaque","isNeedUpdateScrollEdgeAppearance":true})", R"({"error":"configureNavigationBar: \"backgroundState\" must be *"})"},
      {R"({"event":"topMost","traverseNavigationController":false})", R"({"event":"topMost","viewController":"AppContextBaseNavigationController","title":null})"},
      {R"({"event":"popScreen"})", R"({"event":"popScreen","navigationStack":["Home"]})"},
      {R"({"event":"popScreen"})", R"({"event":"popScreen","navigationStack":["Home"]})"},
  }, {"--data-dir", aurimo.path("data"), "run"});
}

TEST(ScreenEventsTest, TheContactPageCarriesTheDeviceAndReleasesAHeldBannerOnlyWhenDismissed) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string contact = R"({"url":"https://support.aurimo.app/contact?devname=iPhone%2014&iosver=17.2&appver=12+3",)"
                              R"("modalPresentationStyle":"fullScreen","preferredControlTintColor":[*],"isDefferingBannerActionsEnabled":true,)";
  aurimo.expectRun({
      {R"({"event":"device","modelName":"iPhone 14","systemVersion":"17.2","buildNumber":"12+3"})", "*"},
      {R"({"event":"dismissBrowser"})", R"({"error":"dismissBrowser: no browser is open"})"},
      {R"({"event":"openBrowser","page":"contactUs"})", R"({"event":"openBrowser","browser":)" + contact + R"("needsToRunDefferedBannerActionsAfterDismiss":false}})"},
      {R"({"event":"holdBannerAction"})", "*"},
      {R"({"event":"coverBrowser"})", R"({"event":"coverBrowser","browser":)" + contact + R"("needsToRunDefferedBannerActionsAfterDismiss":true},"broadcasts":[]})"},
      {R"({"event":"dismissBrowser"})", R"({"event":"dismissBrowser","browser":)" + contact + R"("needsToRunDefferedBannerActionsAfterDismiss":false},"broadcasts":["defferedBannerShowController_defferedActionsCanBeExecuted"]})"},
      {R"({"event":"apiServerUserIdentifier","value":"a b"})", "*"},
      {R"({"event":"openBrowser","page":"contactUs"})", R"({"error":"openBrowser: the build number or the user identifier cannot go into the contact page's address"})"},
      {R"({"event":"openBrowser","page":"termsOfUse"})", R"({"event":"openBrowser","browser":{"url":"https://support.aurimo.app/terms","modalPresentationStyle":"pageSheet",*"isDefferingBannerActionsEnabled":false,*})"},
  }, {"--data-dir", aurimo.path("data"), "run"});
}

TEST(ScreenEventsTest, SnapshotsWriteAPictureOfTheScreenOrAnswerAnError) {
  CommandRunner aurimo(AURIMO_BINARY);
  const std::string shot = aurimo.path("shot.png");
  aurimo.expectRun({
      {R"({"event":"device","screenScale":2})", R"({"event":"device",*})"},
      {R"({"event":"snapshot","file":")" + shot + R"("})", R"({"event":"snapshot","file":")" + shot + R"(","width":786,"height":1704})"},
      {R"({"event":"snapshot","file":")" + aurimo.path("missing/shot.png") + R"("})", R"({"error":"snapshot: *No such file or directory"})"},
      {R"({"event":"snapshot","file":")" + aurimo.path("") + R"("})", R"({"error":"snapshot: \"file\" must name a file"})"},
  }, {"--data-dir", aurimo.path("data"), "run"});
  EXPECT_EQ(slurp(shot).substr(1, 3), "PNG");
  EXPECT_FALSE(std::filesystem::exists(aurimo.path("missing")));

  const Outcome demo = aurimo({"demo", "--snapshots", aurimo.path("shots")});
  EXPECT_EQ(demo.status, 0) << demo.err;
  for (const char* name : {"01-alert.png", "02-navigation-bar.png"}) EXPECT_EQ(slurp(aurimo.path("shots") + "/" + name).substr(1, 3), "PNG");
  EXPECT_EQ(aurimo({"demo", "--snapshots", shot}).status, 1);  // a file, not a folder
}

}  // namespace
}  // namespace aurimo::test
