#pragma once

#include <functional>
#include <utility>

#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon::testing {

/// Transfers that go as the test says.
class FakeURLTransfers final : public QuillonURLTransferring {
 public:
  using Course = std::function<void(const QuillonURLRequest&, QuillonURLTransferReceiving&, const std::stop_token&)>;

  explicit FakeURLTransfers(Course course) : course_(std::move(course)) {}

  void transfer(const QuillonURLRequest& request, QuillonURLTransferReceiving& receiver,
                std::stop_token stopToken) const override {
    course_(request, receiver, stopToken);
  }

 private:
  const Course course_;
};

}  // namespace quillon::testing
