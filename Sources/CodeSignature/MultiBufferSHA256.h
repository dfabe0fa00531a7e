#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string_view>

namespace quillon {

/// SHA-256 of many short messages, several at once in the lanes of one processor core: one message alone leaves most of
/// a core idle, because each step of it waits for the one before. One thread at a time.
class MultiBufferSHA256 {
 public:
  static constexpr std::size_t kDigestSize = 32;
  /// Lanes count what is left of their messages in 16 bits (`MB_MAX_LEN16` in intel-ipsec-mb's sources).
  static constexpr std::size_t kLongestMessage = 65534;

  virtual ~MultiBufferSHA256() = default;

  /// Null where this build or this processor has no such way of hashing. Takes up to a millisecond, which is worth it
  /// from about a megabyte on.
  [[nodiscard]] static std::unique_ptr<MultiBufferSHA256> make();

  /// Puts the digest of each message, one after the other, into `digests`, which has `kDigestSize` bytes for each.
  /// Throws QuillonError, also for a message longer than `kLongestMessage`.
  virtual void hash(std::span<const std::string_view> messages, std::span<char> digests) = 0;
};

}  // namespace quillon
