#include "SampleApplication.h"

#include <giomm/menu.h>
#include <glibmm/variant.h>
#include <gtkmm/application.h>

#include <memory>

#include "Linux/SampleWindow.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"
#include "SampleUpdater.h"

namespace sample {
namespace {

UpdateWindows makeWindows(const HostInformation& host) {
  return {.mainThread = std::make_shared<quillon::QuillonGLibMainThread>(),
          .progressWindows = std::make_shared<quillon::VeskUpdateGTKProgressWindows>(),
          .prompts = std::make_shared<quillon::VeskUpdateGTKPromptWindows>(
              host.bundle.appendingPathComponent("Contents/Resources")),
          .alerts = std::make_shared<quillon::VeskUpdateGTKAlertRunner>(),
          .logoImageName = "Logo"};
}

/// The menu, whose items are actions of the application: "app.check-for-updates" and so on.
Glib::RefPtr<Gio::Menu> makeMenu() {
  const auto items = Gio::Menu::create();
  items->append("Check for _Updates…", "app.check-for-updates");
  items->append("Use _Beta Versions", "app.use-betas");
  items->append("_Quit", "app.quit");
  auto menu = Gio::Menu::create();
  menu->append_submenu("_Sample", items);
  return menu;
}

void addActions(Gtk::Application& application, SampleUpdater& updater) {
  application.add_action("check-for-updates", [&updater] { updater.checkForUpdates(); });
  application.add_action("quit", [&application] { application.quit(); });
  application.add_action_bool(
      "use-betas",
      [&application, &updater] {
        updater.setChecksForBetas(!updater.checksForBetas());
        application.change_action_state("use-betas", Glib::Variant<bool>::create(updater.checksForBetas()));
      },
      updater.checksForBetas());
}

}  // namespace

int runSampleApplication(const HostInformation& host) {
  const auto application = Gtk::Application::create(host.identifier);
  std::unique_ptr<SampleWindow> window;
  std::shared_ptr<SampleUpdater> updater;
  const UpdateCallbacks callbacks{.quit = [&] { application->quit(); },
                                  .checksForBetasDidChange =
                                      [&](bool checksForBetas) {
                                        application->change_action_state("use-betas",
                                                                         Glib::Variant<bool>::create(checksForBetas));
                                      }};
  application->signal_startup().connect([&] {
    updater = std::make_shared<SampleUpdater>(host, makeWindows(host), callbacks);
    addActions(*application, *updater);
    application->set_menubar(makeMenu());
  });
  application->signal_activate().connect([&] {
    if (window) return window->present();  // the user has started the application a second time
    window = std::make_unique<SampleWindow>(host.name, host.version);
    application->add_window(*window);
    window->present();
    updater->start();
  });
  application->signal_shutdown().connect([&] {
    updater.reset();
    window.reset();
  });
  return application->run();
}

}  // namespace sample
