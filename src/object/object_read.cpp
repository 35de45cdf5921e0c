// Builds values from tokens, with a work stack of its own in place of recursion. Containers are
// filled in place and handed up whole; nothing is copied on the way.
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "base/heap.h"
#include "base/scope_guard.h"
#include "neighbours/security/sec_hand.h"
#include "object/array.h"
#include "object/coding_para.h"
#include "object/dictionary.h"
#include "object/object.h"
#include "object/parse_buf.h"
#include "object/stream_rec.h"
#include "object/token_reader_internal.h"
#include "object/work_stack_internal.h"

namespace {

constexpr std::size_t kMostNested = 512;  // a container nested deeper reads as null

// Keywords that can stand in no container: meeting one means that a closing bracket is missing.
bool ends_every_container(std::string_view keyword) {
  for (const std::string_view word : {"endobj", "endstream", "stream", "xref", "trailer", "startxref", "obj"}) {
    if (keyword == word)
      return true;
  }
  return false;
}

// The containers that are open while a value is read.
class OpenContainers {
public:
  OpenContainers() = default;
  OpenContainers(const OpenContainers&) = delete;
  OpenContainers& operator=(const OpenContainers&) = delete;
  ~OpenContainers() {
    for (; !frames_.empty(); frames_.pop())
      frames_.top().value.free();
    lost_.free();
  }

  bool empty() const { return frames_.empty(); }
  bool full() const { return frames_.depth() == kMostNested; }
  bool in_array() const { return !empty() && frames_.top().value.tag == kTagArray; }
  /// Whether a dictionary is on top that waits for a key.
  bool wants_key() const { return !empty() && frames_.top().value.tag == kTagDict && frames_.top().slot == nullptr; }

  bool open(bool dict) {
    Freed<CPDFObj> value;
    if (dict) {
      auto* container = new (std::nothrow) CPDFDictionary;
      if (container == nullptr)
        return false;
      value.take_dict(container);
    } else {
      auto* container = new (std::nothrow) CPDFArray;
      if (container == nullptr)
        return false;
      value.take_array(container);
    }
    if (!frames_.push({value, nullptr}))
      return false;
    static_cast<CPDFObj&>(value) = CPDFObj{};  // the frame holds it now
    return true;
  }
  void set_key(std::string_view key) {
    Frame& frame = frames_.top();
    frame.slot = frame.value.as_dict()->append_unsorted(key.data(), key.size());
    if (frame.slot == nullptr)
      frame.slot = &lost_;
  }
  /// Puts a finished value, which becomes null, where it belongs.
  void deliver(CPDFObj& value) {
    Frame& frame = frames_.top();
    if (frame.value.tag == kTagArray) {
      frame.value.as_array()->append_moved(value);
    } else if (frame.slot != nullptr) {
      frame.slot->move_from(value);
      frame.slot = nullptr;
      lost_.free();
    }
    value.free();  // a value where a key should stand is dropped
  }
  /// Takes the finished container off the stack.
  void close(CPDFObj& value) {
    value.move_from(frames_.top().value);
    frames_.pop();
    if (CPDFDictionary* dict = value.as_dict())
      dict->sort_items();
  }

private:
  struct Frame {
    CPDFObj value;
    CPDFObj* slot;  // where the value of the present key goes
  };
  static constexpr std::size_t kLocal = 16;
  WorkStack<Frame, kLocal> frames_;
  CPDFObj lost_{};
};

class ObjectReader {
public:
  explicit ObjectReader(CPDFBuf& buf) : buf_(buf), tokens_(buf) {}

  void read(CPDFObj& out, PDF_DEC_PARA* para);

private:
  bool read_value(CPDFObj& out, bool behind_header);
  bool handle(Token token, CPDFObj& value, CPDFObj& out);
  bool finish_container(CPDFObj& out);
  void open_container(bool dict, CPDFObj& value);
  void skip_container();
  void close_all(CPDFObj& out);
  void take_stream_keyword(CPDFObj& out, const PDF_REF& ref, PDF_DEC_PARA* para);

  CPDFBuf& buf_;
  TokenReader tokens_;
  OpenContainers stack_;
};

// Passes a container that is nested too deep, up to its closing bracket.
void ObjectReader::skip_container() {
  Freed<CPDFObj> ignored;
  for (std::uint64_t open = 1; open > 0;) {
    switch (tokens_.next(ignored)) {
      case Token::kArrayOpen:
      case Token::kDictOpen:
        ++open;
        break;
      case Token::kArrayClose:
      case Token::kDictClose:
        --open;
        break;
      case Token::kKeyword:
        if (!ends_every_container(tokens_.keyword))
          break;
        tokens_.unread_keyword();
        return;
      case Token::kEnd:
        return;
      case Token::kValue:
      case Token::kName:
        break;
    }
  }
}

void ObjectReader::open_container(bool dict, CPDFObj& value) {
  if (!stack_.full() && stack_.open(dict))
    return;
  skip_container();
  value.free();
  if (!stack_.empty())
    stack_.deliver(value);
}

// The container on top is complete. True when it is the value that was asked for.
bool ObjectReader::finish_container(CPDFObj& out) {
  CPDFObj value{};
  stack_.close(value);
  if (stack_.empty()) {
    out.move_from(value);
    return true;
  }
  stack_.deliver(value);
  return false;
}

void ObjectReader::close_all(CPDFObj& out) {
  while (!stack_.empty())
    finish_container(out);
}

// Takes one token inside an open container. True when the whole value is complete.
bool ObjectReader::handle(Token token, CPDFObj& value, CPDFObj& out) {
  switch (token) {
    case Token::kValue:
      stack_.deliver(value);
      return false;
    case Token::kName:
      if (stack_.wants_key()) {
        stack_.set_key(tokens_.name);
      } else {
        value.set_name(tokens_.name.data(), tokens_.name.size());
        stack_.deliver(value);
      }
      return false;
    case Token::kArrayOpen:
    case Token::kDictOpen:
      open_container(token == Token::kDictOpen, value);
      return false;
    case Token::kArrayClose:
      return stack_.in_array() && finish_container(out);
    case Token::kDictClose:
      // Arrays that were left open inside the dictionary end with it.
      while (stack_.in_array()) {
        if (finish_container(out))
          return true;
      }
      return finish_container(out);
    case Token::kKeyword:
      if (ends_every_container(tokens_.keyword)) {
        tokens_.unread_keyword();
        close_all(out);
        return true;
      }
      value.free();
      stack_.deliver(value);
      return false;
    case Token::kEnd:
      close_all(out);
      return true;
  }
  return true;
}

// One value into `out`; false at the end of the data. Tag 10 for a keyword that is no value. Behind
// a header it makes a null value instead, and stays unread when it ends the object.
bool ObjectReader::read_value(CPDFObj& out, bool behind_header) {
  CPDFObj value{};
  const Token first = tokens_.next(value);
  switch (first) {
    case Token::kEnd:
      return false;
    case Token::kValue:
      out.move_from(value);
      return true;
    case Token::kName:
      out.set_name(tokens_.name.data(), tokens_.name.size());
      return true;
    case Token::kArrayOpen:
    case Token::kDictOpen:
      open_container(first == Token::kDictOpen, value);
      break;
    case Token::kArrayClose:
    case Token::kDictClose:
    case Token::kKeyword:
      if (!behind_header)
        out.tag = kTagNoValue;
      else if (first == Token::kKeyword && ends_every_container(tokens_.keyword))
        tokens_.unread_keyword();
      return true;
  }
  while (!stack_.empty()) {
    if (handle(tokens_.next(value), value, out))
      break;
  }
  return true;
}

// Passes the line end behind "stream": CR LF, LF, a lone CR, or blanks in front of one of these.
void skip_stream_line_end(CPDFBuf& buf) {
  constexpr unsigned kMostBlanks = 64;
  buf.buf_need(kMostBlanks);
  std::uint32_t at = buf.buf_pos;
  while (at < buf.buf_len && (buf.buf_data[at] == ' ' || buf.buf_data[at] == '\t'))
    ++at;
  if (at < buf.buf_len && buf.buf_data[at] == '\r') {
    buf.buf_pos = at + 1;
    if (buf.buf_data[buf.buf_pos] == '\n' && buf.buf_pos < buf.buf_len)
      ++buf.buf_pos;
  } else if (at < buf.buf_len && buf.buf_data[at] == '\n') {
    buf.buf_pos = at + 1;
  }
}

// With the buffer on "stream": the dictionary in `out` becomes a stream record.
void ObjectReader::take_stream_keyword(CPDFObj& out, const PDF_REF& ref, PDF_DEC_PARA* para) {
  auto* rec = new (std::nothrow) CPDFStreamRec;
  if (rec == nullptr)
    return;
  constexpr unsigned kStreamLen = 6;
  buf_.buf_pos += kStreamLen;
  skip_stream_line_end(buf_);
  std::swap(rec->dict, *out.as_dict());
  rec->offset = buf_.position();
  rec->ref = para != nullptr ? para->ref : ref;
  rec->source = buf_.get_stream();
  if (para != nullptr && para->sec_hand != nullptr)
    rec->plain = para->sec_hand->prepare_stream(rec->ref.num, rec->ref.gen, &rec->dict);
  out.take_stream(rec);
}

void decrypt_string(CPDFObj& text, const PDF_DEC_PARA& para) {
  const PDF_String raw = text.as_string();
  if (raw.data == nullptr)
    return;
  const int size = para.sec_hand->get_dec_size(raw.len);
  if (size < 0)
    return;
  HeapBlock<unsigned char> plain(static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(size) + 1)));
  if (!plain)
    return;
  int len = 0;
  para.sec_hand->decrypt_string(para.ref.num, para.ref.gen, reinterpret_cast<const unsigned char*>(raw.data), raw.len,
                                plain.get(), &len);
  text.set_string(reinterpret_cast<const char*>(plain.get()), len);
}

// Nesting is bounded by the reader, so this may recurse.
void decrypt_strings(CPDFObj& value, const PDF_DEC_PARA& para) {
  if (value.tag == kTagString) {
    decrypt_string(value, para);
  } else if (CPDFArray* array = value.as_array()) {
    for (std::int32_t i = 0; i < array->count; ++i)
      decrypt_strings(array->items[i], para);
  } else if (CPDFDictionary* dict = value.as_dict_or_stream()) {
    const bool signature = dict->holds_signature();
    for (std::int32_t i = 0; i < dict->count; ++i) {
      if (!signature || std::strcmp(dict->items[i]->key(), "Contents") != 0)
        decrypt_strings(*dict->items[i], para);
    }
  }
}

bool is_xref_stream(const CPDFObj& value) {
  const CPDFStreamRec* rec = value.as_stream();
  const CPDFObj* type = rec != nullptr ? rec->dict.get_item(CPDFDictionary::sm_tag_type) : nullptr;
  return type != nullptr && type->is_name("XRef");
}

void ObjectReader::read(CPDFObj& out, PDF_DEC_PARA* para) {
  if (!read_value(out, false))
    return;
  PDF_REF ref{out.as_int(), 0};
  if (out.tag == kTagInt && ref.num >= 0 && tokens_.take_header(ref.gen)) {
    out.free();
    read_value(out, true);
    if (tokens_.skip_space() && out.tag == kTagDict && tokens_.at_keyword("stream"))
      take_stream_keyword(out, ref, para);
  }
  if (para != nullptr && para->sec_hand != nullptr && !is_xref_stream(out))
    decrypt_strings(out, *para);
}

}  // namespace

void CPDFObj::read(CPDFBuf* buf, PDF_DEC_PARA* para) {
  free();
  ObjectReader reader(*buf);
  reader.read(*this, para);
}
