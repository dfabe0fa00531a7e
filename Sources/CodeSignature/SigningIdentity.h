#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon {

/// A private key with its certificate chain. Copies share the key, which is never changed.
class SigningIdentity {
 public:
  /// Reads a key and certificates from PEM texts. The certificates may stand in any order; the chain must reach a
  /// self-signed root, and the certificate of the key must be made for code signing. Throws QuillonError.
  [[nodiscard]] static SigningIdentity fromPEM(std::string_view key, std::string_view certificates);

  /// As `fromPEM`, from files. Throws QuillonError and QuillonSystemError.
  [[nodiscard]] static SigningIdentity load(const QuillonURL& keyFile, const QuillonURL& certificateFile);

  /// The key's certificate first, the root last, in DER.
  [[nodiscard]] const std::vector<std::string>& certificateChain() const noexcept;
  /// Organizational unit of the key's certificate, which is the team of what it signs; empty when it has none.
  [[nodiscard]] const std::string& team() const noexcept;

  struct Content;
  /// For the code that makes the signature; OpenSSL types stay out of public headers.
  [[nodiscard]] const Content& content() const noexcept { return *content_; }

 private:
  explicit SigningIdentity(std::shared_ptr<const Content> content) : content_(std::move(content)) {}

  std::shared_ptr<const Content> content_;
};

}  // namespace quillon
