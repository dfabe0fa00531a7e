#include "Support/TestMachine.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-daemon.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <future>
#include <string_view>
#include <thread>
#include <utility>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

/// A boot takes less than a second; a machine that is not up by then never will be.
constexpr std::chrono::seconds kBootLimit{60};
constexpr std::chrono::seconds kCleanUpLimit{10};
constexpr int kUnavailableStatus = 77;

/// Each machine has a name of its own, so that many can run at once.
std::string uniqueName() {
  static int number = 0;
  return "quillon-test-" + std::to_string(getpid()) + "-" + std::to_string(++number);
}

fs::path machineImage() {
  const fs::path tool = fs::path(QUILLON_SOURCE_FOLDER) / "tools/make_test_machine";
  const QuillonProcessResult made = QuillonPosixProcessRunner(QuillonProcessEnvironment::inherited).run(tool, {});
  std::string output = made.output;
  while (!output.empty() && output.back() == '\n') output.pop_back();
  const std::string lastLine = output.substr(output.rfind('\n') + 1);
  if (made.status == kUnavailableStatus) throw TestMachineUnavailable(lastLine);
  if (made.status != 0) throw std::runtime_error("tools/make_test_machine failed: " + output);
  return lastLine;
}

FileDescriptor openNotificationSocket(const std::string& path) {
  FileDescriptor descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof(address.sun_path) - 1);
  if (!descriptor || bind(descriptor.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0) {
    throw std::runtime_error("Cannot listen at " + path);
  }
  return descriptor;
}

std::vector<std::string> containerCommand(const fs::path& image, const std::vector<TestMachine::Folder>& folders) {
  std::vector<std::string> command = {"/usr/bin/systemd-nspawn",
                                      "--quiet",
                                      "--boot",
                                      "--directory=" + image.string(),
                                      "--machine=" + uniqueName(),
                                      "--volatile=overlay",
                                      "--private-network",
                                      "--register=no",
                                      "--notify-ready=yes",
                                      "--kill-signal=SIGKILL",
                                      "--link-journal=no",
                                      "--console=pipe"};
  // Without a systemd that could give the container a unit, it stays where it is started.
  if (sd_booted() <= 0) command.emplace_back("--keep-unit");
  for (const TestMachine::Folder& folder : folders) {
    command.push_back("--bind-ro=" + folder.here.string() + ":" + folder.there);
  }
  return command;
}

/// systemd puts the value of a variable where a word of a command has "$", and "$" where it has "$$".
std::string escapedForSystemd(const std::string& word) {
  std::string escaped;
  for (const char character : word) escaped.append(character == '$' ? 2 : 1, character);
  return escaped;
}

/// Becomes readable when the process ends. sys/pidfd.h of glibc 2.36 cannot be used from C++.
FileDescriptor processDescriptor(pid_t process) noexcept {
  return FileDescriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

/// Waits until one of two descriptors can be read; the first that can, or -1 at the deadline.
int waitForOne(int first, int second, std::chrono::steady_clock::time_point deadline) {
  std::array<pollfd, 2> descriptors = {pollfd{.fd = first, .events = POLLIN, .revents = 0},
                                       pollfd{.fd = second, .events = POLLIN, .revents = 0}};
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  const int limit = static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
  if (poll(descriptors.data(), descriptors.size(), limit) <= 0) return -1;
  return descriptors[0].revents != 0 ? first : second;
}

std::string receive(int notifications) {
  std::array<char, 4096> message{};
  const ssize_t count = recv(notifications, message.data(), message.size(), 0);
  return {message.data(), count > 0 ? static_cast<std::size_t>(count) : 0};
}

}  // namespace

TestMachine::TestMachine(const std::vector<Folder>& folders) : group_(uniqueName()) {
  const fs::path image = machineImage();
  const FileDescriptor notifications = openNotificationSocket(folder_ / "notify");
  try {
    boot(image, folders);
    waitUntilUp(notifications.get());
  } catch (...) {
    end();
    throw;
  }
}

TestMachine::~TestMachine() {
  end();
}

void TestMachine::boot(const fs::path& image, const std::vector<Folder>& folders) {
  std::vector<std::string> command = containerCommand(image, folders);
  std::vector<std::string> environment = environmentVariables(QuillonProcessEnvironment::minimal);
  environment.push_back("NOTIFY_SOCKET=" + (folder_ / "notify").string());
  const std::vector<char*> arguments = pointersToStrings(command);
  const std::vector<char*> variables = pointersToStrings(environment);
  const std::string log = folder_ / "log";

  const pid_t parent = getpid();
  container_ = fork();
  if (container_ < 0) throw std::runtime_error("Cannot fork");
  if (container_ > 0) return;
  // The machine must not outlive a test program that is killed. It would outlive a systemd-nspawn that is killed.
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(1);
  group_.enter();
  dup2(open("/dev/null", O_RDONLY), STDIN_FILENO);
  dup2(open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600), STDOUT_FILENO);
  dup2(STDOUT_FILENO, STDERR_FILENO);
  close_range(STDERR_FILENO + 1, ~0U, 0);
  execve(arguments[0], arguments.data(), variables.data());
  _exit(127);
}

void TestMachine::waitUntilUp(int notifications) {
  constexpr std::string_view kLeaderKey = "X_NSPAWN_LEADER_PID=";
  const auto deadline = std::chrono::steady_clock::now() + kBootLimit;
  const FileDescriptor container = processDescriptor(container_);
  for (bool isUp = false; !isUp;) {
    if (waitForOne(notifications, container.get(), deadline) != notifications) {
      throw TestMachineUnavailable("systemd-nspawn cannot boot the machine: " + readFile(folder_ / "log"));
    }
    const std::string message = receive(notifications);
    const std::size_t leader = message.find(kLeaderKey);
    if (leader != std::string::npos) leader_ = std::stoi(message.substr(leader + kLeaderKey.size()));
    isUp = message.find("READY=1") != std::string::npos;
  }
}

fs::path TestMachine::root() const {
  return "/proc/" + std::to_string(leader_) + "/root";
}

TestMachineCommandResult TestMachine::enter(const std::vector<std::string>& command, std::chrono::seconds limit) const {
  std::vector<std::string> arguments = {"--kill-after=5", std::to_string(limit.count()), "/usr/bin/nsenter", "--all",
                                        "--target",       std::to_string(leader_)};
  arguments.insert(arguments.end(), command.begin(), command.end());
  const QuillonProcessResult result =
      QuillonPosixProcessRunner(QuillonProcessEnvironment::minimal).run("/usr/bin/timeout", arguments);
  return {.status = result.status, .output = result.output};
}

TestMachineCommandResult TestMachine::run(const std::vector<std::string>& command) const {
  return enter(command);
}

TestMachineCommandResult TestMachine::runInSession(const Session& session,
                                                   const std::vector<std::string>& command) const {
  std::vector<std::string> words = {"systemd-run", "--quiet", "--wait", "--pipe", "--collect", "--service-type=exec",
                                    "-p", "PAMName=login", "-p", "User=" + session.user,
                                    // For systemd such a service is being started until the login ends.
                                    "-p", "TimeoutStartSec=infinity"};
  // What a display manager tells pam_systemd.
  if (session.hasSeat) {
    words.insert(words.end(),
                 {"-E", "XDG_SEAT=seat0", "-E", "XDG_SESSION_TYPE=wayland", "-E", "XDG_SESSION_CLASS=user"});
  }
  for (const std::string& variable : session.environment) words.insert(words.end(), {"-E", variable});
  for (const std::string& word : command) words.push_back(escapedForSystemd(word));
  return enter(words, session.limit);
}

void TestMachine::callInNetwork(const std::function<void()>& function) const {
  const FileDescriptor network(open(("/proc/" + std::to_string(leader_) + "/ns/net").c_str(), O_RDONLY | O_CLOEXEC));
  std::packaged_task<void()> task([&] {
    if (setns(network.get(), CLONE_NEWNET) != 0) throw std::runtime_error("Cannot enter the machine's network");
    function();
  });
  std::future<void> result = task.get_future();
  std::thread(std::move(task)).join();
  result.get();
}

void TestMachine::end() noexcept {
  if (container_ < 0) return;
  // systemd-nspawn kills the machine's first process, and with it all others, cleans up and ends.
  const FileDescriptor container = processDescriptor(container_);
  const auto deadline = std::chrono::steady_clock::now() + kCleanUpLimit;
  kill(container_, SIGTERM);
  if (waitForOne(container.get(), container.get(), deadline) < 0) {
    if (leader_ > 0) kill(leader_, SIGKILL);
    kill(container_, SIGKILL);
  }
  waitpid(container_, nullptr, 0);
  container_ = -1;
}

}  // namespace quillon::testing
