// Writes into the file "report" of the current application's folder, which is where the bundle of a test is, what this
// process was started with: a line for each descriptor, its number and what it is, then one for each variable.

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>

namespace {

namespace fs = std::filesystem;

/// Descriptors by their numbers, but for the one with which they are listed: that is closed when they are looked up.
std::map<int, fs::path> descriptors() {
  std::map<int, fs::path> found;
  for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
    found[std::stoi(entry.path().filename().string())] = entry.path();
  }
  std::error_code isClosed;
  for (auto entry = found.begin(); entry != found.end();) {
    entry->second = fs::read_symlink(entry->second, isClosed);
    entry = isClosed ? found.erase(entry) : std::next(entry);
  }
  return found;
}

/// The folder with the bundle whose XPC service this is: Example.app/Contents/XPCServices/N.xpc/Contents/MacOS/this.
fs::path folderOfBundle() {
  fs::path folder = fs::read_symlink("/proc/self/exe");
  for (int component = 0; component < 7; ++component) folder = folder.parent_path();
  return folder;
}

}  // namespace

int main() {
  const auto found = descriptors();
  std::ofstream report(folderOfBundle() / "report");
  for (const auto& [number, target] : found) report << number << ' ' << target.string() << '\n';
  for (char** variable = environ; *variable != nullptr; ++variable) report << *variable << '\n';
}
