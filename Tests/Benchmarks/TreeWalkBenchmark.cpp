// Changing owners and taking quarantine marks off 100,000 files, beside chown(1) and find(1) with setfattr(1).
//
// Run as root on the volume to be measured: TreeWalkBenchmark [FOLDER]. Prints the median of five runs each, and
// ratios.

#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"

namespace {

namespace fs = std::filesystem;
using quillon::QuillonPosixFileManager;
using quillon::QuillonURL;

constexpr int kFolders = 1000;
constexpr int kFilesPerFolder = 100;

void makeTree(const fs::path& root) {
  for (int i = 0; i < kFolders; ++i) {
    const fs::path folder = root / std::to_string(i % 10) / std::to_string(i);
    fs::create_directories(folder);
    for (int j = 0; j < kFilesPerFolder; ++j) std::ofstream(folder / ("file" + std::to_string(j))) << j;
  }
}

void mark(const fs::path& root) {
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    if (setxattr(entry.path().c_str(), "user.com.apple.quarantine", "q", 1, 0) != 0) {
      std::perror("setxattr");
      std::exit(1);
    }
  }
}

double seconds(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double medianOfFive(const std::function<void()>& prepare, const std::function<void()>& action) {
  std::array<double, 5> times{};
  for (double& time : times) {
    prepare();
    time = seconds(action);
  }
  std::sort(times.begin(), times.end());
  return times[2];
}

void run(const std::string& command) {
  if (std::system(command.c_str()) != 0) {  // NOLINT(cert-env33-c): the peer is a command
    std::fprintf(stderr, "failed: %s\n", command.c_str());
    std::exit(1);
  }
}

void report(const char* what, double ours, const char* peer, double theirs) {
  std::printf("%-12s %.3f s   %s %.3f s   ratio %.2f\n", what, ours, peer, theirs, theirs / ours);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  if (geteuid() != 0) {
    std::fputs("Run as root: only root may give files away.\n", stderr);
    return 1;
  }
  const fs::path root = fs::path(argumentCount > 1 ? arguments[1] : "/var/tmp") / "quillon-tree-walk";
  fs::remove_all(root);
  makeTree(root);
  const QuillonPosixFileManager files;
  const QuillonURL url = QuillonURL::fileURL(root.string());

  unsigned int owner = 1000;
  const double ourOwners = medianOfFive([&] { ++owner; }, [&] { files.changeOwnerOfDescendants(url, owner, owner); });
  const double theirOwners = medianOfFive(
      [&] { ++owner; },
      [&] { run("chown -R " + std::to_string(owner) + ":" + std::to_string(owner) + " " + root.string()); });
  report("owners", ourOwners, "chown -R", theirOwners);

  const double ourMarks = medianOfFive([&] { mark(root); },
                                       [&] {
                                         if (files.releaseQuarantine(url)) std::exit(1);
                                       });
  const double theirMarks = medianOfFive(
      [&] { mark(root); },
      [&] { run("find " + root.string() + " -mindepth 1 -exec setfattr -x user.com.apple.quarantine {} +"); });
  report("quarantine", ourMarks, "find -exec setfattr -x", theirMarks);

  const QuillonURL copy = QuillonURL::fileURL(root.string() + "-copy");
  const auto removeCopy = [&] { run("rm -rf " + copy.path()); };
  const double ourCopy = medianOfFive(removeCopy, [&] { files.copyItem(url, copy); });
  const double theirCopy = medianOfFive(
      removeCopy, [&] { run("cp -a " + root.string() + " " + copy.path() + " && sync -f " + copy.path()); });
  report("copy, flushed", ourCopy, "cp -a, sync -f", theirCopy);

  const auto makeCopy = [&] { run("rm -rf " + copy.path() + " && cp -a " + root.string() + " " + copy.path()); };
  const double ourRemoval = medianOfFive(makeCopy, [&] { files.removeItem(copy); });
  const double theirRemoval = medianOfFive(makeCopy, [&] { run("rm -rf " + copy.path()); });
  report("removal", ourRemoval, "rm -rf", theirRemoval);
  fs::remove_all(root);
  return 0;
}
