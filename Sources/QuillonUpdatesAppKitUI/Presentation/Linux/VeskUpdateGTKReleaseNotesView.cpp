#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKReleaseNotesView.h"

#include <webkit/webkit.h>

#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKText.h"

namespace quillon {
namespace {

using View = VeskUpdateGTKReleaseNotesView;

constexpr const char* kPlaceholder = "placeholder";
constexpr const char* kPage = "page";
constexpr int kPlaceholderIconSize = 48;

/// A page of text with links and images needs none of what is off here, and each is something to attack.
WebKitSettings* makeSettings(bool allowsScripts) {
  const gboolean scripts = allowsScripts ? TRUE : FALSE;
  return webkit_settings_new_with_settings(
      "enable-javascript", scripts, "enable-javascript-markup", scripts, "javascript-can-open-windows-automatically",
      FALSE, "javascript-can-access-clipboard", FALSE, "allow-modal-dialogs", FALSE, "allow-file-access-from-file-urls",
      FALSE, "allow-universal-access-from-file-urls", FALSE, "allow-top-navigation-to-data-urls", FALSE,
      "enable-developer-extras", FALSE, "enable-fullscreen", FALSE, "enable-html5-database", FALSE,
      "enable-html5-local-storage", FALSE, "enable-dns-prefetching", FALSE, "enable-media-stream", FALSE,
      "enable-media", FALSE, "enable-mediasource", FALSE, "enable-encrypted-media", FALSE, "enable-webaudio", FALSE,
      "enable-webgl", FALSE, "enable-webrtc", FALSE, "enable-page-cache", FALSE,
      "enable-back-forward-navigation-gestures", FALSE, "hardware-acceleration-policy",
      WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER, nullptr);
}

/// Beside scripts, only links connect to servers of which nobody sees anything: they tell these that the user has
/// clicked them.
const char* contentSecurityPolicy(bool allowsScripts) {
  return allowsScripts ? nullptr : "connect-src 'none'";
}

std::optional<VeskUpdatePromptNavigation> navigationOf(WebKitPolicyDecision* decision) {
  WebKitNavigationAction* const action =
      webkit_navigation_policy_decision_get_navigation_action(WEBKIT_NAVIGATION_POLICY_DECISION(decision));
  const char* const text = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  VeskUpdatePromptNavigation navigation;
  // What is redirected is mostly the page; of other navigations the web engine does not say.
  navigation.replacesPage = webkit_navigation_action_is_redirect(action) != FALSE;
  // A script can follow a link as well, but it is no user.
  navigation.isLinkActivated =
      webkit_navigation_action_get_navigation_type(action) == WEBKIT_NAVIGATION_TYPE_LINK_CLICKED &&
      webkit_navigation_action_is_user_gesture(action) != FALSE;
  if (text == nullptr || *text == '\0') return navigation;
  navigation.url = QuillonURL::parse(text);
  // A text that is no URL leads nowhere.
  return navigation.url ? std::optional(navigation) : std::nullopt;
}

bool mayBeShown(WebKitPolicyDecision* decision) {
  auto* const response = WEBKIT_RESPONSE_POLICY_DECISION(decision);
  return showsPromptNavigationAnswer(
      {.isPage = webkit_response_policy_decision_is_main_frame_main_resource(response) != FALSE,
       .canBeShown = webkit_response_policy_decision_is_mime_type_supported(response) != FALSE,
       .httpStatusCode = webkit_uri_response_get_status_code(webkit_response_policy_decision_get_response(response))});
}

bool mayGoOn(const View::ShouldNavigate& shouldNavigate, WebKitPolicyDecision* decision,
             WebKitPolicyDecisionType type) {
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return mayBeShown(decision);
  const std::optional<VeskUpdatePromptNavigation> navigation = navigationOf(decision);
  if (!navigation || !shouldNavigate) return false;
  if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) return shouldNavigate(*navigation);
  // There is no other window. A link that asks for one is a link like any other.
  if (navigation->isLinkActivated) static_cast<void>(shouldNavigate(*navigation));
  return false;
}

/// An empty document, of which no server has said anything, stands for a redirect that leads nowhere.
bool hasPage(WebKitWebView* view) {
  WebKitWebResource* const resource = webkit_web_view_get_main_resource(view);
  const char* const address = webkit_web_view_get_uri(view);
  return resource != nullptr && webkit_web_resource_get_response(resource) != nullptr && address != nullptr &&
         isPromptPage(QuillonURL::parse(address));
}

gboolean decidePolicy(WebKitWebView* /*view*/, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type,
                      gpointer shouldNavigate) {
  // A copy: the answer may come with the end of the window, which takes the function away.
  const View::ShouldNavigate function = *static_cast<View::ShouldNavigate*>(shouldNavigate);
  if (mayGoOn(function, decision, type)) {
    webkit_policy_decision_use(decision);
  } else {
    webkit_policy_decision_ignore(decision);
  }
  return TRUE;
}

gboolean denyPermission(WebKitWebView* /*view*/, WebKitPermissionRequest* request, gpointer /*data*/) {
  webkit_permission_request_deny(request);
  return TRUE;
}

gboolean denyPermissionState(WebKitWebView* /*view*/, WebKitPermissionStateQuery* query, gpointer /*data*/) {
  webkit_permission_state_query_finish(query, WEBKIT_PERMISSION_STATE_DENIED);
  return TRUE;
}

gboolean denyPassword(WebKitWebView* /*view*/, WebKitAuthenticationRequest* request, gpointer /*data*/) {
  webkit_authentication_request_cancel(request);
  return TRUE;
}

gboolean denyFiles(WebKitWebView* /*view*/, WebKitFileChooserRequest* request, gpointer /*data*/) {
  webkit_file_chooser_request_cancel(request);
  return TRUE;
}

gboolean denyColours(WebKitWebView* /*view*/, WebKitColorChooserRequest* request, gpointer /*data*/) {
  webkit_color_chooser_request_cancel(request);
  return TRUE;
}

/// For signals whose handling consists in showing nothing.
gboolean showNothing(WebKitWebView* /*view*/, gpointer /*what*/, gpointer /*data*/) {
  return TRUE;
}

/// The web engine would show an error page in its own words.
gboolean keepWhatIsShown(WebKitWebView* /*view*/, WebKitLoadEvent /*event*/, const char* /*address*/, GError* /*error*/,
                         gpointer /*data*/) {
  return TRUE;
}

void cancelDownload(WebKitNetworkSession* /*session*/, WebKitDownload* download, gpointer /*data*/) {
  webkit_download_cancel(download);
}

void denyEverything(WebKitWebView* view, WebKitNetworkSession* session) {
  g_signal_connect(view, "permission-request", G_CALLBACK(denyPermission), nullptr);
  g_signal_connect(view, "query-permission-state", G_CALLBACK(denyPermissionState), nullptr);
  g_signal_connect(view, "authenticate", G_CALLBACK(denyPassword), nullptr);
  g_signal_connect(view, "run-file-chooser", G_CALLBACK(denyFiles), nullptr);
  g_signal_connect(view, "run-color-chooser", G_CALLBACK(denyColours), nullptr);
  for (const char* signal : {"script-dialog", "print", "show-notification"}) {
    g_signal_connect(view, signal, G_CALLBACK(showNothing), nullptr);
  }
  g_signal_connect(session, "download-started", G_CALLBACK(cancelDownload), nullptr);
}

gboolean showNoMenu(WebKitWebView* /*view*/, WebKitContextMenu* /*menu*/, WebKitHitTestResult* /*hit*/,
                    gpointer /*data*/) {
  return TRUE;
}

}  // namespace

VeskUpdateGTKReleaseNotesView::VeskUpdateGTKReleaseNotesView(bool allowsScripts, ShouldNavigate shouldNavigate)
    : shouldNavigate_(std::move(shouldNavigate)), placeholder_(Gtk::make_managed<Gtk::Image>()) {
  placeholder_->set_from_icon_name("text-x-generic-symbolic");
  placeholder_->set_pixel_size(kPlaceholderIconSize);
  placeholder_->add_css_class("dim-label");
  // Something has to take the keyboard that is no button.
  placeholder_->set_focusable(true);
  add(*placeholder_, kPlaceholder);

  WebKitSettings* const settings = makeSettings(allowsScripts);
  WebKitNetworkSession* const session = webkit_network_session_new_ephemeral();
  // It grows with the user's text size by itself.
  webView_ = WEBKIT_WEB_VIEW(g_object_new(WEBKIT_TYPE_WEB_VIEW, "settings", settings, "network-session", session,
                                          "default-content-security-policy", contentSecurityPolicy(allowsScripts),
                                          "accessible-role", GTK_ACCESSIBLE_ROLE_DOCUMENT, nullptr));
  g_object_ref_sink(webView_);
  denyEverything(webView_, session);
  g_signal_connect(webView_, "context-menu", G_CALLBACK(showNoMenu), nullptr);
  g_signal_connect(webView_, "decide-policy", G_CALLBACK(decidePolicy), &shouldNavigate_);
  g_signal_connect(webView_, "load-failed", G_CALLBACK(keepWhatIsShown), nullptr);
  const auto didChangeLoad = +[](WebKitWebView* web, WebKitLoadEvent event, gpointer view) {
    if (event != WEBKIT_LOAD_COMMITTED) return;
    if (hasPage(web)) {
      static_cast<View*>(view)->showPage();
    } else {
      static_cast<View*>(view)->showPlaceholder();
    }
  };
  g_signal_connect(webView_, "load-changed", G_CALLBACK(didChangeLoad), this);
  const auto didEnd = +[](WebKitWebView* /*web*/, WebKitWebProcessTerminationReason /*reason*/, gpointer view) {
    static_cast<View*>(view)->showPlaceholder();
  };
  g_signal_connect(webView_, "web-process-terminated", G_CALLBACK(didEnd), this);
  gtk_stack_add_named(gobj(), GTK_WIDGET(webView_), kPage);
  g_object_unref(session);
  g_object_unref(settings);
}

VeskUpdateGTKReleaseNotesView::~VeskUpdateGTKReleaseNotesView() {
  stop();
  // The web engine may hold its view for longer than this one lives.
  g_signal_handlers_disconnect_by_data(webView_, this);
  g_signal_handlers_disconnect_by_data(webView_, &shouldNavigate_);
  g_object_unref(webView_);
}

void VeskUpdateGTKReleaseNotesView::load(const std::optional<QuillonURL>& page) {
  if (page) webkit_web_view_load_uri(webView_, page->absoluteString().c_str());
}

void VeskUpdateGTKReleaseNotesView::stop() {
  shouldNavigate_ = nullptr;
  webkit_web_view_stop_loading(webView_);
}

void VeskUpdateGTKReleaseNotesView::nameForScreenReaders(const std::string& name) {
  setAccessibilityLabel(*placeholder_, name);
  gtk_accessible_update_property(GTK_ACCESSIBLE(webView_), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(), -1);
}

bool VeskUpdateGTKReleaseNotesView::showsPlaceholder() const {
  return get_visible_child_name() == kPlaceholder;
}

void VeskUpdateGTKReleaseNotesView::showPlaceholder() {
  set_visible_child(kPlaceholder);
}

void VeskUpdateGTKReleaseNotesView::showPage() {
  set_visible_child(kPage);
}

}  // namespace quillon
