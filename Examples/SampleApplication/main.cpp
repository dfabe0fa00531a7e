// The smallest host application: says in a file that it runs, and quits when it is told to.
//
// The file is "Sample.log" beside the bundle, one line per event: version, event, process and user identifier.

#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

void note(const fs::path& log, std::string_view version, std::string_view event) {
  std::ofstream(log, std::ios::app) << version << ' ' << event << " process " << getpid() << " user " << getuid()
                                    << '\n';
}

std::string readVersion(const fs::path& contents) {
  std::string version;
  std::getline(std::ifstream(contents / "Resources/version.txt"), version);
  return version;
}

}  // namespace

int main(int /*argumentCount*/, char** arguments) {
  sigset_t requests{};
  sigemptyset(&requests);
  sigaddset(&requests, SIGTERM);
  sigaddset(&requests, SIGALRM);
  sigprocmask(SIG_BLOCK, &requests, nullptr);

  // Whoever starts an application bundle names its executable by an absolute path.
  const fs::path program = fs::exists("/proc/self/exe") ? "/proc/self/exe" : arguments[0];
  const fs::path contents = fs::canonical(program).parent_path().parent_path();
  const fs::path log = contents.parent_path().parent_path() / "Sample.log";
  const std::string version = readVersion(contents);
  note(log, version, "started");

  alarm(60);  // a demonstration that is forgotten ends by itself
  int request = 0;
  sigwait(&requests, &request);
  note(log, version, "quits");
  return 0;
}
