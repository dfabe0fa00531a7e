#pragma once

#import <Foundation/Foundation.h>

#include <optional>

#include "QuillonCore/Network/QuillonURLSessionTransfer.h"
#include "QuillonCore/Values/QuillonURLRequest.h"
#include "QuillonCore/Values/QuillonURLResponse.h"

namespace quillon {

// Values of this system and objects of the URL loading system. Objects that are returned belong to the autorelease
// pool. What a session calls throws nothing, as no exception may pass through it: without memory the process ends.

/// A GET with the platform's cache policy. Nil for a URL, or a header field, that Foundation cannot hold.
[[nodiscard]] NSURLRequest* toNSURLRequest(const QuillonURLRequest& request) noexcept;

/// Absent for a response whose URL QuillonURL::parse refuses.
[[nodiscard]] std::optional<QuillonURLResponse> fromNSURLResponse(NSURLResponse* response) noexcept;

/// Ends `transfer` with `error`, or without one when it is nil.
void endTransfer(QuillonURLSessionTransfer& transfer, NSError* error) noexcept;

}  // namespace quillon
