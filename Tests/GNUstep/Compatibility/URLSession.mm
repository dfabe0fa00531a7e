#import "URLSession.h"

#import <Block.h>

@interface NSURLSession (Tasks)
- (id<NSURLSessionDataDelegate>)delegate;
- (void)taskDidStart;
- (void)taskDidEnd;
@end

@implementation NSURLSessionConfiguration

+ (NSURLSessionConfiguration*)defaultSessionConfiguration {
  return [[[self alloc] init] autorelease];
}

@end

@implementation NSURLSessionTask

- (instancetype)initWithSession:(NSURLSession*)session
                        request:(NSURLRequest*)request
              completionHandler:(void (^)(NSData*, NSURLResponse*, NSError*))completionHandler {
  self = [super init];
  if (self == nil) return nil;
  session_ = [session retain];
  request_ = [request copy];
  if (completionHandler != nullptr) completionHandler_ = Block_copy(completionHandler);
  data_ = [[NSMutableData alloc] init];
  return self;
}

- (void)dealloc {
  [session_ release];
  [request_ release];
  if (completionHandler_ != nullptr) Block_release(completionHandler_);
  [connection_ release];
  [response_ release];
  [data_ release];
  [super dealloc];
}

- (void)resume {
  @synchronized(self) {
    if (isStarted_) return;
    isStarted_ = YES;
    [session_ taskDidStart];
    thread_ = [[NSThread alloc] initWithTarget:self selector:@selector(run) object:nil];
    [thread_ start];
  }
}

- (void)cancel {
  [self resume];
  @synchronized(self) {
    if (isCancelled_ || isOver_) return;
    isCancelled_ = YES;
    [self performSelector:@selector(endCancelled) onThread:thread_ withObject:nil waitUntilDone:NO];
  }
}

- (BOOL)isCancelled {
  @synchronized(self) {
    return isCancelled_;
  }
}

- (BOOL)isOver {
  @synchronized(self) {
    return isOver_;
  }
}

// On the task's thread

- (void)run {
  @autoreleasepool {
    if (![self isCancelled]) connection_ = [[NSURLConnection alloc] initWithRequest:request_ delegate:self];
    while (![self isOver]) {
      @autoreleasepool {
        [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:[NSDate distantFuture]];
      }
    }
    [thread_ autorelease];  // which keeps the task
    thread_ = nil;
  }
}

- (void)endWithError:(NSError*)error {
  @synchronized(self) {
    if (isOver_) return;
    isOver_ = YES;
  }
  if (completionHandler_ != nullptr) {
    completionHandler_(error == nil ? data_ : nil, response_, error);
  } else {
    [[session_ delegate] URLSession:session_ task:self didCompleteWithError:error];
  }
  [session_ taskDidEnd];
}

- (void)endCancelled {
  [connection_ cancel];
  [self endWithError:[NSError errorWithDomain:NSURLErrorDomain code:NSURLErrorCancelled userInfo:nil]];
}

- (void)connection:(NSURLConnection*)connection didReceiveResponse:(NSURLResponse*)response {
  (void)connection;
  if ([self isCancelled]) return;
  [response_ release];
  response_ = [response retain];
  __block NSURLSessionResponseDisposition disposition = NSURLSessionResponseAllow;
  [[session_ delegate] URLSession:session_
                         dataTask:(NSURLSessionDataTask*)self
               didReceiveResponse:response
                completionHandler:^(NSURLSessionResponseDisposition answer) {
                  disposition = answer;
                }];
  if (disposition == NSURLSessionResponseCancel) [self cancel];
}

- (void)connection:(NSURLConnection*)connection didReceiveData:(NSData*)data {
  (void)connection;
  if ([self isCancelled]) return;
  if (completionHandler_ != nullptr) [data_ appendData:data];
  [[session_ delegate] URLSession:session_ dataTask:(NSURLSessionDataTask*)self didReceiveData:data];
}

- (NSURLRequest*)connection:(NSURLConnection*)connection
            willSendRequest:(NSURLRequest*)request
           redirectResponse:(NSURLResponse*)response {
  (void)connection;
  if (response == nil) return request;
  // GNUstep hands a relative location on as it is.
  NSMutableURLRequest* const absolute = [[request mutableCopy] autorelease];
  [absolute setURL:[[NSURL URLWithString:[[request URL] absoluteString] relativeToURL:[response URL]] absoluteURL]];
  if ([session_ delegate] == nil) return absolute;
  __block NSURLRequest* following = nil;
  [[session_ delegate] URLSession:session_
                             task:self
       willPerformHTTPRedirection:(NSHTTPURLResponse*)response
                       newRequest:absolute
                completionHandler:^(NSURLRequest* answer) {
                  following = answer;
                }];
  return following;
}

- (void)connection:(NSURLConnection*)connection didFailWithError:(NSError*)error {
  (void)connection;
  if (![self isCancelled]) [self endWithError:error];
}

- (void)connectionDidFinishLoading:(NSURLConnection*)connection {
  (void)connection;
  if (![self isCancelled]) [self endWithError:nil];
}

@end

@implementation NSURLSessionDataTask
@end

@implementation NSURLSession

+ (NSURLSession*)sharedSession {
  static NSURLSession* const session = [[NSURLSession alloc] init];
  return session;
}

+ (NSURLSession*)sessionWithConfiguration:(NSURLSessionConfiguration*)configuration
                                 delegate:(id<NSURLSessionDataDelegate>)delegate
                            delegateQueue:(NSOperationQueue*)queue {
  (void)configuration;
  (void)queue;
  NSURLSession* const session = [[[self alloc] init] autorelease];
  session->delegate_ = [delegate retain];
  return [session retain];  // until it is invalidated
}

- (void)dealloc {
  [delegate_ release];
  [super dealloc];
}

- (id<NSURLSessionDataDelegate>)delegate {
  return delegate_;
}

- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request {
  return [self dataTaskWithRequest:request completionHandler:nullptr];
}

- (NSURLSessionDataTask*)dataTaskWithRequest:(NSURLRequest*)request
                           completionHandler:(void (^)(NSData*, NSURLResponse*, NSError*))handler {
  return [[[NSURLSessionDataTask alloc] initWithSession:self request:request completionHandler:handler] autorelease];
}

- (void)finishTasksAndInvalidate {
  @synchronized(self) {
    if (isInvalidated_ || delegate_ == nil) return;
    isInvalidated_ = YES;
    if (runningTasks_ == 0) [self autorelease];
  }
}

- (void)taskDidStart {
  @synchronized(self) {
    ++runningTasks_;
  }
}

- (void)taskDidEnd {
  @synchronized(self) {
    if (--runningTasks_ == 0 && isInvalidated_) [self autorelease];
  }
}

@end
