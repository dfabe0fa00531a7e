#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CodeDirectory.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/MachOFile.h"

namespace quillon::testing {

/// An object file on the disk, as its maker signed it.
struct SignedProgram {
  std::filesystem::path file;
  std::string bytes;
  MachOFile object;

  /// Throws what `readMachOFile` throws.
  [[nodiscard]] static SignedProgram read(const std::filesystem::path& file);
  /// The bytes of an architecture's signature, without the padding behind it; empty without signature.
  [[nodiscard]] std::string signature(std::size_t slice) const;
};

/// A signed object file that is being tampered with: every change is made to the file at once, and all of them are
/// taken back at the end. Places are offsets in the file. Which places there are is read before the first change.
class TamperedProgram {
 public:
  /// Tampers with the architecture `slice` of `program`, which must be signed. `foreign` is a signature that another
  /// program has. Both are borrowed.
  TamperedProgram(SignedProgram& program, std::size_t slice, std::string_view foreign);
  ~TamperedProgram();
  TamperedProgram(const TamperedProgram&) = delete;
  TamperedProgram& operator=(const TamperedProgram&) = delete;

  [[nodiscard]] std::uint64_t length() const noexcept { return program_.bytes.size(); }
  [[nodiscard]] const MachOFile& object() const noexcept { return program_.object; }
  [[nodiscard]] const MachOSlice& slice() const noexcept { return program_.object.slices[slice_]; }
  /// The signature of another architecture of the same file; empty without one.
  [[nodiscard]] std::string signatureOfOtherSlice() const;
  [[nodiscard]] std::string_view foreignSignature() const noexcept { return foreign_; }

  /// First byte of the architecture's signature, and first byte behind the room for it.
  [[nodiscard]] std::uint64_t signatureBegin() const;
  [[nodiscard]] std::uint64_t signatureEnd() const;
  /// Every part of the signature, as `EmbeddedSignature::part` gives them.
  [[nodiscard]] const std::map<CodeSlot, std::string>& parts() const noexcept { return parts_; }
  [[nodiscard]] bool has(CodeSlot slot) const { return parts_.contains(slot); }
  /// Where a part stands; in a wrapper, what is wrapped.
  [[nodiscard]] std::uint64_t begin(CodeSlot slot) const { return begins_.at(slot); }
  [[nodiscard]] CodeDirectory directory(CodeSlot slot) const { return parseCodeDirectory(parts_.at(slot)); }
  [[nodiscard]] bool isAdHoc() const { return directory(CodeSlot::codeDirectory).isAdHoc(); }
  /// The bytes that pages cover.
  [[nodiscard]] std::string_view code() const;

  /// Replaces as many bytes as `bytes` has.
  void change(std::uint64_t place, std::string_view bytes);
  void flip(std::uint64_t place);
  /// Numbers of the universal header and of signatures.
  [[nodiscard]] std::uint32_t bigEndian(std::uint64_t place) const;
  void setBigEndian(std::uint64_t place, std::uint32_t value);
  /// Numbers of load commands.
  [[nodiscard]] std::uint32_t littleEndian(std::uint64_t place) const;
  void setLittleEndian(std::uint64_t place, std::uint32_t value);
  void truncate(std::uint64_t length);
  void append(std::string_view more);
  /// Writes another signature into the room that there is; false, and no change, when it is too small.
  [[nodiscard]] bool replaceSignature(std::string_view signature);
  [[nodiscard]] bool replaceParts(const std::map<CodeSlot, std::string>& parts);

 private:
  /// What stood somewhere, and how long the file was.
  struct Change {
    std::uint64_t place;
    std::string previous;
    std::uint64_t length;
  };
  void readIndex(std::string_view signature);
  void write(std::uint64_t place, std::string_view bytes);
  void setLength(std::uint64_t length);

  SignedProgram& program_;
  std::size_t slice_;
  std::string_view foreign_;
  FileDescriptor file_;
  std::map<CodeSlot, std::string> parts_;
  std::map<CodeSlot, std::uint64_t> begins_;
  std::vector<Change> changes_;
};

/// How verification refuses a tampered program.
struct Refusal {
  CodeSignatureErrorCode code;
  /// Whether it says which architecture it is about.
  bool namesArchitecture = true;
  /// Whether only strict verification refuses it.
  bool isStrict = false;
};

/// One way of tampering.
struct SignatureTampering {
  std::string_view name;
  /// Absent when the program has nothing of the kind, or when its maker has sealed nothing of the kind (an ad-hoc
  /// signature names nobody, whatever it says).
  std::optional<Refusal> (*apply)(TamperedProgram& program);
};

/// All ways, each to be applied to an intact program.
[[nodiscard]] std::span<const SignatureTampering> signatureTamperings();

}  // namespace quillon::testing
