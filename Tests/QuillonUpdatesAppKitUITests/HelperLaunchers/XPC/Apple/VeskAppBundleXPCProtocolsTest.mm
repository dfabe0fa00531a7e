#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"

#include <gtest/gtest.h>
#import <objc/runtime.h>

#include <string>

namespace quillon {
namespace {

std::string nameOf(Protocol* protocol) { return [NSStringFromProtocol(protocol) UTF8String]; }

/// The types of the message as the compiler encodes them; empty when the protocol does not have it.
std::string typesOf(Protocol* protocol, SEL message) {
  const char* const types = protocol_getMethodDescription(protocol, message, YES, YES).types;
  return types == nullptr ? "" : types;
}

TEST(VeskAppBundleXPCProtocolsTest, TheServiceOffersAMessageWithADictionaryAndAReply) {
  @autoreleasepool {
    Protocol* const protocol = [makeInterface() protocol];

    EXPECT_EQ(nameOf(protocol), "VeskAppBundleInstallerLauncherXPCProtocol");
    EXPECT_EQ(typesOf(protocol, @selector(launchReplacementWithMessage:reply:)), "v32@0:8@16@?24");
  }
}

TEST(VeskAppBundleXPCProtocolsTest, TheHostOffersAMessageWithADictionary) {
  @autoreleasepool {
    Protocol* const protocol = [makeProgressInterface() protocol];

    EXPECT_EQ(nameOf(protocol), "VeskAppBundleInstallerLauncherProgressXPCProtocol");
    EXPECT_EQ(typesOf(protocol, @selector(reportProgress:)), "v24@0:8@16");
  }
}

TEST(VeskAppBundleXPCProtocolsTest, NeitherOffersTheMessageOfTheOther) {
  @autoreleasepool {
    EXPECT_EQ(typesOf([makeInterface() protocol], @selector(reportProgress:)), "");
    EXPECT_EQ(typesOf([makeProgressInterface() protocol], @selector(launchReplacementWithMessage:reply:)), "");
  }
}

}  // namespace
}  // namespace quillon
