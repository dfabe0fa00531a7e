#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherProgressXPCProtocol.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherXPCProtocol.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCReplacementResult.h"
#include "Support/BlockingQueue.h"

namespace quillon::testing {

/// What a test hears of the services at the other end of its connections, and says for them.
class LauncherServiceEnd {
 public:
  struct Request {
    QuillonPropertyListValue::Dictionary message;
    VeskAppBundleInstallerLauncherXPCProtocol::Reply reply;
    std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host;
  };

  /// For a listener: hands its requests to the test.
  [[nodiscard]] std::shared_ptr<VeskAppBundleInstallerLauncherXPCProtocol> makeService(
      std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host) {
    return std::make_shared<Service>(*this, std::move(host));
  }

  [[nodiscard]] Request nextRequest() { return requests_.pop(); }
  /// Requests are answered where they arrive, and the test does not see them.
  void answerAtOnce() {
    const std::lock_guard guard(lock_);
    answersAtOnce_ = true;
  }
  /// Waits until a listener has let a service go.
  void waitForEndOfService() { (void)ends_.pop(); }
  /// From here on nobody answers.
  void close() {
    const std::lock_guard guard(lock_);
    isClosed_ = true;
    while (!requests_.isEmpty()) (void)requests_.pop();
  }

 private:
  class Service final : public VeskAppBundleInstallerLauncherXPCProtocol {
   public:
    Service(LauncherServiceEnd& end, std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host)
        : end_(end), host_(std::move(host)) {}
    ~Service() override { end_.ends_.push(true); }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    void launchReplacement(const QuillonPropertyListValue::Dictionary& message, Reply reply) override {
      const std::lock_guard guard(end_.lock_);
      if (end_.isClosed_) return;
      if (end_.answersAtOnce_) return reply(xpcDictionary(VeskAppBundleReplacementLaunchResult::launched(), {}));
      end_.requests_.push({.message = message, .reply = std::move(reply), .host = host_});
    }

   private:
    LauncherServiceEnd& end_;
    const std::shared_ptr<VeskAppBundleInstallerLauncherProgressXPCProtocol> host_;
  };

  BlockingQueue<Request> requests_;
  BlockingQueue<bool> ends_;
  std::mutex lock_;
  bool answersAtOnce_ = false;  // guarded by lock_
  bool isClosed_ = false;       // guarded by lock_
};

}  // namespace quillon::testing
