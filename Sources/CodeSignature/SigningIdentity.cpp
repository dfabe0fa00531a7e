#include "CodeSignature/SigningIdentity.h"

#include <openssl/pem.h>

#include <algorithm>

#include "CodeSignature/CertificateChain.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/FileOpening.h"
#include "CodeSignature/SigningIdentityContent.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::size_t kFileLimit = 1 << 20;

/// Keys protected by a passphrase are not for unattended signing: nothing is asked for.
int refusePassphrase(char*, int, int, void*) {
  return -1;
}

KeyHandle readKey(std::string_view pem) {
  const BIOHandle input = bioOver(pem);
  KeyHandle key(PEM_read_bio_PrivateKey(input.get(), nullptr, refusePassphrase, nullptr));
  if (!key) throw QuillonError("The key file holds no private key in PEM form, or one with a passphrase");
  return key;
}

std::vector<CertificateHandle> readCertificates(std::string_view pem) {
  const BIOHandle input = bioOver(pem);
  std::vector<CertificateHandle> certificates;
  while (CertificateHandle certificate{PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr)}) {
    certificates.push_back(std::move(certificate));
  }
  return certificates;
}

/// Leaf first, root last; what is not part of the chain is left out.
std::vector<std::string> orderedChain(const std::string& leaf, const std::vector<CertificateHandle>& certificates) {
  TrustAnchors pool;  // as anchors they may be superfluous
  for (const CertificateHandle& certificate : certificates) {
    pool.certificates.push_back(derOf(certificate.get(), i2d_X509));
  }
  try {
    std::vector<std::string> chain;
    for (CertificateFacts& facts : buildCertificateChain(leaf, {}, pool, std::nullopt).certificates) {
      chain.push_back(std::move(facts.der));
    }
    return chain;
  } catch (const CodeSignatureError&) {
    throw QuillonError(
        "The certificate file holds no complete chain from a code signing certificate to its self-signed root");
  }
}

std::string readFile(const QuillonURL& file) {
  const FileDescriptor descriptor(open(file.path().c_str(), O_RDONLY | O_CLOEXEC));
  if (descriptor.get() < 0) throw QuillonSystemError::posix(errno, "open", file.path());
  return readWholeFile(descriptor, kFileLimit);
}

}  // namespace

SigningIdentity SigningIdentity::fromPEM(std::string_view key, std::string_view certificates) {
  auto content = std::make_shared<Content>();
  content->key = readKey(key);
  std::vector<CertificateHandle> all = readCertificates(certificates);
  const auto leaf = std::ranges::find_if(all, [&content](const CertificateHandle& certificate) {
    return X509_check_private_key(certificate.get(), content->key.get()) == 1;
  });
  if (leaf == all.end()) throw QuillonError("The certificate file holds no certificate of the private key");
  content->chain = orderedChain(derOf(leaf->get(), i2d_X509), all);
  for (const std::string& der : content->chain) {
    const unsigned char* position = openSSLBytes(der);
    content->certificates.emplace_back(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
  }
  content->team = certificateFacts(content->chain.front()).subjectValue("OU").value_or(std::string());
  return SigningIdentity(std::move(content));
}

SigningIdentity SigningIdentity::load(const QuillonURL& keyFile, const QuillonURL& certificateFile) {
  return fromPEM(readFile(keyFile), readFile(certificateFile));
}

const std::vector<std::string>& SigningIdentity::certificateChain() const noexcept {
  return content_->chain;
}

const std::string& SigningIdentity::team() const noexcept {
  return content_->team;
}

}  // namespace quillon
