// The parts are in the order of the text; what is printed follows the order of keys.
#include "sheaf/object/plain_object.h"

#include <algorithm>

#include "sheaf/object/parse_buf.h"
#include "sheaf/object/plain_scan_internal.h"
#include "sheaf/object/print_buffer.h"
#include "sheaf/object/printed_form_internal.h"
#include "sheaf/object/scalar_print.h"

namespace sheaf {

bool PlainObject::read(CPDFBuf& buf) {
  if (!reads_plainly(buf))
    return false;
  count_ = key_count_ = 0;
  PlainScan scan(buf, *this);
  if (!scan.header() || !scan.value())
    return false;
  // "endobj", and nothing that could make it a stream or hide one.
  scan.skip_space();
  return *scan.at() == 'e' && parts_[0].kind != Kind::kInteger;
}

PlainObject::Part* PlainObject::add(Kind kind) {
  if (count_ == kMostParts)
    return nullptr;
  Part* const part = parts_ + count_++;
  part->kind = kind;
  part->end = static_cast<std::uint16_t>(count_);
  return part;
}

bool PlainObject::add_text(Kind kind, std::string_view text) {
  Part* const part = add(kind);
  if (part == nullptr)
    return false;
  part->text = text.data();
  part->length = static_cast<std::uint32_t>(text.size());
  return true;
}

bool PlainObject::name(std::string_view text) {
  return std::all_of(text.begin(), text.end(), is_plain_in_name) && add_text(Kind::kName, text);
}

bool PlainObject::string(std::string_view bytes) {
  const auto stands_for_itself = [](char c) { return literal_size(c) == 1; };
  return std::all_of(bytes.begin(), bytes.end(), stands_for_itself) && add_text(Kind::kString, bytes);
}

bool PlainObject::word(std::string_view text) {
  return add_text(Kind::kWord, text);
}

bool PlainObject::integer(std::int32_t value) {
  Part* const part = add(Kind::kInteger);
  if (part == nullptr)
    return false;
  part->number = value;
  return true;
}

bool PlainObject::real(QVFIX value) {
  Part* const part = add(Kind::kReal);
  if (part == nullptr)
    return false;
  part->number = value;
  return true;
}

bool PlainObject::reference(const PDF_REF& ref) {
  Part* const part = add(Kind::kReference);
  if (part == nullptr)
    return false;
  part->ref = ref;
  return true;
}

bool PlainObject::open(bool dict) {
  const std::uint32_t around = open_;
  open_ = count_;
  Part* const part = add(dict ? Kind::kDict : Kind::kArray);
  if (part == nullptr)
    return false;
  part->first = around;
  return true;
}

bool PlainObject::close(bool dict) {
  Part& part = parts_[open_];
  open_ = part.first;
  part.end = static_cast<std::uint16_t>(count_);
  return !dict || order_keys(part);
}

// Lists the keys of a complete dictionary as they are printed. Of two equal ones the last counts, which is left to the
// reader of values.
bool PlainObject::order_keys(Part& dict) {
  dict.first = key_count_;
  std::uint16_t* const first = keys_ + key_count_;
  std::uint16_t* last = first;
  for (std::uint32_t at = static_cast<std::uint32_t>(&dict - parts_) + 1; at < dict.end; at = parts_[at + 1].end) {
    if (last == keys_ + kMostKeys)
      return false;
    const std::string_view key = parts_[at].view();
    std::uint16_t* place = last++;
    for (; place > first && key < parts_[place[-1]].view(); --place)
      *place = place[-1];
    if (place > first && key == parts_[place[-1]].view())
      return false;
    *place = static_cast<std::uint16_t>(at);
  }
  dict.length = static_cast<std::uint32_t>(last - first);
  key_count_ += dict.length;
  return true;
}

// Nesting is bounded by the pass over the text, so this may recurse.
class PlainObject::Printer {
public:
  Printer(const PlainObject& object, CQVStream* out) : object_(object), out_(out) {}

  void print(std::int32_t num, std::int32_t gen) {
    print_object_begin(out_, num, gen);
    print(object_.parts_[0]);
    print_object_end(out_);
  }

private:
  void print(const Part& part) {
    switch (part.kind) {
      case Kind::kName:
        return print_plain('/', part.view());
      case Kind::kString:
        print_plain('(', part.view());
        return out_.put(')');
      case Kind::kWord:
        out_.separate(part.text[0]);
        return out_.text(part.view());
      case Kind::kInteger:
        return print_integer(out_, static_cast<std::int32_t>(part.number));
      case Kind::kReal:
        return print_real(out_, part.number);
      case Kind::kReference:
        return print_ref(out_, part.ref);
      case Kind::kArray:
        return print_array(part);
      case Kind::kDict:
        return print_dict(part);
    }
  }
  void print_plain(char begin, std::string_view text) {
    out_.separate(begin);
    out_.put(begin);
    out_.text(text);
  }
  void print_array(const Part& array) {
    out_.separate('[');
    out_.put('[');
    const Part* const end = object_.parts_ + array.end;
    for (const Part* part = &array + 1; part != end; part = object_.parts_ + part->end)
      print(*part);
    out_.put(']');
  }
  void print_dict(const Part& dict) {
    out_.separate('<');
    out_.text("<<");
    for (std::uint32_t i = 0; i < dict.length; ++i) {
      const Part& key = object_.parts_[object_.keys_[dict.first + i]];
      print(key);
      print(*(&key + 1));
    }
    out_.text(">>");
  }

  const PlainObject& object_;
  PrintBuffer out_;
};

void PlainObject::print(CQVStream* out, std::int32_t num, std::int32_t gen) const {
  Printer(*this, out).print(num, gen);
}

}  // namespace sheaf
