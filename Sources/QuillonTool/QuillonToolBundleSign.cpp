#include "QuillonTool/QuillonToolBundleSign.h"

#include <optional>
#include <string>
#include <string_view>

#include "CodeSignature/CodeSignatureError.h"
#include "CodeSignature/CodeSigner.h"
#include "CodeSignature/SigningIdentity.h"
#include "QuillonTool/QuillonToolFileOperand.h"
#include "QuillonTool/QuillonToolUsageError.h"

namespace quillon {
namespace {

constexpr std::string_view kHelp = R"(Usage: quillon bundle sign BUNDLE --key PEM --certificate PEM
           [--identifier ID] [--force]
       quillon bundle sign BUNDLE --ad-hoc [--identifier ID] [--force]

Signs BUNDLE, and first the code nested in it that has no signature. Prints who
signed it. After a failure the bundle keeps the signature that it had; nested
code that was signed before stays signed.

Options:
  --key PEM          File with the private key.
  --certificate PEM  File with the key's certificate and those of its issuers,
                     up to the root.
  --ad-hoc           Seal the bundle without a key: it belongs to no team then.
  --identifier ID    Identifier of the signature (default: the bundle's).
  --force            Replace a signature that the bundle has already.
  --help             Print this text.

Exit status: 0 when the bundle was signed, 1 when it was not, 2 for a wrong
command line.
)";

constexpr std::string_view kKey = "--key";
constexpr std::string_view kCertificate = "--certificate";
constexpr std::string_view kAdHoc = "--ad-hoc";
constexpr std::string_view kIdentifier = "--identifier";
constexpr std::string_view kForce = "--force";

void checkSigner(const QuillonToolArguments& arguments) {
  const bool hasKey = arguments.has(kKey) || arguments.has(kCertificate);
  if (hasKey == arguments.has(kAdHoc)) {
    throw QuillonToolUsageError("Write either --key and --certificate, or --ad-hoc.");
  }
  if (arguments.has(kKey) != arguments.has(kCertificate)) {
    throw QuillonToolUsageError("The options --key and --certificate belong together; write both.");
  }
}

std::optional<SigningIdentity> loadIdentity(const QuillonToolArguments& arguments) {
  if (arguments.has(kAdHoc)) return std::nullopt;
  return SigningIdentity::load(QuillonURL::fileURL(arguments.requiredValue(kKey)),
                               QuillonURL::fileURL(arguments.requiredValue(kCertificate)));
}

std::string readIdentifier(const QuillonToolArguments& arguments) {
  const std::optional<std::string> identifier = arguments.value(kIdentifier);
  if (identifier && identifier->empty()) {
    throw QuillonToolUsageError("The identifier is empty; leave --identifier out to sign with the bundle's own.");
  }
  return identifier.value_or("");
}

std::string successText(const std::optional<SigningIdentity>& identity) {
  if (!identity) return "signed ad hoc";
  return identity->team().empty() ? "signed without team" : "signed by team " + identity->team();
}

void printFailure(const QuillonURL& bundle, const CodeSignatureError& error, QuillonToolConsole& console) {
  console.printError("quillon bundle sign: Cannot sign " + bundle.path() + ": " + error.description());
  for (const std::string& detail : error.details()) console.printError(detail);
  if (!error.subcomponent().empty()) console.printError("In subcomponent: " + error.subcomponent());
}

QuillonToolExitStatus sign(const QuillonToolArguments& arguments, const QuillonToolServices& services,
                           QuillonToolConsole& console) {
  const QuillonURL bundle = fileOperand(arguments, "BUNDLE");
  checkSigner(arguments);
  SigningOptions options;
  options.identifier = readIdentifier(arguments);
  options.replacesSignature = arguments.has(kForce);
  requireBundle(bundle, *services.fileManager);
  options.identity = loadIdentity(arguments);
  try {
    signCode(bundle, options);
  } catch (const CodeSignatureError& error) {
    printFailure(bundle, error, console);
    return kToolFailure;
  } catch (const QuillonSystemError&) {
    throw;
  } catch (const CodeAlreadySignedError& error) {
    throw QuillonError("Cannot sign " + bundle.path() + ": " + error.description() + " (--force replaces a signature)");
  } catch (const QuillonError& error) {
    throw QuillonError("Cannot sign " + bundle.path() + ": " + error.description());
  }
  console.printLine(successText(options.identity));
  return kToolSuccess;
}

}  // namespace

QuillonToolSubcommand bundleSignSubcommand() {
  using Kind = QuillonToolOption::Kind;
  return {.group = "bundle",
          .name = "sign",
          .summary = "Sign a bundle with a key, or ad hoc",
          .help = kHelp,
          .options = {{.name = kKey, .kind = Kind::withValue},
                      {.name = kCertificate, .kind = Kind::withValue},
                      {.name = kAdHoc},
                      {.name = kIdentifier, .kind = Kind::withValue},
                      {.name = kForce}},
          .action = sign};
}

}  // namespace quillon
