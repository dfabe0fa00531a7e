#include "QuillonTool/FeedExplain/FeedCheckContext.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonCore/Runtime/QuillonSystemCalendar.h"
#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonTool/FeedExplain/FeedDateText.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::string_view kAppVersion = "--app-version";
constexpr std::string_view kAppBuild = "--app-build";
constexpr std::string_view kOS = "--os";
constexpr std::string_view kLanguage = "--language";
constexpr std::string_view kSKU = "--sku";
constexpr std::string_view kBeta = "--beta";
constexpr std::string_view kManual = "--manual";
constexpr std::string_view kStaggerGroup = "--stagger-group";
constexpr std::string_view kNow = "--now";
constexpr std::string_view kLastShown = "--last-shown";
constexpr std::string_view kReminderHours = "--reminder-hours";
constexpr std::string_view kStoredIdentifier = "--stored-id";
constexpr std::string_view kResetStoredIdentifier = "--reset-stored-id";
constexpr std::string_view kNoProcessing = "--no-processing";
constexpr std::string_view kBypass = "--bypass";

/// More hours are more seconds than hosts can count.
constexpr std::int64_t kMostReminderHours = std::numeric_limits<std::int64_t>::max() / 3600;

std::int64_t numberOf(std::string_view option, const std::string& text) {
  const auto number = decimalNumber<std::int64_t>(text);
  if (!number) {
    throw QuillonToolUsageError(
        std::string(option).append(" is \"").append(text).append("\"; write a whole number, in digits only."));
  }
  return *number;
}

std::optional<QuillonDate> dateOf(const QuillonToolArguments& arguments, std::string_view option) {
  const std::optional<std::string> text = arguments.value(option);
  if (!text) return std::nullopt;
  const std::optional<QuillonDate> date = feedDate(*text, *makeSystemCalendar());
  if (!date) {
    throw QuillonToolUsageError(std::string(option).append(" is \"").append(*text).append(
        "\"; write a date as 2024-06-10 or 2024-06-10T12:00:00Z."));
  }
  return date;
}

std::int64_t reminderHours(const QuillonToolArguments& arguments) {
  const std::int64_t hours = numberOf(kReminderHours, arguments.value(kReminderHours).value_or("0"));
  if (hours > kMostReminderHours) {
    throw QuillonToolUsageError(std::string(kReminderHours) + " is more seconds than 64 bits hold; write fewer hours.");
  }
  return hours;
}

VeskUpdateFeedApplicabilityContext applicabilityContext(const QuillonToolArguments& arguments, QuillonDate now) {
  VeskUpdateFeedApplicabilityContext context;
  context.appVersion = arguments.requiredValue(kAppVersion);
  context.appBuild = numberOf(kAppBuild, arguments.requiredValue(kAppBuild));
  context.currentOSVersion = arguments.requiredValue(kOS);
  context.preferredLanguageCode = arguments.value(kLanguage);
  context.acceptedSKUs.insert(arguments.values(kSKU).begin(), arguments.values(kSKU).end());
  context.canProcessUpdateFeeds = !arguments.has(kNoProcessing);
  context.isManualCheck = arguments.has(kManual);
  context.checkForBetaReleasesEnabled = arguments.has(kBeta);
  context.shouldApplyUserStaggering = arguments.has(kStaggerGroup);
  context.userStaggerGroup = numberOf(kStaggerGroup, arguments.value(kStaggerGroup).value_or("0"));
  context.now = now;
  context.debugBypassApplicabilityChecks = arguments.has(kBypass);
  return context;
}

}  // namespace

std::vector<QuillonToolOption> feedCheckOptions() {
  using Kind = QuillonToolOption::Kind;
  return {{.name = kAppVersion, .kind = Kind::withValue},
          {.name = kAppBuild, .kind = Kind::withValue},
          {.name = kOS, .kind = Kind::withValue},
          {.name = kLanguage, .kind = Kind::withValue},
          {.name = kSKU, .kind = Kind::withValues},
          {.name = kBeta},
          {.name = kManual},
          {.name = kStaggerGroup, .kind = Kind::withValue},
          {.name = kNow, .kind = Kind::withValue},
          {.name = kLastShown, .kind = Kind::withValue},
          {.name = kReminderHours, .kind = Kind::withValue},
          {.name = kStoredIdentifier, .kind = Kind::withValue},
          {.name = kResetStoredIdentifier},
          {.name = kNoProcessing},
          {.name = kBypass}};
}

FeedCheckContext readFeedCheckContext(const QuillonToolArguments& arguments, QuillonDate clock) {
  FeedCheckContext context;
  context.applicability = applicabilityContext(arguments, dateOf(arguments, kNow).value_or(clock));
  context.display.appVersion = context.applicability.appVersion;
  context.display.canProcessUpdateFeeds = context.applicability.canProcessUpdateFeeds;
  context.display.now = context.applicability.now;
  context.display.lastNewsDisplayedDate = dateOf(arguments, kLastShown);
  context.display.checkUpdatesAfterHours = reminderHours(arguments);
  context.display.isManualCheck = context.applicability.isManualCheck;
  context.display.storedFeedIdentifier = arguments.value(kStoredIdentifier);
  context.display.shouldResetStoredFeedIdentifier = arguments.has(kResetStoredIdentifier);
  return context;
}

}  // namespace quillon
