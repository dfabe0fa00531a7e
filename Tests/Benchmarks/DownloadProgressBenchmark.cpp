// What the handling of progress costs beside the download of an archive of 1 GB from a web server on this machine: from
// the network client's report over the post to the main thread, texts in a language with tables, and the presenter to a
// window that keeps what it is told.
//
// DownloadProgressBenchmark [FOLDER]: a folder on the volume that the download goes to, by default /dev/shm. Prints
// medians of seven downloads. The cost is measured within the downloads themselves: all processor time of the main
// thread, which does nothing else, and the time that the thread of the transfer spends in the handler, reading of the
// clock included. Downloads without a window, in turns with them, have no such cost.

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "QuillonCore/Network/QuillonSystemURLTransfers.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixFileManager.h"
#include "QuillonCore/Runtime/QuillonMainThreadQueue.h"
#include "QuillonUpdatesAppKitUI/AppBundleReplacement/VeskUpdateInstallerError.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateInstallerCoordinator.h"
#include "QuillonUpdatesAppKitUI/InstallerCoordinator/VeskUpdateURLSessionInstallerNetworkClient.h"
#include "ServedArchive.h"
#include "Support/FaultInjectingFileManager.h"
#include "Support/RecordingProgressWindow.h"
#include "Support/TemporaryDirectory.h"

namespace {

namespace fs = std::filesystem;
using namespace quillon;
using Seconds = std::chrono::duration<double>;
using std::chrono::steady_clock;

constexpr int kRuns = 7;

double processorSeconds(clockid_t clock) {
  timespec time{};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

struct Measurement {
  double transferSeconds = 0;
  double handlerSeconds = 0;
  double mainThreadSeconds = 0;
  /// Of all threads.
  double processorSeconds = 0;
  std::uint64_t reports = 0;
  std::size_t states = 0;
};

/// The network client, with a clock at its handler and one around it.
class ClockedNetworkClient final : public VeskUpdateInstallerNetworkClient {
 public:
  ClockedNetworkClient(const fs::path& folder, Measurement& measurement)
      : client_(makeSystemURLTransfers({.usesProxiesOfEnvironment = false}),
                [folder = QuillonURL::fileURL(folder.string())] { return makeSystemDownloadBuffer({folder}); }),
        measurement_(measurement) {}

  VeskUpdateInstallerDownload data(const QuillonURL& url,
                                   const VeskUpdateInstallerDownloadProgressHandler& progressHandler,
                                   std::stop_token stopToken) override {
    VeskUpdateInstallerDownloadProgressHandler clocked;
    if (progressHandler) {
      clocked = [&](const VeskUpdateInstallerDownloadProgress& progress) {
        const double begin = processorSeconds(CLOCK_THREAD_CPUTIME_ID);
        progressHandler(progress);
        measurement_.handlerSeconds += processorSeconds(CLOCK_THREAD_CPUTIME_ID) - begin;
        ++measurement_.reports;
      };
    }
    const auto begin = steady_clock::now();
    VeskUpdateInstallerDownload download = client_.data(url, clocked, std::move(stopToken));
    measurement_.transferSeconds = Seconds(steady_clock::now() - begin).count();
    return download;
  }

 private:
  VeskUpdateURLSessionInstallerNetworkClient client_;
  Measurement& measurement_;
};

/// Ends the operation behind the download.
class DamagedArchive final : public VeskUpdateArchiveUnzipping {
 public:
  bool unzip(const std::string& archivePath, const std::string&, std::stop_token) noexcept override {
    std::error_code error;
    isWhole = fs::file_size(archivePath, error) == ServedArchive::kBytes;
    return false;
  }

  bool isWhole = false;
};

Measurement measure(const QuillonURL& url, const fs::path& folder, bool hasWindow) {
  Measurement measurement;
  const fs::path host = folder / "Host.app";
  const auto files =
      std::make_shared<testing::FaultInjectingFileManager>(std::make_shared<const QuillonPosixFileManager>());
  files->placeWorkingFolders({QuillonURL::fileURL((folder / "Support").string())},
                             QuillonURL::fileURL((folder / "Temporary").string()));
  const auto texts = std::make_shared<const VeskUpdateLocalizationBundle>(files, QuillonURL::fileURL(host.string()),
                                                                          std::vector<std::string>{"de"});
  const auto mainThread = std::make_shared<QuillonMainThreadQueue>();
  const auto unzipper = std::make_shared<DamagedArchive>();
  const VeskUpdateInstallerCoordinator coordinator(
      files, std::make_shared<ClockedNetworkClient>(folder, measurement), unzipper, nullptr, nullptr, nullptr, nullptr,
      mainThread,
      std::make_shared<const VeskUpdateProgressWindowPresenter>(std::make_shared<testing::RecordingProgressWindows>(),
                                                                files, QuillonURL::fileURL(host.string()), texts),
      texts);
  const auto record = std::make_shared<testing::ProgressWindowRecord>();
  std::shared_ptr<VeskUpdateProgressWindow> window;
  if (hasWindow) window = std::make_shared<testing::RecordingProgressWindow>("Update", mainThread.get(), record);

  const double processorBegin = processorSeconds(CLOCK_PROCESS_CPUTIME_ID);
  std::stop_source end;
  std::jthread operation([&, window = std::move(window)]() mutable {
    try {
      coordinator.install(VeskUpdateInstallerRequest{.archiveURL = url,
                                                     .fallbackArchiveURL = std::nullopt,
                                                     .archiveFileName = "archive.zip",
                                                     .installerFileName = "none",
                                                     .applicationName = "Host",
                                                     .installerSubdirectoryName = "Update"},
                          std::move(window));
    } catch (const VeskUpdateInstallerError&) {  // NOLINT(bugprone-empty-catch): the archive is none
    }
    end.request_stop();
  });
  const double mainThreadBegin = processorSeconds(CLOCK_THREAD_CPUTIME_ID);
  mainThread->run(end.get_token());
  mainThread->drain();
  measurement.mainThreadSeconds = processorSeconds(CLOCK_THREAD_CPUTIME_ID) - mainThreadBegin;
  operation.join();
  measurement.processorSeconds = processorSeconds(CLOCK_PROCESS_CPUTIME_ID) - processorBegin;
  measurement.states = record->states.size();
  if (!unzipper->isWhole) {
    std::fprintf(stderr, "the download is not whole\n");
    std::exit(1);
  }
  return measurement;
}

template <typename Value>
Value medianOf(const std::vector<Measurement>& measurements, Value Measurement::*field) {
  std::vector<Value> values;
  values.reserve(measurements.size());
  for (const Measurement& measurement : measurements) values.push_back(measurement.*field);
  std::ranges::sort(values);
  return values[values.size() / 2];
}

}  // namespace

int main(int argumentCount, char** arguments) {
  const ServedArchive archive;
  const fs::path folder = fs::path(argumentCount > 1 ? arguments[1] : "/dev/shm") / "quillon-progress";
  fs::remove_all(folder);
  fs::create_directories(folder / "Temporary");
  fs::create_directories(folder / "Host.app/Contents");
  fs::create_directory_symlink(fs::path(QUILLON_SOURCE_FOLDER) / "Resources/Texts",
                               folder / "Host.app/Contents/Resources");
  std::vector<Measurement> with;
  std::vector<Measurement> without;
  for (int run = 0; run < kRuns; ++run) {
    with.push_back(measure(archive.url(), folder, true));
    without.push_back(measure(archive.url(), folder, false));
  }
  fs::remove_all(folder);

  const double handler = medianOf(with, &Measurement::handlerSeconds);
  const double mainThread = medianOf(with, &Measurement::mainThreadSeconds);
  const double transfer = medianOf(with, &Measurement::transferSeconds);
  const double cost = handler + mainThread;
  std::printf("transfer   %.3f s, without window %.3f s\n", transfer, medianOf(without, &Measurement::transferSeconds));
  std::printf("processor  %.3f s, without window %.3f s\n", medianOf(with, &Measurement::processorSeconds),
              medianOf(without, &Measurement::processorSeconds));
  std::printf("progress   %llu reports, %zu states shown: %.1f ms in the handler, %.1f ms on the main thread\n",
              static_cast<unsigned long long>(medianOf(with, &Measurement::reports)),
              medianOf(with, &Measurement::states), handler * 1e3, mainThread * 1e3);
  std::printf("cost       %.2f %% of the transfer's time, %.2f %% of its processor time\n", cost / transfer * 100,
              cost / medianOf(without, &Measurement::processorSeconds) * 100);
  return 0;
}
