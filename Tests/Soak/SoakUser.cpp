#include "Soak/SoakUser.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

#include "QuillonCore/Runtime/Posix/QuillonPosixProcessRunner.h"

namespace quillon::testing {
namespace {

namespace fs = std::filesystem;

constexpr uid_t kOther = 65534;  // "nobody", present on every Debian system

const std::vector<std::string>& asOther() {
  static const std::vector<std::string> kWords = {"/usr/bin/setpriv", "--reuid=65534", "--regid=65534",
                                                  "--clear-groups"};
  return kWords;
}

bool otherCanRead(const fs::path& folder) {
  const std::vector<std::string>& words = asOther();
  std::vector<std::string> arguments(words.begin() + 1, words.end());
  arguments.insert(arguments.end(), {"/usr/bin/test", "-r", folder.string()});
  return QuillonPosixProcessRunner().run(words.front(), arguments).status == 0;
}

std::string homeOfThisUser() {
  const passwd* const entry = getpwuid(geteuid());
  if (entry == nullptr) throw std::runtime_error("this user has no home");
  return entry->pw_dir;
}

}  // namespace

SoakUser::SoakUser(const fs::path& folder, UpdatableSample& application) {
  const std::vector<fs::path> own = {folder / "Home", folder / "Work", folder / "Work/Support",
                                     folder / "Work/Temporary"};
  for (const fs::path& each : own) fs::create_directories(each);
  chmod(folder.c_str(), 0755);
  const bool isOther = geteuid() == 0 && otherCanRead(application.programs()) && otherCanRead(application.settings());
  identifier_ = isOther ? kOther : geteuid();
  if (isOther) {
    for (const fs::path& each : own) {
      if (lchown(each.c_str(), kOther, kOther) != 0) throw std::runtime_error("cannot give away " + each.string());
    }
    application.giveTo(kOther, kOther, asOther());
    quillon_ = asOther();
  }
  quillon_.push_back((isOther ? application.programs() : fs::path(QUILLON_BINARY_FOLDER)) / "quillon");
  workingFolders_ = {folder / "Work"};
  // Whatever the environment says, root's folders are those of its home.
  if (geteuid() == 0 && !isOther) workingFolders_.push_back(fs::path(homeOfThisUser()) / ".local/share/Sample");
}

}  // namespace quillon::testing
