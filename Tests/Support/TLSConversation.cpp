#include "Support/TLSConversation.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace quillon::testing {
namespace {

void require(bool isDone) {
  if (!isDone) throw std::runtime_error("TLS cannot be set up");
}

/// Takes the protocol whose name `wanted` points to, if the client offers it.
int selectProtocol(SSL*, const unsigned char** chosen, unsigned char* length, const unsigned char* offered,
                   unsigned int offeredLength, void* wanted) {
  const std::string& name = *static_cast<const std::string*>(wanted);
  for (unsigned int i = 0; i < offeredLength; i += offered[i] + 1U) {
    const std::string_view entry(reinterpret_cast<const char*>(offered + i + 1), offered[i]);
    if (entry != name) continue;
    *chosen = offered + i + 1;
    *length = offered[i];
    return SSL_TLSEXT_ERR_OK;
  }
  return SSL_TLSEXT_ERR_NOACK;
}

}  // namespace

TLSCredentials::TLSCredentials(std::string applicationProtocol)
    : applicationProtocol_(std::move(applicationProtocol)), context_(SSL_CTX_new(TLS_server_method())) {
  const LocalhostCertificate localhost = makeLocalhostCertificate();
  writeFile(folder_ / "authority.pem", pemOf(localhost.root));
  require(context_ && SSL_CTX_use_certificate(context_.get(), localhost.certificate.get()) == 1 &&
          SSL_CTX_use_PrivateKey(context_.get(), localhost.key.get()) == 1);
  if (!applicationProtocol_.empty()) {
    SSL_CTX_set_alpn_select_cb(context_.get(), selectProtocol, const_cast<std::string*>(&applicationProtocol_));
  }
}

TLSConversation::TLSConversation(const TLSCredentials& credentials, const MisbehavingServer::Connection& connection)
    : session_(SSL_new(credentials.context())) {
  require(session_ && SSL_set_fd(session_.get(), connection.descriptor()) == 1);
  SSL_accept(session_.get());  // where it fails, nothing can be read or sent
}

std::string TLSConversation::readUntil(std::string_view end) {
  std::string bytes;
  char byte = 0;
  while (!bytes.ends_with(end) && SSL_read(session_.get(), &byte, 1) == 1) bytes += byte;
  return bytes;
}

bool TLSConversation::send(std::string_view bytes) {
  return SSL_write(session_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0;
}

void TLSConversation::close() {
  SSL_shutdown(session_.get());
}

}  // namespace quillon::testing
