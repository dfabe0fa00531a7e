#include "CodeSignature/SignatureDescription.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "CodeSignature/CodeObject.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/LoadedSignature.h"
#include "CodeSignature/ResourceSeal.h"
#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

/// A signature as far as it could be read.
struct DisplayedSignature {
  LoadedSignature content;
  bool isMessageIntact = false;
  /// Entries of Info.plist, if it is the one that was signed.
  std::optional<std::size_t> informationCount = std::nullopt;
};

std::optional<std::size_t> sealedInformationCount(const CodeRepresentation& code, const CodeDirectory& directory) {
  const auto sealed = directory.specialHashes.find(CodeSlot::infoPropertyList);
  const auto bytes = code.signaturePart(CodeSlot::infoPropertyList);
  const bool isIntact =
      sealed != directory.specialHashes.end() && bytes && codeHash(directory.hashType, *bytes) == sealed->second;
  if (!isIntact) return std::nullopt;
  try {
    const QuillonPropertyListValue list = readPropertyList(*bytes);
    const auto* dictionary = list.getIf<QuillonPropertyListValue::Dictionary>();
    return dictionary == nullptr ? std::nullopt : std::optional(dictionary->size());
  } catch (const QuillonPropertyListError&) {
    return std::nullopt;
  }
}

DisplayedSignature loadForDisplay(const CodeRepresentation& code, const TrustAnchors& anchors) {
  DisplayedSignature signature{.content = loadCodeDirectories(code)};
  try {
    loadCMS(code, anchors, signature.content);
    signature.isMessageIntact = true;
  } catch (const CodeSignatureError& error) {
    if (error.code() == CodeSignatureErrorCode::unsignedCode) throw;
    signature.content.chain.reset();
  }
  signature.informationCount = sealedInformationCount(code, signature.content.best());
  return signature;
}

std::string flagsText(std::uint32_t flags) {
  static constexpr auto kNames =
      std::to_array<std::pair<std::uint32_t, std::string_view>>({{0x1, "host"},
                                                                 {0x2, "adhoc"},
                                                                 {0x100, "hard"},
                                                                 {0x200, "kill"},
                                                                 {0x400, "expires"},
                                                                 {0x800, "restrict"},
                                                                 {0x1000, "enforcement"},
                                                                 {0x2000, "library-validation"},
                                                                 {0x10000, "runtime"},
                                                                 {0x20000, "linker-signed"}});
  std::string names;
  for (const auto& [bit, name] : kNames) {
    if ((flags & bit) != 0) names.append(names.empty() ? "" : ",").append(name);
  }
  std::ostringstream text;
  text << "0x" << std::hex << flags << "(" << (names.empty() ? "none" : names) << ")";
  return text.str();
}

/// "May 8, 2024 at 3:44:13 PM", in the time of this machine.
std::string timeText(std::chrono::sys_seconds time) {
  const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
  std::tm local{};
  localtime_r(&seconds, &local);
  static constexpr auto kMonths = std::to_array<std::string_view>(
      {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"});
  const auto twoDigits = [](int value) { return (value < 10 ? "0" : "") + std::to_string(value); };
  const int hour = local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12;
  std::string text(kMonths[static_cast<std::size_t>(local.tm_mon)]);
  text += " " + std::to_string(local.tm_mday) + ", " + std::to_string(local.tm_year + 1900) + " at ";
  text += std::to_string(hour) + ":" + twoDigits(local.tm_min) + ":" + twoDigits(local.tm_sec);
  return text + (local.tm_hour < 12 ? " AM" : " PM");
}

/// The team that somebody known vouches for; empty when there is none.
std::string provenTeam(const DisplayedSignature& signature) {
  const std::string& team = signature.content.best().team;
  const auto& chain = signature.content.chain;
  const bool isProven = signature.isMessageIntact && chain && chain->hasKnownAnchor && !team.empty() &&
                        chain->leaf().subjectValue("OU") == team;
  return isProven ? team : std::string();
}

/// The team of all architectures: another machine runs another one, and each has a signature of its own.
std::string provenTeam(const CodeObject& object, const DisplayedSignature& native, const TrustAnchors& anchors) {
  std::string team = provenTeam(native);
  for (const auto& architecture : object.architectures()) {
    if (team.empty() || architecture.get() == &object.native()) continue;
    try {
      if (provenTeam(loadForDisplay(*architecture, anchors)) != team) team.clear();
    } catch (const CodeSignatureError&) {
      team.clear();  // that one is not signed
    }
  }
  return team;
}

/// Newlines of any kind, Unicode's own among them, would let a signer write lines of their own into the display, a team
/// for example; other control characters would steer the terminal.
std::string printable(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const std::size_t newline = newlineLength(text, i);
    const bool isControl = newline > 0 || byte < 0x20 || byte == 0x7F;
    result += isControl ? '?' : text[i];
    i += std::max<std::size_t>(newline, 1);
  }
  return result;
}

class Description {
 public:
  Description(const CodeObject& object, const DisplayedSignature& signature, std::string team)
      : object_(object),
        code_(object.native()),
        signature_(signature),
        team_(std::move(team)),
        best_(signature.content.best()) {}

  std::string text() {
    line("Executable", printable(object_.mainPath()));
    line("Identifier", printable(best_.identifier));
    line("Format", object_.formatName());
    addCodeDirectory();
    addHashes();
    addSigner();
    addNotarization();
    addSealed();
    return out_.str();
  }

 private:
  void line(std::string_view key, const std::string& value) { out_ << key << "=" << value << "\n"; }

  void addCodeDirectory() {
    out_ << "CodeDirectory v=" << std::hex << best_.version << std::dec << " size=" << best_.blob.size()
         << " flags=" << flagsText(best_.flags) << " hashes=" << best_.pageCount() << "+" << best_.specialSlotCount
         << " location=embedded\n";
    if (best_.platform != 0) line("Platform identifier", std::to_string(best_.platform));
    if (const auto version = code_.version()) {
      line("VersionPlatform", std::to_string(version->platform));
      line("VersionMin", std::to_string(version->minimum));
      line("VersionSDK", std::to_string(version->sdk));
    }
  }

  void addHashes() {
    out_ << "Hash type=" << codeHashName(best_.hashType) << " size=" << codeHashSize(best_.hashType) << "\n";
    std::vector<const CodeDirectory*> directories;
    for (const CodeDirectory& directory : signature_.content.directories) directories.push_back(&directory);
    std::ranges::sort(directories, {}, &CodeDirectory::hashType);
    std::string choices;
    for (const CodeDirectory* directory : directories) {
      const std::string_view name = codeHashName(directory->hashType);
      out_ << "CandidateCDHash " << name << "=" << hexadecimal(directory->identifyingHash()) << "\n"
           << "CandidateCDHashFull " << name << "=" << hexadecimal(directory->fullHash()) << "\n";
      choices.append(choices.empty() ? "" : ",").append(name);
    }
    line("Hash choices", choices);
    const std::string& first = signature_.content.directories.front().blob;
    line("CMSDigest", hexadecimal(codeHash(CodeHashType::sha256, first)));
    line("CMSDigestType", "2");
    constexpr std::uint32_t kHasExecutableSegment = 0x20400;
    if (best_.version >= kHasExecutableSegment) {
      line("Executable Segment base", std::to_string(best_.executableSegmentBase));
      line("Executable Segment limit", std::to_string(best_.executableSegmentLimit));
      out_ << "Executable Segment flags=0x" << std::hex << best_.executableSegmentFlags << std::dec << "\n";
    }
    line("Page size", best_.pageSizeLog2 == 0 ? "none" : std::to_string(std::uint64_t{1} << best_.pageSizeLog2));
    line("CDHash", hexadecimal(best_.identifyingHash()));
  }

  void addSigner() {
    if (best_.isAdHoc()) {
      line("Signature", "adhoc");
      return;
    }
    line("Signature size", std::to_string(signature_.content.message.size()));
    if (!signature_.isMessageIntact) {
      line("Authority", "(unavailable)");
      return;
    }
    for (const CertificateFacts& certificate : signature_.content.chain->certificates) {
      line("Authority", printable(certificate.subjectValue("CN").value_or("(unavailable)")));
    }
    if (const auto& timestamp = signature_.content.timestamp) {
      line("Timestamp", timeText(timestamp->time));
    } else if (const auto& time = signature_.content.cms->signingTime) {
      line("Signed Time", timeText(*time));
    }
  }

  void addNotarization() {
    // The ticket itself says what only the platform's maker can check.
    if (object_.bundle() == nullptr) return;
    try {
      (void)openRegularFile(object_.bundle()->support.get(), "CodeResources");
      line("Notarization Ticket", "stapled");
    } catch (const QuillonSystemError&) {
      // No ticket.
    }
  }

  void addSealed() {
    if (signature_.informationCount) {
      line("Info.plist entries", std::to_string(*signature_.informationCount));
    } else {
      line("Info.plist", "not bound");
    }
    line("TeamIdentifier", team_.empty() ? "not set" : printable(team_));
    addRuntimeVersion();
    addSeal();
    addRequirements();
  }

  void addRuntimeVersion() {
    const std::uint32_t version = best_.runtimeVersion;
    if (version == 0) return;
    out_ << "Runtime Version=" << (version >> 16) << "." << ((version >> 8) & 0xFF) << "." << (version & 0xFF) << "\n";
  }

  void addSeal() {
    try {
      const auto bytes = code_.signaturePart(CodeSlot::resources);
      if (bytes) {
        const ResourceSeal seal = parseResourceSeal(*bytes);
        out_ << "Sealed Resources version=" << seal.version << " rules=" << seal.rules.count()
             << " files=" << seal.resources.size() << "\n";
        return;
      }
    } catch (const CodeSignatureError&) {
      // A display of a broken signature says what can be said.
    }
    line("Sealed Resources", "none");
  }

  void addRequirements() {
    try {
      if (const auto blob = code_.signaturePart(CodeSlot::requirements)) {
        out_ << "Internal requirements count=" << parseRequirementSet(*blob).size() << " size=" << blob->size() << "\n";
        return;
      }
    } catch (const CodeSignatureError&) {
      // As for the seal.
    }
    line("Internal requirements", "none");
  }

  const CodeObject& object_;
  const CodeRepresentation& code_;
  const DisplayedSignature& signature_;
  std::string team_;
  const CodeDirectory& best_;
  std::ostringstream out_;
};

}  // namespace

std::string describeSignature(const QuillonURL& item, const TrustAnchors& anchors) {
  const CodeObject object = CodeObject::openAt(item);
  const DisplayedSignature signature = loadForDisplay(object.native(), anchors);
  return Description(object, signature, provenTeam(object, signature, anchors)).text();
}

}  // namespace quillon
