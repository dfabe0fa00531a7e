#include "CodeSignature/CodeSignatureVerifier.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_set>

#include "CodeSignature/BundleLeftovers.h"
#include "CodeSignature/CodePages.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/ResourceHashing.h"

namespace quillon {
namespace {

constexpr std::size_t kNestingLimit = 32;

[[noreturn]] void fail(CodeSignatureErrorCode code) {
  throw CodeSignatureError(code);
}

/// Compares every page of the code with the hashes of every directory.
void checkPages(const CodeRepresentation& code, const std::vector<CodeDirectory>& directories) {
  const CodeDirectory& first = directories.front();
  if (first.codeLimit > code.codeLength()) fail(CodeSignatureErrorCode::signatureFailed);
  std::vector<CodeHashType> types;
  types.reserve(directories.size());
  for (const CodeDirectory& directory : directories) types.push_back(directory.hashType);
  const auto read = [&code](std::uint64_t offset, std::span<char> block) { return code.readCode(offset, block); };
  const std::vector<std::string> hashes = hashCodePages(read, first.codeLimit, first.pageSizeLog2, types);
  for (std::size_t i = 0; i < directories.size(); ++i) {
    if (hashes[i] != directories[i].pageHashes) fail(CodeSignatureErrorCode::signatureFailed);
  }
}

RequirementExpression sealedRequirement(const std::string& text) {
  try {
    return parseRequirementText(text);
  } catch (const CodeSignatureError&) {
    fail(CodeSignatureErrorCode::resourcesInvalid);
  }
}

}  // namespace

/// One piece of code on the way from the outermost inwards.
struct CodeSignatureVerifier::Code {
  const CodeObject& object;
  /// Path below the outermost code; empty for that itself.
  std::string path;
  /// The bundles around it.
  std::vector<SealedScope> outer;

  [[nodiscard]] const BundleLayout& bundle() const { return *object.bundle(); }
  /// Path of the support folder below the outermost code.
  [[nodiscard]] std::string support() const { return joinedPath(path, bundle().supportName); }
};

/// Compares what is in a bundle with its seal, and collects every difference.
class CodeSignatureVerifier::ResourceCheck {
 public:
  /// The slots of all architectures have the hash of the same file, so that the first one's seal is everyone's.
  ResourceCheck(CodeSignatureVerifier& verifier, const Code& code, const std::vector<LoadedSignature>& signatures)
      : verifier_(verifier),
        code_(code),
        bundle_(code.bundle()),
        seal_(parseResourceSeal(*signatures.front().sealBytes)) {
    for (const LoadedSignature& signature : signatures) {
      for (const CodeDirectory& directory : signature.directories) hashTypes_.insert(directory.hashType);
    }
    scopes_ = code.outer;
    scopes_.push_back({.support = code.support(), .rules = &seal_.rules, .mainExecutable = &bundle_.mainExecutable});
  }

  void run() {
    if (verifier_.isStrict_) checkRules();
    const std::vector<ScannedResource> scanned =
        scanResources(bundle_.support, seal_.rules, bundle_.mainExecutable, bundle_.supportPath());
    for (const ScannedResource& resource : scanned) check(resource);
    checkHashes();
    checkMissing(scanned);
    if (verifier_.isStrict_) checkSecondInformation();
    checkNestedCode();
    report();
  }

 private:
  struct Problem {
    CodeSignatureErrorCode code;
    std::string line;
  };

  void checkRules() const {
    if (!seal_.rules.isStrict(seal_.version, bundle_.hasResourcesFolder()))
      fail(CodeSignatureErrorCode::weakResourceRules);
    if (seal_.version == 1) fail(CodeSignatureErrorCode::weakResourceEnvelope);
  }

  /// The rules leave an Info.plist in the support folder alone, because it has a slot of its own. Where the bundle has
  /// its Info.plist elsewhere, nobody would have sealed this one.
  void checkSecondInformation() {
    static const std::string kName = "Info.plist";
    if (bundle_.informationPath == kName || seal_.rules.includes(kName)) return;
    try {
      (void)openRegularFile(bundle_.support.get(), kName);
      addProblem("file added", kName);
    } catch (const QuillonSystemError&) {
      // There is none.
    }
  }

  void addProblem(std::string_view what, const std::string& path,
                  CodeSignatureErrorCode code = CodeSignatureErrorCode::badResource) {
    problems_.push_back({code, std::string(what) + ": " + bundle_.supportPath() + "/" + path});
  }

  void check(const ScannedResource& resource) {
    const auto found = seal_.resources.find(resource.path);
    if (found == seal_.resources.end()) {
      const bool isIgnored = seal_.version == 1 && resource.kind == ScannedResourceKind::link;
      if (!isIgnored) addProblem("file added", resource.path);
      return;
    }
    const SealedResource& sealed = found->second;
    if (resource.kind == ScannedResourceKind::link) {
      checkLink(resource, sealed);
    } else if (sealed.requirement) {
      nested_.emplace_back(resource.path, *sealed.requirement);
    } else if (resource.kind == ScannedResourceKind::file && !sealed.linkText) {
      hashedPaths_.push_back(resource.path);
      hashedEntries_.push_back(&sealed);
    } else {
      addProblem("file modified", resource.path);
    }
  }

  void checkLink(const ScannedResource& resource, const SealedResource& sealed) {
    if (sealed.linkText != resource.linkText) {
      addProblem("file modified", resource.path);
      return;
    }
    const bool isAllowed = !verifier_.isStrict_ ||
                           isSealedDestination(verifier_.outermost_.bundle()->bundle,
                                               joinedPath(code_.support(), resource.path), resource.linkText, scopes_);
    if (!isAllowed) addProblem("file modified", resource.path, CodeSignatureErrorCode::invalidLinkDestination);
  }

  /// Every directory's algorithm counts: a seal that lacks one of the hashes could be met by other files for readers of
  /// that directory.
  [[nodiscard]] bool matches(const SealedResource& sealed, const CodeHashes& hashes) const {
    return std::ranges::all_of(hashTypes_, [&](CodeHashType type) {
      const auto expected = sealed.hashes.find(type);
      const auto actual = hashes.find(type);
      return expected != sealed.hashes.end() && actual != hashes.end() && expected->second == actual->second;
    });
  }

  void checkHashes() {
    std::vector<char> isIntact(hashedPaths_.size(), 0);
    hashResources(bundle_.support, hashedPaths_, hashTypes_, verifier_.isStrict_,
                  [&](std::size_t index, const CodeHashes& hashes) {
                    isIntact[index] = matches(*hashedEntries_[index], hashes) ? 1 : 0;
                  });
    for (std::size_t i = 0; i < isIntact.size(); ++i) {
      if (isIntact[i] == 0) addProblem("file modified", hashedPaths_[i]);
    }
  }

  void checkMissing(const std::vector<ScannedResource>& scanned) {
    std::unordered_set<std::string_view> present;
    present.reserve(scanned.size());
    for (const ScannedResource& resource : scanned) present.insert(resource.path);
    for (const auto& [path, sealed] : seal_.resources) {
      if (!sealed.isOptional && !present.contains(path)) addProblem("file missing", path);
    }
  }

  void checkNestedCode() {
    for (const auto& [path, requirement] : nested_) {
      verifier_.verifyNestedCode(code_, path, requirement, scopes_);
    }
  }

  void report() {
    if (problems_.empty()) return;
    // A link whose destination was taken away is no news beside the file that is missing.
    const bool hasBadResource =
        std::ranges::find(problems_, CodeSignatureErrorCode::badResource, &Problem::code) != problems_.end();
    const CodeSignatureErrorCode code = hasBadResource ? CodeSignatureErrorCode::badResource : problems_.front().code;
    std::vector<std::string> lines;
    for (Problem& problem : problems_) {
      if (problem.code == code) lines.push_back(std::move(problem.line));
    }
    std::ranges::sort(lines);
    throw CodeSignatureError(code, std::move(lines));
  }

  CodeSignatureVerifier& verifier_;
  const Code& code_;
  const BundleLayout& bundle_;
  ResourceSeal seal_;
  std::set<CodeHashType> hashTypes_;
  std::vector<SealedScope> scopes_;
  std::vector<std::string> hashedPaths_;
  std::vector<const SealedResource*> hashedEntries_;
  std::vector<std::pair<std::string, std::string>> nested_;  // path, requirement
  std::vector<Problem> problems_;
};

CodeSignatureVerifier::CodeSignatureVerifier(const CodeObject& outermost, const VerificationOptions& options)
    : outermost_(outermost),
      isStrict_(options.isStrict),
      isDeep_(options.isDeep),
      anchors_(options.anchors ? *options.anchors : TrustAnchors::system()) {}

std::vector<LoadedSignature> CodeSignatureVerifier::verify() {
  const Code code{.object = outermost_, .path = {}, .outer = {}};
  std::vector<LoadedSignature> signatures = verifyCode(code, true);
  if (isStrict_) verifyOtherVersions(code, designatedRequirement(signatures));
  return signatures;
}

std::vector<LoadedSignature> CodeSignatureVerifier::verifyNested(const CodeObject& object, const std::string& path,
                                                                 const std::vector<SealedScope>& outer) {
  return verifyCode({.object = object, .path = path, .outer = outer}, true);
}

std::vector<LoadedSignature> CodeSignatureVerifier::verifyCode(const Code& code, bool isFull) {
  std::vector<LoadedSignature> signatures;
  for (const auto& architecture : code.object.architectures()) {
    try {
      signatures.push_back(verifyArchitecture(code, *architecture, isFull));
      signatures.back().shareParts(signatures.front());
    } catch (const CodeSignatureError& error) {
      // Of code without any signature there is nothing to tell but which part has none.
      const bool isWhole =
          error.code() == CodeSignatureErrorCode::unsignedCode && code.object.architectures().size() == 1;
      throw isWhole ? error : error.inArchitecture(architecture->architecture());
    }
  }
  // A program with two makers would be one maker's on one machine and the other's on another.
  for (const LoadedSignature& signature : signatures) {
    if (signature.best().team != signatures.front().best().team) fail(CodeSignatureErrorCode::signatureInvalid);
  }
  if (!isFull) return signatures;
  if (code.object.bundle() != nullptr) checkResources(code, signatures);
  if (isStrict_) checkStructure(code, signatures);
  return signatures;
}

LoadedSignature CodeSignatureVerifier::verifyArchitecture(const Code& code, const CodeRepresentation& architecture,
                                                          bool isFull) const {
  LoadedSignature signature = loadCodeDirectories(architecture);
  loadCMS(architecture, anchors_, signature);
  checkSpecialSlots(architecture, signature);
  if (code.object.bundle() != nullptr && code.bundle().isInformationMalformed) {
    fail(CodeSignatureErrorCode::badPropertyList);
  }
  if (isFull) checkPages(architecture, signature.directories);
  return signature;
}

void CodeSignatureVerifier::checkResources(const Code& code, const std::vector<LoadedSignature>& signatures) {
  for (const LoadedSignature& signature : signatures) {
    if (!signature.sealBytes) fail(CodeSignatureErrorCode::resourcesNotFound);
  }
  ResourceCheck(*this, code, signatures).run();
  if (!isStrict_) return;
  const bool isEmbedded = !code.object.native().architecture().empty();
  checkSignatureFolder(code.bundle(), signatures.front(), isEmbedded);
  checkBundleRoot(code.bundle());
}

void CodeSignatureVerifier::checkStructure(const Code& code, const std::vector<LoadedSignature>& signatures) const {
  const CodeObject& object = code.object;
  const bool hasSideband =
      hasSidebandData(object.mainFile()) || (object.bundle() != nullptr && hasSidebandData(object.bundle()->bundle));
  if (hasSideband) fail(CodeSignatureErrorCode::sidebandDataRefused);
  for (std::size_t i = 0; i < signatures.size(); ++i) {
    const CodeRepresentation& architecture = *object.architectures()[i];
    if (signatures[i].best().codeLimit == architecture.codeLength()) continue;
    throw CodeSignatureError(CodeSignatureErrorCode::signatureInvalid).inArchitecture(architecture.architecture());
  }
  if (object.objectFile()) checkMachOLayout(*object.objectFile(), object.mainFile());
}

void CodeSignatureVerifier::verifyNestedCode(const Code& outer, const std::string& path, const std::string& requirement,
                                             const std::vector<SealedScope>& scopes) {
  const std::string absolutePath = outer.bundle().supportPath() + "/" + path;
  const RequirementExpression expected = sealedRequirement(requirement);
  try {
    if (scopes.size() > kNestingLimit) fail(CodeSignatureErrorCode::badBundleFormat);
    const CodeObject object = CodeObject::openNested(outer.bundle().support, path, absolutePath);
    const Code nested{.object = object, .path = joinedPath(outer.support(), path), .outer = scopes};
    const std::vector<LoadedSignature> signatures = verifyCode(nested, isDeep_);
    if (meetsRequirement(signatures, expected)) {
      if (isStrict_ && isDeep_) verifyOtherVersions(nested, expected);
      return;
    }
  } catch (const CodeSignatureError& error) {
    throw error.inSubcomponent(absolutePath);
  }
  throw CodeSignatureError(CodeSignatureErrorCode::badNestedCode, {"file modified: " + absolutePath});
}

/// Programs may load any version of a framework, not only the current one.
void CodeSignatureVerifier::verifyOtherVersions(const Code& framework, const RequirementExpression& requirement) {
  if (framework.object.bundle() == nullptr) return;
  for (const std::string& name : otherVersions(framework.bundle())) {
    const std::string relative = "Versions/" + name;
    try {
      const CodeObject object =
          CodeObject::openNested(framework.bundle().bundle, relative, framework.object.path() + "/" + relative);
      const Code version{.object = object, .path = joinedPath(framework.path, relative), .outer = framework.outer};
      // Verified as a bundle of another form, it would have parts that no seal reaches.
      const bool isVersion = object.bundle() != nullptr && object.bundle()->form == BundleForm::flat;
      if (isVersion && meetsRequirement(verifyCode(version, true), requirement)) continue;
    } catch (const CodeSignatureError&) {
      // Whatever is wrong with it, what counts is that there is a version that may not be used.
    }
    throw CodeSignatureError(CodeSignatureErrorCode::badFrameworkVersion,
                             {"file modified: " + framework.object.path() + "/" + relative});
  }
}

}  // namespace quillon
