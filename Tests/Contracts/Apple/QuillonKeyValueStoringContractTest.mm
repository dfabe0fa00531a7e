// The promises of a store of settings, held by the user's defaults.

#import <Foundation/Foundation.h>

#include <memory>
#include <string>

#include "Contracts/QuillonKeyValueStoringContract.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleUserDefaults.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#include "QuillonCore/Values/QuillonUUID.h"

namespace quillon {
namespace {

/// Settings of an application that exists for one test.
struct ScopedSettings {
  ScopedSettings() = default;
  ~ScopedSettings() {
    @autoreleasepool {
      [[NSUserDefaults standardUserDefaults] removePersistentDomainForName:toNSString(identifier)];
    }
  }
  ScopedSettings(const ScopedSettings&) = delete;
  ScopedSettings& operator=(const ScopedSettings&) = delete;

  const std::string identifier = "io.quillon.tests." + makeUUIDString();
};

testing::KeyValueStoreWorld makeUserDefaults() {
  auto settings = std::make_shared<ScopedSettings>();
  auto store = std::make_shared<QuillonAppleUserDefaults>(settings->identifier);
  return {.surroundings = std::move(settings), .store = std::move(store)};
}

INSTANTIATE_TEST_SUITE_P(Apple, QuillonKeyValueStoringContract,
                         ::testing::Values(testing::KeyValueStoreImplementation{"UserDefaults", makeUserDefaults}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
