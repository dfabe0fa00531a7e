#include "QuillonTool/Update/UpdateOptions.h"

#include <cstdint>

#include "QuillonCore/Text/DecimalNumber.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::string_view kFeed = "--feed";
constexpr std::string_view kCheck = "--check";
constexpr std::string_view kScheduled = "--scheduled";
constexpr std::string_view kYes = "--yes";
constexpr std::string_view kBeta = "--beta";
constexpr std::string_view kNoBeta = "--no-beta";
constexpr std::string_view kSKU = "--sku";
constexpr std::string_view kWait = "--wait";
constexpr std::string_view kJSON = "--json";
constexpr std::string_view kLog = "--log";

constexpr std::uint32_t kLongestWaitSeconds = 1'000'000;

std::optional<QuillonURL> feedOption(const QuillonToolArguments& arguments) {
  const std::optional<std::string> text = arguments.value(kFeed);
  if (!text) return std::nullopt;
  std::optional<QuillonURL> url = QuillonURL::parse(*text);
  if (!url) {
    throw QuillonToolUsageError("--feed is \"" + *text + "\"; write a URL, as https://example.org/feed.plist.");
  }
  return url;
}

std::optional<bool> betaOption(const QuillonToolArguments& arguments) {
  if (arguments.has(kBeta) && arguments.has(kNoBeta)) {
    throw QuillonToolUsageError("--beta and --no-beta exclude each other; give one of them.");
  }
  if (arguments.has(kBeta)) return true;
  return arguments.has(kNoBeta) ? std::optional(false) : std::nullopt;
}

std::optional<std::chrono::seconds> waitOption(const QuillonToolArguments& arguments) {
  const std::optional<std::string> text = arguments.value(kWait);
  if (!text) return std::nullopt;
  const auto seconds = decimalNumber<std::uint32_t>(*text);
  if (!seconds || *seconds > kLongestWaitSeconds) {
    throw QuillonToolUsageError("--wait is \"" + *text + "\"; write seconds, from 0 to 1000000.");
  }
  return std::chrono::seconds(*seconds);
}

}  // namespace

std::vector<QuillonToolOption> updateOptions() {
  using Kind = QuillonToolOption::Kind;
  return {{.name = kFeed, .kind = Kind::withValue},
          {.name = kCheck},
          {.name = kScheduled},
          {.name = kYes},
          {.name = kBeta},
          {.name = kNoBeta},
          {.name = kSKU, .kind = Kind::withValues},
          {.name = kWait, .kind = Kind::withValue},
          {.name = kJSON},
          {.name = kLog, .kind = Kind::withValue}};
}

UpdateOptions readUpdateOptions(const QuillonToolArguments& arguments) {
  const std::optional<std::string> logFile = arguments.value(kLog);
  return {.bundle = fileOperand(arguments, "APP"),
          .feed = feedOption(arguments),
          .onlyChecks = arguments.has(kCheck),
          .isScheduled = arguments.has(kScheduled),
          .answersYes = arguments.has(kYes),
          .betaPreference = betaOption(arguments),
          .skus = arguments.values(kSKU),
          .quitLimit = waitOption(arguments),
          .isJSON = arguments.has(kJSON),
          .logFile = logFile ? std::optional(fileAt(*logFile, kLog)) : std::nullopt};
}

}  // namespace quillon
