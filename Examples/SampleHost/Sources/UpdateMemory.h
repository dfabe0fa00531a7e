#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationResult.h"

namespace sample {

/// An update that was handed to the installer.
struct UpdateAttempt {
  /// Names its failure report.
  std::string identifier;
  /// The version that has handed it on.
  std::string fromVersion;
  std::int64_t fromBuild = 0;
  std::string toVersion;

  friend bool operator==(const UpdateAttempt&, const UpdateAttempt&) = default;
};

/// What is remembered between checks, and from one run of the application to the next, in its settings:
/// the keys are those of `quillon update`, so that either knows what the other has done.
///
/// A setting that cannot be written is dropped: at worst, an update is offered once too often. A copy has the same
/// settings. Callable from any thread.
class UpdateMemory {
 public:
  explicit UpdateMemory(std::shared_ptr<quillon::QuillonKeyValueStoring> settings);

  /// The user wants to be offered beta versions.
  [[nodiscard]] bool checksForBetas() const;
  void setChecksForBetas(bool checksForBetas);

  /// When to look at the feed by itself again: one refetch interval, of a year at most, after the last check that
  /// reached it.
  [[nodiscard]] quillon::QuillonDate nextCheck(quillon::QuillonDate now) const;
  /// The identifier of the entry that was last shown, by type of entry.
  [[nodiscard]] quillon::QuillonPropertyListValue::Dictionary shownEntries() const;
  /// What the applier of a feed wants to be remembered.
  void rememberCheck(const quillon::VeskUpdateFeedPipelineApplicationResult& result, quillon::QuillonDate now);

  /// When an update was last offered; the reminder delay counts from then.
  [[nodiscard]] std::optional<quillon::QuillonDate> lastOffer() const;
  void setLastOffer(quillon::QuillonDate date);

  /// The entry that the user does not want to see again.
  [[nodiscard]] std::optional<std::string> skippedEntry() const;
  void setSkippedEntry(const std::optional<std::string>& identifier);
  /// The entry whose installation no administrator allowed.
  [[nodiscard]] std::optional<std::string> refusedEntry() const;
  void setRefusedEntry(const std::optional<std::string>& identifier);

  /// The days that an update which is rolled out in steps is held back for this user: drawn once.
  [[nodiscard]] std::int64_t staggerGroup();

  void setAttempt(const std::optional<UpdateAttempt>& attempt);
  /// The attempt of the last run, which is then forgotten.
  [[nodiscard]] std::optional<UpdateAttempt> takeAttempt();

 private:
  void set(std::string_view key, const std::optional<quillon::QuillonPropertyListValue>& value);

  const std::shared_ptr<quillon::QuillonKeyValueStoring> settings_;
};

/// Hours between two offers of an update that was not installed.
inline constexpr std::int64_t kReminderDelayHours = 24;
/// Seconds between two looks at a feed that does not say how long to wait, and the least that a feed can ask for.
inline constexpr std::int64_t kDefaultRefetchIntervalSeconds = 24 * 3600;
inline constexpr std::int64_t kMinimumRefetchIntervalSeconds = 3600;

}  // namespace sample
