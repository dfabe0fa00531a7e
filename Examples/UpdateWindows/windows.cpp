// The windows of one update with GTK: UpdateWindows BUNDLE LANGUAGE [light|dark] [FOLDER]
//
// BUNDLE is an application with texts and release notes; `tools/make_screenshots` and `quickstart --windows` make one.
// Without FOLDER a person is led through the windows; nothing is downloaded or installed. With FOLDER each window is
// drawn into a file there.

#include <gtk/gtk.h>

#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKToolkit.h"
#include "UpdateWalk.h"

namespace {

using namespace quillon;

/// Long enough for a page and every animation.
constexpr int kDrawingMilliseconds = 1500;

/// What a theme draws around a window, in pixels.
constexpr float kCornerRadius = 8;
constexpr float kShadowBlur = 10;
constexpr float kPictureMargin = 14;

/// The pictures of a window, drawn by GTK itself.
class Camera {
 public:
  explicit Camera(std::string folder) : folder_(std::move(folder)) {}

  /// Draws the window that is up into FOLDER/NAME.png after a while, closes it and calls `next`.
  void take(std::string name, std::function<void()> next = nullptr) {
    auto* const picture = new Picture{folder_ + '/' + name + ".png", std::move(next)};
    g_timeout_add(
        kDrawingMilliseconds,
        [](gpointer data) -> gboolean {
          const std::unique_ptr<Picture> due(static_cast<Picture*>(data));
          GListModel* const windows = gtk_window_get_toplevels();
          for (guint i = 0; i < g_list_model_get_n_items(windows); ++i) {
            auto* const window = GTK_WINDOW(g_list_model_get_item(windows, i));
            g_object_unref(window);  // the list holds it
            if (gtk_widget_get_mapped(GTK_WIDGET(window)) == FALSE) continue;
            draw(window, due->file);
            gtk_window_close(window);
            break;
          }
          if (due->next) due->next();
          return G_SOURCE_REMOVE;
        },
        picture);
  }

 private:
  struct Picture {
    std::string file;
    std::function<void()> next;
  };

  /// A paintable is cut off at the edges of the window, which leaves the shadow to us.
  static void drawShadow(GtkSnapshot* snapshot, GtkWindow* window, float width, float height) {
    const bool isAlert = gtk_widget_has_css_class(GTK_WIDGET(window), "message") != FALSE;
    const graphene_size_t top{kCornerRadius, kCornerRadius};
    const graphene_size_t bottom = isAlert ? top : graphene_size_t{0, 0};
    const graphene_rect_t bounds{{0, 0}, {width, height}};
    GskRoundedRect outline;
    gsk_rounded_rect_init(&outline, &bounds, &top, &top, &bottom, &bottom);
    constexpr GdkRGBA kEdge{0, 0, 0, 0.23F};
    constexpr GdkRGBA kShadow{0, 0, 0, 0.35F};
    gtk_snapshot_append_outset_shadow(snapshot, &outline, &kShadow, 0, 3, 0, kShadowBlur);
    gtk_snapshot_append_outset_shadow(snapshot, &outline, &kEdge, 0, 0, 1, 0);
  }

  static void draw(GtkWindow* window, const std::string& file) {
    GdkPaintable* const paintable = gtk_widget_paintable_new(GTK_WIDGET(window));
    const auto width = static_cast<float>(gdk_paintable_get_intrinsic_width(paintable));
    const auto height = static_cast<float>(gdk_paintable_get_intrinsic_height(paintable));
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    drawShadow(snapshot, window, width, height);
    gdk_paintable_snapshot(paintable, snapshot, static_cast<double>(width), static_cast<double>(height));
    GskRenderNode* const node = gtk_snapshot_free_to_node(snapshot);
    const graphene_rect_t picture{{-kPictureMargin, -kPictureMargin},
                                  {width + 2 * kPictureMargin, height + 2 * kPictureMargin}};
    GdkTexture* const texture =
        gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(window)), node, &picture);
    if (gdk_texture_save_to_png(texture, file.c_str()) == FALSE) std::cerr << "Cannot write " << file << '\n';
    g_object_unref(texture);
    gsk_render_node_unref(node);
    g_object_unref(paintable);
  }

  const std::string folder_;
};

void drawAlerts(Camera& camera, const UpdateWalk& walk) {
  using Phase = VeskUpdateManualUpdateFailurePhase;
  const VeskUpdateAlertPresenter& alerts = walk.alerts();
  const VeskUpdateLocalizationBundle& texts = walk.texts();
  const QuillonURL page = *QuillonURL::parse("https://example.org/");
  camera.take("alert-no-updates");
  walk.showNoUpdates();
  camera.take("alert-unable-to-check");
  alerts.presentUnableToCheckForUpdatesAlert(false, texts);
  camera.take("alert-offline");
  alerts.presentUnableToCheckForUpdatesAlert(true, texts);
  camera.take("alert-download-failed");
  alerts.presentDownloadFailedAlert(texts, "HTTP 404");
  camera.take("alert-installation-failed");
  alerts.presentInstallationFailedAlert(texts, std::nullopt);
  camera.take("alert-manual-download");
  alerts.presentManualUpdateAlert(texts, std::nullopt, page, Phase::download);
  camera.take("alert-manual-installation");
  alerts.presentManualUpdateAlert(texts, std::nullopt, page, Phase::installation);
  camera.take("alert-cancelled");
  alerts.presentUpdateCancelledAlert(texts);
}

void drawAll(UpdateWalk& walk, Camera& camera, const std::function<void()>& onEnd) {
  walk.showPrompt(nullptr);
  camera.take("prompt", [&walk, &camera, onEnd] {
    walk.showDownload();
    camera.take("progress", [&walk, &camera, onEnd] {
      walk.hideProgressWindow();
      walk.showConsent(nullptr);
      camera.take("ready", [&walk, &camera, onEnd] {
        walk.hideProgressWindow();
        drawAlerts(camera, walk);
        onEnd();
      });
    });
  });
}

/// The icon of every window. An installed application has it in the desktop's theme.
void useIconOf(const QuillonURL& bundle) {
  GtkIconTheme* const icons = gtk_icon_theme_get_for_display(gdk_display_get_default());
  gtk_icon_theme_add_search_path(icons, bundle.appendingPathComponent("Contents/Resources/icons").path().c_str());
  gtk_window_set_default_icon_name("org.example.Example");
}

void useColours(const std::string& theme) {
  g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", theme == "dark" ? TRUE : FALSE,
               nullptr);
}

}  // namespace

int main(int count, char** arguments) {
  if (count < 3 || count > 5) {
    std::cerr << "Usage: UpdateWindows BUNDLE LANGUAGE [light|dark] [FOLDER]\n";
    return 2;
  }
  if (!startGTKToolkit()) {
    std::cerr << "There is no display.\n";
    return 1;
  }
  const QuillonURL bundle = QuillonURL::fileURL(arguments[1]);
  useIconOf(bundle);
  if (count > 3) useColours(arguments[3]);
  UpdateWalk walk(bundle, arguments[2],
                  {.mainThread = std::make_shared<QuillonGLibMainThread>(),
                   .progressWindows = std::make_shared<VeskUpdateGTKProgressWindows>(),
                   .promptWindows = std::make_shared<VeskUpdateGTKPromptWindows>(
                       bundle.appendingPathComponent("Contents/Resources")),
                   .alerts = std::make_shared<VeskUpdateGTKAlertRunner>()});
  bool didEnd = false;
  const auto end = [&didEnd] { didEnd = true; };
  Camera camera(count == 5 ? arguments[4] : "");
  if (count == 5) {
    drawAll(walk, camera, end);
  } else {
    walk.begin(end);
  }
  while (!didEnd) g_main_context_iteration(nullptr, TRUE);
  return 0;
}
