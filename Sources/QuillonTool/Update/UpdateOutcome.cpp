#include "QuillonTool/Update/UpdateOutcome.h"

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

using Object = QuillonToolJSONObject;

template <typename Value, typename Describe>
void addOptional(Object& object, std::string_view key, const std::optional<Value>& value, const Describe& describe) {
  if (value) {
    object.withObject(key, describe(*value));
  } else {
    object.with(key, std::nullopt);
  }
}

Object describeOffer(const UpdateOutcome::Offer& offer) {
  Object object;
  object.with("identifier", offer.identifier).with("version", offer.version).with("build", offer.build);
  return object.with("title", offer.title).withBool("isBeta", offer.isBeta);
}

Object describeError(const UpdateOutcome::Error& error) {
  return Object().with("code", error.code).with("message", error.message);
}

Object describeFailure(const UpdateOutcome::PreviousFailure& failure) {
  return Object()
      .with("description", failure.description)
      .with("failedAt", dateText(failure.failedAt))
      .with("version", failure.version);
}

}  // namespace

QuillonToolExitStatus UpdateOutcome::exitStatus() const noexcept {
  switch (result) {
    case Result::upToDate:
    case Result::withheld:
    case Result::notDue:
    case Result::launched:
    case Result::installerOpened:
      return kToolSuccess;
    case Result::offered:
      return kToolUpdateOffered;
    case Result::cancelled:
      return kToolCancelled;
    case Result::failed:
      break;
  }
  return kToolFailure;
}

Object UpdateOutcome::json() const {
  Object object;
  object.with("result", name(result)).with("identifier", identifier).with("version", version);
  object.withNumber("build", build);
  addOptional(object, "offer", offer, describeOffer);
  addOptional(object, "error", error, describeError);
  addOptional(object, "previousFailure", previousFailure, describeFailure);
  return object.with("nextCheck", dateText(nextCheck));
}

std::string_view name(UpdateOutcome::Result result) noexcept {
  using Result = UpdateOutcome::Result;
  switch (result) {
    case Result::upToDate:
      return "upToDate";
    case Result::withheld:
      return "withheld";
    case Result::notDue:
      return "notDue";
    case Result::offered:
      return "offered";
    case Result::launched:
      return "launched";
    case Result::installerOpened:
      return "installerOpened";
    case Result::cancelled:
      return "cancelled";
    case Result::failed:
      return "failed";
  }
  return {};
}

std::optional<std::string> dateText(const std::optional<QuillonDate>& date) {
  if (!date) return std::nullopt;
  try {
    return propertyListDateText(*date);
  } catch (const QuillonError&) {
    return std::nullopt;
  }
}

}  // namespace quillon
