#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "QuillonCore/Contracts/QuillonNetworkClient.h"
#include "QuillonCore/Network/QuillonLoadableRequest.h"
#include "QuillonCore/Values/QuillonURLError.h"

namespace quillon::testing {

/// Answers each URL as the test said, and notes what was asked. Any thread.
class FakeNetworkClient final : public QuillonNetworkClient {
 public:
  using Answer = std::variant<QuillonURLData, QuillonURLError>;

  void answer(const QuillonURL& url, Answer answer) {
    const std::lock_guard guard(lock_);
    answers_.insert_or_assign(url.absoluteString(), std::move(answer));
  }

  /// A URL that the test said nothing of has a host that cannot be found.
  [[nodiscard]] QuillonURLData data(const QuillonURLRequest& request, std::stop_token stopToken = {}) const override {
    const std::lock_guard guard(lock_);
    requests_.push_back(request);
    if (stopToken.stop_requested()) throw QuillonURLError(QuillonURLErrorCode::cancelled, "Cancelled");
    requireLoadable(request);
    const auto found = answers_.find(request.url.absoluteString());
    if (found == answers_.end()) throw QuillonURLError(QuillonURLErrorCode::cannotFindHost, "No such host");
    if (const auto* error = std::get_if<QuillonURLError>(&found->second)) throw QuillonURLError(*error);
    return std::get<QuillonURLData>(found->second);
  }

  [[nodiscard]] std::vector<QuillonURLRequest> requests() const {
    const std::lock_guard guard(lock_);
    return requests_;
  }

 private:
  mutable std::mutex lock_;
  std::map<std::string, Answer> answers_;            // guarded by lock_
  mutable std::vector<QuillonURLRequest> requests_;  // guarded by lock_
};

}  // namespace quillon::testing
