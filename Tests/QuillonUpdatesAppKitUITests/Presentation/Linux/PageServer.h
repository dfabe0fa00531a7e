#pragma once

#include <libsoup/soup.h>

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "QuillonCore/Values/QuillonURL.h"

namespace quillon::testing {

/// A web server for the pages of tests, run by the main context of the test itself.
class PageServer {
 public:
  struct Answer {
    std::string body;
    unsigned status = 200;
    std::string contentType = "text/html; charset=utf-8";
    /// Of a redirect.
    std::string location = {};
    /// The request waits for ever.
    bool isNever = false;
  };

  PageServer() : server_(soup_server_new(nullptr, nullptr)) {
    soup_server_add_handler(server_, nullptr, answer, this, nullptr);
    if (soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr) == FALSE) {
      throw std::runtime_error("The page server cannot listen");
    }
    GSList* const addresses = soup_server_get_uris(server_);
    port_ = g_uri_get_port(static_cast<GUri*>(addresses->data));
    g_slist_free_full(addresses, reinterpret_cast<GDestroyNotify>(g_uri_unref));
  }
  ~PageServer() {
    soup_server_disconnect(server_);
    g_object_unref(server_);
  }
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  [[nodiscard]] std::string address(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(port_) + path;
  }
  [[nodiscard]] QuillonURL url(const std::string& path) const { return *QuillonURL::parse(address(path)); }

  /// By path; what is not there is not found.
  std::map<std::string, Answer> answers;
  /// Paths in the order of their requests.
  std::vector<std::string> requests;

 private:
  static void answer(SoupServer* /*server*/, SoupServerMessage* message, const char* path, GHashTable* /*query*/,
                     gpointer self) {
    auto& pages = *static_cast<PageServer*>(self);
    pages.requests.emplace_back(path);
    const auto found = pages.answers.find(path);
    if (found == pages.answers.end()) {
      soup_server_message_set_response(message, "text/html", SOUP_MEMORY_COPY, "<title>Not found</title>", 24);
      soup_server_message_set_status(message, SOUP_STATUS_NOT_FOUND, nullptr);
      return;
    }
    const Answer& page = found->second;
    if (page.isNever) {
      soup_server_message_pause(message);
      return;
    }
    soup_server_message_set_status(message, page.status, nullptr);
    if (!page.location.empty()) {
      soup_message_headers_replace(soup_server_message_get_response_headers(message), "Location",
                                   page.location.c_str());
    }
    soup_server_message_set_response(message, page.contentType.c_str(), SOUP_MEMORY_COPY, page.body.data(),
                                     page.body.size());
  }

  SoupServer* const server_;
  int port_ = 0;
};

/// A page that is one link, as large as its view.
[[nodiscard]] inline std::string pageOfOneLink(const std::string& address, const std::string& attributes = {}) {
  return "<!DOCTYPE html><title>Notes</title><a " + attributes + " href=\"" + address +
         "\" style=\"position:fixed;inset:0;display:block\">More</a>";
}

}  // namespace quillon::testing
