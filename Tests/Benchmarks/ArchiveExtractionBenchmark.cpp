// Unpacking a bundle of 5,000 files and 200 MB with links, beside bsdtar, unzip and 7zz, all as commands.
//
// ArchiveExtractionBenchmark [FOLDER]. Prints the median of five runs each and the largest peak memory, on all
// processors and on one. The files' content is taken from this machine's own libraries.

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "Benchmarks/LargeContent.h"

namespace {

namespace fs = std::filesystem;

/// In a process of its own: what a process has held counts as the memory of the commands that it starts.
void makeBundleElsewhere(const fs::path& root) {
  const pid_t child = fork();
  if (child == 0) {
    quillon::testing::makeLargeContent(root / "Contents/Resources");
    std::_Exit(0);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) std::exit(1);
}

struct Run {
  double seconds = 0;
  double processorSeconds = 0;
  long kilobytes = 0;
};

double inSeconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Runs a command in `folder` with its output dropped; ends the benchmark when it fails.
Run run(std::vector<std::string> command, const fs::path& folder) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (std::string& word : command) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions{};
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  const auto begin = std::chrono::steady_clock::now();
  pid_t child = 0;
  int status = 0;
  rusage usage{};
  const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0 || wait4(child, &status, 0, &usage) != child || status != 0) {
    std::fprintf(stderr, "failed: %s\n", command[0].c_str());
    std::exit(1);
  }
  return {std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(),
          inSeconds(usage.ru_utime) + inSeconds(usage.ru_stime), usage.ru_maxrss};
}

/// Unpacks five times into an empty folder.
Run medianRun(const std::vector<std::string>& command, const fs::path& folder) {
  std::array<double, 5> times{};
  std::array<double, 5> processorTimes{};
  long kilobytes = 0;
  for (std::size_t i = 0; i < times.size(); ++i) {
    fs::remove_all(folder);
    fs::create_directory(folder);
    const Run result = run(command, folder);
    times[i] = result.seconds;
    processorTimes[i] = result.processorSeconds;
    kilobytes = std::max(kilobytes, result.kilobytes);
  }
  fs::remove_all(folder);
  std::sort(times.begin(), times.end());
  std::sort(processorTimes.begin(), processorTimes.end());
  return {times[2], processorTimes[2], kilobytes};
}

void compare(const std::string& archive, const fs::path& folder) {
  const std::string binary = QUILLON_BINARY_FOLDER "/quillon-ditto";
  const Run ours = medianRun({binary, "-x", "-k", archive, "."}, folder);
  std::printf("%-13s %.3f s  processor %.3f s  %ld MB\n", "quillon-ditto", ours.seconds, ours.processorSeconds,
              ours.kilobytes / 1024);
  const std::vector<std::vector<std::string>> peers{
      {"bsdtar", "-xf", archive}, {"unzip", "-q", archive}, {"7zz", "x", "-snld", archive}};
  for (const auto& peer : peers) {
    const Run theirs = medianRun(peer, folder);
    std::printf("%-13s %.3f s  processor %.3f s  %ld MB  ratio %.2f  of processor time %.2f\n", peer[0].c_str(),
                theirs.seconds, theirs.processorSeconds, theirs.kilobytes / 1024, theirs.seconds / ours.seconds,
                theirs.processorSeconds / ours.processorSeconds);
  }
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const fs::path root = fs::path(argumentCount > 1 ? arguments[1] : "/dev/shm") / "quillon-archive-extraction";
  fs::remove_all(root);
  makeBundleElsewhere(root / "Example.app");
  const std::string archive = (root / "Example.zip").string();
  run({"zip", "-qry", archive, "Example.app"}, root);
  std::printf("all processors, archive of %ju MB\n", static_cast<std::uintmax_t>(fs::file_size(archive) >> 20));
  compare(archive, root / "unpacked");
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(0, &one);
  sched_setaffinity(0, sizeof(one), &one);
  std::puts("one processor");
  compare(archive, root / "unpacked");
  fs::remove_all(root);
  return 0;
}
