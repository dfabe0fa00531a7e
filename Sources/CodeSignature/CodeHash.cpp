#include "CodeSignature/CodeHash.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

const EVP_MD* digestOf(CodeHashType type) noexcept {
  switch (type) {
    case CodeHashType::sha1:
      return EVP_sha1();
    case CodeHashType::sha256:
    case CodeHashType::sha256Truncated:
      return EVP_sha256();
    case CodeHashType::sha384:
      return EVP_sha384();
  }
  return nullptr;
}

}  // namespace

std::optional<CodeHashType> codeHashType(std::uint8_t number) noexcept {
  if (number < 1 || number > 4) return std::nullopt;
  return static_cast<CodeHashType>(number);
}

std::size_t codeHashSize(CodeHashType type) noexcept {
  switch (type) {
    case CodeHashType::sha1:
    case CodeHashType::sha256Truncated:
      return 20;
    case CodeHashType::sha256:
      return 32;
    case CodeHashType::sha384:
      return 48;
  }
  return 0;
}

std::string_view codeHashName(CodeHashType type) noexcept {
  switch (type) {
    case CodeHashType::sha1:
      return "sha1";
    case CodeHashType::sha256:
      return "sha256";
    case CodeHashType::sha256Truncated:
      return "sha256t";
    case CodeHashType::sha384:
      return "sha384";
  }
  return {};
}

int codeHashRank(CodeHashType type) noexcept {
  switch (type) {
    case CodeHashType::sha384:
      return 4;
    case CodeHashType::sha256:
      return 3;
    case CodeHashType::sha256Truncated:
      return 2;
    case CodeHashType::sha1:
      return 1;
  }
  return 0;
}

void CodeHasher::Deleter::operator()(evp_md_ctx_st* context) const noexcept {
  EVP_MD_CTX_free(context);
}

CodeHasher::CodeHasher(CodeHashType type) : type_(type), context_(EVP_MD_CTX_new()) {
  if (!context_ || EVP_DigestInit_ex(context_.get(), digestOf(type), nullptr) != 1) {
    throw QuillonError("The cryptography library offers no " + std::string(codeHashName(type)));
  }
}

void CodeHasher::update(std::string_view bytes) {
  if (EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) != 1) throw QuillonError("Hashing failed");
}

std::string CodeHasher::finish() {
  std::string digest(static_cast<std::size_t>(EVP_MD_CTX_get_size(context_.get())), '\0');
  finish(std::span(digest));
  return digest;
}

void CodeHasher::finish(std::span<char> digest) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> whole;
  unsigned int length = 0;
  // A null algorithm keeps the one that is set, which saves looking it up for every file.
  if (EVP_DigestFinal_ex(context_.get(), whole.data(), &length) != 1 ||
      EVP_DigestInit_ex(context_.get(), nullptr, nullptr) != 1) {
    throw QuillonError("Hashing failed");
  }
  std::copy_n(whole.begin(), std::min<std::size_t>(length, digest.size()), digest.begin());
}

std::string codeHash(CodeHashType type, std::string_view bytes) {
  std::string hash = fullCodeHash(type, bytes);
  hash.resize(codeHashSize(type));
  return hash;
}

std::string fullCodeHash(CodeHashType type, std::string_view bytes) {
  CodeHasher hasher(type);
  hasher.update(bytes);
  return hasher.finish();
}

std::string hexadecimal(std::string_view bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += kDigits[value >> 4];
    text += kDigits[value & 15];
  }
  return text;
}

}  // namespace quillon
