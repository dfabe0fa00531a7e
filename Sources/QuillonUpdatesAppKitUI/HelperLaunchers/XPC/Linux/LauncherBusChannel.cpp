#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusChannel.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <systemd/sd-id128.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <limits>
#include <string_view>
#include <utility>

#include "QuillonCore/Values/QuillonError.h"
#include "QuillonUpdatesAppKitUI/HelperLaunchers/XPC/Linux/LauncherBusDictionary.h"

namespace quillon {
namespace {

constexpr const char* kObject = "/io/quillon/UpdateInstallerLauncher";
constexpr const char* kInterface = "io.quillon.UpdateInstallerLauncher";
constexpr const char* kLaunch = "LaunchReplacement";
constexpr const char* kProgress = "ReportProgress";

/// Messages that may wait for the other end to read before this one stops reading.
constexpr std::uint64_t kLargestQueue = 64;

/// Throws for the negative errno value that sd-bus returned.
void require(int result) {
  if (result < 0) throw QuillonSystemError::posix(-result, "talk over", "the launcher's socket");
}

sd_bus* makeBus(FileDescriptor socket, LauncherBusEnd end) {
  sd_bus* bus = nullptr;
  require(sd_bus_new(&bus));
  const std::unique_ptr<sd_bus, decltype(&sd_bus_unref)> guard(bus, &sd_bus_unref);
  require(sd_bus_set_fd(bus, socket.get(), socket.get()));
  (void)socket.release();
  require(sd_bus_set_bus_client(bus, 0));
  require(sd_bus_set_anonymous(bus, 0));
  // No message carries descriptors, and the service refuses them. The host asks all the same: a client that does not
  // ask runs into an assertion of sd-bus 252, which ends the process, when a hostile server answers with a line too
  // many.
  require(sd_bus_negotiate_fds(bus, end == LauncherBusEnd::host ? 1 : 0));
  if (end == LauncherBusEnd::service) {
    sd_id128_t identifier{};
    require(sd_id128_randomize(&identifier));
    require(sd_bus_set_server(bus, 1, identifier));
  }
  require(sd_bus_start(bus));
  return sd_bus_ref(bus);
}

FileDescriptor duplicate(const FileDescriptor& descriptor) {
  FileDescriptor copy(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, 0));
  if (!copy) require(-errno);
  return copy;
}

FileDescriptor makeWake() {
  FileDescriptor wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!wake) require(-errno);
  return wake;
}

bool equals(const char* text, std::string_view other) noexcept {
  return text != nullptr && text == other;
}

}  // namespace

LauncherBusChannel::LauncherBusChannel(FileDescriptor socket, LauncherBusEnd end)
    : end_(end), socket_(duplicate(socket)), wake_(makeWake()), bus_(makeBus(std::move(socket), end)) {}

LauncherBusChannel::Hold::Hold(LauncherBusChannel& channel) : channel_(channel) {
  const std::lock_guard guard(channel_.holdLock_);
  ++channel_.holdCount_;
}

LauncherBusChannel::Hold::~Hold() {
  {
    const std::lock_guard guard(channel_.holdLock_);
    --channel_.holdCount_;
  }
  channel_.holdChanged_.notify_all();
}

LauncherBusChannel::~LauncherBusChannel() {
  close();
}

std::optional<std::uint64_t> LauncherBusChannel::call(const QuillonPropertyListValue::Dictionary& message) {
  if (!fitsLauncherBus(message)) return std::nullopt;
  const std::lock_guard guard(lock_);
  sd_bus_message* call = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &call, nullptr, kObject, kInterface, kLaunch) < 0) return std::nullopt;
  const Message owner(call);
  std::uint64_t cookie = 0;
  if (appendLauncherBusDictionary(call, message) < 0 || !send(call, &cookie)) return std::nullopt;
  return cookie;
}

bool LauncherBusChannel::reply(std::uint64_t callIdentifier, const QuillonPropertyListValue::Dictionary& reply) {
  const bool fits = fitsLauncherBus(reply);
  const std::lock_guard guard(lock_);
  const auto answer = answers_.extract(callIdentifier);
  if (answer.empty()) return false;
  sd_bus_message* const message = answer.mapped().get();
  if (fits && appendLauncherBusDictionary(message, reply) < 0) return false;
  return send(message, nullptr);
}

bool LauncherBusChannel::reportProgress(const QuillonPropertyListValue::Dictionary& progress) {
  if (!fitsLauncherBus(progress)) return false;
  const std::lock_guard guard(lock_);
  sd_bus_message* signal = nullptr;
  if (sd_bus_message_new_signal(bus_.get(), &signal, kObject, kInterface, kProgress) < 0) return false;
  const Message owner(signal);
  return appendLauncherBusDictionary(signal, progress) >= 0 && send(signal, nullptr);
}

void LauncherBusChannel::close() noexcept {
  if (isClosed_.exchange(true)) return;
  shutdown(socket_.get(), SHUT_RDWR);
  // With the lock, so that nobody is between looking and waiting.
  const std::lock_guard guard(holdLock_);
  holdChanged_.notify_all();
}

std::optional<LauncherBusMessage> LauncherBusChannel::next() {
  short found = 0;
  while (true) {
    short events = 0;
    int milliseconds = 0;
    // Outside the other lock, which a sender has for as long as it writes.
    waitWhileHeld();
    if (isClosed_) break;
    {
      const std::lock_guard guard(lock_);
      // What answers a held request came after this lock was taken to send it.
      if (holdCount_ != 0) continue;
      // After a look at the socket one step is taken, whatever else waits to be written.
      if (!isCongested() || (std::exchange(found, short{0}) & ~POLLIN) != 0) {
        Step step = this->step();
        if (step.message) return std::move(step.message);
        if (sd_bus_is_open(bus_.get()) <= 0 || didFail_) break;
        if (step.didProgress) continue;
      }
      events = wantedEvents();
      milliseconds = waitMilliseconds();
    }
    found = wait(events, milliseconds);
  }
  // The other end is to see at once that nobody listens any more.
  shutdown(socket_.get(), SHUT_RDWR);
  return std::nullopt;
}

LauncherBusEnding LauncherBusChannel::ending() const noexcept {
  if (isClosed_) return LauncherBusEnding::closed;
  const std::lock_guard guard(lock_);
  return didConnect_ && !didFail_ ? LauncherBusEnding::otherEndGone : LauncherBusEnding::broken;
}

void LauncherBusChannel::waitWhileHeld() {
  std::unique_lock guard(holdLock_);
  holdChanged_.wait(guard, [this] { return holdCount_ == 0 || isClosed_; });
}

bool LauncherBusChannel::isCongested() const noexcept {
  std::uint64_t count = 0;
  return sd_bus_get_n_queued_write(bus_.get(), &count) >= 0 && count > kLargestQueue;
}

LauncherBusChannel::Step LauncherBusChannel::step() {
  sd_bus_message* message = nullptr;
  const int result = sd_bus_process(bus_.get(), &message);
  const Message owner(message);
  if (result < 0) didFail_ = true;
  if (sd_bus_is_ready(bus_.get()) > 0) didConnect_ = true;
  return {.didProgress = result > 0, .message = message == nullptr ? std::nullopt : interpreted(message)};
}

std::optional<LauncherBusMessage> LauncherBusChannel::interpreted(sd_bus_message* message) {
  std::uint8_t type = 0;
  if (sd_bus_message_get_type(message, &type) < 0) return std::nullopt;
  if (type == SD_BUS_MESSAGE_METHOD_CALL) return interpretedCall(message);
  if (end_ == LauncherBusEnd::service) return std::nullopt;
  if (type == SD_BUS_MESSAGE_SIGNAL) {
    if (sd_bus_message_is_signal(message, kInterface, kProgress) <= 0) return std::nullopt;
    auto progress = readLauncherBusDictionary(message);
    return progress ? std::optional<LauncherBusMessage>(LauncherBusProgress{std::move(*progress)}) : std::nullopt;
  }
  std::uint64_t cookie = 0;
  if (sd_bus_message_get_reply_cookie(message, &cookie) < 0) return std::nullopt;
  std::optional<QuillonPropertyListValue::Dictionary> reply;
  if (type == SD_BUS_MESSAGE_METHOD_RETURN) reply = readLauncherBusDictionary(message);
  return LauncherBusReply{.identifier = cookie, .reply = reply ? std::move(*reply) : decltype(reply)::value_type()};
}

std::optional<LauncherBusMessage> LauncherBusChannel::interpretedCall(sd_bus_message* message) {
  if (end_ == LauncherBusEnd::host || sd_bus_message_is_method_call(message, kInterface, kLaunch) <= 0 ||
      !equals(sd_bus_message_get_path(message), kObject)) {
    (void)sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "There is no such method.");
    return std::nullopt;
  }
  sd_bus_message* answer = nullptr;
  // Made here, because it keeps nothing of the request, which may be large.
  if (sd_bus_message_new_method_return(message, &answer) < 0) return std::nullopt;
  answers_.emplace(++lastCall_, Message(answer));
  auto dictionary = readLauncherBusDictionary(message);
  return LauncherBusCall{.identifier = lastCall_,
                         .message = dictionary ? std::move(*dictionary) : decltype(dictionary)::value_type()};
}

bool LauncherBusChannel::send(sd_bus_message* message, std::uint64_t* cookie) {
  if (isClosed_ || sd_bus_send(bus_.get(), message, cookie) < 0) return false;
  // The reader waits for what arrives; from here on also for room to write.
  std::uint64_t waiting = 0;
  if (sd_bus_get_n_queued_write(bus_.get(), &waiting) >= 0 && waiting > 0) wake();
  return true;
}

short LauncherBusChannel::wantedEvents() const noexcept {
  const int events = isCongested() ? POLLOUT : sd_bus_get_events(bus_.get());
  return static_cast<short>(std::max(events, 0));
}

int LauncherBusChannel::waitMilliseconds() const noexcept {
  using std::chrono::microseconds;
  constexpr std::uint64_t kForever = std::numeric_limits<std::uint64_t>::max();
  std::uint64_t end = kForever;
  if (sd_bus_get_timeout(bus_.get(), &end) < 0 || end == kForever) return -1;
  // The bus counts on CLOCK_MONOTONIC, as this clock does.
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const auto left = microseconds(static_cast<std::int64_t>(end)) - std::chrono::floor<microseconds>(now);
  const auto milliseconds = std::chrono::ceil<std::chrono::milliseconds>(left).count();
  return static_cast<int>(std::clamp<std::int64_t>(milliseconds, 0, std::numeric_limits<int>::max()));
}

short LauncherBusChannel::wait(short events, int milliseconds) const noexcept {
  std::array<pollfd, 2> descriptors{
      {{.fd = socket_.get(), .events = events, .revents = 0}, {.fd = wake_.get(), .events = POLLIN, .revents = 0}}};
  if (poll(descriptors.data(), descriptors.size(), milliseconds) < 0) return 0;
  if (descriptors[1].revents != 0) {
    eventfd_t count = 0;
    (void)eventfd_read(wake_.get(), &count);
  }
  return descriptors[0].revents;
}

void LauncherBusChannel::wake() const noexcept {
  (void)eventfd_write(wake_.get(), 1);
}

}  // namespace quillon
