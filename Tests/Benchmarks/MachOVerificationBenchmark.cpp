// How long the verification of a signed object file of 1 GB takes, beside `openssl dgst -sha256` over the same bytes:
// on all processors and on one. Both are commands and read from the page cache, in turns. Prints the ratios of the best
// times, and how much memory the verification has at most.

#include <sched.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Support/SignedProgramMaker.h"
#include "Support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;

constexpr std::size_t kPages = 262'144;  // of 4096 bytes
constexpr int kTurns = 7;

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "%s\n", what);
  std::exit(1);
}

/// What one run of a command took.
struct Cost {
  double seconds = 1e9;
  double processorSeconds = 1e9;
  double megabytes = 0;

  /// Of several runs.
  void keepBest(const Cost& other) {
    seconds = std::min(seconds, other.seconds);
    processorSeconds = std::min(processorSeconds, other.processorSeconds);
    megabytes = std::max(megabytes, other.megabytes);
  }
};

double inSeconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Cost wait(pid_t child, std::chrono::steady_clock::time_point begin) {
  int status = 0;
  rusage usage{};
  require(wait4(child, &status, 0, &usage) == child && status == 0, "a command failed");
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
  return {.seconds = elapsed.count(),
          .processorSeconds = inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime),
          .megabytes = static_cast<double>(usage.ru_maxrss) / 1024};
}

/// Makes the file in a process of its own: the memory for that would count as that of every child.
void makeProgram(const fs::path& file) {
  const pid_t child = fork();
  if (child == 0) {
    testing::makeSignedProgram(file, {.pages = kPages});
    _exit(0);
  }
  wait(child, std::chrono::steady_clock::now());
}

Cost run(std::vector<std::string> words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  const auto begin = std::chrono::steady_clock::now();
  pid_t child = 0;
  require(posix_spawnp(&child, pointers.front(), nullptr, nullptr, pointers.data(), environ) == 0,
          "a command did not start");
  return wait(child, begin);
}

/// The best of several runs, each beside one of the peer, so that a busy moment of the machine hits both.
void compare(const fs::path& program, const char* processors) {
  const std::string digest = (program.parent_path() / "digest").string();
  Cost own;
  Cost peer;
  for (int turn = 0; turn < kTurns; ++turn) {
    peer.keepBest(run({"openssl", "dgst", "-sha256", "-out", digest, program.string()}));
    own.keepBest(run({QUILLON_BINARY_FOLDER "/quillon-codesign", "--verify", "--strict", program.string()}));
  }
  std::printf("%s\n", processors);
  std::printf("  verification of the signature: %.0f ms, processor time %.0f ms, at most %.1f MB\n", own.seconds * 1e3,
              own.processorSeconds * 1e3, own.megabytes);
  std::printf("  openssl dgst -sha256 over the file: %.0f ms, processor time %.0f ms\n", peer.seconds * 1e3,
              peer.processorSeconds * 1e3);
  std::printf("  ratio (peer / own): %.2f, of processor times %.2f\n", peer.seconds / own.seconds,
              peer.processorSeconds / own.processorSeconds);
}

int processorCount() {
  cpu_set_t processors;
  require(sched_getaffinity(0, sizeof processors, &processors) == 0, "the processors cannot be counted");
  return CPU_COUNT(&processors);
}

/// Binds this process, and the commands that it starts, to the processor that it is on.
void useOneProcessor() {
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(static_cast<std::size_t>(sched_getcpu()), &one);
  require(sched_setaffinity(0, sizeof one, &one) == 0, "no processor can be chosen");
}

}  // namespace

int main() {
  const testing::TemporaryDirectory folder;
  const fs::path program = folder / "program";
  makeProgram(program);
  std::printf("object file of %.0f MB\n", static_cast<double>(fs::file_size(program)) / 1e6);
  compare(program, (std::to_string(processorCount()) + " processors").c_str());
  useOneProcessor();
  compare(program, "1 processor");
  return 0;
}
