#pragma once

#include "CodeSignature/OpenSSLHandles.h"
#include "CodeSignature/SigningIdentity.h"

#include <string>
#include <vector>

namespace quillon {

struct SigningIdentity::Content {
  KeyHandle key;
  std::vector<CertificateHandle> certificates;
  std::vector<std::string> chain;
  std::string team;
};

}  // namespace quillon
