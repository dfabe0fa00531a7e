// The promises of a store of settings, held by the one of Linux and by the one that tests fill.

#include <memory>

#include "Contracts/QuillonKeyValueStoringContract.h"
#include "QuillonCore/Runtime/Linux/QuillonLinuxUserDefaults.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "Support/FakeKeyValueStore.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

using testing::FakeKeyValueStore;
using testing::KeyValueStoreImplementation;
using testing::KeyValueStoreWorld;
using testing::TemporaryDirectory;

KeyValueStoreWorld makeLinuxUserDefaults() {
  auto folder = std::make_shared<TemporaryDirectory>();
  auto store = std::make_shared<QuillonLinuxUserDefaults>(std::make_shared<QuillonPosixFileManager>(),
                                                          QuillonURL::fileURL((*folder / "settings").string()));
  return {.surroundings = folder, .store = store};
}

KeyValueStoreWorld makeFake() {
  return {.surroundings = nullptr, .store = std::make_shared<FakeKeyValueStore>()};
}

INSTANTIATE_TEST_SUITE_P(Stores, QuillonKeyValueStoringContract,
                         ::testing::Values(KeyValueStoreImplementation{"LinuxUserDefaults", makeLinuxUserDefaults},
                                           KeyValueStoreImplementation{"Fake", makeFake}),
                         [](const auto& testCase) { return testCase.param.name; });

}  // namespace
}  // namespace quillon
