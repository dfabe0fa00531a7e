// Downloading an archive of 1 GB from a web server on this machine to its final place, beside `curl -o`.
//
// DownloadBenchmark [FOLDER…]: folders on the volumes to be measured, by default /dev/shm and /var/tmp. Runs in turns;
// prints the median of five each, their ratio, and the processor time with and without a handler of progress.

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "ServedArchive.h"

namespace {

namespace fs = std::filesystem;
using quillon::QuillonURL;
using quillon::VeskUpdateInstallerDownloadProgress;
using quillon::VeskUpdateInstallerDownloadProgressHandler;

constexpr int kRuns = 5;

double seconds(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double medianOf(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

void download(const QuillonURL& url, const fs::path& file, const VeskUpdateInstallerDownloadProgressHandler& handler) {
  const std::vector<QuillonURL> spoolFolders = {QuillonURL::fileURL(file.parent_path().string())};
  quillon::VeskUpdateURLSessionInstallerNetworkClient client(
      quillon::makeSystemURLTransfers({.usesProxiesOfEnvironment = false}),
      [&] { return quillon::makeSystemDownloadBuffer(spoolFolders); });
  const auto downloaded = client.data(url, handler, std::stop_token());
  downloaded.data->writeAtomically(quillon::QuillonPosixFileManager(), QuillonURL::fileURL(file.string()), {});
}

void requireSize(const fs::path& file) {
  if (fs::file_size(file) == quillon::ServedArchive::kBytes) return;
  std::fprintf(stderr, "%s is not whole\n", file.c_str());
  std::exit(1);
}

void measure(const QuillonURL& url, const fs::path& folder) {
  const fs::path file = folder / "quillon-download.zip";
  std::vector<double> ours;
  std::vector<double> theirs;
  const auto handler = [](const VeskUpdateInstallerDownloadProgress&) {};
  const std::string peer = "curl --silent --fail --noproxy '*' -o " + file.string() + " " + url.absoluteString();
  for (int run = 0; run < kRuns; ++run) {
    fs::remove(file);
    sync();
    ours.push_back(seconds([&] { download(url, file, handler); }));
    requireSize(file);
    fs::remove(file);
    sync();
    theirs.push_back(seconds([&] {
      if (std::system(peer.c_str()) != 0) std::exit(1);  // NOLINT(cert-env33-c): the peer is a command
    }));
    requireSize(file);
  }
  fs::remove(file);
  std::printf("%-10s ours %.3f s   curl -o %.3f s   ours / curl %.2f\n", folder.c_str(), medianOf(ours),
              medianOf(theirs), medianOf(ours) / medianOf(theirs));
}

}  // namespace

int main(int argumentCount, char** arguments) {
  std::vector<fs::path> folders(arguments + 1, arguments + argumentCount);
  if (folders.empty()) folders = {"/dev/shm", "/var/tmp"};
  const quillon::ServedArchive archive;
  for (const fs::path& folder : folders) measure(archive.url(), folder);
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("memory     %ld MB at most\n", usage.ru_maxrss / 1024);
  return 0;
}
