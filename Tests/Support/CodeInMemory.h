#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>

#include "CodeSignature/CodeRepresentation.h"
#include "Support/SignedBundleBuilder.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// The signature parts of a bundle in memory, where they can be changed without touching the disk. The code itself is
/// empty.
class CodeInMemory final : public CodeRepresentation {
 public:
  explicit CodeInMemory(const SignedBundleBuilder& bundle) {
    parts[CodeSlot::infoPropertyList] = readFile(bundle / "Info.plist");
    for (const CodeSlotFile& file : kCodeSlotFiles) {
      const std::filesystem::path path = bundle / "_CodeSignature" / file.name;
      if (std::filesystem::exists(path)) parts[file.slot] = readFile(path);
    }
  }

  [[nodiscard]] std::optional<std::string> signaturePart(CodeSlot slot) const override {
    const auto found = parts.find(slot);
    return found == parts.end() ? std::nullopt : std::optional(found->second);
  }
  [[nodiscard]] std::uint64_t codeLength() const override { return 0; }
  [[nodiscard]] std::size_t readCode(std::uint64_t, std::span<char>) const override { return 0; }

  std::map<CodeSlot, std::string> parts;
};

}  // namespace quillon::testing
