#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonPropertyListValue.h"

namespace quillon {

/// Whose service manager runs a job.
enum class VeskAppBundleLaunchdJobDomain : std::uint8_t {
  user,    ///< the calling user's (`kSMDomainUserLaunchd`; the user's systemd)
  system,  ///< the machine's, as root (`kSMDomainSystemLaunchd`; the system's systemd)
};

/// A program that the service manager starts once.
struct VeskAppBundleLaunchdJob {
  /// Unique name of the job in its domain, in reverse-DNS form.
  std::string label;
  VeskAppBundleLaunchdJobDomain domain = VeskAppBundleLaunchdJobDomain::user;
  /// The first is the executable's absolute path.
  std::vector<std::string> programArguments;

  /// The job as launchd.plist(5) describes one: started at once and only once, with the standing of an interactive
  /// program.
  [[nodiscard]] QuillonPropertyListValue::Dictionary launchdDictionary() const;

  friend bool operator==(const VeskAppBundleLaunchdJob&, const VeskAppBundleLaunchdJob&) = default;
};

}  // namespace quillon
