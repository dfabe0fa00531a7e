#pragma once

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/ts.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <string_view>

namespace quillon {

/// Frees an OpenSSL object with the function that belongs to its type.
template <auto freeObject>
struct OpenSSLDeleter {
  template <typename T>
  void operator()(T* object) const noexcept {
    freeObject(object);
  }
};

using BIOHandle = std::unique_ptr<BIO, OpenSSLDeleter<BIO_free_all>>;
using CMSHandle = std::unique_ptr<CMS_ContentInfo, OpenSSLDeleter<CMS_ContentInfo_free>>;
using DigestContextHandle = std::unique_ptr<EVP_MD_CTX, OpenSSLDeleter<EVP_MD_CTX_free>>;
using KeyHandle = std::unique_ptr<EVP_PKEY, OpenSSLDeleter<EVP_PKEY_free>>;
using CertificateHandle = std::unique_ptr<X509, OpenSSLDeleter<X509_free>>;
using StoreHandle = std::unique_ptr<X509_STORE, OpenSSLDeleter<X509_STORE_free>>;
using StoreContextHandle = std::unique_ptr<X509_STORE_CTX, OpenSSLDeleter<X509_STORE_CTX_free>>;
using ObjectHandle = std::unique_ptr<ASN1_OBJECT, OpenSSLDeleter<ASN1_OBJECT_free>>;
using TimestampInfoHandle = std::unique_ptr<TS_TST_INFO, OpenSSLDeleter<TS_TST_INFO_free>>;
using TimeHandle = std::unique_ptr<ASN1_TIME, OpenSSLDeleter<ASN1_TIME_free>>;

/// A stack that owns nothing of what it holds.
struct CertificateStackDeleter {
  void operator()(STACK_OF(X509) * stack) const noexcept { sk_X509_free(stack); }
};
using CertificateStackHandle = std::unique_ptr<STACK_OF(X509), CertificateStackDeleter>;

[[nodiscard]] inline const unsigned char* openSSLBytes(std::string_view bytes) noexcept {
  return reinterpret_cast<const unsigned char*>(bytes.data());
}

/// Read-only view of `bytes`, which must outlive it.
[[nodiscard]] inline BIOHandle bioOver(std::string_view bytes) {
  return BIOHandle(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

/// The DER encoding of an object by its `i2d_…` function; empty when that fails.
template <typename T, typename Encoder>
[[nodiscard]] std::string derOf(const T* object, Encoder encode) {
  unsigned char* buffer = nullptr;
  const int length = encode(object, &buffer);
  if (length <= 0) return {};
  std::string der(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
  OPENSSL_free(buffer);
  return der;
}

}  // namespace quillon
