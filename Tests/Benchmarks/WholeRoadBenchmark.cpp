// The whole road of an update without a network, for a bundle of 5,000 files and 200 MB: from the start of the update
// command to the line that the new version writes when it runs. Beside it what unpacking and reading the same files
// takes: bsdtar, and sha256sum over what it unpacked.
//
// WholeRoadBenchmark [FOLDER]. Prints the median of five rounds, in each of which all were run. Started by root it
// updates as an ordinary user too, whose installer needs no copy of its own that nobody else can change.

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Benchmarks/LargeContent.h"
#include "Support/TemporaryDirectory.h"
#include "Support/UpdatableSample.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 5;
constexpr auto kLookInterval = std::chrono::milliseconds(1);
constexpr auto kStartLimit = std::chrono::seconds(60);

double secondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Runs a command of the shell; ends the benchmark when it fails. Returns the seconds it took.
double runShell(const std::string& command) {
  const auto begin = Clock::now();
  if (std::system(command.c_str()) != 0) throw std::runtime_error("failed: " + command);  // NOLINT(cert-env33-c)
  return secondsSince(begin);
}

std::string quoted(const fs::path& path) {
  return "'" + path.string() + "'";
}

void writeFeed(const fs::path& feed, const fs::path& archive) {
  quillon::testing::writeFile(
      feed,
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><array><dict>\n"
      "<key>type</key><string>update</string><key>id</key><string>2.0</string><key>current</key><string>2.0</string>\n"
      "<key>currentbuild</key><string>2</string><key>important</key><string>1</string>\n"
      "<key>app-installer</key><string>file://" +
          archive.string() + "</string></dict></array></plist>\n");
}

/// The installer removes the old version after it has started the new one.
void waitUntilTidy(const fs::path& applications) {
  const auto items = [&] { return std::distance(fs::directory_iterator(applications), {}); };
  const auto begin = Clock::now();
  while (items() > 2) {  // the application, and its log
    if (Clock::now() - begin > kStartLimit) throw std::runtime_error("the installer has left something");
    std::this_thread::sleep_for(kLookInterval);
  }
}

constexpr uid_t kOther = 65534;  // "nobody", present on every Debian system
constexpr const char* kAsOther = "/usr/bin/setpriv --reuid=65534 --regid=65534 --clear-groups ";

/// A round of the update by a user, this one or the other: the seconds until the new version runs.
double update(quillon::testing::UpdatableSample& sample, const fs::path& folder, const fs::path& feed, bool isOther) {
  const uid_t user = isOther ? kOther : geteuid();
  fs::remove(sample.installed().parent_path() / "Sample.log");
  sample.giveTo(user, user, {});
  sample.install(1);
  for (const char* name : {"Home", "Support", "Temporary"}) {
    fs::remove_all(folder / name);
    fs::create_directories(folder / name);
    if (lchown((folder / name).c_str(), user, user) != 0) throw std::runtime_error("cannot give a folder away");
  }
  const std::string command = (isOther ? kAsOther : "") + std::string("env ") + "HOME=" + quoted(folder / "Home") +
                              " XDG_CONFIG_HOME=" + quoted(folder / "Home") +
                              " XDG_DATA_HOME=" + quoted(folder / "Support") +
                              " TMPDIR=" + quoted(folder / "Temporary") + " " QUILLON_BINARY_FOLDER "/quillon update " +
                              quoted(sample.installed()) + " --feed file://" + feed.string() + " --yes > /dev/null";
  const auto begin = Clock::now();
  runShell(command);
  pid_t process = 0;
  while ((process = sample.startedProcess(2)) == 0) {
    if (Clock::now() - begin > kStartLimit) throw std::runtime_error("the new version was not started");
    std::this_thread::sleep_for(kLookInterval);
  }
  const double seconds = secondsSince(begin);
  kill(process, SIGTERM);
  waitUntilTidy(sample.installed().parent_path());
  return seconds;
}

double median(std::array<double, kRounds> values) {
  std::ranges::sort(values);
  return values[kRounds / 2];
}

void compare(const fs::path& folder) {
  quillon::testing::makeLargeContent(folder / "Content");
  quillon::testing::UpdatableSample sample(folder, folder / "Content");
  fs::permissions(folder, fs::perms(0755));
  const fs::path archive = folder / "Sample.zip";
  const fs::path feed = folder / "feed.plist";
  quillon::testing::writeFile(archive, sample.makeArchive(2, false));
  writeFeed(feed, archive);

  const bool isRoot = geteuid() == 0;
  std::array<double, kRounds> ours{};
  std::array<double, kRounds> others{};
  std::array<double, kRounds> unpacking{};
  std::array<double, kRounds> hashing{};
  for (std::size_t round = 0; round < kRounds; ++round) {
    ours[round] = update(sample, folder, feed, false);
    if (isRoot) others[round] = update(sample, folder, feed, true);
    const fs::path unpacked = folder / "Unpacked";
    fs::create_directory(unpacked);
    unpacking[round] = runShell("bsdtar -xf " + quoted(archive) + " -C " + quoted(unpacked));
    hashing[round] = runShell("find " + quoted(unpacked) + " -type f -print0 | xargs -0 sha256sum > /dev/null");
    fs::remove_all(unpacked);
  }
  const double peers = median(unpacking) + median(hashing);
  std::printf("whole road            %.3f s  ratio %.2f\n", median(ours), median(ours) / peers);
  if (isRoot) std::printf("as an ordinary user   %.3f s  ratio %.2f\n", median(others), median(others) / peers);
  std::printf("bsdtar -x             %.3f s\nsha256sum             %.3f s\n", median(unpacking), median(hashing));
  std::printf("their sum             %.3f s\n", peers);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const fs::path folder = fs::path(argumentCount > 1 ? arguments[1] : "/dev/shm") / "quillon-whole-road";
  fs::remove_all(folder);
  int status = 0;
  try {
    compare(folder);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "WholeRoadBenchmark: %s\n", error.what());
    status = 1;
  }
  fs::remove_all(folder);
  return status;
}
