// From starting the installer command to the first system call of the swap, with a signed bundle of 100 files.
//
// Prints the median and the best of 30 runs. The swap begins when the installed bundle leaves its place, which inotify
// tells.

#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "Support/ApplicationBundleBuilder.h"
#include "Support/ReplacementRequestBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;

constexpr int kRuns = 30;
constexpr int kFiles = 100;

void makeSigned(const fs::path& bundle, const std::string& version, const std::string& build) {
  testing::makeApplicationBundle(bundle, {.version = version, .build = build});
  for (int i = 0; i < kFiles - 4; ++i) {
    testing::writeFile(bundle / "Contents/Resources" / ("file" + std::to_string(i)), std::string(4096, 'x'));
  }
  signCode(QuillonURL::fileURL(bundle.string()), {});
}

pid_t start(std::vector<std::string> words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  pid_t child = 0;
  if (posix_spawn(&child, pointers.front(), nullptr, nullptr, pointers.data(), environ) != 0) std::exit(1);
  return child;
}

double millisecondsToSwap() {
  const testing::TemporaryDirectory folder;
  const fs::path installed = folder / "Applications/Example.app";
  const fs::path staged = folder / "Staging/Example.app";
  makeSigned(installed, "1.0", "1");
  makeSigned(staged, "2.0", "2");
  const int watch = inotify_init1(IN_CLOEXEC);
  inotify_add_watch(watch, installed.parent_path().c_str(), IN_MOVED_FROM);
  std::vector<std::string> words = testing::makeReplacementRequest(staged, installed).helperArguments(0);
  words.insert(words.begin(), std::string(QUILLON_BINARY_FOLDER) + "/QuillonUpdateInstaller");

  const auto begin = std::chrono::steady_clock::now();
  const pid_t child = start(std::move(words));
  pollfd moved{.fd = watch, .events = POLLIN, .revents = 0};
  const bool swapped = poll(&moved, 1, 10'000) == 1;
  const auto end = std::chrono::steady_clock::now();

  waitpid(child, nullptr, 0);
  close(watch);
  if (!swapped) {
    std::fputs("the installer did not swap the bundles\n", stderr);
    std::exit(1);
  }
  return std::chrono::duration<double, std::milli>(end - begin).count();
}

}  // namespace

int main() {
  std::array<double, kRuns> times{};
  for (double& time : times) time = millisecondsToSwap();
  std::sort(times.begin(), times.end());
  std::printf("installer start to swap, %d files, %s: median %.2f ms, best %.2f ms\n", kFiles,
              geteuid() == 0 ? "privileged (own copy, validated twice)" : "ordinary user", times[kRuns / 2],
              times.front());
  return 0;
}
