#include "QuillonCore/Network/Posix/FileURLTransfer.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "QuillonCore/Network/QuillonURLFailure.h"
#include "QuillonCore/Runtime/Posix/FileDescriptor.h"

namespace quillon {
namespace {

/// A receiver may wake another thread for each piece: few of them cost it little.
constexpr std::int64_t kPieceBytes = std::int64_t{4} * 1024 * 1024;

QuillonURLErrorCode codeFor(int error) noexcept {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return QuillonURLErrorCode::fileDoesNotExist;
    case EISDIR:
      return QuillonURLErrorCode::fileIsDirectory;
    case EACCES:
    case EPERM:
      return QuillonURLErrorCode::noPermissionsToReadFile;
    default:
      return QuillonURLErrorCode::unknown;
  }
}

[[noreturn]] void fail(int error, const QuillonURL& file) {
  throw urlFailure(codeFor(error), file, std::generic_category().message(error));
}

FileDescriptor openRegularFile(const QuillonURL& file, std::int64_t& length) {
  // A FIFO does not hold the transfer up until it has a writer.
  FileDescriptor descriptor(open(file.path().c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status {};
  if (!descriptor || fstat(descriptor.get(), &status) != 0) fail(errno, file);
  if (S_ISDIR(status.st_mode)) fail(EISDIR, file);
  if (!S_ISREG(status.st_mode)) throw urlFailure(QuillonURLErrorCode::unsupportedURL, file, "it is no regular file");
  length = status.st_size;
  return descriptor;
}

}  // namespace

void transferFile(const QuillonURL& file, QuillonURLTransferReceiving& receiver, const std::stop_token& stopToken) {
  if (stopToken.stop_requested()) throw cancelledTransfer(file);
  std::int64_t length = 0;
  const FileDescriptor descriptor = openRegularFile(file, length);
  receiver.didReceiveResponse({.url = file, .expectedContentLength = length});
  // A file that grows is read on in pieces as long as it was.
  std::vector<char> piece(static_cast<std::size_t>(std::clamp<std::int64_t>(length, 4096, kPieceBytes)));
  std::int64_t received = 0;
  for (;;) {
    if (stopToken.stop_requested()) throw cancelledTransfer(file);
    const ssize_t count = read(descriptor.get(), piece.data(), piece.size());
    if (count == 0) break;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail(errno, file);
    received += count;
    receiver.didReceiveData({piece.data(), static_cast<std::size_t>(count)});
  }
  if (received < length) {
    throw urlFailure(QuillonURLErrorCode::networkConnectionLost, file, "it became shorter while it was read");
  }
}

}  // namespace quillon
