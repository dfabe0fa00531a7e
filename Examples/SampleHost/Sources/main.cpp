// An application that updates itself: a window, a menu, and a SampleUpdater.
//
// SampleHost --version prints the version, without a display.

#include <giomm/menu.h>
#include <glibmm/variant.h>
#include <gtkmm/application.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string_view>

#include "HostInformation.h"
#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKAlertRunner.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKProgressWindows.h"
#include "QuillonUpdatesAppKitUI/Presentation/Linux/VeskUpdateGTKPromptWindows.h"
#include "SampleUpdater.h"
#include "SampleWindow.h"

namespace {

sample::UpdateWindows makeWindows(const sample::HostInformation& host) {
  return {.mainThread = std::make_shared<quillon::QuillonGLibMainThread>(),
          .progressWindows = std::make_shared<quillon::VeskUpdateGTKProgressWindows>(),
          .prompts = std::make_shared<quillon::VeskUpdateGTKPromptWindows>(
              host.bundle.appendingPathComponent("Contents/Resources")),
          .alerts = std::make_shared<quillon::VeskUpdateGTKAlertRunner>()};
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

void addActions(Gtk::Application& application, sample::SampleUpdater& updater) {
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

int run(const sample::HostInformation& host) {
  const auto application = Gtk::Application::create(host.identifier);
  std::unique_ptr<sample::SampleWindow> window;
  std::shared_ptr<sample::SampleUpdater> updater;
  const sample::UpdateCallbacks callbacks{.quit = [&] { application->quit(); },
                                          .checksForBetasDidChange =
                                              [&](bool checksForBetas) {
                                                application->change_action_state(
                                                    "use-betas", Glib::Variant<bool>::create(checksForBetas));
                                              }};
  application->signal_startup().connect([&] {
    updater = std::make_shared<sample::SampleUpdater>(host, makeWindows(host), callbacks);
    addActions(*application, *updater);
    application->set_menubar(makeMenu());
  });
  application->signal_activate().connect([&] {
    if (window) return window->present();  // the user has started the application a second time
    window = std::make_unique<sample::SampleWindow>(host.name, host.version);
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

}  // namespace

int main(int argumentCount, char** arguments) {
  try {
    const auto host = sample::HostInformation::ofRunningApplication(*quillon::makeSystemFileManager());
    if (argumentCount == 2 && std::string_view(arguments[1]) == "--version") {
      std::cout << host.name << ' ' << host.version << " (" << host.build << ")\n";
      return EXIT_SUCCESS;
    }
    return run(host);
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return EXIT_FAILURE;
  }
}
