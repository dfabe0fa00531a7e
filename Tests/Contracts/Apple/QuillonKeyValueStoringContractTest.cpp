// The promises of a store of settings, held by the user's defaults.

#include <memory>
#include <utility>

#include "Contracts/QuillonKeyValueStoringContract.h"
#include "QuillonCore/Runtime/Apple/QuillonAppleUserDefaults.h"
#include "Support/Apple/ScopedUserDefaults.h"

namespace quillon {
namespace {

testing::KeyValueStoreWorld makeUserDefaults() {
  auto settings = std::make_shared<testing::ScopedUserDefaults>();
  auto store = std::make_shared<QuillonAppleUserDefaults>(settings->identifier());
  return {.surroundings = std::move(settings), .store = std::move(store)};
}

INSTANTIATE_TEST_SUITE_P(Apple, QuillonKeyValueStoringContract,
                         ::testing::Values(testing::KeyValueStoreImplementation{"UserDefaults", makeUserDefaults}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
