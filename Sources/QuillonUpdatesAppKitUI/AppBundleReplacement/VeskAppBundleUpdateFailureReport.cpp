#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskAppBundleUpdateFailureReport.h"

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"
#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {
namespace {

constexpr std::string_view kErrorDescription = "errorDescription";
constexpr std::string_view kFailedAt = "failedAt";
constexpr std::string_view kAttemptIdentifier = "attemptIdentifier";

}  // namespace

std::string VeskAppBundleUpdateFailureReport::encoded() const {
  QuillonPropertyListValue::Dictionary dictionary;
  dictionary.emplace(kErrorDescription, QuillonPropertyListValue(errorDescription));
  dictionary.emplace(kFailedAt, QuillonPropertyListValue(failedAt));
  if (attemptIdentifier) dictionary.emplace(kAttemptIdentifier, QuillonPropertyListValue(*attemptIdentifier));
  return writeBinaryPropertyList(QuillonPropertyListValue(std::move(dictionary)));
}

VeskAppBundleUpdateFailureReport VeskAppBundleUpdateFailureReport::decoded(std::string_view bytes) {
  const QuillonPropertyListValue list = readPropertyList(bytes);
  const auto* const description = list.find(kErrorDescription);
  const auto* const date = list.find(kFailedAt);
  if (description == nullptr || description->getIf<std::string>() == nullptr) {
    throw QuillonError("The failure report has no text for \"errorDescription\"");
  }
  if (date == nullptr || date->getIf<QuillonPropertyListDate>() == nullptr) {
    throw QuillonError("The failure report has no date for \"failedAt\"");
  }
  VeskAppBundleUpdateFailureReport report{
      .errorDescription = *description->getIf<std::string>(),
      .failedAt = *date->getIf<QuillonPropertyListDate>(),
      .attemptIdentifier = std::nullopt,
  };
  if (const auto* const attempt = list.find(kAttemptIdentifier)) {
    const auto* const text = attempt->getIf<std::string>();
    if (text == nullptr) throw QuillonError("The failure report's \"attemptIdentifier\" is no text");
    report.attemptIdentifier = *text;
  }
  return report;
}

}  // namespace quillon
