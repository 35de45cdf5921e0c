// Builds values from tokens, with a work stack of its own in place of recursion. Containers are
// filled in place and handed up whole; nothing is copied on the way.
#include <cstring>
#include <new>
#include <string_view>
#include <utility>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/object/parse_buf.h"
#include "sheaf/object/security.h"
#include "sheaf/object/value_grammar_internal.h"
#include "sheaf/object/work_stack_internal.h"

using namespace sheaf;

namespace {

// Builds the value in `root`, with the containers that are open on its stack.
class ValueBuilder {
public:
  static constexpr bool kTexts = true;

  explicit ValueBuilder(CPDFObj& root) : root_(root) {}
  ValueBuilder(const ValueBuilder&) = delete;
  ValueBuilder& operator=(const ValueBuilder&) = delete;
  ~ValueBuilder() {
    for (; !frames_.empty(); frames_.pop())
      frames_.top().value.free();
    lost_.free();
  }

  CPDFObj& root() { return root_; }
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
  void set_name(CPDFObj& value, std::string_view name) { value.set_name(name.data(), name.size()); }
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
    value.free();  // a value where a key should be is dropped
  }
  /// Takes the finished container off the stack.
  bool finish() {
    CPDFObj value{};
    value.move_from(frames_.top().value);
    frames_.pop();
    if (CPDFDictionary* dict = value.as_dict())
      dict->sort_items();
    if (empty()) {
      root_.move_from(value);
      return true;
    }
    deliver(value);
    return false;
  }

private:
  struct Frame {
    CPDFObj value;
    CPDFObj* slot;  // where the value of the present key goes
  };
  static constexpr std::size_t kLocal = 16;
  CPDFObj& root_;
  WorkStack<Frame, kLocal> frames_;
  CPDFObj lost_{};
};

// Passes the line end after "stream": CR LF, LF, a lone CR, or blanks before one of these.
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
void take_stream_keyword(CPDFObj& out, CPDFBuf& buf, const PDF_REF& ref, PDF_DEC_PARA* para) {
  auto* rec = new (std::nothrow) CPDFStreamRec;
  if (rec == nullptr)
    return;
  constexpr unsigned kStreamLen = 6;
  buf.buf_pos += kStreamLen;
  skip_stream_line_end(buf);
  std::swap(rec->dict, *out.as_dict());
  rec->offset = buf.position();
  rec->ref = para != nullptr ? para->ref : ref;
  rec->source = buf.get_stream();
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

}  // namespace

void CPDFObj::read(CPDFBuf* buf, PDF_DEC_PARA* para) {
  free();
  ValueBuilder builder(*this);
  ValueGrammar grammar(*buf, builder);
  PDF_REF ref{};
  if (grammar.read(ref) && grammar.skip_space() && tag == kTagDict && grammar.at_keyword("stream"))
    take_stream_keyword(*this, *buf, ref, para);
  if (para != nullptr && para->sec_hand != nullptr && !is_xref_stream(*this))
    decrypt_strings(*this, *para);
}
