#include "CodeSignature/MultiBufferSHA256.h"

#include <intel-ipsec-mb.h>

#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

class LaneHasher final : public MultiBufferSHA256 {
 public:
  struct Deleter {
    void operator()(IMB_MGR* manager) const noexcept { free_mb_mgr(manager); }
  };
  using Manager = std::unique_ptr<IMB_MGR, Deleter>;

  explicit LaneHasher(Manager manager) : manager_(std::move(manager)) {}

  void hash(std::span<const std::string_view> messages, std::span<char> digests) override {
    std::size_t finished = 0;
    for (std::size_t i = 0; i < messages.size(); ++i) {
      // Answers some earlier message that is finished, if any is.
      finished += isFinished(submit(messages[i], digests.subspan(i * kDigestSize, kDigestSize)));
    }
    while (const IMB_JOB* job = IMB_FLUSH_JOB(manager_.get())) finished += isFinished(job);
    if (finished != messages.size()) throw QuillonError("Hashing failed");
  }

 private:
  const IMB_JOB* submit(std::string_view message, std::span<char> digest) {
    IMB_JOB* job = IMB_GET_NEXT_JOB(manager_.get());
    job->cipher_mode = IMB_CIPHER_NULL;
    job->cipher_direction = IMB_DIR_ENCRYPT;
    job->chain_order = IMB_ORDER_HASH_CIPHER;
    job->hash_alg = IMB_AUTH_SHA_256;
    job->src = reinterpret_cast<const std::uint8_t*>(message.data());
    job->hash_start_src_offset_in_bytes = 0;
    job->msg_len_to_hash_in_bytes = message.size();
    job->auth_tag_output = reinterpret_cast<std::uint8_t*>(digest.data());
    job->auth_tag_output_len_in_bytes = kDigestSize;
    return IMB_SUBMIT_JOB(manager_.get());
  }

  static std::size_t isFinished(const IMB_JOB* job) noexcept {
    return job != nullptr && job->status == IMB_STATUS_COMPLETED ? 1 : 0;
  }

  const Manager manager_;
};

/// The library checks itself against known answers when it starts, and says so in its features.
bool isSound(IMB_MGR* manager) {
  const bool hasTestedItself = (manager->features & IMB_FEATURE_SELF_TEST) != 0;
  const bool hasPassed = (manager->features & IMB_FEATURE_SELF_TEST_PASS) != 0;
  return imb_get_errno(manager) == 0 && (hasPassed || !hasTestedItself);
}

}  // namespace

std::unique_ptr<MultiBufferSHA256> MultiBufferSHA256::make() {
  LaneHasher::Manager manager(alloc_mb_mgr(0));
  if (!manager) return nullptr;
  init_mb_mgr_auto(manager.get(), nullptr);
  if (!isSound(manager.get())) return nullptr;
  return std::make_unique<LaneHasher>(std::move(manager));
}

}  // namespace quillon
