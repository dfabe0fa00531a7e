#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Contracts/QuillonKeyValueStoring.h"
#include "QuillonCore/Contracts/QuillonLogger.h"
#include "QuillonCore/Values/QuillonDate.h"

namespace quillon {

/// An installation that was handed to the installer, whose end this command did not see.
struct UpdateAttempt {
  std::string identifier;
  /// What was installed, and what was to be.
  std::string fromVersion;
  std::int64_t fromBuild = 0;
  std::string toVersion;

  friend bool operator==(const UpdateAttempt&, const UpdateAttempt&) = default;
};

/// What is remembered of an application between two checks, in the application's own settings.
///
/// A change that cannot be stored is logged and answered with false: an update is more important than a reminder.
class UpdateMemory {
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

  static constexpr std::int64_t defaultRefetchIntervalSeconds = 86400;
  static constexpr std::int64_t minimumRefetchIntervalSeconds = 3600;
  static constexpr std::int64_t defaultReminderHours = 24;

  UpdateMemory(std::shared_ptr<QuillonKeyValueStoring> settings, std::shared_ptr<QuillonLogger> logger);

  /// Identifiers of the entries that were last shown, by type.
  [[nodiscard]] QuillonPropertyListValue::Dictionary shownIdentifiers() const;
  bool setShownIdentifiers(const QuillonPropertyListValue::Dictionary& identifiers);
  [[nodiscard]] std::optional<QuillonDate> lastShown() const;
  bool setLastShown(QuillonDate date);

  [[nodiscard]] std::optional<QuillonDate> lastCheck() const;
  bool setLastCheck(QuillonDate date);
  /// Seconds between two checks that nobody asked for.
  [[nodiscard]] double refetchInterval() const;
  bool setRefetchInterval(double seconds);
  /// When the next check is due that nobody asks for; absent when it is. A check that lies ahead of `now`, as after the
  /// clock was set back, makes one due.
  [[nodiscard]] std::optional<QuillonDate> nextCheck(QuillonDate now) const;

  [[nodiscard]] std::int64_t reminderHours() const;
  [[nodiscard]] bool checksForBetas() const;
  bool setChecksForBetas(bool checksForBetas);
  /// Days that a staged roll-out is late for this user; absent when the application has assigned none.
  [[nodiscard]] std::optional<std::int64_t> staggerGroup() const;

  /// The entry that the user wants to hear nothing more of.
  [[nodiscard]] std::optional<std::string> skippedIdentifier() const;
  bool setSkippedIdentifier(const std::optional<std::string>& identifier);
  /// The entry whose installation no administrator allowed.
  [[nodiscard]] std::optional<std::string> refusedIdentifier() const;
  bool setRefusedIdentifier(const std::optional<std::string>& identifier);

  [[nodiscard]] std::optional<UpdateAttempt> attempt() const;
  bool setAttempt(const std::optional<UpdateAttempt>& attempt);

 private:
  [[nodiscard]] std::optional<QuillonDate> dateForKey(std::string_view key) const;
  [[nodiscard]] std::optional<std::string> textForKey(std::string_view key) const;
  bool store(const std::optional<QuillonPropertyListValue>& value, std::string_view key);

  const std::shared_ptr<QuillonKeyValueStoring> settings_;
  const std::shared_ptr<QuillonLogger> logger_;
};

}  // namespace quillon
