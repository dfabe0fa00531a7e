// Archives: whatever they hold, unpacking touches nothing outside of the destination, leaves either a whole tree or
// nothing, and makes no link that leads out.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include "QuillonCore/Runtime/Posix/FileDescriptor.h"
#include "QuillonCore/Values/QuillonError.h"
#include "ZipArchive/Posix/ArchiveExtractor.h"

namespace {

namespace fs = std::filesystem;

void require(bool condition) {
  if (!condition) std::abort();
}

/// A folder in memory with the archive, a destination, and something beside it that must not change.
struct World {
  World() {
    std::string name = (fs::exists("/dev/shm") ? std::string("/dev/shm") : fs::temp_directory_path().string()) +
                       "/quillon-archive-fuzzer-XXXXXX";
    require(mkdtemp(name.data()) != nullptr);
    root = name;
    fs::create_directory(root / "around");
    fs::create_symlink("../around", root / "around/link");
  }
  ~World() { fs::remove_all(root); }
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  void writeArchive(const std::uint8_t* data, std::size_t size) const {
    const quillon::FileDescriptor file(
        open((root / "archive").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    require(write(file.get(), data, size) == static_cast<ssize_t>(size));
  }
  [[nodiscard]] std::set<std::string> outside() const {
    std::set<std::string> names;
    for (auto entry = fs::recursive_directory_iterator(root); entry != fs::recursive_directory_iterator(); ++entry) {
      if (entry->path() == root / "destination") {
        entry.disable_recursion_pending();
      } else {
        names.insert(entry->path().string());
      }
    }
    return names;
  }

  fs::path root;
};

/// Whether resolving the link's target, component by component, stays below `destination`.
void requireInside(const fs::path& link, const fs::path& destination) {
  const fs::path target = fs::read_symlink(link);
  require(target.is_relative());
  std::error_code error;
  const fs::path resolved = fs::weakly_canonical(link, error);
  if (error) return;  // links in a circle lead nowhere
  const std::string prefix = destination.string();
  require(resolved.string().starts_with(prefix));
}

void checkTree(const fs::path& destination) {
  for (const auto& entry : fs::recursive_directory_iterator(destination)) {
    const fs::file_status status = entry.symlink_status();
    require(status.type() == fs::file_type::regular || status.type() == fs::file_type::directory ||
            status.type() == fs::file_type::symlink);
    require((status.permissions() & (fs::perms::set_uid | fs::perms::set_gid | fs::perms::sticky_bit)) ==
                fs::perms::none ||
            status.type() == fs::file_type::symlink);
    require(!entry.path().filename().string().starts_with(".quillon-ditto-"));
    if (status.type() == fs::file_type::symlink) requireInside(entry.path(), destination);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const World world;
  const fs::path destination = world.root / "destination";
  world.writeArchive(data, size);
  const std::set<std::string> before = world.outside();
  constexpr std::uint64_t kLargestTree = std::uint64_t{4} << 20;
  bool isUnpacked = false;
  try {
    quillon::extractArchive((world.root / "archive").string(), destination.string(),
                            {.entries = 200, .totalSize = kLargestTree}, {});
    isUnpacked = true;
  } catch (const quillon::QuillonError&) {
    // Refusing is a right answer to most inputs.
  }
  require(world.outside() == before);
  require(fs::exists(fs::symlink_status(destination)) == isUnpacked);
  if (isUnpacked) {
    checkTree(destination);
    fs::remove_all(destination);
  }
  return 0;
}
