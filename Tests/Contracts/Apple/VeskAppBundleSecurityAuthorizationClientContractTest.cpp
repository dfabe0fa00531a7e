// The promises of an authorization client, held by the system's. To be run by an ordinary user who has not just given a
// password: without a dialog the management right then needs one. One test leaves "org.example.right" in the policy
// database (`security authorizationdb remove org.example.right`).

#include <Security/Authorization.h>

#include <memory>
#include <optional>

#include "Contracts/VeskAppBundleSecurityAuthorizationClientContract.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/Launchd/Apple/VeskAppBundleSystemAuthorizationClient.h"

namespace quillon {
namespace {

INSTANTIATE_TEST_SUITE_P(Apple, VeskAppBundleSecurityAuthorizationClientContract,
                         ::testing::Values(testing::AuthorizationImplementation{
                             "AuthorizationServices", std::nullopt, errAuthorizationInteractionNotAllowed,
                             [] {
                               return testing::AuthorizationWorld{
                                   .surroundings = nullptr,
                                   .client = std::make_shared<VeskAppBundleSystemAuthorizationClient>()};
                             }}),
                         [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace quillon
