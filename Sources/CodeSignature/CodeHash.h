#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace quillon {

/// Hash algorithms of code directories, with their numbers in the format (cs_blobs.h).
enum class CodeHashType : std::uint8_t { sha1 = 1, sha256 = 2, sha256Truncated = 3, sha384 = 4 };

/// Length of the identifying hash of a code directory, whatever its algorithm.
inline constexpr std::size_t kCodeDirectoryHashLength = 20;

/// The hash type with this number in the format; absent for unknown ones.
[[nodiscard]] std::optional<CodeHashType> codeHashType(std::uint8_t number) noexcept;
/// Length in bytes of a hash in a code directory's slots.
[[nodiscard]] std::size_t codeHashSize(CodeHashType type) noexcept;
/// "sha1", "sha256", "sha256t" or "sha384".
[[nodiscard]] std::string_view codeHashName(CodeHashType type) noexcept;
/// Position in the order of preference, larger is better.
[[nodiscard]] int codeHashRank(CodeHashType type) noexcept;

/// Hashes one stream after the other without allocating for each. One thread at a time.
class CodeHasher {
 public:
  explicit CodeHasher(CodeHashType type);

  void update(std::string_view bytes);
  /// The full digest of what came in since the last call (or construction); begins the next stream.
  /// Not cut to `codeHashSize`.
  [[nodiscard]] std::string finish();
  /// As `finish`, but puts as much of the digest as there is room for into `digest`.
  void finish(std::span<char> digest);
  [[nodiscard]] CodeHashType type() const noexcept { return type_; }

 private:
  struct Deleter {
    void operator()(evp_md_ctx_st* context) const noexcept;
  };

  CodeHashType type_;
  std::unique_ptr<evp_md_ctx_st, Deleter> context_;
};

/// The hash of `bytes` as it stands in a slot: cut to `codeHashSize(type)`.
[[nodiscard]] std::string codeHash(CodeHashType type, std::string_view bytes);
/// The whole digest of `bytes`.
[[nodiscard]] std::string fullCodeHash(CodeHashType type, std::string_view bytes);
/// Lower-case hexadecimal digits of `bytes`.
[[nodiscard]] std::string hexadecimal(std::string_view bytes);

}  // namespace quillon
