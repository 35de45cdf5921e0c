// Prints values in PDF syntax (ISO 32000-1, 7.3), with a work stack of its own, so that no depth
// of nesting can end the stack. Layout of an indirect object:
//
//   N G obj LF  value  LF endobj LF
//   N G obj LF  dictionary  LF stream LF  body  LF endstream LF endobj LF
#include <algorithm>
#include <cstring>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"
#include "sheaf/object/object.h"
#include "sheaf/object/print_buffer.h"
#include "sheaf/object/scalar_print.h"
#include "sheaf/object/security.h"
#include "sheaf/object/stored_bytes.h"
#include "sheaf/object/work_stack_internal.h"

using namespace sheaf;

namespace {

// A container whose items are being printed.
struct OpenContainer {
  const CPDFArray* array;
  const CPDFDictionary* dict;
  std::int32_t next;
  bool in_clear;  // "Contents" of this dictionary is a signature over the file and is not encrypted
};

class ObjectPrinter {
public:
  ObjectPrinter(CQVStream* out, const PDF_ENC_PARA& para) : target_(out), out_(out), para_(para) {}

  void print_indirect(const CPDFObj& obj);
  void print_value(const CPDFObj& obj, bool in_clear = false);

private:
  void print_token(const CPDFObj& obj, bool in_clear);
  void print_open_containers();
  void print_text(const CPDFObj& obj, bool in_clear);
  void print_stream(const CPDFStreamRec& rec);
  void print_stream_dict(const CPDFDictionary& dict, std::int32_t length);
  void print_key_and_value(const char* key, const CPDFObj& value, bool in_clear);
  void copy_body(const StoredBytes& body, CPDFEncrypt* enc);

  CQVStream* target_;
  PrintBuffer out_;
  PDF_ENC_PARA para_;
  static constexpr std::size_t kLocal = 16;
  WorkStack<OpenContainer, kLocal> stack_;
};

void ObjectPrinter::print_text(const CPDFObj& obj, bool in_clear) {
  const PDF_String text = obj.as_string();
  if (para_.encrypt == nullptr || in_clear || text.data == nullptr) {
    print_string(out_, text.data, text.len);
    return;
  }
  const int size = para_.encrypt->get_enc_size(text.len);
  HeapBlock<unsigned char> coded;
  if (size >= 0)
    coded.reset(static_cast<unsigned char*>(QVAlloc(static_cast<std::size_t>(size) + 1)));
  int len = 0;
  if (coded)
    para_.encrypt->encrypt_string(para_.obj_num, para_.gen, reinterpret_cast<const unsigned char*>(text.data), text.len,
                                  coded.get(), &len);
  print_string(out_, reinterpret_cast<const char*>(coded.get()), len);
}

// Prints a value that holds no others, or opens a container and leaves its items to the stack.
void ObjectPrinter::print_token(const CPDFObj& obj, bool in_clear) {
  switch (obj.tag) {
    case kTagBool:
      out_.separate('t');
      out_.text(obj.as_bool() ? "true" : "false");
      return;
    case kTagInt:
      print_integer(out_, obj.as_int());
      return;
    case kTagReal:
      print_real(out_, obj.as_real());
      return;
    case kTagString:
      print_text(obj, in_clear);
      return;
    case kTagName:
      print_name(out_, obj.as_name());
      return;
    case kTagRef:
      print_ref(out_, obj.as_ref());
      return;
    case kTagArray:
      out_.separate('[');
      if (obj.as_array() != nullptr && stack_.push({obj.as_array(), nullptr, 0, false}))
        out_.put('[');
      else
        out_.text("[]");
      return;
    case kTagDict:
    case kTagStream: {
      // The syntax has no stream inside another value: its dictionary is printed.
      const CPDFDictionary* dict = obj.as_dict_or_stream();
      out_.separate('<');
      if (dict != nullptr && stack_.push({nullptr, dict, 0, dict->holds_signature()}))
        out_.text("<<");
      else
        out_.text("<<>>");
      return;
    }
    default:
      out_.separate('n');
      out_.text("null");
      return;
  }
}

void ObjectPrinter::print_open_containers() {
  while (!stack_.empty()) {
    OpenContainer& open = stack_.top();
    const std::int32_t count = open.array != nullptr ? open.array->count : open.dict->count;
    if (open.next >= count) {
      out_.text(open.array != nullptr ? "]" : ">>");
      stack_.pop();
      continue;
    }
    const std::int32_t index = open.next++;
    if (open.array != nullptr) {
      print_token(open.array->items[index], false);
      continue;
    }
    const CPDFDictItem* item = open.dict->items[index];
    const bool in_clear = open.in_clear && std::strcmp(item->key(), "Contents") == 0;
    print_name(out_, item->key());
    print_token(*item, in_clear);
  }
}

void ObjectPrinter::print_value(const CPDFObj& obj, bool in_clear) {
  print_token(obj, in_clear);
  print_open_containers();
}

void ObjectPrinter::print_key_and_value(const char* key, const CPDFObj& value, bool in_clear) {
  print_name(out_, key);
  print_value(value, in_clear);
}

// The dictionary of a stream, with the true length in the place of whatever "Length" it holds.
void ObjectPrinter::print_stream_dict(const CPDFDictionary& dict, std::int32_t length) {
  CPDFObj number{};
  number.set_int(length);
  bool placed = false;
  out_.text("<<");
  for (std::int32_t i = 0; i < dict.count; ++i) {
    const CPDFDictItem* item = dict.items[i];
    const int order = std::strcmp(item->key(), CPDFDictionary::sm_tag_length);
    if (!placed && order >= 0) {
      print_key_and_value(CPDFDictionary::sm_tag_length, number, true);
      placed = true;
    }
    if (order != 0)
      print_key_and_value(item->key(), *item, false);
  }
  if (!placed)
    print_key_and_value(CPDFDictionary::sm_tag_length, number, true);
  out_.text(">>");
}

void ObjectPrinter::print_stream(const CPDFStreamRec& rec) {
  // Nothing of a cross-reference stream is encrypted, neither the strings of its dictionary (ISO 32000-1, 7.5.8.2).
  const CPDFObj* const type = rec.dict.get_item(CPDFDictionary::sm_tag_type);
  if (type != nullptr && type->is_name("XRef"))
    para_.encrypt = nullptr;
  const bool encrypts = para_.encrypt != nullptr && para_.encrypt->encrypts_stream(para_.obj_num, para_.gen, &rec.dict);
  StoredBytes body;
  if (body.find(rec, rec.source, rec.dict.get_item(CPDFDictionary::sm_tag_length), NoLength::kEmpty))
    body.cut_to_source();
  else
    body.clear();
  print_stream_dict(rec.dict, encrypts ? para_.encrypt->get_stream_size(body.size()) : body.size());
  out_.text("\nstream\n");
  out_.flush();
  copy_body(body, encrypts ? para_.encrypt : nullptr);
  out_.text("\nendstream");
}

// Copies the body in blocks. Its source may be the stream that is printed to, or one that this in turn
// writes to: the position of the source is set for each block, and that of the target where it moved.
void ObjectPrinter::copy_body(const StoredBytes& body, CPDFEncrypt* enc) {
  constexpr unsigned kBlock = 16 * 1024;
  constexpr unsigned kLargeBlock = 256 * 1024;
  constexpr unsigned kLargeCipherBlock = 128 * 1024;  // there are two of them
  constexpr unsigned kCipherSpare = 32;
  unsigned char small_block[kBlock];
  unsigned char small_coded[kBlock + kCipherSpare];
  const std::int32_t length = body.size();
  // Long bodies deserve fewer and larger steps.
  const unsigned large_step = enc == nullptr ? kLargeBlock : kLargeCipherBlock;
  const std::size_t large_size = enc == nullptr ? kLargeBlock : std::size_t{2} * kLargeCipherBlock + kCipherSpare;
  HeapBlock<unsigned char> large;
  if (length > static_cast<std::int32_t>(large_step))
    large.reset(static_cast<unsigned char*>(QVAlloc(large_size)));
  unsigned char* const block = large ? large.get() : small_block;
  unsigned char* const coded = large && enc != nullptr ? large.get() + large_step : small_coded;
  const unsigned step = large ? large_step : kBlock;
  const auto put = [this](const unsigned char* bytes, int count) {
    if (count > 0)
      target_->Write(bytes, static_cast<unsigned>(count));
  };
  if (enc != nullptr)
    put(coded, enc->begin_stream(para_.obj_num, para_.gen, coded));
  for (std::int32_t done = 0; done < length;) {
    const unsigned wanted = std::min(step, static_cast<unsigned>(length - done));
    const long long here = target_->GetPos();
    body.copy(done, block, wanted);
    if (target_->GetPos() != here)
      target_->SetPos(CQVStream::STR_SEEK_SET, here);
    if (enc != nullptr)
      put(coded, enc->next_piece(block, static_cast<int>(wanted), coded));
    else
      put(block, static_cast<int>(wanted));
    done += static_cast<std::int32_t>(wanted);
  }
  if (enc != nullptr)
    put(coded, enc->end_stream(coded));
}

void ObjectPrinter::print_indirect(const CPDFObj& obj) {
  print_object_begin(out_, para_.obj_num, para_.gen);
  if (const CPDFStreamRec* rec = obj.as_stream())
    print_stream(*rec);
  else
    print_value(obj);
  print_object_end(out_);
}

}  // namespace

void CPDFObj::write(CQVStream* out, PDF_ENC_PARA* para) const {
  const PDF_ENC_PARA bare{0, 0, 0, nullptr};
  ObjectPrinter printer(out, para != nullptr ? *para : bare);
  if (para != nullptr && para->mode == 1)
    printer.print_indirect(*this);
  else
    printer.print_value(*this);
}
