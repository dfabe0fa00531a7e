// Signature messages and time-stamp tokens: nothing is accepted but what the seeds say. Nobody has their keys, so
// whatever else is accepted is a forgery, or a change that nobody would notice. Only the encoding may differ where it
// means the same: definite and indefinite lengths of the outer values, NULL parameters of algorithms, an RSA algorithm
// that is named with or without its digest, the order of certificates.

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "CodeSignature/CMSSignature.h"
#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/SignatureTimestamp.h"

namespace {

// As in makeCMSSignatureCorpus.py.
constexpr std::string_view kContent = "content that the messages sign";
constexpr std::string_view kSignatureValue = "signature value that the tokens stamp";

void require(bool condition) {
  if (!condition) std::abort();
}

/// All that a message or token says, however it is encoded.
using Meaning = std::vector<std::string>;

void addTime(std::chrono::sys_seconds time, Meaning& meaning) {
  meaning.push_back(std::to_string(time.time_since_epoch().count()));
}

void addChain(const quillon::CertificateChain& chain, Meaning& meaning) {
  for (const quillon::CertificateFacts& certificate : chain.certificates) meaning.push_back(certificate.der);
}

void addTimestamp(std::string_view token, std::string_view signatureValue, Meaning& meaning) {
  const quillon::SignatureTimestamp timestamp = quillon::verifySignatureTimestamp(token, signatureValue, {});
  meaning.emplace_back("time stamp");
  addTime(timestamp.time, meaning);
  addChain(timestamp.chain, meaning);
}

Meaning meaningOfMessage(std::string_view message) {
  const quillon::CMSSignature signature = quillon::verifyCMSSignature(message, kContent);
  Meaning meaning{"message", signature.signer, signature.signatureValue};
  addChain(quillon::buildCertificateChain(signature.signer, signature.certificates, {}, std::nullopt), meaning);
  if (signature.signingTime) addTime(*signature.signingTime, meaning);
  for (const std::string& hash : signature.listedHashes.value_or(std::vector<std::string>())) meaning.push_back(hash);
  if (signature.typedHashes) {
    for (const auto& [algorithm, hash] : *signature.typedHashes) meaning.push_back(algorithm + hash);
  }
  if (signature.timestampToken) addTimestamp(*signature.timestampToken, signature.signatureValue, meaning);
  return meaning;
}

/// Absent for what is refused.
std::optional<Meaning> meaningOf(std::string_view input) {
  if (input.empty()) return std::nullopt;
  const std::string_view rest = input.substr(1);
  try {
    if (input.front() == '\0') return meaningOfMessage(rest);
    Meaning meaning;
    addTimestamp(rest, kSignatureValue, meaning);
    return meaning;
  } catch (const quillon::CodeSignatureError&) {
    return std::nullopt;
  }
}

/// What the seeds say, each of which is accepted. Other files of the folder are inputs that made trouble once.
std::set<Meaning> readSeeds() {
  std::set<Meaning> meanings;
  for (const auto& entry : std::filesystem::directory_iterator(QUILLON_SEED_FOLDER)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with("message") && !name.starts_with("token")) continue;
    std::ifstream stream(entry.path(), std::ios::binary);
    const std::string seed{std::istreambuf_iterator<char>(stream), {}};
    std::optional<Meaning> meaning = meaningOf(seed);
    require(meaning.has_value());
    meanings.insert(std::move(*meaning));
  }
  require(!meanings.empty());
  return meanings;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::set<Meaning> kSeeds = readSeeds();
  const std::optional<Meaning> meaning = meaningOf({reinterpret_cast<const char*>(data), size});
  require(!meaning || kSeeds.contains(*meaning));
  return 0;
}
