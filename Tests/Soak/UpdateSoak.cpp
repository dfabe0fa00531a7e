// Whole updates in a row, each from one version to the next, with faults at random: UpdateSoak [--updates N] [--seed N]
// [--table FILE]
//
// After each attempt exactly one complete and valid bundle has to be installed and to run, and an attempt that failed
// has to be explained, by the command's own words or at its next run. Prints a table; ends with status 1 when something
// was lost, unexplained or left behind.

#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Soak/SoakAttempt.h"
#include "Soak/SoakFault.h"
#include "Soak/SoakProcesses.h"
#include "Soak/SoakServer.h"
#include "Soak/SoakTable.h"
#include "Soak/SoakUnits.h"
#include "Soak/SoakUser.h"
#include "Soak/SoakVolumes.h"
#include "Support/TemporaryDirectory.h"
#include "Support/UpdatableSample.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

struct SoakOptions {
  int updates = 500;
  std::uint32_t seed = 1;
  std::string table;
};

/// How long a program is taken to run until an attempt without a fault has shown it.
constexpr auto kFirstLifetime = std::chrono::milliseconds(100);

constexpr auto kQuitLimit = std::chrono::seconds(20);
/// By which two commands for one application tell each other of themselves.
constexpr const char* kLock = "quillon-update.lock";

std::string feedFor(int number) {
  const std::string version = std::to_string(number);
  const auto entry = [](std::string_view key, const std::string& value) {
    return "<key>" + std::string(key) + "</key><string>" + value + "</string>\n";
  };
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><array><dict>\n" +
         entry("type", "update") + entry("id", version) + entry("current", version + ".0") +
         entry("currentbuild", version) + entry("important", "1") + entry("title", "Sample " + version + ".0") +
         entry("app-installer", "ORIGIN/Sample.zip") + "</dict></array></plist>\n";
}

/// Whether the command speaks of an attempt that ended after it had handed on: with the installer's report, or that
/// there is none.
bool explainsTheLastAttempt(const std::string& output) {
  return output.find("Report of the last attempt: ") != std::string::npos ||
         output.find("The last update did not come to an end") != std::string::npos;
}

class Soak {
 public:
  explicit Soak(const SoakOptions& options) : options_(options), generator_(options.seed) {
    application_.install(installed_);
  }

  /// Whether nothing was lost, unexplained or left behind.
  bool run() {
    if (!volumes_.areMounted()) std::cout << "no volume can be mounted here: none becomes full or read-only\n";
    for (int attempt = 1; attempt <= options_.updates; ++attempt) {
      const SoakResult result = attemptOnce();
      table_.add(result);
      if (result.isLost || result.isUnexplained || result.hasLeaked()) note(attempt, result);
      if (attempt % 10 == 0) std::cout << attempt << " of " << options_.updates << " attempts" << std::endl;
      if (result.isLost) break;  // there is nothing left to update
    }
    std::cout << table_.text();
    if (!options_.table.empty()) std::ofstream(options_.table) << table_.text();
    return table_.isClean();
  }

 private:
  SoakResult attemptOnce() {
    SoakResult result{.fault = drawSoakFault(generator_)};
    if (soakFaultNeedsMounts(result.fault) && !volumes_.areMounted()) result.fault = SoakFault::none;  // as run() says
    server_.publish(feedFor(installed_ + 1), archive(result.fault), result.fault);
    volumes_.make(result.fault, drawRoom());
    const std::optional<SoakKill> kill = drawKill(result.fault);
    last_ = runSoakAttempt(folder_.path(), command({"--yes"}), kill);
    volumes_.heal();
    if (result.fault == SoakFault::none) lifetimes_ = last_.lifetimes;
    result.tookEffect = !kill || last_.hasKilled;
    look(result);
    return result;
  }

  /// The archive of the version after the installed one, in the state that the fault wants.
  std::string archive(SoakFault fault) {
    const int next = installed_ + 1;
    if (fault == SoakFault::tamperedArchive) return application_.makeArchive(next, true);
    if (archiveNumber_ != next) archiveBytes_ = application_.makeArchive(next, false);
    archiveNumber_ = next;
    if (fault != SoakFault::damagedArchive) return archiveBytes_;
    std::string damaged = archiveBytes_;
    char& byte =
        damaged.at(std::uniform_int_distribution<std::size_t>(damaged.size() / 4, damaged.size() / 2)(generator_));
    byte = static_cast<char>(~byte);
    return damaged;
  }

  /// A moment in the life of the program that the fault is about, as it was in the last attempt without a fault.
  std::optional<SoakKill> drawKill(SoakFault fault) {
    static const std::map<SoakFault, std::string> kVictims = {
        {SoakFault::hostKilled, "quillon"},
        {SoakFault::serviceKilled, "QuillonUpdateInstallerLauncherService"},
        {SoakFault::installerKilled, "QuillonUpdateInstaller"}};
    const auto victim = kVictims.find(fault);
    if (victim == kVictims.end()) return std::nullopt;
    const auto known = lifetimes_.find(victim->second);
    const std::chrono::microseconds lifetime = known == lifetimes_.end() ? kFirstLifetime : known->second;
    std::uniform_int_distribution<std::int64_t> moment(0, lifetime.count());
    return SoakKill{.program = victim->second, .delay = std::chrono::microseconds(moment(generator_))};
  }

  /// Room that a full volume has left: from none to about what an update takes there.
  std::uintmax_t drawRoom() {
    std::uintmax_t size = archiveBytes_.size();
    for (const auto& item : fs::recursive_directory_iterator(application_.installed())) {
      if (item.is_regular_file() && !item.is_symlink()) size += item.file_size();
    }
    return std::uniform_int_distribution<std::uintmax_t>(0, size)(generator_);
  }

  [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& more) const {
    std::vector<std::string> words = user_.quillon();
    words.insert(words.end(), {"update", application_.installed().string(), "--feed", server_.feedURL()});
    words.insert(words.end(), more.begin(), more.end());
    return words;
  }

  /// Compares what is there with what has to be.
  void look(SoakResult& result) {
    left_.clear();
    if (!last_.hasSettled) {
      ++result.leakedProcesses;
      left_ = " processes";
    }
    int number = application_.installedNumber();
    const bool hasFailed = number != installed_ + 1;
    // The line in which the command says why, and not the progress that it prints in any case.
    const bool isExplainedAtOnce = last_.status == 1 && last_.output.find("quillon update: ") != std::string::npos;
    const bool isUsersOwnDoing = result.fault == SoakFault::hostKilled && last_.hasKilled;
    if (hasFailed && (number == 0 || (!isExplainedAtOnce && !isUsersOwnDoing))) {
      next_ = runSoakAttempt(folder_.path(), command({}));
      result.wasMissing = number == 0;
      number = application_.installedNumber();
      result.isUnexplained = !isUsersOwnDoing && !explainsTheLastAttempt(next_.output);
    }
    result.isUpdated = number == installed_ + 1;
    result.isLost = (number != installed_ && number != installed_ + 1) || !application_.runs(number);
    quitApplication();
    countUnits(result);
    if (result.isUpdated) {
      installed_ = number;
      countFiles(result);
    }
  }

  /// Counts the units that the manager does not forget, which it does some time after their last process has ended.
  void countUnits(SoakResult& result) {
    const auto limit = std::chrono::steady_clock::now() + kQuitLimit;
    std::vector<std::string> units = units_.loaded();
    while (!units.empty() && std::chrono::steady_clock::now() < limit) units = units_.loaded();
    for (const std::string& unit : units) left_ += " " + unit;
    result.leakedUnits += static_cast<int>(units.size());
  }

  /// Has every copy of the application quit, and what they noted removed.
  void quitApplication() const {
    for (const SoakProcess& process : processesAbout(application_.installed())) {
      (void)kill(process.identifier, SIGTERM);
    }
    const auto limit = std::chrono::steady_clock::now() + kQuitLimit;
    while (!processesAbout(application_.installed()).empty()) {
      if (std::chrono::steady_clock::now() > limit) throw std::runtime_error("the application does not quit");
      std::this_thread::yield();
    }
    fs::remove(application_.installed().parent_path() / "Sample.log");
  }

  /// Counts what lies where a successful update leaves nothing.
  void countFiles(SoakResult& result) {
    const auto count = [this, &result](const fs::path& item) {
      left_ += " " + item.string();
      ++result.leakedFiles;
    };
    for (const auto& item : fs::directory_iterator(application_.installed().parent_path())) {
      if (item.path() != application_.installed()) count(item.path());
    }
    for (const fs::path& folder : user_.workingFolders()) {
      for (const auto& item : fs::recursive_directory_iterator(folder)) {
        if (item.path().filename() == kLock) continue;  // one for ever, not one more each time
        if (!item.is_directory() || item.path().extension() == ".app") count(item.path());
      }
    }
  }

  void note(int attempt, const SoakResult& result) const {
    std::cout << "attempt " << attempt << ", fault \"" << soakFaultName(result.fault) << "\": status " << last_.status
              << (result.isLost ? ", LOST" : "") << (result.isUnexplained ? ", unexplained" : "")
              << (result.hasLeaked() ? ", left:" + left_ : "") << "\n"
              << last_.output << "--- next run\n"
              << next_.output << std::endl;
  }

  const SoakOptions options_;
  std::mt19937 generator_;
  const TemporaryDirectory folder_;
  SoakVolumes volumes_{folder_.path()};
  UpdatableSample application_{folder_.path()};
  const SoakUser user_{folder_.path(), application_};
  const SoakUnits units_{user_.identifier()};
  SoakServer server_;
  SoakTable table_{units_.areManaged()};
  int installed_ = 1;
  int archiveNumber_ = 0;
  std::string archiveBytes_;
  std::map<std::string, std::chrono::microseconds> lifetimes_;
  SoakAttemptOutcome last_;
  SoakAttemptOutcome next_;
  std::string left_;
};

template <typename Number>
bool readNumber(std::string_view text, Number& number) {
  const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && rest == text.data() + text.size();
}

std::optional<SoakOptions> readOptions(const std::vector<std::string_view>& words) {
  SoakOptions options;
  for (std::size_t at = 0; at < words.size(); at += 2) {
    if (at + 1 == words.size()) return std::nullopt;
    const std::string_view value = words[at + 1];
    if (words[at] == "--table") {
      options.table = value;
    } else if (!(words[at] == "--updates" && readNumber(value, options.updates)) &&
               !(words[at] == "--seed" && readNumber(value, options.seed))) {
      return std::nullopt;
    }
  }
  return options;
}

}  // namespace
}  // namespace quillon::testing

int main(int argumentCount, char** arguments) {
  const auto options = quillon::testing::readOptions({arguments + 1, arguments + argumentCount});
  if (!options) {
    std::fputs("Usage: UpdateSoak [--updates N] [--seed N] [--table FILE]\n", stderr);
    return 2;
  }
  try {
    return quillon::testing::Soak(*options).run() ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "UpdateSoak: %s\n", error.what());
    return 2;
  }
}
