#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillon::testing {

/// What a test wants of an authority's certificate. Its root is made with it.
struct TimestampAuthorityRequest {
  std::string organization = "Example Time";
  std::string keyUsage = "critical,digitalSignature";
  std::string extendedKeyUsage = "critical,timeStamping";
  /// When the certificate ends, from this moment on; it begins two days before this moment.
  std::chrono::seconds remainingValidity = std::chrono::hours(365 * 24);
  /// Whether its own key is an RSA key; that of the root is not.
  bool isRSA = false;
};

/// What a test wants of one token.
struct TimestampRequest {
  std::chrono::sys_seconds time =
      std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - std::chrono::hours(1);
  /// Instead of `time`, as it shall stand in the token.
  std::string timeText = {};
  /// In dotted decimals.
  std::string contentType = "1.2.840.113549.1.9.16.1.4";
  char version = 1;
  /// Digest of the signature value, by OpenSSL's name.
  std::string imprintDigest = "SHA256";
  bool hasWrongImprint = false;
  /// What follows the time in the content, in DER: accuracy, ordering, nonce, name, extensions.
  std::string rest = {};
  /// Digest of the authority's own signature, by OpenSSL's name.
  std::string digest = "SHA256";
  /// Adds the attribute that names the authority's certificate: its first version with SHA-1, else its second.
  bool namesCertificate = true;
  /// One more signed attribute: its type in dotted decimals, and its value, the DER of a SEQUENCE.
  std::string attributeType = {};
  std::string attributeValue = {};
  bool hasUnsignedAttribute = false;
  bool includesRoot = true;
  /// One more certificate, in PEM.
  std::string superfluousCertificate = {};
};

/// An authority that makes time-stamp tokens (RFC 3161), and wrong ones.
class TimestampAuthority {
 public:
  explicit TimestampAuthority(const TimestampAuthorityRequest& request = {});
  ~TimestampAuthority();
  TimestampAuthority(const TimestampAuthority&) = delete;
  TimestampAuthority& operator=(const TimestampAuthority&) = delete;

  /// A token over `signatureValue`. Throws std::runtime_error.
  [[nodiscard]] std::string token(std::string_view signatureValue, const TimestampRequest& request = {}) const;

  /// The authority's certificate and its root, in DER.
  [[nodiscard]] std::string certificate() const;
  [[nodiscard]] std::string root() const;

  /// The authority that all tests of a process share, where any will do.
  [[nodiscard]] static const TimestampAuthority& shared();

 private:
  struct Content;
  std::unique_ptr<Content> content_;
};

/// The signature value of a message.
[[nodiscard]] std::string signatureValueOf(std::string_view message);

/// `message` with a token over its signature value.
[[nodiscard]] std::string timestampedMessage(std::string_view message, const TimestampAuthority& authority,
                                             const TimestampRequest& request = {});

/// `message` with one more unsigned attribute: its type in dotted decimals, and its value, the DER of a SEQUENCE.
[[nodiscard]] std::string messageWithUnsignedAttribute(std::string_view message, const std::string& type,
                                                       std::string_view value);

}  // namespace quillon::testing
