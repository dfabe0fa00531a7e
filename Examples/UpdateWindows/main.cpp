// The windows of one update with GTK: UpdateWindows BUNDLE LANGUAGE [light|dark] [FOLDER]
//
// BUNDLE is an application with texts and release notes; `tools/make_screenshots` and `quickstart --windows` make one.
// Without FOLDER a person is led through the windows; nothing is downloaded or installed. With FOLDER each window is
// drawn into a file there.

#include <gtk/gtk.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonCore/Text/QuillonByteCountFormatter.h"
#include "QuillonCore/Text/QuillonLocalizedFormat.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKToolkit.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateAlertPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateProgressWindowPresenter.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptPresenter.h"

namespace {

using namespace quillon;
namespace Texts = VeskUpdateTexts;

constexpr std::int64_t kArchiveBytes = 48'000'000;
constexpr int kStepMilliseconds = 40;
/// Long enough for a page and every animation.
constexpr int kDrawingMilliseconds = 1500;

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

  static void draw(GtkWindow* window, const std::string& file) {
    GdkPaintable* const paintable = gtk_widget_paintable_new(GTK_WIDGET(window));
    GtkSnapshot* const snapshot = gtk_snapshot_new();
    gdk_paintable_snapshot(paintable, snapshot, gdk_paintable_get_intrinsic_width(paintable),
                           gdk_paintable_get_intrinsic_height(paintable));
    GskRenderNode* const node = gtk_snapshot_free_to_node(snapshot);
    GdkTexture* const texture = gsk_renderer_render_texture(gtk_native_get_renderer(GTK_NATIVE(window)), node, nullptr);
    if (gdk_texture_save_to_png(texture, file.c_str()) == FALSE) std::cerr << "Cannot write " << file << '\n';
    g_object_unref(texture);
    gsk_render_node_unref(node);
    g_object_unref(paintable);
  }

  const std::string folder_;
};

/// The application that is updated, and everything that its windows need.
class Application {
 public:
  Application(QuillonURL bundle, const std::string& language)
      : bundle_(std::move(bundle)),
        texts_(std::make_shared<const VeskUpdateLocalizationBundle>(files_, bundle_, std::vector{language})),
        progress_(std::make_shared<VeskUpdateGTKProgressWindows>(), files_, bundle_, texts_),
        prompt_(std::make_shared<VeskUpdateGTKPromptWindows>(resources()), makeSystemWorkspace()),
        alerts_([](const QuillonURL& url) { return makeSystemWorkspace()->open(url); },
                std::make_shared<VeskUpdateGTKAlertRunner>()) {}

  void walkThrough() {
    present([this](const VeskUpdatePromptAction& action) {
      if (std::holds_alternative<VeskUpdatePromptAction::Install>(action.value)) {
        mainThread_.post([this] { download(); });
      } else {
        mainThread_.post([this] { end(); });
      }
    });
    run();
  }

  void drawAll(const std::string& folder) {
    Camera camera(folder);
    present(nullptr);
    camera.take("prompt", [&] {
      window_ = progress_.showProgressWindow(texts_->text(Texts::downloadingUpdate), std::nullopt);
      showDownload(kArchiveBytes / 5 * 2);
      camera.take("progress", [&] {
        progress_.hideProgressWindow(window_);
        window_ = progress_.showProgressWindow("", std::nullopt);
        offerInstallation([] {});
        camera.take("ready", [&] {
          progress_.hideProgressWindow(window_);
          camera.take("alert-no-updates");
          showNoUpdates();
          camera.take("alert-manual-update");
          alerts_.presentManualUpdateAlert(*texts_, std::nullopt, *QuillonURL::parse("https://example.org/"),
                                           VeskUpdateManualUpdateFailurePhase::download);
          camera.take("alert-cancelled");
          alerts_.presentUpdateCancelledAlert(*texts_);
          end();
        });
      });
    });
    run();
  }

 private:
  [[nodiscard]] QuillonURL resources() const { return bundle_.appendingPathComponent("Contents/Resources"); }

  void present(VeskUpdatePromptPresenter::ActionHandler handler) {
    VeskUpdatePromptInput input;
    const auto set = [&input](const char* key, const std::string& value) {
      input.feed.emplace(key, QuillonPropertyListValue(value));
    };
    set("type", "update");
    set("title", "Example 2.1");
    set("current", "2.1");
    set("url", resources().appendingPathComponent("notes.html").absoluteString());
    set("app-installer", "https://example.org/Example.zip");
    input.isManualCheck = true;
    input.allowInstallAction = true;
    input.applicationName = "Example";
    input.applicationVersion = "2.0";
    input.applicationBuild = 200;
    input.applicationLogoImageName = "Logo";
    input.localizationBundle = texts_;
    prompt_.present(input, std::move(handler));
  }

  void download() {
    window_ = progress_.showProgressWindow(texts_->text(Texts::downloadingUpdate), std::nullopt);
    received_ = 0;
    g_timeout_add(
        kStepMilliseconds,
        [](gpointer application) -> gboolean { return static_cast<Application*>(application)->downloadMore(); }, this);
  }

  gboolean downloadMore() {
    received_ = std::min(received_ + kArchiveBytes / 100, kArchiveBytes);
    showDownload(received_);
    if (received_ < kArchiveBytes) return G_SOURCE_CONTINUE;
    offerInstallation([this] {
      progress_.updateProgressWindow(window_, {.title = texts_->text(Texts::preparingToInstall)});
      mainThread_.post([this] {
        showNoUpdates();
        end();
      });
    });
    return G_SOURCE_REMOVE;
  }

  void showDownload(std::int64_t received) {
    const auto size = [this](std::int64_t bytes) { return formattedFileByteCount(bytes, texts_->language()); };
    progress_.updateProgressWindow(
        window_,
        {.title = texts_->text(Texts::downloadingUpdate),
         .statusText = formattedText(texts_->text(Texts::receivedOfExpected), {size(received), size(kArchiveBytes)}),
         .progressFraction = static_cast<double>(received) / static_cast<double>(kArchiveBytes)});
  }

  void offerInstallation(std::function<void()> action) {
    progress_.showReadyToInstallAndRelaunch(window_, texts_->text(Texts::readyToInstall),
                                            texts_->text(Texts::installAndRelaunch), std::move(action));
  }

  void showNoUpdates() {
    static_cast<void>(alerts_.presentManualCheckCompletionAlert({.shouldShowNoUpdatesFoundDialog = true,
                                                                 .updateCheckPerformedOK = true,
                                                                 .applicationName = "Example",
                                                                 .shouldOfferBetaToggle = true,
                                                                 .betaToggleEnabled = false,
                                                                 .localizationBundle = texts_}));
  }

  void run() {
    while (!didEnd_) g_main_context_iteration(nullptr, TRUE);
  }
  void end() { didEnd_ = true; }

  const std::shared_ptr<QuillonFileManaging> files_ = makeSystemFileManager();
  const QuillonURL bundle_;
  const std::shared_ptr<const VeskUpdateLocalizationBundle> texts_;
  QuillonGLibMainThread mainThread_;
  const VeskUpdateProgressWindowPresenter progress_;
  VeskUpdatePromptPresenter prompt_;
  const VeskUpdateAlertPresenter alerts_;
  std::shared_ptr<VeskUpdateProgressWindow> window_;
  std::int64_t received_ = 0;
  bool didEnd_ = false;
};

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
  const bool isDark = count > 3 && std::string(arguments[3]) == "dark";
  g_object_set(gtk_settings_get_default(), "gtk-application-prefer-dark-theme", isDark ? TRUE : FALSE, nullptr);
  Application application(QuillonURL::fileURL(arguments[1]), arguments[2]);
  if (count == 5) {
    application.drawAll(arguments[4]);
  } else {
    application.walkThrough();
  }
  return 0;
}
