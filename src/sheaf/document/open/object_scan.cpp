// The file is read through a window, in which headers and keywords are recognised.
#include <algorithm>
#include <cstring>

#include "sheaf/base/chars.h"
#include "sheaf/base/number_text.h"
#include "sheaf/base/stream.h"
#include "sheaf/document/open/object_scan_internal.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/parse_buf.h"

namespace sheaf {

namespace {

constexpr long long kWindow = 64 * 1024;
constexpr long long kBehind = 32;       // room for the numbers before "obj"
constexpr long long kAhead = 64;        // no word is looked at farther than this
constexpr long long kHeaderReach = 28;  // the numbers of a header and the white space between them
constexpr long long kBeside = 16;       // an entry that is off by so little means the object beside it
constexpr unsigned kMostGap = 8;        // white space before "endstream"

template <std::size_t Size>
bool is_word(const char* at, const char (&word)[Size]) {
  return std::memcmp(at, word, Size - 1) == 0;
}

// The characters with which the words begin that the scan looks for.
constexpr bool begins_word(char c) {
  return c == 'o' || c == 's' || c == 'e' || c == 't' || c == 'x' || c == '<';
}

bool has_type(const CPDFDictionary& dict, const char* name) {
  const CPDFObj* type = dict.get_item(CPDFDictionary::sm_tag_type);
  return type != nullptr && type->is_name(name);
}

}  // namespace

bool ObjectScan::run() {
  size_ = stream_.GetLen();
  window_.reset(static_cast<char*>(QVAlloc(kWindow + kAhead)));
  while (window_ && next_ < size_ && load(next_)) {
    const long long limit = stop_ == size_ ? size_ : stop_ - kAhead;
    if (in_data_)
      skip_data_to(limit);
    else
      scan_to(limit);
  }
  leave_object(next_);
  stop_object(size_);
  const bool held = static_cast<bool>(window_);
  window_.reset();
  sort();
  return held && all_granted_;
}

// Brings the place `at` into the window, with what is around it as far as the file has it.
bool ObjectScan::load(long long at) {
  const long long from = std::max(at - kBehind, 0LL);
  if (from >= start_ && std::min(at + kAhead + 1, size_) <= stop_)
    return true;
  stream_.SetPos(CQVStream::STR_SEEK_SET, from);
  const unsigned got = std::min(stream_.Read(window_.get(), kWindow), static_cast<unsigned>(kWindow));
  std::memset(window_.get() + got, 0, kAhead);
  start_ = from;
  stop_ = from + got;
  if (got < kWindow)
    size_ = std::min(size_, stop_);
  return stop_ > at;
}

void ObjectScan::scan_to(long long limit) {
  for (long long at = next_; at < limit; ++at) {
    if (begins_word(*text(at)) && look_at(at))
      return;
  }
  next_ = limit;
}

// True when the scan has to go on elsewhere.
bool ObjectScan::look_at(long long at) {
  const char* const word = text(at);
  switch (*word) {
    case 'o':
      if (is_word(word, "obj"))
        take_header(at);
      return false;
    case 'e':
      if (is_word(word, "endobj"))
        leave_object(at);
      return false;
    case 't':
      if (is_word(word, "trailer"))
        take_trailer(at);
      return false;
    case 'x':
      if (is_word(word, "xref") && (at == start_ || !is_regular(word[-1])))
        last_section_ = static_cast<std::uint32_t>(at);
      return false;
    case '<':
      if (expects_trailer_ && !is_open_ && word[1] == '<')
        add_trailer(at);
      return false;
    default:
      return is_open_ && is_word(word, "stream") && take_stream(at);
  }
}

// With "obj" at `at`: the numbers are before it.
void ObjectScan::take_header(long long at) {
  const char* const word = text(at);
  const char* const start = find_header_numbers(text(std::max(start_, at - kHeaderReach)), word);
  if (start == nullptr)
    return;
  const long long pos = at - (word - start);
  leave_object(pos);
  stop_object(pos);
  is_open_ = objects_.push({ansi_to_i32(start), static_cast<std::uint32_t>(pos), 0, Kind::kOther, 0});
  all_granted_ = all_granted_ && is_open_;
}

void ObjectScan::take_trailer(long long at) {
  long long dict = at + 7;
  while (dict < at + kAhead - 2 && is_wide_space(*text(dict)))
    ++dict;
  if (is_word(text(dict), "<<"))
    add_trailer(dict);
}

void ObjectScan::add_trailer(long long at) {
  expects_trailer_ = false;
  all_granted_ = trailers_.push(static_cast<std::uint32_t>(at)) && all_granted_;
}

void ObjectScan::leave_object(long long at) {
  if (is_open_)
    objects_.back().end = static_cast<std::uint32_t>(at);
  expects_trailer_ = true;
  is_open_ = false;
}

void ObjectScan::stop_object(long long at) {
  if (!objects_.empty() && objects_.back().stop == 0)
    objects_.back().stop = static_cast<std::uint32_t>(at);
}

// With "stream" at `at`, after a header: takes the kind of the stream and passes its data.
bool ObjectScan::take_stream(long long at) {
  const char* const word = text(at);
  if ((at > start_ && is_regular(word[-1])) || is_regular(word[6]))
    return false;
  leave_object(at);
  Freed<CPDFObj> value;
  read_value(value, objects_.back());
  const CPDFDictionary* const dict = value.as_dict();
  if (dict == nullptr) {
    is_open_ = true;  // the word is part of something else
    return false;
  }
  Object& object = objects_.back();
  object.kind = has_type(*dict, "ObjStm") ? Kind::kObjectStream
                : has_type(*dict, "XRef") ? Kind::kXRefStream
                                          : Kind::kOther;
  if (object.kind == Kind::kXRefStream)
    last_section_ = object.pos;
  has_object_streams_ = has_object_streams_ || object.kind == Kind::kObjectStream;
  data_ = at + 6;
  while (data_ < at + kAhead && (*text(data_) == ' ' || *text(data_) == '\t'))
    ++data_;
  data_ += *text(data_) == '\r' ? 1 : 0;
  data_ += *text(data_) == '\n' ? 1 : 0;
  const CPDFObj* const length = dict->get_item(CPDFDictionary::sm_tag_length);
  const std::int32_t stated = length != nullptr ? length->as_int() : 0;
  const bool is_true = stated > 0 && ends_at(data_ + stated);
  next_ = is_true ? data_ + stated : data_;
  in_data_ = !is_true && !no_ends_left_;
  if (is_true)
    stop_object(next_);
  return true;
}

// Moves to the next "endstream" or, where that is missing, to "endobj" or the next object. Data that
// nothing ends hide nothing that is after them.
void ObjectScan::skip_data_to(long long limit) {
  constexpr int kBehindHeader = 4;
  const char* const end = text(limit);
  const char* const from = text(std::max({start_, data_, next_ - kBehind}));
  const char* const header = find_header_line(from, end + kBehindHeader);
  const char* stop = header != nullptr ? std::min(header, end) : end;
  for (const char* at = text(next_); at < stop; ++at) {
    at = static_cast<const char*>(std::memchr(at, 'e', static_cast<std::size_t>(stop - at)));
    if (at == nullptr)
      break;
    if (is_word(at, "endstream") || is_word(at, "endobj")) {
      stop = at;
      break;
    }
  }
  if (stop != end) {
    next_ = start_ + (stop - window_.get());
    in_data_ = false;
    stop_object(next_);
    return;
  }
  next_ = limit;
  if (limit < size_)
    return;
  next_ = data_;
  in_data_ = false;
  no_ends_left_ = true;
}

// Whether stream data can end at `at`.
bool ObjectScan::ends_at(long long at) {
  char read[kMostGap + 16] = {};
  const char* here = read;
  if (at >= start_ && at + static_cast<long long>(sizeof(read)) <= stop_) {
    here = text(at);
  } else {
    stream_.SetPos(CQVStream::STR_SEEK_SET, at);
    stream_.Read(read, sizeof(read) - 1);
  }
  unsigned gap = 0;
  while (gap < kMostGap && is_wide_space(here[gap]))
    ++gap;
  return is_word(here + gap, "endstream") || is_word(here + gap, "endobj");
}

void ObjectScan::sort() {
  for (std::uint32_t i = 0; i < objects_.size(); ++i)
    all_granted_ = by_number_.push(i) && all_granted_;
  std::sort(by_number_.begin(), by_number_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return objects_[a].num != objects_[b].num ? objects_[a].num < objects_[b].num : a < b;
  });
}

bool ObjectScan::find(std::int32_t num, std::uint32_t stated, std::uint32_t& place) const {
  const auto* const begin = std::lower_bound(by_number_.begin(), by_number_.end(), num,
                                             [this](std::uint32_t i, std::int32_t n) { return objects_[i].num < n; });
  const auto* const end = std::upper_bound(begin, by_number_.end(), num,
                                           [this](std::int32_t n, std::uint32_t i) { return n < objects_[i].num; });
  if (begin == end)
    return false;
  place = objects_[end[-1]].pos;
  const auto* const beside =
      std::lower_bound(begin, end, static_cast<long long>(stated) - kBeside,
                       [this](std::uint32_t i, long long at) { return static_cast<long long>(objects_[i].pos) < at; });
  if (beside != end && objects_[*beside].pos <= static_cast<long long>(stated) + kBeside)
    place = objects_[*beside].pos;
  return true;
}

bool ObjectScan::find_data_end(std::uint32_t data, std::uint32_t& end) const {
  const Object* const behind = std::upper_bound(objects_.begin(), objects_.end(), data,
                                                [](std::uint32_t at, const Object& object) { return at < object.pos; });
  if (behind == objects_.begin() || behind[-1].stop < data)
    return false;
  end = behind[-1].stop;
  return true;
}

void ObjectScan::read_value(CPDFObj& out, const Object& object) const {
  out.free();
  const std::uint32_t size = object.end > object.pos ? object.end - object.pos : 0;
  const HeapBlock<char> block(static_cast<char*>(QVAlloc(std::size_t{size} + 1)));
  if (!block)
    return;
  stream_.SetPos(CQVStream::STR_SEEK_SET, object.pos);
  CPDFBufMem buf;
  buf.buf_init_mem(block.get(), std::min(stream_.Read(block.get(), size), size));
  out.read(&buf, nullptr);
}

}  // namespace sheaf
