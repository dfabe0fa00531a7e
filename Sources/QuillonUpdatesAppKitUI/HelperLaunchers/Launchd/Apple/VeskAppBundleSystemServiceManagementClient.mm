#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Apple/VeskAppBundleSystemServiceManagementClient.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>
#import <ServiceManagement/ServiceManagement.h>

#include <cerrno>

#import "QuillonCore/Runtime/Apple/QuillonCoreFoundationReference.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"

// Deprecated without a replacement for a job that runs once and is not installed.
#pragma clang diagnostic ignored "-Wdeprecated-declarations"

namespace quillon {
namespace {

CFStringRef domainOf(const VeskAppBundleLaunchdJob& job) noexcept {
  switch (job.domain) {
    case VeskAppBundleLaunchdJobDomain::user:
      return kSMDomainUserLaunchd;
    case VeskAppBundleLaunchdJobDomain::system:
      return kSMDomainSystemLaunchd;
  }
}

AuthorizationRef systemRef(VeskAppBundleAuthorizationRef authorizationRef) noexcept {
  return reinterpret_cast<AuthorizationRef>(authorizationRef);
}

QuillonSystemError errorOf(CFErrorRef error) {
  const auto description = QuillonCoreFoundationReference<CFStringRef>::adopt(CFErrorCopyDescription(error));
  return {fromNSString((__bridge NSString*)CFErrorGetDomain(error)).value_or(""), CFErrorGetCode(error),
          fromNSString((__bridge NSString*)description.get()).value_or("")};
}

}  // namespace

void VeskAppBundleSystemServiceManagementClient::removeJob(const VeskAppBundleLaunchdJob& job,
                                                           VeskAppBundleAuthorizationRef authorizationRef) noexcept {
  @autoreleasepool {
    NSString* const label = toNSString(job.label);
    if (label == nil) return;
    SMJobRemove(domainOf(job), (__bridge CFStringRef)label, systemRef(authorizationRef), true, nullptr);
  }
}

VeskAppBundleServiceManagementClient::Submission VeskAppBundleSystemServiceManagementClient::submitJob(
    const VeskAppBundleLaunchdJob& job, VeskAppBundleAuthorizationRef authorizationRef) {
  @autoreleasepool {
    NSDictionary* const dictionary = toNSDictionary(job.launchdDictionary());
    if (dictionary == nil) return {.error = QuillonSystemError::posix(EILSEQ, "describe the job", job.label)};
    CFErrorRef error = nullptr;
    const bool wasTaken =
        SMJobSubmit(domainOf(job), (__bridge CFDictionaryRef)dictionary, systemRef(authorizationRef), &error) != 0;
    const auto owned = QuillonCoreFoundationReference<CFErrorRef>::adopt(error);
    if (wasTaken || !owned) return {.wasTaken = wasTaken, .error = std::nullopt};
    return {.wasTaken = false, .error = errorOf(owned.get())};
  }
}

}  // namespace quillon
