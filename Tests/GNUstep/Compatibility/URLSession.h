#pragma once

#import <Foundation/Foundation.h>

// What the adapters call of NSURLSession, which GNUstep of Debian is built without, over its NSURLConnection. Included
// before each adapter, by the compiler's command line.

@class NSURLSession;

typedef enum { NSURLSessionResponseCancel, NSURLSessionResponseAllow } NSURLSessionResponseDisposition;

@interface NSURLSessionConfiguration : NSObject
+ (NSURLSessionConfiguration*)defaultSessionConfiguration;
@end

@interface NSURLSessionTask : NSObject {
  NSURLSession* session_;
  NSURLRequest* request_;
  void (^completionHandler_)(NSData* data, NSURLResponse* response, NSError* error);
  NSThread* thread_;  // from its start to its end
  BOOL isStarted_;    // guarded by @synchronized
  BOOL isCancelled_;  // guarded by @synchronized
  BOOL isOver_;       // guarded by @synchronized
  // The thread's.
  NSURLConnection* connection_;
  NSURLResponse* response_;
  NSMutableData* data_;
}
- (void)resume;
/// From any thread, at any time, as that of the system; a task that was not resumed ends, too.
- (void)cancel;
@end

@interface NSURLSessionDataTask : NSURLSessionTask
@end

@protocol NSURLSessionDataDelegate <NSObject>
- (void)URLSession:(NSURLSession*)session
              dataTask:(NSURLSessionDataTask*)dataTask
    didReceiveResponse:(NSURLResponse*)response
     completionHandler:(void (^)(NSURLSessionResponseDisposition))completionHandler;
- (void)URLSession:(NSURLSession*)session dataTask:(NSURLSessionDataTask*)dataTask didReceiveData:(NSData*)data;
- (void)URLSession:(NSURLSession*)session
                          task:(NSURLSessionTask*)task
    willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                    newRequest:(NSURLRequest*)request
             completionHandler:(void (^)(NSURLRequest*))completionHandler;
- (void)URLSession:(NSURLSession*)session task:(NSURLSessionTask*)task didCompleteWithError:(NSError*)error;
@end

/// Calls its delegate on a thread of its own for each task. As that of the system, a session with a delegate lives, and
/// keeps the delegate, until it is invalidated and its tasks are over.
@interface NSURLSession : NSObject {
  id<NSURLSessionDataDelegate> delegate_;
  NSUInteger runningTasks_;  // guarded by @synchronized
  BOOL isInvalidated_;       // guarded by @synchronized
}
+ (NSURLSession*)sharedSession;
+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration
                                 delegate:(id<NSURLSessionDataDelegate>)delegate
                            delegateQueue:(NSOperationQueue*)queue;
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request;
- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request
                           completionHandler:(void (^)(NSData* data, NSURLResponse* response, NSError* error))handler;
- (void)finishTasksAndInvalidate;
@end
