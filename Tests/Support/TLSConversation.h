#pragma once

#include <openssl/ssl.h>

#include <string>
#include <string_view>

#include "QuillonCore/Runtime/Posix/WriteSignalShield.h"
#include "Support/CertificateMaker.h"
#include "Support/MisbehavingServer.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// What a server needs to speak TLS as "localhost".
class TLSCredentials {
 public:
  /// The protocol that the server takes among those offered, such as "h2"; none when it is empty.
  explicit TLSCredentials(std::string applicationProtocol = {});
  TLSCredentials(const TLSCredentials&) = delete;
  TLSCredentials& operator=(const TLSCredentials&) = delete;

  /// Of the authority that vouches for the certificate.
  [[nodiscard]] std::string certificateAuthorityFile() const { return (folder_ / "authority.pem").string(); }
  [[nodiscard]] SSL_CTX* context() const noexcept { return context_.get(); }

 private:
  const TemporaryDirectory folder_;
  const std::string applicationProtocol_;
  const std::unique_ptr<SSL_CTX, CertificateMakerDeleter<SSL_CTX_free>> context_;
};

/// The server's side of one TLS connection. When it goes, the connection is cut off: the client is not told that it has
/// heard everything, unless close() has done so.
class TLSConversation {
 public:
  /// Shakes hands over `connection`.
  TLSConversation(const TLSCredentials& credentials, const MisbehavingServer::Connection& connection);
  TLSConversation(const TLSConversation&) = delete;
  TLSConversation& operator=(const TLSConversation&) = delete;

  /// Up to `end`, or what came before the client closed.
  std::string readUntil(std::string_view end);
  /// False when the client is gone.
  bool send(std::string_view bytes);
  void close();

 private:
  const WriteSignalShield shield_;
  const std::unique_ptr<SSL, CertificateMakerDeleter<SSL_free>> session_;
};

}  // namespace quillon::testing
