#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonDate.h"
#include "QuillonTool/QuillonToolExitStatus.h"
#include "QuillonTool/QuillonToolJSONObject.h"

namespace quillon {

/// What a run of "update" came to.
struct UpdateOutcome {
  enum class Result : std::uint8_t {
    upToDate,         ///< no update is offered
    withheld,         ///< there is one, which a scheduled run does not offer: too early, skipped, or not allowed
    notDue,           ///< the feed was not asked: it is too early
    offered,          ///< an update is offered, and was not installed
    launched,         ///< the installer waits for this command to end
    installerOpened,  ///< the installer document of the update was opened
    cancelled,        ///< the user ended the run
    failed,
  };
  /// The entry that is offered, or withheld.
  struct Offer {
    std::string identifier;
    std::string version;
    std::string build;
    std::string title;
    bool isBeta = false;
  };
  struct Error {
    /// One word, by which scripts know it.
    std::string code;
    std::string message;
  };
  /// How the attempt before this run failed.
  struct PreviousFailure {
    /// The installer's own words, or "noReport".
    std::string description;
    std::optional<QuillonDate> failedAt;
    /// The version that was to be installed; empty when it is unknown.
    std::string version;
  };

  Result result = Result::failed;
  std::string identifier;
  std::string version;
  std::int64_t build = 0;
  std::optional<Offer> offer;
  std::optional<Error> error;
  std::optional<PreviousFailure> previousFailure;
  /// When a scheduled run asks the feed again.
  std::optional<QuillonDate> nextCheck;

  [[nodiscard]] QuillonToolExitStatus exitStatus() const noexcept;
  [[nodiscard]] QuillonToolJSONObject json() const;
};

/// The result's name in JSON, equal to the enumerator's.
[[nodiscard]] std::string_view name(UpdateOutcome::Result result) noexcept;

/// In the form of ISO 8601; absent for years that the form has no room for.
[[nodiscard]] std::optional<std::string> dateText(const std::optional<QuillonDate>& date);

}  // namespace quillon
