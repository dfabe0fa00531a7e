#include "QuillonUpdatesAppKitUI/Presentation/Terminal/Posix/VeskUpdateTerminalKeys.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/Presentation/Terminal/VeskUpdateTerminalKeySequence.h"

namespace quillon {
namespace {

constexpr std::size_t kFewestColumns = 20;
constexpr std::uint64_t kWhicheverQuestion = 0;
/// A descriptor that was closed may become any other, even the pipe's.
constexpr int kClosed = -1;

bool canDrawInPlace(int descriptor) {
  if (isatty(descriptor) == 0) return false;
  const char* const kind = std::getenv("TERM");
  return kind != nullptr && std::string_view(kind) != "dumb";
}

}  // namespace

VeskUpdateTerminal::Style terminalStyle(int outputDescriptor) {
  VeskUpdateTerminal::Style style{.drawsInPlace = canDrawInPlace(outputDescriptor)};
  winsize size{};
  if (ioctl(outputDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col >= kFewestColumns) style.columns = size.ws_col;
  return style;
}

VeskUpdateTerminalKeys::VeskUpdateTerminalKeys(int inputDescriptor, std::shared_ptr<VeskUpdateTerminal> terminal,
                                               std::shared_ptr<QuillonMainThreadDispatching> mainThread,
                                               std::chrono::milliseconds escapeWait)
    : inputDescriptor_(fcntl(inputDescriptor, F_GETFD) < 0 ? kClosed : inputDescriptor),
      isTerminal_(isatty(inputDescriptor) != 0),
      escapeWait_(escapeWait),
      terminal_(std::move(terminal)),
      mainThread_(std::move(mainThread)) {
  if (pipe(wakeUp_) != 0) throw QuillonSystemError::posix(errno, "make", "a pipe");
  for (const int end : wakeUp_) fcntl(end, F_SETFD, FD_CLOEXEC);
  terminal_->setAskingObserver([this](bool /*isAsking*/) { questionChanged(); });
  thread_ = std::thread([this] { read(); });
}

VeskUpdateTerminalKeys::~VeskUpdateTerminalKeys() {
  terminal_->setAskingObserver(nullptr);
  {
    const std::lock_guard guard(lock_);
    keyMode_.reset();
    question_ = 0;
  }
  ::close(wakeUp_[1]);  // the reading end becomes readable, which ends the thread
  thread_.join();
  ::close(wakeUp_[0]);
}

void VeskUpdateTerminalKeys::read() {
  if (inputDescriptor_ == kClosed) {
    post(VeskUpdateTerminal::kEndOfInput, kWhicheverQuestion);
    return;
  }
  std::array<pollfd, 2> sources{{{inputDescriptor_, POLLIN, 0}, {wakeUp_[0], POLLIN, 0}}};
  std::array<char, 256> bytes{};
  VeskUpdateTerminalKeySequence sequence;
  std::uint64_t question = 0;
  bool isWanted = false;
  for (;;) {
    if (isWanted && !isTerminal_ && takeLine()) isWanted = false;
    sources[0].fd = isWanted ? inputDescriptor_ : -1;  // a negative one is not waited for
    const int wait = sequence.isUndecided() ? static_cast<int>(escapeWait_.count()) : -1;
    const int ready = poll(sources.data(), sources.size(), wait);
    if (ready < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (ready == 0) {
      sequence.decide();
      post(VeskUpdateTerminal::kEscapeKey, question);
      continue;
    }
    if (sources[1].revents != 0) {
      if (::read(wakeUp_[0], bytes.data(), bytes.size()) <= 0) return;
      sequence.decide();  // an Escape from before the question is no answer to it
      question = currentQuestion();
      isWanted = !isTerminal_ || question != 0;
      continue;
    }
    const ssize_t count = readFor(question, bytes);
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    // What poll has seen may have been thrown away since. The end of a terminal is its hanging up.
    if (count == 0 && isTerminal_ && (sources[0].revents & (POLLHUP | POLLERR | POLLNVAL)) == 0) continue;
    if (count <= 0 && unread_.empty()) {
      post(VeskUpdateTerminal::kEndOfInput, kWhicheverQuestion);
      return;
    }
    if (isTerminal_) {
      for (const char byte : std::string_view(bytes.data(), static_cast<std::size_t>(count))) {
        if (const auto key = sequence.take(byte)) post(*key, question);
      }
    } else if (count <= 0) {
      unread_ += '\n';  // the last line has an end as well
    } else {
      unread_.append(bytes.data(), static_cast<std::size_t>(count));
    }
  }
}

std::uint64_t VeskUpdateTerminalKeys::currentQuestion() const {
  const std::lock_guard guard(lock_);
  return question_;
}

ssize_t VeskUpdateTerminalKeys::readFor(std::uint64_t question, std::span<char> bytes) const {
  if (!isTerminal_) return ::read(inputDescriptor_, bytes.data(), bytes.size());
  const std::lock_guard guard(lock_);
  if (question == question_) return ::read(inputDescriptor_, bytes.data(), bytes.size());
  errno = EAGAIN;
  return -1;
}

bool VeskUpdateTerminalKeys::takeLine() {
  const std::size_t end = unread_.find('\n');
  if (end == std::string::npos) {
    if (unread_.size() > 1) unread_.resize(1);  // the rest of a line means nothing
    return false;
  }
  const char first = unread_.front();
  // Lines that some editors write end with "\r\n".
  post(first == '\n' || first == '\r' ? VeskUpdateTerminal::kReturnKey : first, kWhicheverQuestion);
  unread_.erase(0, end + 1);
  return true;
}

void VeskUpdateTerminalKeys::post(char key, std::uint64_t question) const {
  mainThread_->post([self = std::weak_ptr(self_), terminal = std::weak_ptr(terminal_), key, question] {
    if (const auto keys = self.lock()) (*keys)->isKeyWanted_ = false;
    if (const auto live = terminal.lock()) {
      if (question == kWhicheverQuestion || question == live->questionNumber()) live->keyPressed(key);
    }
    // The key may have ended all of this, or may have been no choice of the question.
    if (const auto keys = self.lock(); keys && (*keys)->terminal_->isAsking()) (*keys)->wantKey();
  });
}

void VeskUpdateTerminalKeys::questionChanged() {
  const std::uint64_t question = terminal_->questionNumber();
  if (!isTerminal_) {
    if (question != 0) wantKey();
    return;
  }
  {
    const std::lock_guard guard(lock_);
    if (question == question_) return;
    if (question == 0) {
      keyMode_.reset();
    } else if (keyMode_) {
      tcflush(inputDescriptor_, TCIFLUSH);  // what was typed before a question is no answer to it
    } else {
      keyMode_.emplace(inputDescriptor_);
    }
    question_ = question;
  }
  wakeUp();
}

void VeskUpdateTerminalKeys::wantKey() {
  if (isTerminal_ || terminal_->didInputEnd() || std::exchange(isKeyWanted_, true)) return;
  wakeUp();
}

void VeskUpdateTerminalKeys::wakeUp() const {
  static_cast<void>(write(wakeUp_[1], "", 1));  // few enough to have room always: questions are asked one by one
}

}  // namespace quillon
