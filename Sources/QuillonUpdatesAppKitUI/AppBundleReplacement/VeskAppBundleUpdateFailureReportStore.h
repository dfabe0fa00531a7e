#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Contracts/QuillonFileManaging.h"
#include "QuillonCore/Values/QuillonURL.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"

namespace quillon {

/// Knows where failure reports lie; writes them for the installer and hands each to the host once.
class VeskAppBundleUpdateFailureReportStore {
 public:
  using TimePoint = std::chrono::sys_time<std::chrono::microseconds>;

  static constexpr std::string_view reportFileName = "QuillonUpdateInstallerFailure.plist";
  /// A larger file is no report (bytes).
  static constexpr std::size_t kLargestReport = std::size_t{1} << 20;

  explicit VeskAppBundleUpdateFailureReportStore(std::shared_ptr<const QuillonFileManaging> fileManager,
                                                 std::function<TimePoint()> now = currentTime);

  /// The report of an application in an Application Support folder; absent for an empty identifier. An identifier is
  /// one folder name: one with a slash, or "..", gives none.
  [[nodiscard]] static std::optional<QuillonURL> reportURL(std::string_view bundleIdentifier,
                                                           const QuillonURL& applicationSupport);
  /// The same in the Application Support folder of a user's home.
  [[nodiscard]] static std::optional<QuillonURL> userApplicationSupportReportURL(std::string_view bundleIdentifier,
                                                                                 std::string_view homeDirectory);
  /// The same in the application's sandbox container.
  [[nodiscard]] static std::optional<QuillonURL> sandboxContainerReportURL(std::string_view bundleIdentifier,
                                                                           std::string_view homeDirectory);
  /// The same in the current user's Application Support folder.
  [[nodiscard]] std::optional<QuillonURL> reportURL(std::string_view bundleIdentifier) const;

  /// The file of one attempt beside `baseURL`; absent unless the identifier has 1 to 128 ASCII letters, digits, "-",
  /// "_".
  [[nodiscard]] static std::optional<QuillonURL> attemptReportURL(const QuillonURL& baseURL,
                                                                  const std::optional<std::string>& attemptIdentifier);
  /// The files of all attempts beside `baseURL`. Empty when the folder cannot be listed.
  [[nodiscard]] std::vector<QuillonURL> attemptReportURLs(const QuillonURL& baseURL) const;

  /// Writes to the application's report location; writes nothing when it has none. Throws as below.
  void writeFailureReport(const std::string& errorDescription, std::string_view bundleIdentifier, TimePoint failedAt,
                          const std::optional<std::string>& attemptIdentifier) const;
  /// Writes atomically to the attempt's own file beside `reportURL` where the identifier allows one, else to
  /// `reportURL`, creating missing folders. Throws QuillonSystemError.
  void writeFailureReport(const std::string& errorDescription, const QuillonURL& reportURL, TimePoint failedAt,
                          const std::optional<std::string>& attemptIdentifier) const;

  /// The report that an installer left, if any, which is then removed: the preferred attempt's with all other
  /// attempts', else the base report. One that cannot be read counts as "Unknown helper failure" at the present time.
  /// When the preferred attempt left none, other attempts' files stay: they may belong to another process of the
  /// application.
  [[nodiscard]] std::optional<VeskAppBundleUpdateFailureReport> consumeFailureReport(
      std::string_view bundleIdentifier, const std::optional<std::string>& preferredAttemptIdentifier) const noexcept;

 private:
  [[nodiscard]] static TimePoint currentTime();
  [[nodiscard]] VeskAppBundleUpdateFailureReport readReport(const QuillonURL& file,
                                                            const std::optional<std::string>& attemptIdentifier) const;
  void removeIgnoringErrors(const QuillonURL& file) const;
  [[nodiscard]] std::optional<VeskAppBundleUpdateFailureReport> consume(
      const QuillonURL& baseURL, const std::optional<std::string>& preferredAttemptIdentifier) const;

  std::shared_ptr<const QuillonFileManaging> fileManager_;
  std::function<TimePoint()> now_;
};

}  // namespace quillon
