#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "QuillonTool/Update/ApplicationUpdate.h"
#include "QuillonTool/Update/UpdateSession.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/FakeNetworkClient.h"
#include "Support/FakeProcessRunner.h"
#include "Support/FixedClock.h"
#include "Support/RecordingLogger.h"
#include "Support/UpdateInstallationWorld.h"

namespace quillon::testing {

/// Processes that a test decides on.
class FakeApplicationProcesses final : public ApplicationProcessFinding {
 public:
  [[nodiscard]] std::vector<ApplicationProcess> processesOf(const QuillonURL& bundle) const override {
    return answer ? answer(bundle) : std::vector<ApplicationProcess>();
  }

  std::function<std::vector<ApplicationProcess>(const QuillonURL& bundle)> answer;
};

/// Version 1.0 of an application, a feed that can be loaded, and everything that an update of it is done with: the real
/// file system in a folder of its own, fakes at the outer ports, and the test's thread as main thread.
class UpdateCommandWorld {
 public:
  static constexpr const char* feedURL = "https://example.org/feed.plist";
  static constexpr const char* pageURL = "https://example.org/notes.html";
  static constexpr const char* archiveURL = "https://example.org/Example.zip";

  UpdateCommandWorld() {
    makeApplicationBundle(bundle, {.version = "1.0", .build = "1"});
    makeApplicationBundle(bundle / "Contents/XPCServices/org.example.App.Quillon.UpdateInstallerLauncherService.xpc",
                          {});
    std::filesystem::copy_file(bundle / "Contents/MacOS/Example", bundle / "Contents/MacOS/QuillonUpdateInstaller");
    options.bundle = QuillonURL::fileURL(bundle.string());
    options.feed = QuillonURL::parse(feedURL);
    codeSigningTool->answer = [](const auto&) {
      return QuillonProcessResult{.status = 0, .output = "TeamIdentifier=TEAM123456\n"};
    };
    serve(feedURL, feedOf({offer()}));
  }

  /// The entries of a feed.
  using Entry = std::vector<std::pair<std::string, std::string>>;
  /// What offers version 2.0.
  [[nodiscard]] static Entry offer() {
    return {{"type", "update"}, {"id", "release-2.0"},    {"current", "2.0"},           {"currentbuild", "2"},
            {"url", pageURL},   {"title", "Example 2.0"}, {"app-installer", archiveURL}};
  }
  [[nodiscard]] static Entry offerWith(const std::string& key, const std::string& value) {
    Entry entry = offer();
    std::erase_if(entry, [&key](const auto& field) { return field.first == key; });
    if (!value.empty()) entry.emplace_back(key, value);
    return entry;
  }
  [[nodiscard]] static std::string feedOf(const std::vector<Entry>& entries) {
    std::string text = "<plist version=\"1.0\"><array>";
    for (const Entry& entry : entries) {
      text += "<dict>";
      for (const auto& [key, value] : entry) {
        text.append("<key>").append(key).append("</key><string>").append(value).append("</string>");
      }
      text += "</dict>";
    }
    return text + "</array></plist>";
  }
  [[nodiscard]] static QuillonPropertyListValue::Dictionary dictionaryOf(const Entry& entry) {
    QuillonPropertyListValue::Dictionary dictionary;
    for (const auto& [key, value] : entry) dictionary.emplace(key, QuillonPropertyListValue(value));
    return dictionary;
  }

  void serve(const std::string& url, const std::string& body, std::int32_t statusCode = 200,
             const std::string& contentType = "text/html; charset=utf-8") {
    const QuillonURL location = QuillonURL::parse(url).value();
    network->answer(location, QuillonURLData{.body = body,
                                             .response = {.url = location,
                                                          .httpStatusCode = statusCode,
                                                          .headerFields = {{"Content-Type", contentType}}}});
  }

  [[nodiscard]] ApplicationUpdateServices services() {
    ApplicationUpdateServices all;
    all.fileManager = world.files;
    all.processRunner = codeSigningTool;
    all.codeSigningToolPath = "/codesign";
    all.network = network;
    all.coordinator = [this](auto launcher, auto presenter, auto texts) {
      return VeskUpdateInstallerCoordinator(
          world.files, world.network, world.unzipper, world.launcher, world.validator, std::move(launcher),
          [] { return std::nullopt; }, world.mainThread, std::move(presenter), std::move(texts));
    };
    all.settings = [this](std::string_view) { return settings; };
    all.clock = std::make_shared<FixedClock>(now);
    all.processes = processes;
    all.helperLauncher = [this](const InstalledApplication&) { return world.replacementLauncher; };
    all.pause = [this](std::chrono::milliseconds duration, const std::stop_token& stopToken) {
      waited += duration;
      if (onPause) onPause(stopToken);
    };
    all.monotonicTime = [] { return 0; };
    all.environment = {.systemVersion = {.major = 14, .minor = 5, .patch = 0}, .languages = {"en"}};
    all.logger = logger;
    all.mainThread = world.mainThread;
    all.terminal = terminal;
    all.answering = answering;
    return all;
  }

  /// One whole run.
  UpdateOutcome run() { return ApplicationUpdate(options, services()).run(stopSource); }

  [[nodiscard]] VeskUpdateMemory memory() const { return {settings, logger}; }
  [[nodiscard]] std::string printed() const { return output.str(); }

  UpdateInstallationWorld world;
  std::filesystem::path bundle = std::filesystem::canonical(world.folder.path()) / "Applications/Example.app";
  UpdateOptions options{
      .bundle = QuillonURL::fileURL("/"), .feed = {}, .betaPreference = {}, .skus = {}, .quitLimit = {}, .logFile = {}};
  QuillonDate now = std::chrono::sys_days{std::chrono::year{2026} / 6 / 11};
  UpdateAnswering answering = UpdateAnswering::byConsent;
  std::stop_source stopSource;
  std::ostringstream output;
  std::shared_ptr<VeskUpdateTerminal> terminal =
      std::make_shared<VeskUpdateTerminal>(output, VeskUpdateTerminal::Style{});
  std::shared_ptr<FakeNetworkClient> network = std::make_shared<FakeNetworkClient>();
  std::shared_ptr<FakeKeyValueStore> settings = std::make_shared<FakeKeyValueStore>();
  std::shared_ptr<FakeApplicationProcesses> processes = std::make_shared<FakeApplicationProcesses>();
  std::shared_ptr<FakeProcessRunner> codeSigningTool = std::make_shared<FakeProcessRunner>();
  std::shared_ptr<RecordingLogger> logger = std::make_shared<RecordingLogger>();
  std::chrono::milliseconds waited{0};
  std::function<void(const std::stop_token&)> onPause;
};

/// A world in the middle of a run: steps are called on a thread of their own.
class UpdateStepWorld : public UpdateCommandWorld {
 public:
  /// Calls `step` as a run does, and serves the main thread meanwhile: "done", "cancelled", or what the error says.
  template <typename Step>
  std::string callStep(const Step& step) {
    const ApplicationUpdateServices all = services();
    const UpdateAnswers answers(answering, terminal, world.mainThread);
    const InstalledApplication application = InstalledApplication::read(*world.files, options.bundle);
    VeskUpdateMemory memory(settings, logger);
    const ApplicationSession session{UpdateSession{options, all, stopSource}, application, memory,
                                     std::make_shared<const VeskUpdateLocalizationBundle>(
                                         world.files, application.bundle, std::vector<std::string>{"en"})};
    return world.run([&](const std::stop_token&) { step(session); });
  }
};

}  // namespace quillon::testing
