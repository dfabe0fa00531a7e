#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "QuillonCore/Runtime/QuillonSystemServices.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdatePromptInput.h"
#include "QuillonUpdatesCoreTests/FeedMaking.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {

/// A bundle without tables, which has every text in English.
inline std::shared_ptr<const VeskUpdateLocalizationBundle> englishTexts() {
  return std::make_shared<VeskUpdateLocalizationBundle>(
      makeSystemFileManager(), QuillonURL::fileURL("/nonexistent/App.app"), std::vector<std::string>());
}

/// A bundle whose German tables are `updateTable` and `applicationTable`.
inline std::shared_ptr<const VeskUpdateLocalizationBundle> germanTexts(std::string_view updateTable,
                                                                       std::string_view applicationTable) {
  const testing::TemporaryDirectory folder;
  const auto language = folder / "App.app/Contents/Resources/de.lproj";
  testing::writeFile(language / "QuillonUpdate.strings", updateTable);
  testing::writeFile(language / "Localizable.strings", applicationTable);
  return std::make_shared<VeskUpdateLocalizationBundle>(
      makeSystemFileManager(), QuillonURL::fileURL((folder / "App.app").string()), std::vector<std::string>{"de"});
}

/// "Example" 2.0, build 200, is offered version 2.1 in an automatic check.
inline VeskUpdatePromptInput promptInput(
    std::initializer_list<std::pair<const std::string_view, std::string_view>> values = {{"type", "update"},
                                                                                         {"current", "2.1"}}) {
  VeskUpdatePromptInput input;
  input.feed = entryOf(values);
  input.allowInstallAction = true;
  input.applicationName = "Example";
  input.applicationVersion = "2.0";
  input.applicationBuild = 200;
  input.applicationLogoImageName = "ExampleLogo";
  input.localizationBundle = englishTexts();
  input.defaultWindowWidth = 700;
  input.defaultWindowHeight = 600;
  return input;
}

/// The same, offered build 201 of version 2.0.
inline VeskUpdatePromptInput buildOnlyInput() {
  return promptInput({{"type", "update"}, {"title", "News"}, {"current", "2.0"}, {"currentbuild", "201"}});
}

}  // namespace quillon
