#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace quillon {

/// Parts of a signature by their number (cs_blobs.h). Numbers 1 to 11 have a hash in the code directory.
enum class CodeSlot : std::uint32_t {
  codeDirectory = 0,
  infoPropertyList = 1,
  requirements = 2,
  resources = 3,
  topDirectory = 4,
  entitlements = 5,
  representationSpecific = 6,
  entitlementsDER = 7,
  launchConstraintSelf = 8,
  launchConstraintParent = 9,
  launchConstraintResponsible = 10,
  libraryConstraint = 11,
  alternateCodeDirectory = 0x1000,
  signature = 0x10000,
};

inline constexpr std::uint32_t kLastSpecialSlot = 11;
/// There are at most this many code directories besides the first.
inline constexpr std::uint32_t kAlternateCodeDirectoryLimit = 5;

/// A signature part that is kept in a file of its own, and the file's name in the bundle's `_CodeSignature` folder.
struct CodeSlotFile {
  CodeSlot slot;
  std::string_view name;
};

inline constexpr auto kCodeSlotFiles = std::to_array<CodeSlotFile>({
    {CodeSlot::codeDirectory, "CodeDirectory"},
    {CodeSlot::requirements, "CodeRequirements"},
    {CodeSlot::resources, "CodeResources"},
    {CodeSlot::topDirectory, "CodeTopDirectory"},
    {CodeSlot::entitlements, "CodeEntitlements"},
    {CodeSlot::representationSpecific, "CodeRepSpecific"},
    {CodeSlot::entitlementsDER, "CodeEntitlementDER"},
    {CodeSlot::launchConstraintSelf, "LaunchConstraintSelf"},
    {CodeSlot::launchConstraintParent, "LaunchConstraintParent"},
    {CodeSlot::launchConstraintResponsible, "LaunchConstraintResponsible"},
    {CodeSlot::libraryConstraint, "LibraryConstraint"},
    {CodeSlot::signature, "CodeSignature"},
});

/// File names of the alternate code directories, which the format names after the requirements.
inline constexpr auto kAlternateCodeDirectoryFiles = std::to_array<std::string_view>(
    {"CodeRequirements-1", "CodeRequirements-2", "CodeRequirements-3", "CodeRequirements-4", "CodeRequirements-5"});

/// Name of the file (or extended attribute) that keeps the part; absent for parts that have none.
[[nodiscard]] constexpr std::optional<std::string_view> codeSlotFileName(CodeSlot slot) noexcept {
  const auto number = static_cast<std::uint32_t>(slot);
  const auto alternate = static_cast<std::uint32_t>(CodeSlot::alternateCodeDirectory);
  if (number >= alternate && number < alternate + kAlternateCodeDirectoryLimit) {
    return kAlternateCodeDirectoryFiles[number - alternate];
  }
  for (const CodeSlotFile& file : kCodeSlotFiles) {
    if (file.slot == slot) return file.name;
  }
  return std::nullopt;
}

}  // namespace quillon
