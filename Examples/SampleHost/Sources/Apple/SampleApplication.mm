#include "SampleApplication.h"

#import <AppKit/AppKit.h>

#include <memory>
#include <utility>

#import "Apple/SampleApplicationDelegate.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"

namespace sample {

int runSampleApplication(const HostInformation& host) {
  @autoreleasepool {
    NSApplication* const application = [NSApplication sharedApplication];
    const auto delegate = quillon::QuillonObjectReference<SampleApplicationDelegate>::adopt(
        [[SampleApplicationDelegate alloc] initWithHost:host]);
    [application setDelegate:delegate.get()];
    [application setActivationPolicy:NSApplicationActivationPolicyRegular];
    [application run];  // until `terminate:`, which ends the process
  }
  return 0;
}

}  // namespace sample
