// Downloading an archive of 1 GB from a web server on this machine to its final place, beside `curl -o`.
//
// DownloadBenchmark [FOLDER…]: folders on the volumes to be measured, by default /dev/shm and /var/tmp. Runs in turns;
// prints the median of five each, their ratio, and what handling progress costs.

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
#include "Support/NginxServer.h"

namespace {

namespace fs = std::filesystem;
using quillon::QuillonURL;
using quillon::VeskUpdateInstallerDownloadProgress;
using quillon::VeskUpdateInstallerDownloadProgressHandler;

constexpr std::size_t kMegabyte = 1'000'000;
constexpr std::size_t kArchiveMegabytes = 1000;
constexpr int kRuns = 5;

void makeArchive(const fs::path& file) {
  std::ofstream out(file, std::ios::binary);
  std::string block(kMegabyte, '\0');
  for (std::size_t i = 0; i < kArchiveMegabytes; ++i) {
    std::uint32_t state = static_cast<std::uint32_t>(i) + 1;
    for (char& c : block) {
      state = state * 1664525U + 1013904223U;
      c = static_cast<char>(state >> 24);
    }
    out.write(block.data(), static_cast<std::streamsize>(block.size()));
  }
}

double seconds(const std::function<void()>& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double processorSeconds(const std::function<void()>& action) {
  const auto used = [] {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    const auto secondsOf = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
    };
    return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
  };
  const double begin = used();
  action();
  return used() - begin;
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
  downloaded.data->writeAtomically(quillon::QuillonPosixFileManager(), QuillonURL::fileURL(file.string()));
}

void requireSize(const fs::path& file) {
  if (fs::file_size(file) == kArchiveMegabytes * kMegabyte) return;
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

void measureProgress(const QuillonURL& url, const fs::path& folder) {
  const fs::path file = folder / "quillon-download.zip";
  std::vector<double> with;
  std::vector<double> without;
  std::uint64_t reports = 0;
  double fractions = 0;
  for (int run = 0; run < kRuns; ++run) {
    with.push_back(processorSeconds([&] {
      download(url, file, [&](const VeskUpdateInstallerDownloadProgress& progress) {
        ++reports;
        fractions += progress.progressFraction().value_or(0);
      });
    }));
    without.push_back(processorSeconds([&] { download(url, file, nullptr); }));
  }
  // The reports by themselves: too cheap to be seen in the difference of two downloads.
  VeskUpdateInstallerDownloadProgressHandler handler;
  if (reports > 0) {  // known at run time only, so that the calls are made
    handler = [&](const VeskUpdateInstallerDownloadProgress& progress) {
      fractions += progress.progressFraction().value_or(0);
    };
  }
  const std::uint64_t reportsOfOne = reports / kRuns;
  const double alone = processorSeconds([&] {
    for (std::uint64_t i = 0; i < reportsOfOne; ++i) {
      handler({.bytesReceived = static_cast<std::int64_t>(i), .expectedBytes = 1'000'000'000});
    }
  });
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("progress   %llu reports, %.3f ms of %.0f ms processor time (%.2f %%); without handler %.0f ms%s\n",
              static_cast<unsigned long long>(reportsOfOne), alone * 1e3, medianOf(with) * 1e3,
              alone / medianOf(with) * 100, medianOf(without) * 1e3, fractions < 0 ? "!" : "");
  std::printf("memory     %ld MB at most\n", usage.ru_maxrss / 1024);
  fs::remove(file);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  std::vector<fs::path> folders(arguments + 1, arguments + argumentCount);
  if (folders.empty()) folders = {"/dev/shm", "/var/tmp"};
  const quillon::testing::NginxServer server;
  // In memory, so that only the download writes to a disk.
  const fs::path archive = "/dev/shm/quillon-download-source.zip";
  makeArchive(archive);
  fs::create_symlink(archive, server.documents() / "archive.zip");
  for (const fs::path& folder : folders) measure(server.url("/archive.zip"), folder);
  measureProgress(server.url("/archive.zip"), folders.front());
  fs::remove(archive);
  return 0;
}
