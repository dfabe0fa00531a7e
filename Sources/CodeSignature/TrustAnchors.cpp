#include "CodeSignature/TrustAnchors.h"

#include <openssl/pem.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "CodeSignature/CodeHash.h"
#include "CodeSignature/FileOpening.h"
#include "CodeSignature/FolderReader.h"
#include "CodeSignature/OpenSSLHandles.h"
#include "QuillonCore/Values/QuillonError.h"

namespace quillon {
namespace {

constexpr std::size_t kAnchorFileLimit = 1 << 20;

/// Fingerprints that the vendor publishes for its roots (Apple Root CA, G2, G3).
constexpr auto kAppleRoots = std::to_array<std::string_view>({
    "b0b1730ecbc7ff4505142c49f1295e6eda6bcaed7e2c68c5be91b5a11001f024",
    "c2b9b042dd57830e7d117dac55ac8ae19407d38e41d88f3215bc3a890444a050",
    "63343abfb89a6a03ebb57e9b3f5fa7be7c4f5c756f3017b3a8c488c3653e9179",
});

bool isProtected(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return false;
  const bool isPrivileged = geteuid() == 0 || geteuid() != getuid();
  const bool hasRightOwner = status.st_uid == 0 || (!isPrivileged && status.st_uid == getuid());
  return hasRightOwner && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

void addCertificates(std::string_view pem, TrustAnchors& anchors) {
  const BIOHandle input = bioOver(pem);
  while (const CertificateHandle certificate{PEM_read_bio_X509(input.get(), nullptr, nullptr, nullptr)}) {
    anchors.certificates.push_back(derOf(certificate.get(), i2d_X509));
  }
}

void readAnchorFile(const FileDescriptor& folder, const std::string& name, const std::filesystem::path& path,
                    TrustAnchors& anchors) {
  try {
    const FileDescriptor file = openRegularFile(folder.get(), name);
    if (isProtected(file.get())) {
      addCertificates(readWholeFile(file, kAnchorFileLimit), anchors);
    } else {
      anchors.refusals.push_back(path.string() + ": not used, because others than the administrator can write it");
    }
  } catch (const QuillonError& error) {
    anchors.refusals.push_back(path.string() + ": not used: " + error.description());
  }
}

}  // namespace

bool TrustAnchors::isAppleRoot(std::string_view sha256) noexcept {
  return std::ranges::find(kAppleRoots, hexadecimal(sha256)) != kAppleRoots.end();
}

TrustAnchors TrustAnchors::load(const std::filesystem::path& folder) {
  TrustAnchors anchors;
  try {
    const FileDescriptor parent = openFolder(AT_FDCWD, folder.parent_path().string());
    const FileDescriptor descriptor = openFolder(parent.get(), folder.filename().string());
    if (!isProtected(parent.get()) || !isProtected(descriptor.get())) {
      anchors.refusals.push_back(folder.string() + ": not used, because others than the administrator can write it");
      return anchors;
    }
    for (const FolderEntry& entry : readFolder(descriptor)) {
      if (entry.name.ends_with(".pem")) readAnchorFile(descriptor, entry.name, folder / entry.name, anchors);
    }
  } catch (const QuillonSystemError& error) {
    if (!error.isPOSIX(ENOENT)) anchors.refusals.push_back(folder.string() + ": not used: " + error.description());
  }
  return anchors;
}

TrustAnchors TrustAnchors::system() {
  return load(std::filesystem::path(QUILLON_SYSCONFDIR) / "quillon" / "anchors.d");
}

}  // namespace quillon
