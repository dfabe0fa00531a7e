#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "QuillonCore/Values/QuillonURL.h"
#include "Support/NginxServer.h"

namespace quillon {

/// An archive of 1 GB on a web server of this machine, kept in memory so that only a download writes to a disk.
class ServedArchive {
 public:
  static constexpr std::size_t kBytes = 1'000'000'000;

  ServedArchive() {
    write();
    std::filesystem::create_symlink(file_, server_.documents() / "archive.zip");
  }
  ~ServedArchive() { std::filesystem::remove(file_); }
  ServedArchive(const ServedArchive&) = delete;
  ServedArchive& operator=(const ServedArchive&) = delete;

  [[nodiscard]] QuillonURL url() const { return server_.url("/archive.zip"); }

 private:
  void write() const {
    std::ofstream out(file_, std::ios::binary);
    std::string block(kBytes / 1000, '\0');
    for (std::uint32_t i = 0; i < 1000; ++i) {
      std::uint32_t state = i + 1;
      for (char& c : block) {
        state = state * 1664525U + 1013904223U;
        c = static_cast<char>(state >> 24);
      }
      out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
  }

  const testing::NginxServer server_;
  const std::filesystem::path file_ = "/dev/shm/quillon-download-source.zip";
};

}  // namespace quillon
