// How long the verification of a bundle of 800 MB in 20,000 files takes, beside `openssl dgst -sha256` over the same
// files. Both read from the page cache. Prints the ratio of the best times of several turns.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "CodeSignature/CodeSignatureVerdict.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon {
namespace {

constexpr int kFiles = 20'000;
constexpr int kFilesPerFolder = 100;
constexpr std::size_t kFileSize = 40'000;
constexpr int kTurns = 7;

/// Bytes that no file system would compress or share.
std::string noise(std::size_t size, std::uint64_t seed) {
  std::string bytes(size, '\0');
  for (char& byte : bytes) {
    seed = seed * 6364136223846793005U + 1442695040888963407U;
    byte = static_cast<char>(seed >> 56);
  }
  return bytes;
}

void fill(testing::SignedBundleBuilder& bundle) {
  for (int i = 0; i < kFiles; ++i) {
    const std::string folder = "Resources/folder" + std::to_string(i / kFilesPerFolder);
    bundle.withFile(folder + "/file" + std::to_string(i), noise(kFileSize, static_cast<std::uint64_t>(i)));
  }
}

double bestSeconds(const std::function<void()>& work) {
  double best = 1e9;
  for (int turn = 0; turn < kTurns; ++turn) {
    const auto start = std::chrono::steady_clock::now();
    work();
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  return best;
}

void require(bool condition, const char* what) {
  if (condition) return;
  std::fprintf(stderr, "%s\n", what);
  std::exit(1);
}

}  // namespace
}  // namespace quillon

int main() {
  using namespace quillon;
  const testing::TemporaryDirectory folder;
  testing::SignedBundleBuilder bundle(folder / "Benchmark.app");
  bundle.withScript();
  fill(bundle);
  bundle.sign();
  // One process over all files: its start is not what is compared.
  const std::string peer = "find '" + bundle.contents().string() +
                           "/Resources' -type f -print0 | xargs -0 -s 2000000 -n 30000 openssl dgst -sha256 > '" +
                           (folder / "digests").string() + "'";

  const double peerSeconds =
      bestSeconds([&peer] { require(std::system(peer.c_str()) == 0, "the openssl command failed"); });
  const double ownSeconds =
      bestSeconds([&bundle] { require(verifyCode(bundle.url()).isValid(), "the bundle does not verify"); });

  std::printf("verification of %d files, %.0f MB: %.1f ms\n", kFiles, kFiles * double(kFileSize) / 1e6,
              ownSeconds * 1e3);
  std::printf("openssl dgst -sha256 over the same files: %.1f ms\n", peerSeconds * 1e3);
  std::printf("ratio (peer / own): %.2f\n", peerSeconds / ownSeconds);
  return 0;
}
