#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdateInstaller/QuillonUpdateInstallerArguments.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementPrivilegeChecking.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleReplacementRelaunching.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateValidating.h"

namespace quillon {

/// What the installer command works with.
struct QuillonUpdateInstallerServices {
  using TimePoint = std::chrono::sys_time<std::chrono::microseconds>;

  std::shared_ptr<const QuillonFileManaging> fileManager;
  std::shared_ptr<const VeskAppBundleReplacementPrivilegeChecking> privilegeChecker;
  /// Makes what starts the application again, for the user given.
  std::function<std::shared_ptr<VeskAppBundleReplacementRelaunching>(
      const std::optional<VeskAppBundleLaunchdUserContext>&)>
      makeRelauncher;
  /// Null for the system's own.
  std::shared_ptr<const VeskAppBundleUpdateValidating> validator;
  std::function<bool(std::int32_t processIdentifier)> processExists;
  std::function<void(std::chrono::milliseconds)> sleep;
  std::function<TimePoint()> now;
  /// Takes one line, without its newline, for standard error.
  std::function<void(std::string_view)> standardError;
};

/// The installer command: waits for the host to quit, replaces its bundle, starts it again; on failure leaves a report
/// and one line on standard error.
class QuillonUpdateInstallerMain {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{250};

  explicit QuillonUpdateInstallerMain(QuillonUpdateInstallerServices services) : services_(std::move(services)) {}

  /// Does the whole job for the arguments after the program name and ends the process with status 0, or 1 on failure.
  [[noreturn]] void run(const std::vector<std::string>& arguments) noexcept;

  /// As run(), but returns the exit status.
  [[nodiscard]] int execute(const std::vector<std::string>& arguments) noexcept;

 private:
  void install(const std::vector<std::string>& arguments, std::optional<QuillonUpdateInstallerArguments>& parsed);
  void waitForHostToQuit(std::int32_t hostProcessIdentifier) const;
  void fail(std::string_view description, const std::optional<QuillonUpdateInstallerArguments>& parsed) noexcept;
  void printLine(std::string_view line) const;

  QuillonUpdateInstallerServices services_;
};

}  // namespace quillon
