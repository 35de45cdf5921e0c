// One pass over the lines. A stream's data are as long as "Length" says where its end is there, and else reach to the
// first "endstream" line before an "endobj".
#include "sheaf/document/writer/edited_file.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>

#include "sheaf/base/block_writer.h"
#include "sheaf/base/chars.h"
#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap_watch.h"
#include "sheaf/object/object.h"
#include "sheaf/object/object_header.h"

namespace sheaf {

namespace {

using Text = std::string_view;
constexpr std::size_t kNone = Text::npos;
// A number higher than the file has bytes, and this, is no object's: the table would have a line for each below it.
constexpr std::size_t kMostSparse = 1 << 16;

constexpr std::uint16_t kMostGeneration = 65535;

struct FoundObject {
  std::uint32_t place;
  std::uint16_t gen;
};

bool is_space(char c) {
  return is_wide_space(c);
}

std::size_t skip_space(Text text, std::size_t at) {
  while (at < text.size() && is_space(text[at]))
    ++at;
  return at;
}

// A whole number of at most eight digits at `at`, which moves after it. -1 for none.
std::int32_t take_number(Text text, std::size_t& at) {
  constexpr std::size_t kDigits = 8;
  std::int32_t value = -1;
  const Text digits = text.substr(at, kDigits);
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (end.ec != std::errc{} || value < 0)
    return -1;
  at += static_cast<std::size_t>(end.ptr - digits.data());
  return value;
}

bool starts_word(Text text, std::size_t at, Text word) {
  const std::size_t end = at + word.size();
  return text.substr(at, word.size()) == word && (end >= text.size() || !is_regular(text[end]));
}

class FileFixer {
public:
  FileFixer(Text text, CQVStream& out, PDF_FIX_RESULT& result)
      : text_(text), out_(&out), result_(result), start_(out_.GetPos()) {}

  bool run();

private:
  using Header = ObjectHeader<std::size_t>;

  bool fail(PDF_FIX_RESULT::Trouble trouble, std::int32_t num = 0) {
    result_.trouble = trouble;
    result_.num = num;
    return false;
  }
  std::size_t next_line(std::size_t at) const;
  bool take_header(std::size_t at, Header& header) const;
  bool pass_object(const Header& header, std::size_t& at);
  bool pass_text();
  bool take_object(std::int32_t num, std::size_t start, std::size_t& at);
  bool take_stream(std::int32_t num, std::size_t dict, std::size_t stream, std::size_t& at);
  std::size_t end_of_data(std::size_t data, std::int32_t stated) const;
  std::size_t skip_value_text(std::size_t at) const;
  std::size_t find_key(std::size_t from, std::size_t to, Text key) const;
  bool is_structure(std::size_t from, std::size_t to) const;
  void copy_to(std::size_t at) {
    if (at <= copied_)
      return;
    out_.Write(text_.data() + copied_, static_cast<unsigned>(at - copied_));
    copied_ = at;
  }
  std::size_t pass_trailer(std::size_t at);
  void put_table();
  void put_trailer();

  Text text_;
  BlockWriter out_;
  PDF_FIX_RESULT& result_;
  const long long start_;         // of the new file in the output
  GrowArray<FoundObject> found_;  // by number
  std::size_t copied_ = 0;
  std::size_t end_ = 0;              // after the last object
  std::size_t trailer_ = kNone;      // the dictionary of the last trailer,
  std::size_t trailer_end_ = kNone;  // and where it ends
};

std::size_t FileFixer::next_line(std::size_t at) const {
  const std::size_t end = text_.find_first_of("\r\n", at);
  return end == kNone                                    ? text_.size()
         : text_.find_first_not_of("\r\n", end) == kNone ? text_.size()
                                                         : text_.find_first_not_of("\r\n", end);
}

bool FileFixer::take_header(std::size_t at, Header& header) const {
  return read_object_header(text_, at, header) && header.num > 0 &&
         object_index(header.num) <= text_.size() + kMostSparse && header.gen <= kMostGeneration;
}

// After one token of a value; strings and comments count as one.
std::size_t FileFixer::skip_value_text(std::size_t at) const {
  const char first = text_[at];
  if (first == '%')
    return std::min(text_.find_first_of("\r\n", at), text_.size());
  if (first == '(') {
    int open = 0;
    for (; at < text_.size(); ++at) {
      if (text_[at] == '\\')
        ++at;
      else if (text_[at] == '(')
        ++open;
      else if (text_[at] == ')' && --open == 0)
        return at + 1;
    }
    return text_.size();
  }
  if (text_.substr(at, 2) == "<<" || text_.substr(at, 2) == ">>")
    return at + 2;
  if (first == '<') {
    const std::size_t end = text_.find('>', at);
    return end == kNone ? text_.size() : end + 1;
  }
  ++at;
  if (first == '/' || is_regular(first)) {
    while (at < text_.size() && is_regular(text_[at]))
      ++at;
  }
  return at;
}

// The value of a key of the outermost dictionary between two places.
std::size_t FileFixer::find_key(std::size_t from, std::size_t to, Text key) const {
  int depth = 0;
  for (std::size_t at = skip_space(text_, from); at < to; at = skip_space(text_, at)) {
    const std::size_t end = skip_value_text(at);
    const Text token = text_.substr(at, end - at);
    if (token == "<<" || token == "[")
      ++depth;
    else if (token == ">>" || token == "]")
      --depth;
    else if (depth == 1 && token == key)
      return skip_space(text_, end);
    at = end;
  }
  return kNone;
}

bool FileFixer::is_structure(std::size_t from, std::size_t to) const {
  const std::size_t type = find_key(from, to, "/Type");
  return type != kNone && (starts_word(text_, type, "/ObjStm") || starts_word(text_, type, "/XRef"));
}

std::size_t FileFixer::end_of_data(std::size_t data, std::int32_t stated) const {
  constexpr Text kEnd = "endstream";
  if (stated >= 0 && data + static_cast<std::size_t>(stated) <= text_.size()) {
    const std::size_t end = data + static_cast<std::size_t>(stated);
    std::size_t at = end;
    if (at < text_.size() && text_[at] == '\r')
      ++at;
    if (at < text_.size() && text_[at] == '\n')
      ++at;
    if (starts_word(text_, at, kEnd))
      return end;
  }
  for (std::size_t at = text_.find(kEnd, data); at != kNone; at = text_.find(kEnd, at + 1)) {
    if (!starts_word(text_, skip_space(text_, at + kEnd.size()), "endobj"))
      continue;
    if (at > data && text_[at - 1] == '\n')
      --at;
    return at > data && text_[at - 1] == '\r' ? at - 1 : at;
  }
  return kNone;
}

// With `stream` on the keyword: the length in the dictionary from `dict` on is set right.
bool FileFixer::take_stream(std::int32_t num, std::size_t dict, std::size_t stream, std::size_t& at) {
  constexpr Text kKeyword = "stream";
  std::size_t data = stream + kKeyword.size();
  if (data < text_.size() && text_[data] == '\r')
    ++data;
  if (data < text_.size() && text_[data] == '\n')
    ++data;
  std::size_t value = find_key(dict, stream, "/Length");
  std::size_t behind = value;
  const std::int32_t number = value != kNone ? take_number(text_, behind) : -1;
  // A reference, "12 0 R", gives way to a number.
  std::size_t more = behind;
  bool refers = false;
  if (number >= 0) {
    more = skip_space(text_, more);
    refers = take_number(text_, more) >= 0 && starts_word(text_, skip_space(text_, more), "R");
  }
  const std::size_t end = end_of_data(data, refers ? -1 : number);
  if (end == kNone)
    return fail(PDF_FIX_RESULT::kOpenStream, num);
  at = end;
  if (!refers && number >= 0 && static_cast<std::size_t>(number) == end - data)
    return true;
  ++result_.lengths;
  char text[32];
  if (value != kNone) {
    copy_to(value);
    copied_ = refers ? skip_space(text_, more) + 1 : number >= 0 ? behind : skip_value_text(value);
    std::snprintf(text, sizeof(text), "%zu", end - data);
  } else {
    value = text_.find("<<", dict) + 2;
    copy_to(value);
    std::snprintf(text, sizeof(text), "\n  /Length %zu", end - data);
  }
  out_.text(text);
  return true;
}

// From behind a header to behind the object's end.
bool FileFixer::take_object(std::int32_t num, std::size_t start, std::size_t& at) {
  for (at = skip_space(text_, start); at < text_.size(); at = skip_space(text_, at)) {
    if (starts_word(text_, at, "endobj")) {
      at += 6;
      return true;
    }
    if (starts_word(text_, at, "stream")) {
      if (is_structure(start, at))
        return fail(PDF_FIX_RESULT::kObjectStreams, num);
      if (!take_stream(num, start, at, at))
        return false;
      const std::size_t end = text_.find("endobj", at);
      at = end == kNone ? text_.size() : end + 6;
      return true;
    }
    Header next;
    const bool at_line = text_[at - 1] == '\n' || text_[at - 1] == '\r';
    if (at_line && (starts_word(text_, at, "xref") || starts_word(text_, at, "trailer") || take_header(at, next)))
      return true;  // the end was edited away
    at = skip_value_text(at);
  }
  return true;
}

void FileFixer::put_table() {
  char line[32];
  out_.text("xref\n");
  std::snprintf(line, sizeof(line), "0 %zu\n", found_.size());
  out_.text(line);
  for (std::size_t num = 0; num < found_.size(); ++num) {
    const FoundObject& found = found_[num];
    std::snprintf(line, sizeof(line), "%010u %05d %c \n", found.place, found.place != 0 ? found.gen : kMostGeneration,
                  found.place != 0 ? 'n' : 'f');
    out_.text(line);
  }
}

void FileFixer::put_trailer() {
  char number[32];
  std::snprintf(number, sizeof(number), "%zu", found_.size());
  out_.text("trailer\n");
  copied_ = trailer_;
  // The sections before this one are no longer valid.
  for (const Text key : {Text("/Prev"), Text("/Size"), Text("/XRefStm")}) {
    const std::size_t value = find_key(trailer_, trailer_end_, key);
    if (value == kNone || value < copied_)
      continue;
    const std::size_t name = text_.rfind(key, value);
    if (name < copied_)
      continue;
    copy_to(name);
    copied_ = skip_value_text(value);
  }
  copy_to(trailer_end_ - 2);
  out_.text("/Size ");
  out_.text(number);
  out_.text("\n>>\nstartxref\n");
}

// Takes the dictionary of a trailer. The result is where what belongs to it ends.
std::size_t FileFixer::pass_trailer(std::size_t at) {
  constexpr std::size_t kWord = 7;
  constexpr std::size_t kStart = 9;
  constexpr std::size_t kEnd = 5;
  trailer_ = skip_space(text_, at + kWord);
  int depth = 0;
  for (at = trailer_; at < text_.size(); at = skip_space(text_, at)) {
    const std::size_t end = skip_value_text(at);
    depth += text_.substr(at, end - at) == "<<" ? 1 : text_.substr(at, end - at) == ">>" ? -1 : 0;
    at = end;
    if (depth == 0)
      break;
  }
  if (depth != 0)
    trailer_ = kNone;  // it has no end
  trailer_end_ = at;
  std::size_t next = skip_space(text_, at);
  if (!starts_word(text_, next, "startxref"))
    return at;
  next = skip_space(text_, next + kStart);
  take_number(text_, next);
  at = next;
  next = skip_space(text_, next);
  return text_.substr(next, kEnd) == "%%EOF" ? next + kEnd : at;
}

// The object whose number was read, and which goes on after it; `at` is then after the object.
bool FileFixer::pass_object(const Header& header, std::size_t& at) {
  copy_to(at);
  const auto index = object_index(header.num);
  while (found_.size() <= index) {
    if (!found_.push({0, 0}))
      return fail(PDF_FIX_RESULT::kNoMemory);
  }
  result_.repeated += found_[index].place != 0 ? 1 : 0;
  result_.objects += found_[index].place != 0 ? 0 : 1;
  found_[index] = {static_cast<std::uint32_t>(out_.GetPos() - start_), static_cast<std::uint16_t>(header.gen)};
  const bool good = take_object(header.num, header.end, at);
  end_ = at;
  return good;
}

// Everything up to the end of the text: objects are kept with what lies around them, sections go.
bool FileFixer::pass_text() {
  bool in_section = false;
  for (std::size_t at = skip_space(text_, 0); at < text_.size();) {
    Header header;
    if (take_header(at, header)) {
      if (in_section)
        copied_ = at;  // an object that was put between the old section and its trailer
      in_section = false;
      if (!pass_object(header, at))
        return false;
      at = skip_space(text_, at);
    } else if (starts_word(text_, at, "xref")) {
      copy_to(at);  // the old section goes, up to the end of its trailer
      at = next_line(at);
      in_section = true;
    } else if (starts_word(text_, at, "trailer")) {
      if (!in_section)
        copy_to(at);
      in_section = false;
      at = pass_trailer(at);
      copied_ = at;
      at = skip_space(text_, at);
    } else {
      at = next_line(at);
    }
  }
  return true;
}

bool FileFixer::run() {
  if (text_.size() > UINT32_MAX / 2)
    return fail(PDF_FIX_RESULT::kTooLarge);
  const HeapWatch watch;
  if (!pass_text())
    return false;
  if (found_.empty() || trailer_ == kNone || text_.substr(trailer_, 2) != "<<")
    return fail(PDF_FIX_RESULT::kNoObjects);
  copy_to(std::max(end_, copied_));
  out_.text("\n\n");
  const auto section = static_cast<std::uint32_t>(out_.GetPos() - start_);
  put_table();
  put_trailer();
  out_.decimal(section);
  out_.text("\n%%EOF\n");
  out_.write_out();
  return (!out_.failed() && watch.all_granted()) || fail(PDF_FIX_RESULT::kWrite);
}

}  // namespace

bool fix_edited_file(const unsigned char* data, std::size_t size, CQVStream& out, PDF_FIX_RESULT& result) {
  result = {};
  return FileFixer(Text(reinterpret_cast<const char*>(data), size), out, result).run();
}

}  // namespace sheaf
