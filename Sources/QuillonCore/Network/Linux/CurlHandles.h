#pragma once

#include <curl/curl.h>

#include <memory>
#include <new>
#include <string>

namespace quillon {

/// Frees an object of libcurl with the function that belongs to its type.
template <auto freeObject>
struct CurlDeleter {
  template <typename T>
  void operator()(T* object) const noexcept {
    freeObject(object);
  }
};

using CurlEasyHandle = std::unique_ptr<CURL, CurlDeleter<curl_easy_cleanup>>;
using CurlMultiHandle = std::unique_ptr<CURLM, CurlDeleter<curl_multi_cleanup>>;
using CurlURLHandle = std::unique_ptr<CURLU, CurlDeleter<curl_url_cleanup>>;
using CurlText = std::unique_ptr<char, CurlDeleter<curl_free>>;

/// A list of texts, as libcurl takes header fields.
class CurlTextList {
 public:
  void append(const std::string& text) {
    curl_slist* const extended = curl_slist_append(list_.get(), text.c_str());
    if (extended == nullptr) throw std::bad_alloc();
    (void)list_.release();  // the list that was extended is the same or a part of the result
    list_.reset(extended);
  }
  [[nodiscard]] curl_slist* get() const noexcept { return list_.get(); }

 private:
  std::unique_ptr<curl_slist, CurlDeleter<curl_slist_free_all>> list_;
};

}  // namespace quillon
