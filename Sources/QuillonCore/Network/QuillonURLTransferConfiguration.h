#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quillon {

/// What holds for every transfer of a process. The defaults are what an application wants.
struct QuillonURLTransferConfiguration {
  /// A PEM file of root certificates to believe instead of the system's. Certificates are always verified.
  std::optional<std::string> certificateAuthorityFile = std::nullopt;
  /// Whether the variables `http_proxy`, `https_proxy`, `all_proxy` and `no_proxy` have a say.
  bool usesProxiesOfEnvironment = true;
  /// Sent as `User-Agent` unless the request has its own; empty for none.
  std::string userAgent = "Quillon";
  /// Of all header fields of one response together, interim responses included.
  std::size_t maximumHeaderBytes = 256 * 1024;
  /// Redirects that are followed; the next one is an error.
  int maximumRedirects = 20;
};

}  // namespace quillon
