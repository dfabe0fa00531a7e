#pragma once

#import <Foundation/Foundation.h>

#include <sys/types.h>

// Connections of XPC within one process. GNUstep declares them, and whatever is called throws. They behave as
// Foundation's documentation says, as far as the adapters call them: messages have one dictionary, which is copied, and
// perhaps a block for the reply, which has one too.

@class XPCLoopbackConnection;
@class XPCLoopbackListener;

typedef void (^XPCLoopbackHandler)(void);
typedef void (^XPCLoopbackErrorHandler)(NSError* error);

@interface XPCLoopbackInterface : NSObject {
  Protocol* protocol_;
}
+ (instancetype)interfaceWithProtocol:(Protocol*)protocol;
- (Protocol*)protocol;
@end

/// One end of a connection. It sends and delivers once it is resumed, on a thread of its own, one thing after the
/// other, and owns itself from then on until it is invalidated. One that goes away without having been resumed ends the
/// test, as it ends a program on macOS.
@interface XPCLoopbackConnection : NSObject {
  struct XPCLoopbackConnectionState* state_;
}
/// The host's end. The service is looked up when the first message is sent; when there is none, the connection is
/// invalidated.
- (instancetype)initWithServiceName:(NSString*)name;
- (XPCLoopbackInterface*)exportedInterface;
- (void)setExportedInterface:(XPCLoopbackInterface*)interface;
- (id)exportedObject;
- (void)setExportedObject:(id)object;
- (XPCLoopbackInterface*)remoteObjectInterface;
- (void)setRemoteObjectInterface:(XPCLoopbackInterface*)interface;
/// The service is gone. Messages that wait for a reply hear so through their proxies' handlers.
- (void)setInterruptionHandler:(XPCLoopbackHandler)handler;
/// This end was invalidated, or there is no such service, or the host is gone: the last that is delivered.
- (void)setInvalidationHandler:(XPCLoopbackHandler)handler;
- (id)remoteObjectProxy;
/// The handler of a message that is sent after the end is called at once, on the thread that sends it.
- (id)remoteObjectProxyWithErrorHandler:(XPCLoopbackErrorHandler)handler;
- (void)resume;
- (void)invalidate;
- (uid_t)effectiveUserIdentifier;
- (pid_t)processIdentifier;
@end

@protocol XPCLoopbackListenerDelegate <NSObject>
- (BOOL)listener:(XPCLoopbackListener*)listener shouldAcceptNewConnection:(XPCLoopbackConnection*)connection;
@end

/// Of an XPCServiceProcess.
@interface XPCLoopbackListener : NSObject {
  struct XPCLoopbackListenerState* state_;
}
/// That of the process whose main thread calls.
+ (XPCLoopbackListener*)serviceListener;
- (void)setDelegate:(id<XPCLoopbackListenerDelegate>)delegate;
/// Returns when the process ends.
- (void)resume;
@end

namespace quillon::testing {

/// What listeners are told of hosts.
void setXPCLoopbackHostUser(uid_t user);

/// What hears of the end of a connection first: its own handler, or those of the messages that wait for a reply.
enum class XPCLoopbackFailureOrder { connectionFirst, messagesFirst };
void setXPCLoopbackFailureOrder(XPCLoopbackFailureOrder order);

}  // namespace quillon::testing

#define NSXPCConnection XPCLoopbackConnection
#define NSXPCInterface XPCLoopbackInterface
#define NSXPCListener XPCLoopbackListener
#define NSXPCListenerDelegate XPCLoopbackListenerDelegate
