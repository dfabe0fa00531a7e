#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "QuillonTool/Update/ApplicationUpdate.h"
#include "QuillonUpdatesAppKitUI/Presentation/VeskUpdateLocalizationBundle.h"
#include "QuillonUpdatesCore/VeskUpdateMemory.h"

namespace quillon {

/// What the steps of one run share.
struct UpdateSession {
  const UpdateOptions& options;
  const ApplicationUpdateServices& services;
  std::stop_source stopSource;

  static constexpr std::string_view logCategory = "update";
  /// How long an application may take to quit when nobody is there to be waited for.
  static constexpr std::chrono::seconds defaultQuitLimit{60};

  /// Prints `text` in lines of its own, after everything that was said before. From any thread.
  void say(const std::string& text) const {
    services.mainThread->post([terminal = services.terminal, text] { terminal->printLines(text); });
    services.logger->info([&text] { return text; }, logCategory);
  }

  [[nodiscard]] std::optional<std::chrono::seconds> quitLimit() const {
    if (options.quitLimit) return options.quitLimit;
    return services.answering == UpdateAnswering::byKeys ? std::nullopt : std::optional(defaultQuitLimit);
  }
};

/// A session whose application is known.
struct ApplicationSession : UpdateSession {
  const InstalledApplication& application;
  VeskUpdateMemory& memory;
  std::shared_ptr<const VeskUpdateLocalizationBundle> texts;
};

}  // namespace quillon
