#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonUpdatesCore/VeskUpdateFeedPipelineApplicationResult.h"
#include "QuillonUpdatesCore/VeskUpdateFeedProcessingCandidate.h"

namespace quillon {

/// An update that was handed to the installer, whose end the host did not see.
struct VeskUpdateAttempt {
  /// Names its failure report.
  std::string identifier;
  /// What was installed, and what was to be.
  std::string fromVersion;
  std::int64_t fromBuild = 0;
  std::string toVersion;

  friend bool operator==(const VeskUpdateAttempt&, const VeskUpdateAttempt&) = default;
};

/// What a host remembers between two checks, in the application's own settings: "quillon update" and the application
/// know what the other has done.
///
/// A value of another type counts as absent; an integer stands for a real. A change that cannot be stored, as on a full
/// disk, is logged and remembered by this object only: no host asks a server or a user again and again because of it.
///
/// Callable from any thread.
class VeskUpdateMemory {
 public:
  static constexpr std::string_view shownIdentifiersKey = "QuillonUpdateShownIdentifiers";
  static constexpr std::string_view lastShownKey = "QuillonUpdateLastShown";
  static constexpr std::string_view lastCheckKey = "QuillonUpdateLastCheck";
  static constexpr std::string_view refetchIntervalKey = "QuillonUpdateRefetchInterval";
  static constexpr std::string_view reminderHoursKey = "QuillonUpdateReminderHours";
  static constexpr std::string_view betaPreferenceKey = "QuillonUpdateChecksForBetas";
  static constexpr std::string_view staggerGroupKey = "QuillonUpdateStaggerGroup";
  static constexpr std::string_view skippedIdentifierKey = "QuillonUpdateSkippedIdentifier";
  static constexpr std::string_view refusedIdentifierKey = "QuillonUpdateRefusedIdentifier";
  static constexpr std::string_view attemptKey = "QuillonUpdateLastAttempt";

  /// Seconds between two checks that nobody asked for where the feed does not say, and the least that it can ask for.
  static constexpr std::int64_t defaultRefetchIntervalSeconds = 86400;
  static constexpr std::int64_t minimumRefetchIntervalSeconds = 3600;
  static constexpr std::int64_t defaultReminderHours = 24;
  /// Groups among which the users of an application are spread: a staged roll-out reaches one a day.
  static constexpr std::int64_t staggerGroupCount = 7;

  VeskUpdateMemory(std::shared_ptr<QuillonKeyValueStoring> settings, std::shared_ptr<QuillonLogger> logger);

  /// Stores what a check at `now` has come to. It counts as shown when `result` has identifiers to remember.
  void rememberCheck(const VeskUpdateFeedPipelineApplicationResult& result, QuillonDate now);
  /// Identifiers of the entries that were last shown, by type.
  [[nodiscard]] QuillonPropertyListValue::Dictionary shownIdentifiers() const;
  /// When that was; absent too when it lies ahead of `now`, as after the clock was set back: a reminder would wait for
  /// a day that may be years away.
  [[nodiscard]] std::optional<QuillonDate> lastShown(QuillonDate now) const;
  void setLastShown(QuillonDate date);
  [[nodiscard]] std::optional<QuillonDate> lastCheck() const;
  /// When the next check is due that nobody asks for: one interval, of an hour to a year, after the last one. Absent
  /// when it is due, as it is when the last one lies ahead of `now`.
  [[nodiscard]] std::optional<QuillonDate> nextCheck(QuillonDate now) const;
  /// Hours between two offers of an update that was not installed.
  [[nodiscard]] std::int64_t reminderHours() const;

  [[nodiscard]] bool checksForBetas() const;
  void setChecksForBetas(bool checksForBetas);
  /// Days that a staged roll-out is late for this user; absent when the application has assigned none.
  [[nodiscard]] std::optional<std::int64_t> staggerGroup() const;
  /// The same, drawn by lot and stored where there is none.
  [[nodiscard]] std::int64_t drawnStaggerGroup();

  /// The entry that the user wants to hear nothing more of.
  [[nodiscard]] std::optional<std::string> skippedIdentifier() const;
  void setSkippedIdentifier(const std::optional<std::string>& identifier);
  /// The entry whose installation no administrator allowed.
  [[nodiscard]] std::optional<std::string> refusedIdentifier() const;
  void setRefusedIdentifier(const std::optional<std::string>& identifier);
  /// Whether either of them is `candidate`. Who asks for a check is offered it all the same; an entry that
  /// `installedVersion` must take cannot be skipped.
  [[nodiscard]] bool isDeclined(const VeskUpdateFeedProcessingCandidate& candidate,
                                std::string_view installedVersion) const;

  [[nodiscard]] std::optional<VeskUpdateAttempt> attempt() const;
  /// False when it could not be stored.
  bool setAttempt(const std::optional<VeskUpdateAttempt>& attempt);

 private:
  [[nodiscard]] std::optional<QuillonPropertyListValue> value(std::string_view key) const;
  template <typename Value>
  [[nodiscard]] std::optional<Value> valueOfType(std::string_view key) const;
  [[nodiscard]] std::optional<std::string> identifier(std::string_view key) const;
  [[nodiscard]] double refetchInterval() const;
  bool store(const std::optional<QuillonPropertyListValue>& value, std::string_view key);

  const std::shared_ptr<QuillonKeyValueStoring> settings_;
  const std::shared_ptr<QuillonLogger> logger_;
  mutable std::mutex lock_;
  /// Changes that could not be stored.
  std::map<std::string, std::optional<QuillonPropertyListValue>, std::less<>> unstored_;  // guarded by lock_
};

}  // namespace quillon
