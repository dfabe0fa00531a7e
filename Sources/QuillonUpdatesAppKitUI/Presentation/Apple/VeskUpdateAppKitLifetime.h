#pragma once

#import <Foundation/Foundation.h>

namespace quillon {

/// Keeps `object`, which may be nil, until the application is done with the event at hand: what lets a window go can be
/// a call from one of its own views.
void keepUntilEventEnds(id object) noexcept;

}  // namespace quillon
