#include "Support/NginxServer.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

#include "Support/CertificateMaker.h"
#include "Support/ListeningSocket.h"

namespace quillon::testing {
namespace {

constexpr int kInheritedSocket = 3;

pid_t startServer(const std::filesystem::path& folder, int socket) {
  const std::string prefix = folder.string();
  const std::string log = (folder / "error.log").string();
  const std::array<const char*, 8> arguments = {"nginx",      "-p", prefix.c_str(), "-c",
                                                "nginx.conf", "-e", log.c_str(),    nullptr};
  // The server takes the socket that it finds in this variable: nobody else can get its port.
  const std::array<const char*, 2> environment = {"NGINX=3;", nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
  posix_spawn_file_actions_adddup2(&actions, socket, kInheritedSocket);
  posix_spawn_file_actions_addclosefrom_np(&actions, kInheritedSocket + 1);
  pid_t process = -1;
  const int error =
      posix_spawn(&process, "/usr/sbin/nginx", &actions, nullptr, const_cast<char* const*>(arguments.data()),
                  const_cast<char* const*>(environment.data()));
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("Cannot start nginx");
  return process;
}

}  // namespace

NginxServer::NginxServer(std::string_view directives, Protocol protocol) : protocol_(protocol) {
  const ListeningSocket socket = ListeningSocket::make();
  port_ = socket.port;
  std::filesystem::create_directories(documents());
  if (protocol_ != Protocol::http) writeCertificates();
  writeFile(folder_ / "nginx.conf", configuration(directives));
  process_ = startServer(folder_.path(), socket.descriptor.get());
}

NginxServer::~NginxServer() {
  kill(process_, SIGTERM);  // its worker ends before it does
  waitpid(process_, nullptr, 0);
}

std::string NginxServer::origin() const {
  const std::string scheme = protocol_ == Protocol::http ? "http://127.0.0.1:" : "https://localhost:";
  return scheme + std::to_string(port_);
}

QuillonURL NginxServer::url(std::string_view path) const {
  return QuillonURL::parse(origin() + std::string(path)).value();
}

void NginxServer::writeCertificates() const {
  const LocalhostCertificate localhost = makeLocalhostCertificate();
  writeFile(folder_ / "authority.pem", pemOf(localhost.root));
  writeFile(folder_ / "server.pem", pemOf(localhost.certificate));
  writeFile(folder_ / "server.key", pemOf(localhost.key));
}

std::string NginxServer::configuration(std::string_view directives) const {
  std::string listen = "listen 127.0.0.1:" + std::to_string(port_);
  std::string certificates;
  if (protocol_ != Protocol::http) {
    listen += protocol_ == Protocol::https2 ? " ssl http2" : " ssl";
    certificates = "ssl_certificate server.pem; ssl_certificate_key server.key;";
  }
  // Started by root its worker would become somebody who cannot read the test's folder.
  const std::string user = geteuid() == 0 ? "user root;" : "";
  return user +
         "daemon off; worker_processes 1; pid nginx.pid; error_log error.log;\n"
         "events { worker_connections 64; }\n"
         "http {\n"
         "access_log off; default_type application/octet-stream; sendfile on;\n"
         "client_body_temp_path body; proxy_temp_path proxy; fastcgi_temp_path fastcgi; uwsgi_temp_path uwsgi;"
         " scgi_temp_path scgi;\n"
         "server { " +
         listen + "; server_name localhost; root documents;\n" + certificates + "\n" + std::string(directives) +
         "\n} }\n";
}

}  // namespace quillon::testing
