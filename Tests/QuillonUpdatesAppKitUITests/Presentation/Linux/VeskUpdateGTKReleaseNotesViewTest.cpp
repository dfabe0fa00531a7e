#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gtkmm/window.h>
#include <webkit/webkit.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKReleaseNotesView.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/PageServer.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/VirtualDesktop.h"
#include "QuillonUpdatesAppKitUITests/Presentation/Linux/WindowOnScreen.h"
#include "Support/NginxServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::pageOfOneLink;
using testing::PageServer;
using testing::VirtualDesktop;

class VeskUpdateGTKReleaseNotesViewTest : public ::testing::Test {
 protected:
  ~VeskUpdateGTKReleaseNotesViewTest() override {
    window_.reset();
    view_.reset();
    testing::expectNoWindowIsLeft(desktop_);
  }

  void open(const std::optional<QuillonURL>& page, bool allowsScripts = false) {
    window_.reset();
    view_ = std::make_unique<VeskUpdateGTKReleaseNotesView>(
        allowsScripts, [this](const VeskUpdatePromptNavigation& navigation) {
          asked_.push_back((navigation.isLinkActivated ? "link " : "") + navigation.url->absoluteString());
          return isAllowed_ && !navigation.isLinkActivated;
        });
    window_ = std::make_unique<Gtk::Window>();
    window_->set_default_size(500, 400);
    window_->set_child(*view_);
    window_->present();
    ASSERT_TRUE(desktop_.waitUntilShown(*window_));
    view_->load(page);
  }
  void open(const std::string& path, bool allowsScripts = false) { open(server_.url(path), allowsScripts); }

  [[nodiscard]] std::string title() const {
    const char* const text = webkit_web_view_get_title(view_->webView());
    return text == nullptr ? "" : text;
  }
  [[nodiscard]] bool waitForTitle(const std::string& text) {
    return desktop_.serveUntil([&] { return title() == text; });
  }
  [[nodiscard]] bool waitForEndOfLoad() {
    return desktop_.serveUntil([&] { return webkit_web_view_is_loading(view_->webView()) == FALSE; });
  }
  /// The view is drawn, so that a click meets the page.
  [[nodiscard]] bool waitForPage(const std::string& text = "Notes") {
    return waitForTitle(text) && waitForEndOfLoad() &&
           desktop_.serveUntil([this] { return !view_->showsPlaceholder(); });
  }
  /// What the page had sent before is at the server, as is another page that sends two requests after one another.
  [[nodiscard]] bool waitForWhatWasSent() {
    server_.answers["/later"] = {.body = "<title>Later</title><meta http-equiv=refresh content='0;url=/last'>"};
    server_.answers["/last"] = {.body = "<title>Last</title>"};
    view_->load(server_.url("/later"));
    return waitForPage("Last");
  }

  VirtualDesktop& desktop_ = VirtualDesktop::shared();
  testing::TemporaryDirectory folder_;
  PageServer server_;
  bool isAllowed_ = true;
  std::vector<std::string> asked_;
  std::unique_ptr<VeskUpdateGTKReleaseNotesView> view_;
  std::unique_ptr<Gtk::Window> window_;
};

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageIsShownWhenItsFirstBytesAreThere) {
  server_.answers["/notes"] = {.body = "<title>Notes</title>"};
  open("/notes");
  EXPECT_TRUE(view_->showsPlaceholder());

  EXPECT_TRUE(waitForPage());
  EXPECT_THAT(asked_, ElementsAre(server_.address("/notes")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, WithoutAPageThePlaceholderStays) {
  open(std::nullopt);

  EXPECT_TRUE(view_->showsPlaceholder());
  EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageThatCannotBeHadLeavesThePlaceholder) {
  server_.answers["/broken"] = {.body = "<title>Sorry</title>", .status = 500};
  server_.answers["/archive"] = {.body = "PK", .contentType = "application/zip"};
  const std::string nobody = PageServer().address("/");
  const testing::NginxServer stranger({}, testing::NginxServer::Protocol::https);

  for (const std::string& address : {server_.address("/missing"), server_.address("/broken"),
                                     server_.address("/archive"), nobody, stranger.origin() + "/"}) {
    open(QuillonURL::parse(address));
    EXPECT_TRUE(waitForEndOfLoad());
    EXPECT_TRUE(view_->showsPlaceholder()) << address;
  }
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageThatNeverComesLeavesThePlaceholderAndCanBeStopped) {
  server_.answers["/never"] = {.body = "", .isNever = true};
  open("/never");
  ASSERT_TRUE(desktop_.serveUntil([this] { return !server_.requests.empty(); }));

  EXPECT_TRUE(view_->showsPlaceholder());
  view_->stop();
  EXPECT_TRUE(waitForEndOfLoad());
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, ARedirectIsAskedAboutAndOneThatIsDeniedLeavesThePlaceholder) {
  server_.answers["/moved"] = {.body = "", .status = 302, .location = "/notes"};
  server_.answers["/notes"] = {.body = "<title>Notes</title>"};
  open("/moved");
  EXPECT_TRUE(waitForPage());
  EXPECT_THAT(asked_, ElementsAre(server_.address("/moved"), server_.address("/notes")));

  isAllowed_ = false;
  open("/moved");
  EXPECT_TRUE(waitForEndOfLoad());
  EXPECT_TRUE(view_->showsPlaceholder());
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, ARedirectToAFileShowsNothing) {
  testing::writeFile(folder_ / "secret.html", "<title>Secret</title>");
  server_.answers["/moved"] = {
      .body = "", .status = 302, .location = QuillonURL::fileURL((folder_ / "secret.html").string()).absoluteString()};

  open("/moved");

  EXPECT_TRUE(waitForEndOfLoad());
  EXPECT_TRUE(view_->showsPlaceholder());
  EXPECT_EQ(title(), "");
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, ScriptsRunOnlyWhereTheHostAllowsThem) {
  server_.answers["/notes"] = {.body = "<title>Notes</title><script>document.title = 'Script'</script>"};
  open("/notes");
  EXPECT_TRUE(waitForPage("Notes"));

  open("/notes", true);
  EXPECT_TRUE(waitForPage("Script"));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, AClickOnALinkIsAskedAboutAndThePageStays) {
  server_.answers["/notes"] = {.body = pageOfOneLink("https://example.org/more")};
  for (const std::string& attributes : {std::string(), std::string("target=_blank")}) {
    server_.answers["/notes"].body = pageOfOneLink("https://example.org/more", attributes);
    asked_.clear();
    open("/notes");
    ASSERT_TRUE(waitForPage());

    EXPECT_TRUE(desktop_.clickUntil(*view_, [this] { return asked_.size() >= 2; })) << attributes;
    EXPECT_EQ(asked_.back(), "link https://example.org/more");
    EXPECT_EQ(title(), "Notes");
    EXPECT_FALSE(view_->showsPlaceholder());
  }
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, AClickOnALinkIsReportedToNoServer) {
  server_.answers["/notes"] = {.body = pageOfOneLink("https://example.org/more", "ping=/ping")};
  open("/notes");
  ASSERT_TRUE(waitForPage());

  ASSERT_TRUE(desktop_.clickUntil(*view_, [this] { return asked_.size() >= 2; }));

  EXPECT_TRUE(waitForWhatWasSent());
  EXPECT_THAT(server_.requests, Not(Contains("/ping")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, AFormIsAskedAboutAndOneThatIsDeniedSendsNothing) {
  server_.answers["/notes"] = {.body = R"(<!DOCTYPE html><title>Notes</title><form action=/form method=post>
    <button style="position:fixed;inset:0;width:100%;height:100%">Send</button></form>)"};
  open("/notes");
  ASSERT_TRUE(waitForPage());
  isAllowed_ = false;

  ASSERT_TRUE(desktop_.clickUntil(*view_, [this] { return asked_.size() >= 2; }));
  isAllowed_ = true;

  EXPECT_EQ(asked_[1], server_.address("/form"));
  EXPECT_TRUE(waitForWhatWasSent());
  EXPECT_THAT(server_.requests, Not(Contains("/form")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, NothingIsFetchedThatThePageDoesNotShow) {
  server_.answers["/notes"] = {.body = R"(<title>Notes</title><link rel=prefetch href=/prefetched>
    <link rel=prerender href=/prefetched><link rel=next href=/prefetched>)"};
  open("/notes");
  ASSERT_TRUE(waitForPage());

  EXPECT_TRUE(waitForWhatWasSent());
  EXPECT_THAT(server_.requests, Not(Contains("/prefetched")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, ALinkThatAScriptFollowsIsNoChoiceOfTheUser) {
  server_.answers["/notes"] = {.body = pageOfOneLink("/other") + "<script>document.links[0].click()</script>"};
  server_.answers["/other"] = {.body = "<title>Other</title>"};

  open("/notes", true);

  EXPECT_TRUE(waitForPage("Other"));
  EXPECT_THAT(asked_, ElementsAre(server_.address("/notes"), server_.address("/other")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageCanBeDarkOnADarkDesktop) {
  server_.answers["/notes"] = {
      .body =
          "<script>document.title = matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light'</script>"};
  open("/notes", true);
  EXPECT_TRUE(waitForPage("light"));

  const testing::DarkDesktop dark;
  open("/notes", true);
  EXPECT_TRUE(waitForPage("dark"));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageGrowsAsTheTextOfTheDesktopDoes) {
  server_.answers["/notes"] = {
      .body = "<!DOCTYPE html><script>onload = () => { document.title = innerWidth; }</script>Text"};
  open("/notes", true);
  EXPECT_TRUE(waitForPage(std::to_string(view_->get_width())));

  const testing::TextSize twice(2.0);
  open("/notes", true);

  // Twice as large, half as many fit.
  EXPECT_TRUE(waitForPage(std::to_string(view_->get_width() / 2)));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, WindowsDialogsAndPermissionsAreDeniedWithoutAWord) {
  server_.answers["/notes"] = {.body = R"(<title>Notes</title><script>
    window.open('/popup'); alert('x'); confirm('y'); prompt('z'); print();
    navigator.geolocation.getCurrentPosition(() => { document.title = 'Granted'; },
                                             () => { document.title = 'Denied'; });
  </script>)"};

  open("/notes", true);

  EXPECT_TRUE(waitForTitle("Denied"));
  EXPECT_EQ(testing::windowsOnScreen().size(), 1U);
  EXPECT_THAT(server_.requests, Not(Contains("/popup")));
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, AClickThatAsksForAColourOpensNoDialog) {
  // The title changes after the dialog was asked for.
  server_.answers["/notes"] = {.body = R"(<!DOCTYPE html><title>Notes</title>
    <input type=color style="position:fixed;inset:0;width:100%;height:100%"
           onclick="setTimeout(() => { document.title = 'Clicked'; });">)"};
  open("/notes", true);
  ASSERT_TRUE(waitForPage());

  ASSERT_TRUE(desktop_.clickUntil(*view_, [this] { return title() == "Clicked"; }));

  EXPECT_EQ(testing::windowsOnScreen().size(), 1U);
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, AWebViewThatOutlivesTheViewAsksNobody) {
  server_.answers["/notes"] = {.body = "<title>Notes</title>"};
  server_.answers["/other"] = {.body = "<title>Other</title>"};
  open("/notes");
  ASSERT_TRUE(waitForPage());
  const std::unique_ptr<WebKitWebView, decltype(&g_object_unref)> web(WEBKIT_WEB_VIEW(g_object_ref(view_->webView())),
                                                                      g_object_unref);
  asked_.clear();

  window_.reset();
  view_.reset();
  webkit_web_view_load_uri(web.get(), server_.address("/other").c_str());

  EXPECT_TRUE(desktop_.serveUntil(
      [&] { return server_.requests.back() == "/other" && webkit_web_view_is_loading(web.get()) == FALSE; }));
  EXPECT_THAT(asked_, IsEmpty());
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, APageWithinThePageIsAskedAboutAndADownloadIsNoPage) {
  server_.answers["/notes"] = {.body =
                                   "<title>Notes</title><iframe src=/archive></iframe><iframe src=/inner></iframe>"};
  server_.answers["/archive"] = {.body = "PK", .contentType = "application/zip"};
  server_.answers["/inner"] = {.body = "inner"};

  open("/notes");

  EXPECT_TRUE(waitForPage());
  EXPECT_THAT(asked_, Contains(server_.address("/inner")));
  EXPECT_EQ(testing::windowsOnScreen().size(), 1U);
}

TEST_F(VeskUpdateGTKReleaseNotesViewTest, WhenTheWebProcessDiesThePlaceholderIsBack) {
  server_.answers["/notes"] = {.body = "<title>Notes</title>"};
  open("/notes");
  ASSERT_TRUE(waitForPage());

  webkit_web_view_terminate_web_process(view_->webView());

  EXPECT_TRUE(desktop_.serveUntil([this] { return view_->showsPlaceholder(); }));
}

}  // namespace
}  // namespace quillon
