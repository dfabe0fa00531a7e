#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"

#include <limits>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageFields.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCMessageRefusal.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResultKeys.h"

namespace quillon {
namespace {

using Diagnostic = VeskAppBundleInstallerFailureDiagnostic;
using Fields = VeskAppBundleXPCMessageFields;
using Keys = VeskAppBundleXPCReplacementResultKeys;
using Phase = VeskAppBundleInstallerLaunchPhase;
using Result = VeskAppBundleReplacementLaunchResult;
using Value = QuillonPropertyListValue;

constexpr std::string_view kStatusDomain = "NSOSStatusErrorDomain";
constexpr std::string_view kInvalidReplyDomain = "Quillon.XPCReply";
constexpr std::string_view kInvalidReplyDescription = "The launcher service returned an invalid result.";

/// Adds what a result carries to its reply.
class PayloadWriter {
 public:
  PayloadWriter(Value::Dictionary& reply, const VeskAppBundleStatusMessage& messageOfStatus)
      : reply_(reply), messageOfStatus_(messageOfStatus) {}

  void operator()(const Result::LaunchFailed& failure) const { add(failure.diagnostic); }
  void operator()(const Result::ProtocolFailure& failure) const { add(failure.diagnostic); }
  void operator()(const Result::AuthorizationDenied& failure) const { addStatus(failure.status); }
  void operator()(const Result::AuthorizationCancelled& failure) const { addStatus(failure.status); }
  void operator()(const Result::TimedOut& failure) const { add(failure.phase); }
  void operator()(const Result::Launched&) const {}
  void operator()(const Result::HelperUnavailable&) const {}

 private:
  void add(Phase phase) const { reply_.emplace(Keys::phase, Value(rawValue(phase))); }

  void add(const Diagnostic& diagnostic) const {
    add(diagnostic.phase);
    if (diagnostic.errorDomain) reply_.emplace(Keys::errorDomain, Value(*diagnostic.errorDomain));
    if (diagnostic.errorCode) reply_.emplace(Keys::errorCode, Value(*diagnostic.errorCode));
    if (diagnostic.errorDescription) reply_.emplace(Keys::errorDescription, Value(*diagnostic.errorDescription));
  }

  void addStatus(std::int32_t status) const {
    add(Diagnostic{.phase = Phase::authorization,
                   .errorDomain = std::string(kStatusDomain),
                   .errorCode = status,
                   .errorDescription = messageOfStatus_ ? messageOfStatus_(status) : std::nullopt});
  }

  Value::Dictionary& reply_;
  const VeskAppBundleStatusMessage& messageOfStatus_;
};

Phase readPhase(const Fields& fields) {
  const std::optional<Phase> phase = launchPhaseFromRawValue(fields.requiredString(Keys::phase));
  if (!phase) fields.refuse(Keys::phase, "phase of a launch");
  return *phase;
}

Diagnostic readDiagnostic(const Fields& fields) {
  return {.phase = readPhase(fields),
          .errorDomain = fields.optionalString(Keys::errorDomain),
          .errorCode = fields.optionalResultInteger(Keys::errorCode),
          .errorDescription = fields.optionalString(Keys::errorDescription)};
}

std::int32_t readStatus(const Fields& fields) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (readPhase(fields) != Phase::authorization) fields.refuse(Keys::phase, "phase of an authorization");
  const std::int64_t code = fields.requiredResultInteger(Keys::errorCode);
  if (code < Limits::min() || code > Limits::max()) fields.refuse(Keys::errorCode, "status of 32 bits");
  return static_cast<std::int32_t>(code);
}

}  // namespace

Value::Dictionary xpcDictionary(const Result& result, const VeskAppBundleStatusMessage& messageOfStatus) {
  Value::Dictionary reply;
  reply.emplace(Keys::result, Value(result.caseName()));
  std::visit(PayloadWriter(reply, messageOfStatus), result.value);
  return reply;
}

Result readReplacementLaunchResult(const Value::Dictionary& reply) {
  const Fields fields(reply);
  const std::string& name = fields.requiredString(Keys::result);
  if (name == "launched") return Result::launched();
  if (name == "launchFailed") return Result::launchFailed(readDiagnostic(fields));
  if (name == "helperUnavailable") return Result::helperUnavailable();
  if (name == "protocolFailure") return Result::protocolFailure(readDiagnostic(fields));
  if (name == "authorizationDenied") return Result::authorizationDenied(readStatus(fields));
  if (name == "authorizationCancelled") return Result::authorizationCancelled(readStatus(fields));
  if (name == "timedOut") return Result::timedOut(readPhase(fields));
  fields.refuse(Keys::result, "result of a launch");
}

Result replacementLaunchResult(const Value::Dictionary& reply) noexcept {
  try {
    return readReplacementLaunchResult(reply);
  } catch (const VeskAppBundleXPCMessageRefusal&) {
    return Result::protocolFailure({.phase = Phase::xpcReply,
                                    .errorDomain = std::string(kInvalidReplyDomain),
                                    .errorCode = std::nullopt,
                                    .errorDescription = std::string(kInvalidReplyDescription)});
  }
}

}  // namespace quillon
