#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonTool/QuillonToolArguments.h"

namespace quillon {

/// What one run of "update" is asked to do.
struct UpdateOptions {
  QuillonURL bundle;
  /// Absent when the bundle says where its feed is.
  std::optional<QuillonURL> feed;
  /// Only answers whether an update is offered.
  bool onlyChecks = false;
  /// Nobody asked for this check: intervals and reminders count.
  bool isScheduled = false;
  /// Every question is answered with its first choice.
  bool answersYes = false;
  /// The preference to remember; absent when it stays as it is.
  std::optional<bool> betaPreference;
  /// Ways of distribution that are accepted besides the bundle's own.
  std::vector<std::string> skus;
  /// How long the application may take to quit; absent for the default.
  std::optional<std::chrono::seconds> quitLimit;
  bool isJSON = false;
  std::optional<QuillonURL> logFile;
};

/// The options that describe a run.
[[nodiscard]] std::vector<QuillonToolOption> updateOptions();

/// Throws QuillonToolUsageError.
[[nodiscard]] UpdateOptions readUpdateOptions(const QuillonToolArguments& arguments);

}  // namespace quillon
