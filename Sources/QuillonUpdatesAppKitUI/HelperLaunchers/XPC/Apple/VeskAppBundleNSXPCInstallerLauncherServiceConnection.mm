#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleNSXPCInstallerLauncherServiceConnection.h"

#import <Foundation/Foundation.h>

#include <atomic>
#include <utility>

#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleInstallerLauncherProgressReceiverExport.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCMessageConversion.h"
#import "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Apple/VeskAppBundleXPCProtocols.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleInstallerLauncherServiceConnectionError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/VeskAppBundleXPCConversation.h"

namespace quillon {
namespace {

using Conversation = std::shared_ptr<VeskAppBundleXPCConversation>;
using Connection = QuillonObjectReference<NSXPCConnection>;

QuillonSystemError errorOf(NSError* error) {
  return {fromNSString([error domain]).value_or(""), [error code],
          fromNSString([error localizedDescription]).value_or("")};
}

void didFail(const Conversation& conversation, NSError* error) noexcept { conversation->didFail(errorOf(error)); }

void wasInvalidated(const Conversation& conversation) noexcept {
  conversation->didFail(installerLauncherServiceConnectionInvalidated());
}

void wasInterrupted(const Conversation& conversation) noexcept {
  conversation->didFail(installerLauncherServiceConnectionInterrupted());
}

Connection makeConnection(const std::string& serviceName, const Conversation& conversation) {
  auto connection = Connection::adopt([[NSXPCConnection alloc] initWithServiceName:toNSString(serviceName)]);
  auto receiver = QuillonObjectReference<VeskAppBundleInstallerLauncherProgressReceiverExport>::adopt(
      [[VeskAppBundleInstallerLauncherProgressReceiverExport alloc] initWithConversation:conversation]);
  // The blocks keep the conversation alone, which knows nothing of the connection: there is no circle.
  const Conversation held = conversation;
  [connection.get() setRemoteObjectInterface:makeInterface()];
  [connection.get() setExportedInterface:makeProgressInterface()];
  [connection.get() setExportedObject:receiver.get()];
  [connection.get() setInvalidationHandler:^{
    wasInvalidated(held);
  }];
  [connection.get() setInterruptionHandler:^{
    wasInterrupted(held);
  }];
  return connection;
}

/// Nil when the connection has no proxy of the service's interface.
id<VeskAppBundleInstallerLauncherXPCProtocol> serviceOf(const Connection& connection,
                                                        const Conversation& conversation) {
  const Conversation held = conversation;
  id const proxy = [connection.get() remoteObjectProxyWithErrorHandler:^(NSError* error) {
    didFail(held, error);
  }];
  return [proxy conformsToProtocol:@protocol(VeskAppBundleInstallerLauncherXPCProtocol)] ? proxy : nil;
}

}  // namespace

struct VeskAppBundleNSXPCInstallerLauncherServiceConnection::System {
  System(const std::string& serviceName, Conversation itsConversation)
      : conversation(std::move(itsConversation)), connection(makeConnection(serviceName, conversation)) {}

  void resume() noexcept {
    if (!isResumed.exchange(true)) [connection.get() resume];
  }

  const Conversation conversation;
  const Connection connection;
  std::atomic<bool> isResumed = false;
};

VeskAppBundleNSXPCInstallerLauncherServiceConnection::VeskAppBundleNSXPCInstallerLauncherServiceConnection(
    const std::string& serviceName, VeskAppBundleInstallerLauncherServiceConnectionMaking::ErrorHandler errorHandler,
    VeskAppBundleInstallerLaunchProgressHandler progressHandler)
    : system_(std::make_shared<System>(serviceName, std::make_shared<VeskAppBundleXPCConversation>(
                                                        std::move(errorHandler), std::move(progressHandler)))) {}

VeskAppBundleNSXPCInstallerLauncherServiceConnection::~VeskAppBundleNSXPCInstallerLauncherServiceConnection() {
  @autoreleasepool {
    invalidate();
    system_->conversation->waitForCallback();
  }
}

void VeskAppBundleNSXPCInstallerLauncherServiceConnection::resume() noexcept {
  const auto system = system_;
  system->resume();
}

bool VeskAppBundleNSXPCInstallerLauncherServiceConnection::launchReplacement(
    const QuillonPropertyListValue::Dictionary& message, const std::function<void()>& didSubmitRequest,
    Reply reply) noexcept {
  @autoreleasepool {
    const auto system = system_;
    NSDictionary* const dictionary = toNSDictionary(message);
    const id<VeskAppBundleInstallerLauncherXPCProtocol> service = serviceOf(system->connection, system->conversation);
    if (dictionary == nil || service == nil) return false;
    const auto send = [&](VeskAppBundleXPCConversation::Request request) {
      const Conversation held = system->conversation;
      [service launchReplacementWithMessage:dictionary
                                      reply:^(NSDictionary* result) {
                                        held->didReply(request, receivedXPCMessage(result));
                                      }];
      return true;
    };
    return system->conversation->launch(send, didSubmitRequest, std::move(reply));
  }
}

void VeskAppBundleNSXPCInstallerLauncherServiceConnection::invalidate() noexcept {
  @autoreleasepool {
    const auto system = system_;
    system->conversation->invalidate();
    // The system releases no connection that was never resumed.
    system->resume();
    [system->connection.get() invalidate];
  }
}

}  // namespace quillon
