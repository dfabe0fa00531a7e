#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "QuillonCore/Values/QuillonURL.h"
#include "Support/TemporaryDirectory.h"

namespace quillon::testing {

/// A web server for tests: nginx, with a configuration, folder and port of its own.
class NginxServer {
 public:
  enum class Protocol : std::uint8_t { http, https, https2 };

  /// Serves the files of documents(). `directives` stand in the configuration's "server" block. With HTTPS the server
  /// has a certificate for "localhost" alone that certificateAuthorityFile() vouches for.
  explicit NginxServer(std::string_view directives = {}, Protocol protocol = Protocol::http);
  ~NginxServer();
  NginxServer(const NginxServer&) = delete;
  NginxServer& operator=(const NginxServer&) = delete;

  [[nodiscard]] std::filesystem::path documents() const { return folder_ / "documents"; }
  [[nodiscard]] std::string certificateAuthorityFile() const { return (folder_ / "authority.pem").string(); }
  [[nodiscard]] std::uint16_t port() const noexcept { return port_; }
  /// "https://localhost:PORT" or "http://127.0.0.1:PORT".
  [[nodiscard]] std::string origin() const;
  /// `path` begins with a slash.
  [[nodiscard]] QuillonURL url(std::string_view path) const;

 private:
  void writeCertificates() const;
  [[nodiscard]] std::string configuration(std::string_view directives) const;

  TemporaryDirectory folder_;
  const Protocol protocol_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

}  // namespace quillon::testing
