#include "Support/UpdatableSample.h"

#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "CodeSignature/CodeSigner.h"
#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/SigningIdentityMaker.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr auto kStartLimit = std::chrono::seconds(20);
constexpr auto kLookInterval = std::chrono::milliseconds(2);

std::string built(const std::string& name) {
  return std::string(QUILLON_BINARY_FOLDER) + "/" + name;
}

std::string run(const std::string& program, const std::vector<std::string>& arguments) {
  const QuillonProcessResult result = QuillonPosixProcessRunner().run(program, arguments);
  if (result.status != 0) throw std::runtime_error(program + " failed: " + result.output);
  return result.output;
}

void give(const fs::path& tree, uid_t user, gid_t group) {
  const auto giveOne = [&](const fs::path& item) {
    if (lchown(item.c_str(), user, group) != 0) throw std::runtime_error("cannot give away " + item.string());
  };
  giveOne(tree);
  for (const auto& item : fs::recursive_directory_iterator(tree)) giveOne(item.path());
}

bool succeeds(const std::string& program, const std::vector<std::string>& arguments) {
  return QuillonPosixProcessRunner().run(program, arguments).status == 0;
}

}  // namespace

UpdatableSample::UpdatableSample(const fs::path& folder, fs::path content)
    : folder_(folder),
      content_(std::move(content)),
      installed_(folder / "Applications/Sample.app"),
      programs_(folder / "Programs"),
      anchor_(fs::path(QUILLON_SYSCONFDIR) / "quillon/anchors.d" / ("sample-" + std::to_string(getpid()) + ".pem")),
      user_(geteuid()),
      group_(getegid()) {
  fs::create_directories(installed_.parent_path());
  fs::create_directories(programs_);
  // Debug information is most of a program, and all of it would be sealed, packed and verified each time.
  for (const char* name : {"QuillonUpdateInstaller", "QuillonUpdateInstallerLauncherService", "quillon-codesign",
                           "quillon-open", "quillon-launchctl", "quillon-ditto", "quillon"}) {
    run("/usr/bin/strip", {"-o", (programs_ / name).string(), built(name)});
  }
  run("/usr/bin/strip", {"-o", (programs_ / "Sample").string(), built("../examples/SampleApplication")});
  writeFile(anchor_, sharedSigningIdentity().root);
}

UpdatableSample::~UpdatableSample() {
  std::error_code ignored;
  fs::remove(anchor_, ignored);
}

void UpdatableSample::giveTo(uid_t user, gid_t group, std::vector<std::string> command) {
  user_ = user;
  group_ = group;
  asUser_ = std::move(command);
  give(installed_.parent_path(), user_, group_);
}

void UpdatableSample::install(int number) const {
  fs::remove_all(installed_);
  make(number, installed_);
  give(installed_, user_, group_);
}

void UpdatableSample::make(int number, const fs::path& bundle) const {
  run("/bin/sh",
      {std::string(QUILLON_SOURCE_FOLDER) + "/Examples/SampleApplication/make_bundle", (programs_ / "Sample").string(),
       std::to_string(number) + ".0", std::to_string(number), bundle.string(), programs_.string()});
  if (!content_.empty()) {
    fs::copy(content_, bundle / "Contents/Resources", fs::copy_options::recursive | fs::copy_options::copy_symlinks);
  }
  SigningOptions options = sharedSigningOptions();
  options.signsNestedCode = true;
  signCode(QuillonURL::fileURL(bundle.string()), options);
}

std::string UpdatableSample::makeArchive(int number, bool isTampered) const {
  const fs::path folder = folder_ / "Making";
  const fs::path archive = folder_ / "Made.zip";
  make(number, folder / "Sample.app");
  if (isTampered) writeFile(folder / "Sample.app/Contents/Resources/version.txt", "changed\n");
  run(built("quillon-ditto"), {"-c", "-k", folder.string(), archive.string()});
  std::string bytes = readFile(archive);
  fs::remove_all(folder);
  fs::remove(archive);
  return bytes;
}

int UpdatableSample::installedNumber() const {
  if (!fs::is_directory(fs::symlink_status(installed_))) return 0;
  if (!succeeds(built("quillon-codesign"), {"--verify", "--deep", "--strict", installed_.string()})) return 0;
  int number = 0;
  std::ifstream(installed_ / "Contents/Resources/version.txt") >> number;
  return number;
}

pid_t UpdatableSample::startedProcess(int number) const {
  std::ifstream log(installed_.parent_path() / "Sample.log");
  pid_t last = 0;
  for (std::string line; std::getline(log, line);) {
    std::istringstream words(line);
    std::string version;
    std::string event;
    std::string label;
    pid_t process = 0;
    if (words >> version >> event >> label >> process && version == std::to_string(number) + ".0" &&
        event == "started") {
      last = process;
    }
  }
  return last;
}

bool UpdatableSample::runs(int number) const {
  pid_t process = startedProcess(number);
  if (process == 0 || kill(process, 0) != 0) {
    std::error_code ignored;
    fs::remove(installed_.parent_path() / "Sample.log", ignored);
    std::vector<std::string> words = asUser_;
    words.insert(words.end(), {(programs_ / "quillon-open").string(), installed_.string()});
    if (!succeeds(words.front(), {words.begin() + 1, words.end()})) return false;
    const auto limit = std::chrono::steady_clock::now() + kStartLimit;
    while ((process = startedProcess(number)) == 0) {
      if (std::chrono::steady_clock::now() > limit) return false;
      std::this_thread::sleep_for(kLookInterval);
    }
  }
  return kill(process, 0) == 0;
}

}  // namespace quillon::testing
