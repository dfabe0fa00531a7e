#include "Support/ReportFifo.h"

#include <sys/stat.h>

#include <stdexcept>
#include <utility>

namespace quillon::testing {

ReportFifo::ReportFifo(std::filesystem::path path) : path_(std::move(path)) {
  if (mkfifo(path_.c_str(), 0600) != 0) throw std::runtime_error("Cannot make the pipe " + path_.string());
  // Whoever the writer runs as, and whatever the mask of this process is.
  std::filesystem::permissions(path_, std::filesystem::perms(0666));
}

void writeScript(const std::filesystem::path& file, const std::string& body) {
  writeFile(file, "#!/bin/sh\n" + body + "\n");
  std::filesystem::permissions(file, std::filesystem::perms(0755));
}

std::filesystem::path writeApplication(const std::filesystem::path& bundle, const std::string& script) {
  writeFile(bundle / "Contents/Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleExecutable</key><string>Example</string>"
            "<key>CFBundleIdentifier</key><string>org.example.Example</string></dict></plist>");
  writeScript(bundle / "Contents/MacOS/Example", script);
  return bundle;
}

}  // namespace quillon::testing
