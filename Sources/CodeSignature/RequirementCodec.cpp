#include "CodeSignature/RequirementCodec.h"

#include <bit>

#include "CodeSignature/BlobBuilder.h"
#include "CodeSignature/BlobReader.h"
#include "CodeSignature/CodeSignatureError.h"

namespace quillon {
namespace {

constexpr std::uint32_t kMagic = 0xFADE0C00;
constexpr std::uint32_t kExpressionKind = 1;
constexpr std::uint32_t kHeaderSize = 12;
/// Operators with one of these bits can be passed over by readers that do not know them.
constexpr std::uint32_t kGenericFalse = 0x80000000;
constexpr std::uint32_t kGenericSkip = 0x40000000;

[[noreturn]] void fail(CodeSignatureErrorCode code = CodeSignatureErrorCode::requirementInvalid) {
  throw CodeSignatureError(code);
}

class Decoder {
 public:
  explicit Decoder(std::string_view blob) : reader_(blob), offset_(kHeaderSize) {}

  RequirementExpression expression(int depth) {
    if (depth > kRequirementDepthLimit) fail();
    const std::uint32_t opcode = number();
    if ((opcode & kGenericFalse) != 0) {
      (void)data();
      return {.operation = RequirementOperator::never};
    }
    if ((opcode & kGenericSkip) != 0) {
      (void)data();
      return expression(depth + 1);
    }
    if (opcode > static_cast<std::uint32_t>(RequirementOperator::legacyDeveloperID)) {
      fail(CodeSignatureErrorCode::requirementUnsupported);
    }
    RequirementExpression result{.operation = static_cast<RequirementOperator>(opcode)};
    readOperands(result, depth);
    return result;
  }

  void expectEnd() const {
    if (offset_ != reader_.size()) fail();
  }

 private:
  std::uint32_t number() {
    const auto value = reader_.u32(offset_);
    if (!value) fail();
    offset_ += 4;
    return *value;
  }

  std::string data() {
    const std::uint64_t length = number();
    const auto bytes = reader_.bytes(offset_, (length + 3) / 4 * 4);
    if (!bytes) fail();
    offset_ += bytes->size();
    return std::string(bytes->substr(0, length));
  }

  RequirementMatch match() {
    const std::uint32_t operation = number();
    if (operation > static_cast<std::uint32_t>(RequirementMatchOperator::absent)) {
      fail(CodeSignatureErrorCode::requirementUnsupported);
    }
    RequirementMatch result{.operation = static_cast<RequirementMatchOperator>(operation)};
    using enum RequirementMatchOperator;
    if (result.operation >= onDate && result.operation <= onOrAfterDate) {
      const std::uint64_t high = number();
      result.date = std::bit_cast<std::int64_t>((high << 32) | number());
    } else if (result.operation != exists && result.operation != absent) {
      result.value = data();
    }
    return result;
  }

  void readOperands(RequirementExpression& result, int depth) {
    using enum RequirementOperator;
    switch (result.operation) {
      case never:
      case always:
      case anchorApple:
      case anchorAppleGeneric:
      case anchorTrusted:
      case notarized:
      case legacyDeveloperID:
        return;
      case identifier:
      case codeDirectoryHash:
      case namedAnchor:
      case namedCode:
        result.text = data();
        return;
      case infoValue:
        result.text = data();
        result.match = {.operation = RequirementMatchOperator::equal, .value = data()};
        return;
      case certificateHash:
        result.number = std::bit_cast<std::int32_t>(number());
        result.text = data();
        return;
      case conjunction:
      case disjunction:
        result.operands.push_back(expression(depth + 1));
        result.operands.push_back(expression(depth + 1));
        return;
      case negation:
        result.operands.push_back(expression(depth + 1));
        return;
      case infoField:
      case entitlementField:
        result.text = data();
        result.match = match();
        return;
      case certificateField:
      case certificateExtension:
      case certificatePolicy:
      case certificateTimestamp:
        result.number = std::bit_cast<std::int32_t>(number());
        result.text = data();
        result.match = match();
        return;
      case certificateTrusted:
      case platform:
        result.number = std::bit_cast<std::int32_t>(number());
        return;
    }
  }

  BlobReader reader_;
  std::uint64_t offset_;
};

void buildMatch(const RequirementMatch& match, BlobBuilder& out) {
  using enum RequirementMatchOperator;
  out.u32(static_cast<std::uint32_t>(match.operation));
  if (match.operation >= onDate && match.operation <= onOrAfterDate) {
    out.u64(std::bit_cast<std::uint64_t>(match.date));
  } else if (match.operation != exists && match.operation != absent) {
    out.paddedData(match.value);
  }
}

void buildExpression(const RequirementExpression& expression, BlobBuilder& out) {
  using enum RequirementOperator;
  out.u32(static_cast<std::uint32_t>(expression.operation));
  switch (expression.operation) {
    case never:
    case always:
    case anchorApple:
    case anchorAppleGeneric:
    case anchorTrusted:
    case notarized:
    case legacyDeveloperID:
      return;
    case identifier:
    case codeDirectoryHash:
    case namedAnchor:
    case namedCode:
      out.paddedData(expression.text);
      return;
    case infoValue:
      out.paddedData(expression.text).paddedData(expression.match.value);
      return;
    case certificateHash:
      out.u32(std::bit_cast<std::uint32_t>(expression.number)).paddedData(expression.text);
      return;
    case conjunction:
    case disjunction:
    case negation:
      for (const RequirementExpression& operand : expression.operands) buildExpression(operand, out);
      return;
    case infoField:
    case entitlementField:
      out.paddedData(expression.text);
      buildMatch(expression.match, out);
      return;
    case certificateField:
    case certificateExtension:
    case certificatePolicy:
    case certificateTimestamp:
      out.u32(std::bit_cast<std::uint32_t>(expression.number)).paddedData(expression.text);
      buildMatch(expression.match, out);
      return;
    case certificateTrusted:
    case platform:
      out.u32(std::bit_cast<std::uint32_t>(expression.number));
      return;
  }
}

}  // namespace

RequirementExpression parseRequirementBlob(std::string_view blob) {
  const BlobReader reader(blob);
  if (reader.u32(0) != kMagic || reader.u32(4) != blob.size()) fail();
  if (reader.u32(8) != kExpressionKind) fail(CodeSignatureErrorCode::requirementUnsupported);
  Decoder decoder(blob);
  RequirementExpression expression = decoder.expression(0);
  decoder.expectEnd();
  return expression;
}

std::string buildRequirementBlob(const RequirementExpression& expression) {
  BlobBuilder code;
  buildExpression(expression, code);
  BlobBuilder out;
  out.u32(kMagic).u32(static_cast<std::uint32_t>(kHeaderSize + code.size())).u32(kExpressionKind).bytes(code.blob());
  return out.blob();
}

}  // namespace quillon
