// What this system calls of ServiceManagement, for a cross build whose platform headers lack the framework. Written
// from the framework's public documentation; a Mac has the framework itself, and this file is not used there.

#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Authorization.h>

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXTERN_C_BEGIN

extern const CFStringRef kSMDomainUserLaunchd;
extern const CFStringRef kSMDomainSystemLaunchd;

Boolean SMJobSubmit(CFStringRef domain, CFDictionaryRef job, AuthorizationRef auth, CFErrorRef* outError)
    API_DEPRECATED("SMJobSubmit has no replacement for one-shot jobs", macos(10.6, 10.10));
Boolean SMJobRemove(CFStringRef domain, CFStringRef jobLabel, AuthorizationRef auth, Boolean wait, CFErrorRef* outError)
    API_DEPRECATED("SMJobRemove has no replacement for one-shot jobs", macos(10.6, 10.10));

CF_EXTERN_C_END

CF_IMPLICIT_BRIDGING_DISABLED
