#import "XPCLoopback.h"

#import <objc/runtime.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#import "GNUstepBlockObjects.h"
#import "QuillonCore/Runtime/Apple/QuillonFoundationConversion.h"
#import "QuillonCore/Runtime/Apple/QuillonObjectReference.h"
#include "Support/Apple/XPCServiceProcess.h"
#include "XPCLoopbackQueue.h"

namespace {

using Connection = quillon::QuillonObjectReference<XPCLoopbackConnection>;
using Dictionary = quillon::QuillonObjectReference<NSDictionary>;
using Interface = quillon::QuillonObjectReference<XPCLoopbackInterface>;
using Listener = quillon::QuillonObjectReference<XPCLoopbackListener>;
using Object = quillon::QuillonObjectReference<NSObject>;
using ReplyBlock = void (^)(NSDictionary*);
using quillon::testing::XPCLoopbackFailureOrder;
using quillon::testing::XPCLoopbackQueue;

// Foundation's NSXPCConnectionInterrupted and NSXPCConnectionInvalid.
constexpr NSInteger kInterrupted = 4097;
constexpr NSInteger kInvalid = 4099;

std::atomic<uid_t> hostUser = getuid();
std::atomic<XPCLoopbackFailureOrder> failureOrder = XPCLoopbackFailureOrder::connectionFirst;

/// The listeners of the processes that run, by the names of their services.
struct Services {
  std::mutex lock;
  std::map<std::string, Listener> listeners;  // guarded by lock
};

Services& services() {
  static Services all;
  return all;
}

/// Of the process whose main thread this is; it owns its listener.
thread_local XPCLoopbackListener* listenerOfThisProcess = nil;

/// What ends a program on macOS, or leaves a message undelivered with a line in the log, ends the test.
[[noreturn]] void abandon(NSString* reason) {
  NSLog(@"%@", reason);
  std::abort();
}

Object copied(id block) { return Object::adopt((NSObject*)[block copy]); }

/// A copy that shares no object with the other end. Nothing but property lists may travel.
NSDictionary* transported(NSDictionary* dictionary) {
  if (dictionary == nil) return nil;
  const auto values = quillon::fromNSDictionary(dictionary);
  if (!values) abandon(@"a message holds what is no property list");
  return quillon::toNSDictionary(*values);
}

bool hasMessage(XPCLoopbackInterface* interface, SEL selector) {
  return interface != nil && protocol_getMethodDescription([interface protocol], selector, YES, YES).types != nullptr;
}

struct Message {
  SEL selector = nullptr;
  Dictionary dictionary;
  /// None when the message has no reply.
  Object reply;
  /// None when the proxy has no handler.
  Object errorHandler;
};

void fail(const Message& message, NSInteger code) {
  NSError* const error = [NSError errorWithDomain:NSCocoaErrorDomain code:code userInfo:nil];
  if (message.errorHandler) ((XPCLoopbackErrorHandler)(id)message.errorHandler.get())(error);
}

}  // namespace

struct XPCLoopbackConnectionState {
  using Request = std::uint64_t;
  struct Sent {
    Message message;
    Request request = 0;
  };

  // Set before the connection is resumed, and used on its thread.
  Interface exportedInterface;
  Interface remoteObjectInterface;
  Object exportedObject;
  Object interruptionHandler;
  Object invalidationHandler;

  std::string serviceName;  // of a host's end
  Listener listener;        // of a service's end
  XPCLoopbackQueue queue;

  std::mutex lock;
  Connection itself;                      // guarded by lock
  Connection peer;                        // guarded by lock
  bool isResumed = false;                 // guarded by lock
  bool isInterrupted = false;             // guarded by lock
  bool isInvalidated = false;             // guarded by lock
  Request lastRequest = 0;                // guarded by lock
  std::vector<Sent> unsent;               // guarded by lock
  std::map<Request, Message> unanswered;  // guarded by lock
};

struct XPCLoopbackListenerState {
  XPCLoopbackQueue queue;
  std::mutex lock;
  std::condition_variable changed;
  Object delegate;                               // guarded by lock
  std::set<XPCLoopbackConnection*> connections;  // guarded by lock
  bool isResumed = false;                        // guarded by lock
  bool hasEnded = false;                         // guarded by lock
};

@interface XPCLoopbackConnection ()
- (instancetype)initWithHost:(XPCLoopbackConnection*)host listener:(XPCLoopbackListener*)listener;
- (void)send:(Message)message;
- (void)refuse;
- (void)peerDidEnd;
@end

@interface XPCLoopbackListener ()
- (void)connect:(Connection)connection;
- (void)didEnd:(XPCLoopbackConnection*)connection;
- (void)waitUntilResumed;
- (void)end;
@end

/// What stands for the object at the other end.
@interface XPCLoopbackProxy : NSObject {
  Connection connection_;
  Interface interface_;
  Object errorHandler_;
}
@end

@implementation XPCLoopbackProxy

- (instancetype)initWithConnection:(Connection)connection
                         interface:(Interface)interface
                      errorHandler:(Object)errorHandler {
  self = [super init];
  if (self != nil) {
    connection_ = std::move(connection);
    interface_ = std::move(interface);
    errorHandler_ = std::move(errorHandler);
  }
  return self;
}

- (BOOL)conformsToProtocol:(Protocol*)protocol {
  Protocol* const own = [interface_.get() protocol];
  return own != nil && protocol_conformsToProtocol(own, protocol);
}

/// Any message, in either of the two forms that there are. GNUstep forwards none that has a block.
+ (BOOL)resolveInstanceMethod:(SEL)selector {
  const bool hasReply = std::ranges::count(std::string_view(sel_getName(selector)), ':') == 2;
  SEL const form = hasReply ? @selector(send:withReply:) : @selector(sendWithoutReply:);
  return class_addMethod(self, selector, [self instanceMethodForSelector:form], "v@:@@");
}

- (void)sendWithoutReply:(NSDictionary*)dictionary {
  [self send:_cmd dictionary:dictionary reply:nil];
}

- (void)send:(NSDictionary*)dictionary withReply:(ReplyBlock)reply {
  [self send:_cmd dictionary:dictionary reply:reply];
}

- (void)send:(SEL)selector dictionary:(NSDictionary*)dictionary reply:(ReplyBlock)reply {
  if (!hasMessage(interface_.get(), selector)) abandon(@"a message is not of the remote object's interface");
  [connection_.get() send:{.selector = selector,
                           .dictionary = Dictionary::retain(transported(dictionary)),
                           .reply = copied(reply),
                           .errorHandler = errorHandler_}];
}

@end

@implementation XPCLoopbackInterface

+ (instancetype)interfaceWithProtocol:(Protocol*)protocol {
  XPCLoopbackInterface* const interface = [[[self alloc] init] autorelease];
  interface->protocol_ = protocol;
  return interface;
}

- (Protocol*)protocol {
  return protocol_;
}

@end

@implementation XPCLoopbackConnection

- (instancetype)init {
  quillon::testing::makeBlocksObjects();
  self = [super init];
  if (self != nil) state_ = new XPCLoopbackConnectionState;
  return self;
}

- (instancetype)initWithServiceName:(NSString*)name {
  self = [self init];
  if (self != nil) state_->serviceName = [name UTF8String];
  return self;
}

- (instancetype)initWithHost:(XPCLoopbackConnection*)host listener:(XPCLoopbackListener*)listener {
  self = [self init];
  if (self != nil) {
    state_->peer = Connection::retain(host);
    state_->listener = Listener::retain(listener);
  }
  return self;
}

- (void)dealloc {
  if (!state_->isResumed) abandon(@"a connection was released without having been resumed");
  delete state_;
  [super dealloc];
}

- (XPCLoopbackInterface*)exportedInterface {
  return state_->exportedInterface.get();
}

- (void)setExportedInterface:(XPCLoopbackInterface*)interface {
  state_->exportedInterface = Interface::retain(interface);
}

- (id)exportedObject {
  return state_->exportedObject.get();
}

- (void)setExportedObject:(id)object {
  state_->exportedObject = Object::retain(object);
}

- (XPCLoopbackInterface*)remoteObjectInterface {
  return state_->remoteObjectInterface.get();
}

- (void)setRemoteObjectInterface:(XPCLoopbackInterface*)interface {
  state_->remoteObjectInterface = Interface::retain(interface);
}

- (void)setInterruptionHandler:(XPCLoopbackHandler)handler {
  state_->interruptionHandler = copied(handler);
}

- (void)setInvalidationHandler:(XPCLoopbackHandler)handler {
  state_->invalidationHandler = copied(handler);
}

- (id)remoteObjectProxy {
  return [self remoteObjectProxyWithErrorHandler:nil];
}

- (id)remoteObjectProxyWithErrorHandler:(XPCLoopbackErrorHandler)handler {
  return [[[XPCLoopbackProxy alloc] initWithConnection:Connection::retain(self)
                                             interface:state_->remoteObjectInterface
                                          errorHandler:copied(handler)] autorelease];
}

- (uid_t)effectiveUserIdentifier {
  return hostUser;
}

- (pid_t)processIdentifier {
  return getpid();
}

- (void)resume {
  std::vector<XPCLoopbackConnectionState::Sent> unsent;
  {
    const std::lock_guard guard(state_->lock);
    if (std::exchange(state_->isResumed, true)) abandon(@"a connection was resumed twice");
    state_->itself = Connection::retain(self);
    unsent.swap(state_->unsent);
  }
  state_->queue.resume();
  for (const auto& sent : unsent) [self transmit:sent];
}

- (void)invalidate {
  Connection peer;
  {
    const std::lock_guard guard(state_->lock);
    if (!state_->isResumed || std::exchange(state_->isInvalidated, true)) return;
    std::swap(peer, state_->peer);
  }
  [state_->listener.get() didEnd:self];
  state_->queue.finish([held = Connection::retain(self)] {
    [held.get() fail:kInvalid handler:held.get()->state_->invalidationHandler];
    [held.get() letGo];
  });
  [peer.get() peerDidEnd];
}

/// What a connection that a listener does not take comes to.
- (void)refuse {
  Connection peer;
  {
    const std::lock_guard guard(state_->lock);
    state_->isResumed = true;
    state_->isInvalidated = true;
    std::swap(peer, state_->peer);
  }
  [state_->listener.get() didEnd:self];
  [peer.get() peerDidEnd];
}

- (void)peerDidEnd {
  if (state_->listener) return [self invalidate];
  {
    const std::lock_guard guard(state_->lock);
    if (state_->isInvalidated || std::exchange(state_->isInterrupted, true)) return;
    state_->peer = {};
  }
  state_->queue.post([held = Connection::retain(self)] {
    [held.get() fail:kInterrupted handler:held.get()->state_->interruptionHandler];
  });
}

- (void)fail:(NSInteger)code handler:(const Object&)handler {
  if (failureOrder == XPCLoopbackFailureOrder::messagesFirst) [self failUnanswered:code];
  if (handler) ((XPCLoopbackHandler)(id)handler.get())();
  [self failUnanswered:code];
}

- (void)send:(Message)message {
  XPCLoopbackConnectionState::Sent sent{.message = std::move(message)};
  std::unique_lock guard(state_->lock);
  if (state_->isInvalidated) {
    guard.unlock();
    return fail(sent.message, kInvalid);
  }
  sent.request = ++state_->lastRequest;
  if (sent.message.reply) state_->unanswered.emplace(sent.request, sent.message);
  if (!state_->isResumed) return state_->unsent.push_back(std::move(sent));
  guard.unlock();
  [self transmit:sent];
}

- (void)transmit:(const XPCLoopbackConnectionState::Sent&)sent {
  const Connection peer = [self connectedPeer];
  if (!peer) return;
  peer.get()->state_->queue.post(
      [receiver = peer, sender = Connection::retain(self), sent] { [receiver.get() deliver:sent from:sender]; });
}

/// None when there is no service, or no longer.
- (Connection)connectedPeer {
  Listener listener;
  Connection peer;
  {
    const std::lock_guard guard(state_->lock);
    if (state_->peer || state_->isInterrupted || state_->isInvalidated) return state_->peer;
    const std::lock_guard guardServices(services().lock);
    const auto found = services().listeners.find(state_->serviceName);
    if (found != services().listeners.end()) {
      listener = found->second;
      peer = Connection::adopt([[XPCLoopbackConnection alloc] initWithHost:self listener:listener.get()]);
      state_->peer = peer;
    }
  }
  if (!peer) {
    [self invalidate];
    return peer;
  }
  [listener.get() connect:peer];
  return peer;
}

- (void)deliver:(const XPCLoopbackConnectionState::Sent&)sent from:(const Connection&)sender {
  if ([self isInvalidated]) return;
  const Message& message = sent.message;
  if (!hasMessage(state_->exportedInterface.get(), message.selector)) {
    abandon(@"a message is not of the exported interface");
  }
  const Connection heldSender = sender;
  const auto request = sent.request;
  ReplyBlock const reply = ^(NSDictionary* answer) {
    [heldSender.get() didReply:answer toRequest:request];
  };
  // A method without a reply does not look at its block.
  [state_->exportedObject.get() performSelector:message.selector withObject:message.dictionary.get() withObject:reply];
}

- (void)didReply:(NSDictionary*)answer toRequest:(XPCLoopbackConnectionState::Request)request {
  const auto dictionary = Dictionary::retain(transported(answer));
  state_->queue.post([held = Connection::retain(self), dictionary, request] {
    const Object reply = [held.get() takeReply:request];
    if (reply && ![held.get() isInvalidated]) ((ReplyBlock)(id)reply.get())(dictionary.get());
  });
}

/// None when it has been taken.
- (Object)takeReply:(XPCLoopbackConnectionState::Request)request {
  const std::lock_guard guard(state_->lock);
  const auto answered = state_->unanswered.extract(request);
  return answered ? answered.mapped().reply : Object();
}

- (void)failUnanswered:(NSInteger)code {
  std::map<XPCLoopbackConnectionState::Request, Message> unanswered;
  {
    const std::lock_guard guard(state_->lock);
    unanswered.swap(state_->unanswered);
  }
  for (const auto& [request, message] : unanswered) fail(message, code);
}

- (void)letGo {
  state_->exportedObject = {};
  state_->interruptionHandler = {};
  state_->invalidationHandler = {};
  Connection itself;
  const std::lock_guard guard(state_->lock);
  std::swap(itself, state_->itself);
}

- (BOOL)isInvalidated {
  const std::lock_guard guard(state_->lock);
  return state_->isInvalidated;
}

@end

@implementation XPCLoopbackListener

+ (XPCLoopbackListener*)serviceListener {
  return listenerOfThisProcess;
}

- (instancetype)init {
  self = [super init];
  if (self != nil) state_ = new XPCLoopbackListenerState;
  return self;
}

- (void)dealloc {
  delete state_;
  [super dealloc];
}

- (void)setDelegate:(id<XPCLoopbackListenerDelegate>)delegate {
  const std::lock_guard guard(state_->lock);
  state_->delegate = Object::retain((NSObject*)delegate);
}

- (void)resume {
  state_->queue.resume();
  std::unique_lock guard(state_->lock);
  state_->isResumed = true;
  state_->changed.notify_all();
  state_->changed.wait(guard, [self] { return state_->hasEnded; });
  state_->delegate = {};
}

- (void)waitUntilResumed {
  std::unique_lock guard(state_->lock);
  state_->changed.wait(guard, [self] { return state_->isResumed; });
}

- (void)connect:(Connection)connection {
  {
    const std::lock_guard guard(state_->lock);
    state_->connections.insert(connection.get());
  }
  const bool isAsked = state_->queue.post(
      [listener = Listener::retain(self), connection] { [listener.get() askDelegateAbout:connection.get()]; });
  if (!isAsked) [connection.get() refuse];
}

- (void)askDelegateAbout:(XPCLoopbackConnection*)connection {
  Object delegate;
  {
    const std::lock_guard guard(state_->lock);
    delegate = state_->delegate;
  }
  id<XPCLoopbackListenerDelegate> const asked = (id)delegate.get();
  if (![asked listener:self shouldAcceptNewConnection:connection]) [connection refuse];
}

- (void)didEnd:(XPCLoopbackConnection*)connection {
  const std::lock_guard guard(state_->lock);
  state_->connections.erase(connection);
}

- (void)end {
  state_->queue.finish([listener = Listener::retain(self)] { [listener.get() endConnections]; });
}

/// After the last of them has been accepted.
- (void)endConnections {
  std::vector<Connection> connections;
  {
    const std::lock_guard guard(state_->lock);
    for (XPCLoopbackConnection* connection : state_->connections) connections.push_back(Connection::retain(connection));
    state_->hasEnded = true;
  }
  for (const Connection& connection : connections) [connection.get() invalidate];
  state_->changed.notify_all();
}

@end

namespace quillon::testing {
namespace {

/// A thread that runs `main`.
class LoopbackProcess final : public XPCServiceProcess {
 public:
  LoopbackProcess(std::string name, std::function<void()> main)
      : name_(std::move(name)),
        listener_(Listener::adopt([[XPCLoopbackListener alloc] init])),
        thread_([listener = listener_, main = std::move(main)] {
          GSRegisterCurrentThread();
          listenerOfThisProcess = listener.get();
          main();
          GSUnregisterCurrentThread();
        }) {
    [listener_.get() waitUntilResumed];
    const std::lock_guard guard(services().lock);
    services().listeners.insert_or_assign(name_, listener_);
  }
  ~LoopbackProcess() override {
    crash();
    XPCLoopbackQueue::waitForAll();
  }
  LoopbackProcess(const LoopbackProcess&) = delete;
  LoopbackProcess& operator=(const LoopbackProcess&) = delete;

  void crash() override {
    {
      const std::lock_guard guard(services().lock);
      services().listeners.erase(name_);
    }
    [listener_.get() end];
  }

 private:
  const std::string name_;
  const Listener listener_;
  const std::jthread thread_;
};

}  // namespace

std::shared_ptr<XPCServiceProcess> XPCServiceProcess::start(const std::string& name, std::function<void()> main) {
  return std::make_shared<LoopbackProcess>(name, std::move(main));
}

void setXPCLoopbackHostUser(uid_t user) { hostUser = user; }

void setXPCLoopbackFailureOrder(XPCLoopbackFailureOrder order) { failureOrder = order; }

}  // namespace quillon::testing
