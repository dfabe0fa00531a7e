#pragma once

#import <Foundation/Foundation.h>

#include <memory>

#include "QuillonCore/Network/QuillonURLSessionTransfer.h"

/// The delegate of a session that has one task: hands what it hears to the transfer.
@interface QuillonURLSessionDelegate : NSObject <NSURLSessionDataDelegate> {
  std::shared_ptr<quillon::QuillonURLSessionTransfer> transfer_;
}
- (instancetype)init NS_UNAVAILABLE;
- (instancetype)initWithTransfer:(std::shared_ptr<quillon::QuillonURLSessionTransfer>)transfer
    NS_DESIGNATED_INITIALIZER;
@end
