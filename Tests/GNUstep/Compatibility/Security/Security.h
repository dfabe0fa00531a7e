#pragma once

#import <CoreFoundation/CoreFoundation.h>

#include <cstdint>

/// "status -60005" for the status of a denied authorization; null for any other, as where the system has no text. The
/// caller owns it.
CFStringRef SecCopyErrorMessageString(std::int32_t status, void* reserved);
