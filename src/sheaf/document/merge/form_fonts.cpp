// Values are compared pair by pair on a stack; of an appearance only the names before a size and Tf change.
#include "sheaf/document/merge/form_fonts.h"

#include <cstring>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/stream.h"
#include "sheaf/object/array.h"

namespace sheaf {

namespace {

constexpr std::string_view kSpace = {" \t\r\n\f\0", 6};
constexpr std::string_view kNameEnd = {" \t\r\n\f\0/()<>[]{}%", 16};

// So many things at most are compared for a value, in one list or together: fonts have few.
constexpr int kMostCompared = 1000;
constexpr std::int32_t kMostText = 4096;

bool is_written_alike(const CPDFObj& a, const CPDFObj& b) {
  if (a.tag == kTagString && a.as_string().len > kMostText)
    return false;
  CQVStreamMem left;
  CQVStreamMem right;
  a.write(&left, nullptr);
  b.write(&right, nullptr);
  return left.len == right.len && (left.len == 0 || std::memcmp(left.data, right.data, left.len) == 0);
}

// Compares two values, and adds what they hold to `waiting`, pair after pair.
bool is_same_outside(const CPDFObj& a, const CPDFObj& b, GrowArray<CPDFObj>& waiting) {
  if (a.tag != b.tag || a.as_stream() != nullptr)
    return false;
  const auto wait_for = [&waiting](const CPDFObj& left, const CPDFObj& right) {
    for (const CPDFObj* from : {&left, &right}) {
      Freed<CPDFObj> copy;
      copy.copy_from(from);
      if (waiting.push(copy))
        static_cast<CPDFObj&>(copy) = CPDFObj{};
    }
  };
  if (const CPDFArray* const array = a.as_array()) {
    if (array->count != b.as_array()->count || array->count > kMostCompared)
      return false;
    for (std::int32_t i = 0; i < array->count; ++i)
      wait_for(array->items[i], b.as_array()->items[i]);
    return true;
  }
  const CPDFDictionary* const dict = a.as_dict();
  if (dict == nullptr)
    return is_written_alike(a, b);
  if (dict->count != b.as_dict()->count || dict->count > kMostCompared)
    return false;
  for (std::int32_t i = 0; i < dict->count; ++i) {
    const CPDFObj* const other = b.as_dict()->get_item(dict->items[i]->key());
    if (other == nullptr)
      return false;
    wait_for(*dict->items[i], *other);
  }
  return true;
}

}  // namespace

bool is_same_in(CPDFXRefTable& a, const CPDFObj& left, CPDFXRefTable& b, const CPDFObj& right) {
  GrowArray<CPDFObj> waiting;
  Freed<CPDFObj> ours = a.value(&left);
  Freed<CPDFObj> theirs = b.value(&right);
  bool same = is_same_outside(ours, theirs, waiting);
  for (int compared = 0; waiting.size() >= 2; ++compared) {
    Freed<CPDFObj> second;
    Freed<CPDFObj> first;
    second.move_from(waiting.back());
    waiting.pop();
    first.move_from(waiting.back());
    waiting.pop();
    if (!same || compared > kMostCompared) {
      same = false;
      continue;
    }
    ours = a.value(&first);
    theirs = b.value(&second);
    same = is_same_outside(ours, theirs, waiting);
  }
  return same;
}

void rename_fonts(CPDFObj& appearance, const CPDFDictionary& names) {
  const PDF_String old = appearance.as_string();
  if (appearance.tag != kTagString || names.count == 0 || old.len < 1)
    return;
  const std::string_view text(old.data, static_cast<std::size_t>(old.len));
  CQVStreamMem out;
  const auto put = [&out](std::string_view part) { out.Write(part.data(), static_cast<unsigned>(part.size())); };
  std::size_t done = 0;
  for (std::size_t at = text.find('/'); at != std::string_view::npos; at = text.find('/', at + 1)) {
    const std::size_t end = std::min(text.find_first_of(kNameEnd, at + 1), text.size());
    const std::size_t size = std::min(text.find_first_not_of(kSpace, end), text.size());
    const std::size_t size_end = std::min(text.find_first_not_of("0123456789+-.", size), text.size());
    const std::size_t verb = text.find_first_not_of(kSpace, size_end);
    if (size == size_end || verb == std::string_view::npos || text.substr(verb, 2) != "Tf")
      continue;
    char name[128]{};
    if (end - at - 1 >= sizeof(name))
      continue;
    std::memcpy(name, text.data() + at + 1, end - at - 1);
    const CPDFObj* const fresh = names.get_item(name);
    if (fresh == nullptr || fresh->tag != kTagName)
      continue;
    put(text.substr(done, at + 1 - done));
    put(fresh->as_name());
    done = end;
  }
  if (done == 0)
    return;
  put(text.substr(done));
  appearance.set_string(reinterpret_cast<const char*>(out.data), static_cast<std::int32_t>(out.len));
}

}  // namespace sheaf
