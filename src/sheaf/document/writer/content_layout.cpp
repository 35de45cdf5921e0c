// Each operator with its operands goes to a line, as it is written in the source.
#include "sheaf/document/writer/content_layout.h"

#include <algorithm>
#include <initializer_list>

#include "sheaf/base/chars.h"
#include "sheaf/document/content/content_reader.h"

namespace sheaf {

namespace {

constexpr int kMostIndent = 30;

bool is_one_of(std::string_view op, std::initializer_list<std::string_view> list) {
  return std::find(list.begin(), list.end(), op) != list.end();
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_wide_space(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_wide_space(text.back()))
    text.remove_suffix(1);
  return text;
}

void put_line(CQVStreamMem& out, std::string_view text, int depth) {
  if (text.empty())
    return;
  for (int i = 0; i < std::min(depth, kMostIndent); ++i)
    out.Write("  ", 2);
  out.Write(text.data(), static_cast<unsigned>(text.size()));
  out.Write("\n", 1);
}

}  // namespace

void lay_out_content(std::string_view text, CQVStreamMem& out) {
  ContentReader reader(text);
  int depth = 0;
  std::size_t done = 0;
  while (reader.next()) {
    put_line(out, trimmed(text.substr(done, reader.begin() - done)), depth);  // a comment
    done = reader.end();
    if (is_one_of(reader.op(), {"Q", "ET", "EMC", "EX"}))
      depth = std::max(depth - 1, 0);
    put_line(out, text.substr(reader.begin(), done - reader.begin()), depth);
    if (is_one_of(reader.op(), {"q", "BT", "BMC", "BDC", "BX"}))
      ++depth;
  }
  put_line(out, trimmed(text.substr(done)), depth);
}

}  // namespace sheaf
