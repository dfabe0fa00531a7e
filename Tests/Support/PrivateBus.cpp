#include "Support/PrivateBus.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace quillon::testing {
namespace {

constexpr int kAddressDescriptor = 3;

std::string configuration(const std::filesystem::path& socket) {
  return "<!DOCTYPE busconfig PUBLIC \"-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN\" "
         "\"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd\">"
         "<busconfig><listen>unix:path=" +
         socket.string() +
         "</listen><policy context=\"default\"><allow user=\"*\"/><allow own=\"*\"/>"
         "<allow send_destination=\"*\"/><allow send_type=\"method_call\"/><allow receive_sender=\"*\"/></policy>"
         "</busconfig>";
}

pid_t startDaemon(const std::string& configurationFile, const std::string& logFile, int addressPipe) {
  const std::string configurationOption = "--config-file=" + configurationFile;
  const std::string addressOption = "--print-address=" + std::to_string(kAddressDescriptor);
  std::array<const char*, 5> arguments = {"dbus-daemon", "--nofork", configurationOption.c_str(), addressOption.c_str(),
                                          nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  // The daemon complains there about limits that it may not raise.
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logFile.c_str(), O_WRONLY | O_CREAT, 0600);
  posix_spawn_file_actions_adddup2(&actions, addressPipe, kAddressDescriptor);
  posix_spawn_file_actions_addclosefrom_np(&actions, kAddressDescriptor + 1);
  pid_t daemon = -1;
  const int error = posix_spawn(&daemon, "/usr/bin/dbus-daemon", &actions, nullptr,
                                const_cast<char* const*>(arguments.data()), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("Cannot start dbus-daemon");
  return daemon;
}

}  // namespace

PrivateBus::PrivateBus() {
  const std::filesystem::path socket = folder_ / "bus";
  writeFile(folder_ / "bus.conf", configuration(socket));
  std::array<int, 2> ends{};
  if (pipe(ends.data()) != 0) throw std::runtime_error("Cannot make a pipe");
  daemon_ = startDaemon((folder_ / "bus.conf").string(), (folder_ / "log").string(), ends[1]);
  close(ends[1]);
  // The daemon prints its address when it listens.
  std::array<char, 256> printed{};
  const ssize_t count = read(ends[0], printed.data(), printed.size());
  close(ends[0]);
  if (count <= 0) throw std::runtime_error("dbus-daemon did not start: " + readFile(folder_ / "log"));
  address_ = "unix:path=" + socket.string();
}

PrivateBus::~PrivateBus() {
  kill(daemon_, SIGTERM);
  waitpid(daemon_, nullptr, 0);
}

}  // namespace quillon::testing
