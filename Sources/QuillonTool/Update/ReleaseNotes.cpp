#include "QuillonTool/Update/ReleaseNotes.h"

#include <chrono>
#include <string_view>
#include <vector>

#include "QuillonCore/Text/Newlines.h"
#include "QuillonCore/Text/QuillonCaseFolding.h"
#include "QuillonCore/Text/QuillonPlainText.h"
#include "QuillonCore/Text/QuillonScalars.h"
#include "QuillonCore/Values/QuillonURLError.h"
#include "QuillonTool/Update/HTMLText.h"

namespace quillon {
namespace {

constexpr auto kTimeout = std::chrono::seconds(10);
constexpr std::int32_t kSuccessStatus = 200;
constexpr std::string_view kEllipsis = "…";

enum class PageKind : std::uint8_t { plain, html, other };

PageKind kindNamed(std::string_view type) {
  if (equalIgnoringCase(type, "text/plain") || equalIgnoringCase(type, "text/markdown")) return PageKind::plain;
  if (equalIgnoringCase(type, "text/html") || equalIgnoringCase(type, "application/xhtml+xml")) return PageKind::html;
  return PageKind::other;
}

PageKind kindOf(const QuillonURLData& page) {
  if (const auto type = page.response.valueForHeaderField("Content-Type")) {
    return kindNamed(trimmed(type->substr(0, type->find(';'))));
  }
  // Files have names only.
  const std::string_view extension = page.response.url.pathExtension();
  if (equalIgnoringCase(extension, "txt") || equalIgnoringCase(extension, "md")) return PageKind::plain;
  if (equalIgnoringCase(extension, "html") || equalIgnoringCase(extension, "htm")) return PageKind::html;
  return PageKind::other;
}

/// `line` cut off after `columns` scalars.
std::string cutOff(std::string_view line, std::size_t columns) {
  std::string_view rest = line;
  for (std::size_t i = 0; i < columns && !rest.empty(); ++i) (void)takeFirstScalar(rest);
  std::string text(line.substr(0, line.size() - rest.size()));
  if (!rest.empty()) text += kEllipsis;
  return text;
}

std::string boundedText(std::string_view text) {
  std::string bounded;
  std::size_t count = 0;
  bool wasBlank = true;  // no blank lines at the beginning
  for (const std::string_view line : lines(text)) {
    const bool isBlank = trimmed(line).empty();
    if (isBlank && wasBlank) continue;
    wasBlank = isBlank;
    if (count++ == ReleaseNotes::maximumLines) return bounded.append(kEllipsis);
    bounded.append(cutOff(line, ReleaseNotes::maximumColumns)).append("\n");
  }
  while (bounded.ends_with('\n')) bounded.pop_back();
  return bounded;
}

}  // namespace

std::optional<std::string> ReleaseNotes::text(const QuillonURLData& page) {
  const PageKind kind = kindOf(page);
  if (kind == PageKind::other) return std::nullopt;
  const std::string_view body = std::string_view(page.body).substr(0, maximumPageBytes);
  std::string text = boundedText(multiLineText(kind == PageKind::html ? textOfHTML(body, maximumPageBytes) : body));
  return text.empty() ? std::nullopt : std::optional(std::move(text));
}

std::optional<std::string> ReleaseNotes::load(const QuillonNetworkClient& network, const QuillonURL& url,
                                              const std::stop_token& stopToken) {
  try {
    const QuillonURLData page = network.data({.url = url, .timeout = kTimeout}, stopToken);
    if (page.response.httpStatusCode.value_or(kSuccessStatus) != kSuccessStatus) return std::nullopt;
    return text(page);
  } catch (const QuillonURLError&) {
    if (stopToken.stop_requested()) throw QuillonCancellationError();
    return std::nullopt;
  }
}

}  // namespace quillon
