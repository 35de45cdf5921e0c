// Data are inert: a type that is no script's, no character that markup knows.
#include "browse/page_writer.h"

#include "browse/page_parts.h"

namespace sheaf::tool {

namespace {

constexpr std::int64_t kEscape = 6;  // bytes of \u003c

bool is_markup(char c) {
  return c == '<' || c == '>' || c == '&';
}

}  // namespace

bool PageWriter::put(const std::string& text) {
  left_ -= std::ssize(text);
  return out_.put(text.data(), text.size());
}

bool PageWriter::begin() {
  return put(std::string(kPageHead));
}

bool PageWriter::put_data(const char* name, const std::string& json) {
  constexpr std::size_t kPiece = 64 * 1024;
  bool good = put(std::string("<script type=\"application/json\" class=\"") + name + "\">");
  std::string escaped;
  for (std::size_t at = 0; good && at < json.size(); ++at) {
    const char c = json[at];
    if (is_markup(c))
      escaped += c == '<' ? "\\u003c" : c == '>' ? "\\u003e" : "\\u0026";
    else
      escaped += c;
    if (escaped.size() < kPiece)
      continue;
    good = put(escaped);
    escaped.clear();
  }
  return good && put(escaped + "</script>\n");
}

bool PageWriter::finish() {
  return put(std::string(kPageTail));
}

std::int64_t PageWriter::left() const {
  return left_ - std::ssize(kPageTail);
}

std::int64_t PageWriter::data_size(const std::string& json) {
  constexpr std::int64_t kElement = 64;
  std::int64_t size = std::ssize(json) + kElement;
  for (const char c : json)
    size += is_markup(c) ? kEscape - 1 : 0;
  return size;
}

}  // namespace sheaf::tool
