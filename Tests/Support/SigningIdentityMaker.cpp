#include "Support/SigningIdentityMaker.h"

#include "Support/CertificateMaker.h"

namespace quillon::testing {

MadeSigningIdentity makeSigningIdentity(const SigningIdentityRequest& request) {
  const MadeKey rootKey = makeKey(request.isRSA);
  const MadeKey key = makeKey(request.isRSA);
  const MadeCertificate root = makeRootCertificate(rootKey, request.organization);
  CertificateRequest leafRequest{.commonName = request.commonName,
                                 .organization = request.organization,
                                 .organizationalUnit = request.organizationalUnit,
                                 .extendedKeyUsage = request.isForCodeSigning ? "critical,codeSigning" : "serverAuth"};
  if (request.isExpired) leafRequest.remainingValidity = -std::chrono::minutes(1);
  const MadeCertificate leaf = makeLeafCertificate(key, root, rootKey, leafRequest);
  MadeSigningIdentity made{.key = pemOf(key), .certificates = pemOf(leaf), .root = pemOf(root)};
  if (request.includesRoot) made.certificates += made.root;
  return made;
}

const MadeSigningIdentity& sharedSigningIdentity() {
  static const MadeSigningIdentity kShared = makeSigningIdentity();
  return kShared;
}

const MadeSigningIdentity& sharedRSASigningIdentity() {
  static const MadeSigningIdentity kShared = makeSigningIdentity({.isRSA = true});
  return kShared;
}

}  // namespace quillon::testing
