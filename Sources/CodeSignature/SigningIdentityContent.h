#pragma once

#include <string>
#include <vector>

#include "CodeSignature/OpenSSLHandles.h"
#include "CodeSignature/SigningIdentity.h"

namespace quillon {

struct SigningIdentity::Content {
  KeyHandle key;
  std::vector<CertificateHandle> certificates;
  std::vector<std::string> chain;
  std::string team;
};

}  // namespace quillon
