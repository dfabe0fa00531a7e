#include "QuillonCore/Network/Linux/CurlHeaderFields.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "QuillonCore/Network/QuillonURLFailure.h"

namespace quillon {
namespace {

bool isTokenCharacter(char c) noexcept {
  static constexpr std::string_view kOther = "!#$%&'*+-.^_`|~";
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         kOther.find(c) != std::string_view::npos;
}

bool isField(const QuillonHTTPHeaderField& field) noexcept {
  static constexpr std::string_view kBreaks("\r\n\0", 3);
  return !field.name.empty() && std::ranges::all_of(field.name, isTokenCharacter) &&
         field.value.find_first_of(kBreaks) == std::string::npos;
}

/// A field without value has a form of its own, see CURLOPT_HTTPHEADER(3).
std::string lineOf(const QuillonHTTPHeaderField& field) {
  const bool isBlank = field.value.find_first_not_of(" \t") == std::string::npos;
  return isBlank ? field.name + ";" : field.name + ": " + field.value;
}

}  // namespace

CurlTextList curlHeaderFields(const QuillonURLRequest& request) {
  CurlTextList list;
  for (const QuillonHTTPHeaderField& field : request.headerFields) {
    if (!isField(field)) {
      throw urlFailure(QuillonURLErrorCode::badURL, request.url, "the request has a malformed header field");
    }
    list.append(lineOf(field));
  }
  return list;
}

std::vector<QuillonHTTPHeaderField> receivedHeaderFields(CURL* easy) {
  constexpr int kLastRequest = -1;
  std::vector<QuillonHTTPHeaderField> fields;
  curl_header* header = nullptr;
  while ((header = curl_easy_nextheader(easy, CURLH_HEADER, kLastRequest, header)) != nullptr) {
    fields.push_back({.name = header->name, .value = header->value});
  }
  return fields;
}

}  // namespace quillon
