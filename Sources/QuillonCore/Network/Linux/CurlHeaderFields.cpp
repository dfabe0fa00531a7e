#include "QuillonCore/Network/Linux/CurlHeaderFields.h"

#include <string>

namespace quillon {
namespace {

/// A field without value has a form of its own, see CURLOPT_HTTPHEADER(3).
std::string lineOf(const QuillonHTTPHeaderField& field) {
  const bool isBlank = field.value.find_first_not_of(" \t") == std::string::npos;
  return isBlank ? field.name + ";" : field.name + ": " + field.value;
}

}  // namespace

CurlTextList curlHeaderFields(const QuillonURLRequest& request) {
  CurlTextList list;
  for (const QuillonHTTPHeaderField& field : request.headerFields) list.append(lineOf(field));
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
