#include "CodeSignature/CodeSignatureVerifier.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_set>

#include "CodeSignature/BundleLeftovers.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/GenericBundleCode.h"
#include "CodeSignature/RequirementText.h"
#include "CodeSignature/ResourceHashing.h"
#include "QuillonCore/Runtime/QuillonParallelFor.h"

namespace quillon {
namespace {

constexpr std::size_t kNestingLimit = 32;

[[noreturn]] void fail(CodeSignatureErrorCode code) {
  throw CodeSignatureError(code);
}

void checkPages(const CodeRepresentation& code, const CodeDirectory& directory) {
  const std::uint64_t pageSize =
      directory.pageSizeLog2 == 0 ? directory.codeLimit : std::uint64_t{1} << directory.pageSizeLog2;
  const std::size_t pages = directory.pageHashes.size();
  std::vector<std::optional<CodeHasher>> hashers(quillonParallelForWorkerCount(pages));
  quillonParallelFor(pages, [&](std::size_t page, std::size_t worker) {
    std::optional<CodeHasher>& hasher = hashers[worker];
    if (!hasher) hasher.emplace(directory.hashType);
    const std::uint64_t offset = page * pageSize;
    code.hashCode(offset, std::min(pageSize, directory.codeLimit - offset), *hasher);
    std::string hash = hasher->finish();
    hash.resize(codeHashSize(directory.hashType));
    if (hash != directory.pageHashes[page]) fail(CodeSignatureErrorCode::signatureFailed);
  });
}

RequirementExpression sealedRequirement(const std::string& text) {
  try {
    return parseRequirementText(text);
  } catch (const CodeSignatureError&) {
    fail(CodeSignatureErrorCode::resourcesInvalid);
  }
}

}  // namespace

/// One bundle on the way from the outermost inwards.
struct CodeSignatureVerifier::Bundle {
  const BundleLayout& layout;
  /// Path of its support folder below the outermost bundle.
  std::string support;
  /// The bundles around it.
  std::vector<SealedScope> outer;
};

/// Compares what is in a bundle with its seal, and collects every difference.
class CodeSignatureVerifier::ResourceCheck {
 public:
  ResourceCheck(CodeSignatureVerifier& verifier, const Bundle& bundle, const LoadedSignature& signature)
      : verifier_(verifier), bundle_(bundle), seal_(parseResourceSeal(signature.sealBytes.value())) {
    for (const CodeDirectory& directory : signature.directories) hashTypes_.insert(directory.hashType);
    scopes_ = bundle.outer;
    scopes_.push_back(
        {.support = bundle.support, .rules = &seal_.rules, .mainExecutable = &bundle.layout.mainExecutable});
  }

  void run() {
    if (verifier_.isStrict_) checkRules();
    const std::vector<ScannedResource> scanned =
        scanResources(bundle_.layout.support, seal_.rules, bundle_.layout.mainExecutable, bundle_.layout.supportPath());
    for (const ScannedResource& resource : scanned) check(resource);
    checkHashes();
    checkMissing(scanned);
    checkNestedCode();
    report();
  }

 private:
  struct Problem {
    CodeSignatureErrorCode code;
    std::string line;
  };

  void checkRules() const {
    if (!seal_.rules.isStrict(seal_.version)) fail(CodeSignatureErrorCode::weakResourceRules);
    if (seal_.version == 1) fail(CodeSignatureErrorCode::weakResourceEnvelope);
  }

  void addProblem(std::string_view what, const std::string& path,
                  CodeSignatureErrorCode code = CodeSignatureErrorCode::badResource) {
    problems_.push_back({code, std::string(what) + ": " + bundle_.layout.supportPath() + "/" + path});
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
    const bool isAllowed =
        !verifier_.isStrict_ ||
        isSealedDestination(verifier_.outermost_, bundle_.support + "/" + resource.path, resource.linkText, scopes_);
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
    hashResources(bundle_.layout.support, hashedPaths_, hashTypes_, verifier_.isStrict_,
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
      verifier_.verifyNestedCode(bundle_, path, requirement, scopes_);
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
  const Bundle& bundle_;
  ResourceSeal seal_;
  std::set<CodeHashType> hashTypes_;
  std::vector<SealedScope> scopes_;
  std::vector<std::string> hashedPaths_;
  std::vector<const SealedResource*> hashedEntries_;
  std::vector<std::pair<std::string, std::string>> nested_;  // path, requirement
  std::vector<Problem> problems_;
};

CodeSignatureVerifier::CodeSignatureVerifier(const FileDescriptor& outermost, const VerificationOptions& options)
    : outermost_(outermost),
      isStrict_(options.isStrict),
      isDeep_(options.isDeep),
      anchors_(options.anchors ? *options.anchors : TrustAnchors::system()) {}

LoadedSignature CodeSignatureVerifier::verify(const BundleLayout& layout) {
  return verifyBundle({.layout = layout, .support = "Contents", .outer = {}}, true);
}

LoadedSignature CodeSignatureVerifier::verifyNested(const BundleLayout& layout, const std::string& support,
                                                    const std::vector<SealedScope>& outer) {
  return verifyBundle({.layout = layout, .support = support, .outer = outer}, true);
}

LoadedSignature CodeSignatureVerifier::verifyBundle(const Bundle& bundle, bool isFull) {
  const GenericBundleCode code(bundle.layout);
  LoadedSignature signature = loadCodeDirectories(code);
  loadCMS(code, anchors_, signature);
  checkSpecialSlots(code, signature);
  if (bundle.layout.isInformationMalformed) fail(CodeSignatureErrorCode::badPropertyList);
  if (!isFull) return signature;
  for (const CodeDirectory& directory : signature.directories) checkPages(code, directory);
  checkResources(bundle, signature);
  if (isStrict_) checkStructure(bundle, signature);
  return signature;
}

void CodeSignatureVerifier::checkResources(const Bundle& bundle, const LoadedSignature& signature) {
  if (!signature.sealBytes) fail(CodeSignatureErrorCode::resourcesNotFound);
  ResourceCheck(*this, bundle, signature).run();
  if (isStrict_) checkLeftovers(bundle.layout, signature);
}

void CodeSignatureVerifier::checkStructure(const Bundle& bundle, const LoadedSignature& signature) const {
  if (hasSidebandData(bundle.layout.bundle) || hasSidebandData(bundle.layout.mainExecutableFile)) {
    fail(CodeSignatureErrorCode::sidebandDataRefused);
  }
  const GenericBundleCode code(bundle.layout);
  if (signature.best().codeLimit != code.codeLength()) fail(CodeSignatureErrorCode::signatureInvalid);
}

void CodeSignatureVerifier::verifyNestedCode(const Bundle& outer, const std::string& path,
                                             const std::string& requirement, const std::vector<SealedScope>& scopes) {
  const std::string absolutePath = outer.layout.supportPath() + "/" + path;
  const RequirementExpression expected = sealedRequirement(requirement);
  try {
    if (scopes.size() > kNestingLimit) fail(CodeSignatureErrorCode::badBundleFormat);
    const BundleLayout layout = openNestedBundle(outer.layout.support, path, absolutePath);
    const Bundle nested{.layout = layout, .support = outer.support + "/" + path + "/Contents", .outer = scopes};
    const LoadedSignature signature = verifyBundle(nested, isDeep_);
    if (meetsRequirement(requirementSubject(signature, layout), expected)) return;
  } catch (const CodeSignatureError& error) {
    throw error.inSubcomponent(absolutePath);
  }
  throw CodeSignatureError(CodeSignatureErrorCode::badNestedCode, {"file modified: " + absolutePath});
}

}  // namespace quillon
