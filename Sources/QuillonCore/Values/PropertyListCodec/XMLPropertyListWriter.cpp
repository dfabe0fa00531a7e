#include <cstddef>
#include <string>
#include <string_view>

#include "QuillonCore/Values/PropertyListCodec/PropertyListScalars.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListText.h"
#include "QuillonCore/Values/PropertyListCodec/PropertyListTree.h"
#include "QuillonCore/Values/QuillonPropertyListCodec.h"

namespace quillon {
namespace {

constexpr std::string_view kBegin =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
constexpr std::string_view kEnd = "</plist>\n";

// Columns of a line of Base64 with its indentation, in which a tab counts eight; a line has at least four.
constexpr std::size_t kDataColumns = 76;
constexpr std::size_t kTabColumns = 8;

class XMLPropertyListWriter {
 public:
  [[nodiscard]] std::string write(const QuillonPropertyListValue& value) {
    text_ = kBegin;
    append(value);
    text_ += kEnd;
    return std::move(text_);
  }

 private:
  void append(const QuillonPropertyListValue& value);
  void append(const QuillonPropertyListValue::Array& array);
  void append(const QuillonPropertyListValue::Dictionary& dictionary);
  void append(const QuillonPropertyListData& data);
  void appendLine(std::string_view name, std::string_view content);
  void appendText(std::string_view name, std::string_view content);
  void appendEscaped(std::string_view content);
  void appendTag(std::string_view tag) {
    indent();
    text_.append(tag) += '\n';
  }
  void indent() { text_.append(depth_, '\t'); }
  void enter();

  std::string text_;
  std::size_t depth_ = 0;
};

void XMLPropertyListWriter::append(const QuillonPropertyListValue& value) {
  if (const auto* boolean = value.getIf<bool>()) {
    appendTag(*boolean ? "<true/>" : "<false/>");
  } else if (const auto* integer = value.getIf<std::int64_t>()) {
    appendLine("integer", std::to_string(*integer));
  } else if (const auto* real = value.getIf<double>()) {
    appendLine("real", propertyListRealText(*real));
  } else if (const auto* string = value.getIf<std::string>()) {
    appendText("string", *string);
  } else if (const auto* data = value.getIf<QuillonPropertyListData>()) {
    append(*data);
  } else if (const auto* date = value.getIf<QuillonPropertyListDate>()) {
    appendLine("date", propertyListDateText(*date));
  } else if (const auto* array = value.getIf<QuillonPropertyListValue::Array>()) {
    append(*array);
  } else if (const auto* dictionary = value.getIf<QuillonPropertyListValue::Dictionary>()) {
    append(*dictionary);
  }
}

void XMLPropertyListWriter::append(const QuillonPropertyListValue::Array& array) {
  if (array.empty()) return appendTag("<array/>");
  appendTag("<array>");
  enter();
  for (const QuillonPropertyListValue& element : array) append(element);
  --depth_;
  appendTag("</array>");
}

void XMLPropertyListWriter::append(const QuillonPropertyListValue::Dictionary& dictionary) {
  if (dictionary.empty()) return appendTag("<dict/>");
  appendTag("<dict>");
  enter();
  for (const auto& [key, value] : dictionary) {
    appendText("key", key);
    append(value);
  }
  --depth_;
  appendTag("</dict>");
}

void XMLPropertyListWriter::append(const QuillonPropertyListData& data) {
  const std::string base64 = propertyListBase64(data.bytes);
  const std::size_t indentation = depth_ * kTabColumns;
  const std::size_t room = indentation + 4 < kDataColumns ? kDataColumns - indentation : 4;
  const std::size_t lineLength = room / 4 * 4;
  appendTag("<data>");
  for (std::size_t i = 0; i < base64.size(); i += lineLength) appendTag(std::string_view(base64).substr(i, lineLength));
  appendTag("</data>");
}

void XMLPropertyListWriter::appendLine(std::string_view name, std::string_view content) {
  indent();
  text_.append("<").append(name).append(">").append(content).append("</").append(name).append(">\n");
}

void XMLPropertyListWriter::appendText(std::string_view name, std::string_view content) {
  indent();
  text_.append("<").append(name).append(">");
  appendEscaped(content);
  text_.append("</").append(name).append(">\n");
}

void XMLPropertyListWriter::appendEscaped(std::string_view content) {
  if (firstByteNotUTF8(content))
    throw QuillonPropertyListError("Cannot write the property list: a string is not UTF-8");
  const bool hasNonCharacters =
      content.find("\xEF\xBF\xBE") != std::string_view::npos || content.find("\xEF\xBF\xBF") != std::string_view::npos;
  if (hasNonCharacters) throw QuillonPropertyListError("Cannot write the property list: XML has no U+FFFE and U+FFFF");
  for (const char c : content) {
    if (c == '&') {
      text_ += "&amp;";
    } else if (c == '<') {
      text_ += "&lt;";
    } else if (c == '>') {
      text_ += "&gt;";
    } else if (c == '\r') {
      text_ += "&#13;";  // a plain one is a line feed to XML readers
    } else if (static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n') {
      text_ += c;
    } else {
      throw QuillonPropertyListError("Cannot write the property list: XML has no control characters");
    }
  }
}

void XMLPropertyListWriter::enter() {
  if (depth_ == kPropertyListDepthLimit) {
    throw QuillonPropertyListError("Cannot write the property list: values are nested more than 512 deep");
  }
  ++depth_;
}

}  // namespace

std::string writeXMLPropertyList(const QuillonPropertyListValue& value) {
  return XMLPropertyListWriter().write(value);
}

}  // namespace quillon
