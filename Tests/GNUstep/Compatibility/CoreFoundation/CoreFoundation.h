#pragma once

#import <Foundation/Foundation.h>

// What the adapters call of Core Foundation, over GNUstep's Foundation.

typedef const void* CFTypeRef;
typedef const void* CFNumberRef;
typedef NSString* CFStringRef;
typedef unsigned long CFTypeID;
typedef struct GNUstepMainRunLoop* CFRunLoopRef;
typedef int CFRunLoopRunResult;

extern CFStringRef const kCFRunLoopDefaultMode;
extern CFStringRef const kCFRunLoopCommonModes;
enum { kCFRunLoopRunTimedOut = 3, kCFRunLoopRunHandledSource = 4 };

CFTypeRef CFRetain(CFTypeRef object);
void CFRelease(CFTypeRef object);
CFTypeID CFGetTypeID(CFTypeRef object);
CFTypeID CFBooleanGetTypeID();
bool CFNumberIsFloatType(CFNumberRef number);

CFRunLoopRef CFRunLoopGetMain();
void CFRunLoopPerformBlock(CFRunLoopRef loop, CFTypeRef mode, void (^block)(void));
void CFRunLoopWakeUp(CFRunLoopRef loop);
/// One turn; says that nothing more is to be done.
CFRunLoopRunResult CFRunLoopRunInMode(CFStringRef mode, double seconds, bool returnAfterSourceHandled);
