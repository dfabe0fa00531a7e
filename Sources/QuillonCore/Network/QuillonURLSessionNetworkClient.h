#pragma once

#include <cstddef>
#include <memory>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// Loads small things through the platform's URL loading.
class QuillonURLSessionNetworkClient final : public QuillonNetworkClient {
 public:
  static constexpr std::size_t kDefaultMaximumBodyBytes = std::size_t{64} * 1024 * 1024;

  /// `transfers` is not null. A body of more than `maximumBodyBytes` is the error `dataLengthExceedsMaximum`.
  explicit QuillonURLSessionNetworkClient(std::shared_ptr<const QuillonURLTransferring> transfers,
                                          std::size_t maximumBodyBytes = kDefaultMaximumBodyBytes);

  /// Throws `badServerResponse` when the transfer ended without a response.
  [[nodiscard]] QuillonURLData data(const QuillonURLRequest& request, std::stop_token stopToken = {}) const override;

 private:
  const std::shared_ptr<const QuillonURLTransferring> transfers_;
  const std::size_t maximumBodyBytes_;
};

}  // namespace quillon
