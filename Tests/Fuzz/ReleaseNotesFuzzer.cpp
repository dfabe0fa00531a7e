// Release notes of any content are few lines of text that steer no terminal.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "QuillonTool/Update/HTMLText.h"
#include "QuillonTool/Update/ReleaseNotes.h"

namespace {

using namespace quillon;

void require(bool condition) {
  if (!condition) std::abort();
}

void checkNotes(std::string_view bytes, const char* type) {
  const QuillonURL url = QuillonURL::fileURL("/notes");
  const std::optional<std::string> text = ReleaseNotes::text(
      {.body = std::string(bytes), .response = {.url = url, .headerFields = {{"Content-Type", type}}}});
  if (!text) return;
  require(!text->empty());
  require(std::ranges::count(*text, '\n') <= static_cast<std::ptrdiff_t>(ReleaseNotes::maximumLines));
  require(std::ranges::none_of(*text, [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return (byte < 0x20 && c != '\n') || byte == 0x7F;
  }));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  require(textOfHTML(bytes, size).size() <= size);
  checkNotes(bytes, "text/html");
  checkNotes(bytes, "text/plain");
  return 0;
}
