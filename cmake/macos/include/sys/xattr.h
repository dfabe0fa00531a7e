// Declarations of what this project calls of the extended attributes, for building where the header is missing. On a
// Mac the real one is used.
#pragma once

#include <sys/types.h>

#define XATTR_NOFOLLOW 0x0001

__BEGIN_DECLS
ssize_t getxattr(const char* path, const char* name, void* value, size_t size, u_int32_t position, int options);
int removexattr(const char* path, const char* name, int options);
int setxattr(const char* path, const char* name, const void* value, size_t size, u_int32_t position, int options);
__END_DECLS
