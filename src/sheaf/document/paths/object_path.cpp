// A path is followed step by step, references included.
#include "sheaf/document/paths/object_path.h"

#include <charconv>
#include <new>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"

namespace sheaf {

namespace {

constexpr std::size_t kMostKey = 512;

// The key that a step of a path means. False when it is too long.
bool read_key(std::string_view step, char (&key)[kMostKey]) {
  std::size_t size = 0;
  for (std::size_t i = 0; i < step.size(); ++i) {
    if (size + 1 >= kMostKey)
      return false;
    const bool escaped =
        step[i] == '#' && i + 2 < step.size() && hex_value(step[i + 1]) >= 0 && hex_value(step[i + 2]) >= 0;
    key[size++] = escaped ? static_cast<char>(hex_value(step[i + 1]) * 16 + hex_value(step[i + 2])) : step[i];
    i += escaped ? 2 : 0;
  }
  key[size] = 0;
  return true;
}

// False when it is no number.
bool read_index(std::string_view step, std::int32_t& index) {
  const auto read = std::from_chars(step.data(), step.data() + step.size(), index);
  return read.ec == std::errc() && read.ptr == step.data() + step.size() && index >= 0;
}

// The item that a step leads to; null without one.
const CPDFObj* step_into(const CPDFObj& value, std::string_view step) {
  char key[kMostKey];
  std::int32_t index = 0;
  if (value.as_array() != nullptr)
    return read_index(step, index) ? value.as_array()->get(index) : nullptr;
  const CPDFDictionary* const dict = value.as_stream() != nullptr ? &value.as_stream()->dict : value.as_dict();
  return dict != nullptr && read_key(step, key) ? dict->get_item(key) : nullptr;
}

}  // namespace

void read_trailer(CPDFDoc& doc, CPDFDictionary& trailer) {
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  trailer.set_item_int("Size", object_num(table.xref_count));
  const auto put = [&trailer](const char* key, const CPDFObj& value) {
    if (!value.is_null())
      trailer.set_item(key, &value);
  };
  put("Root", table.root);
  put("Info", table.info);
  put("ID", table.id);
  put("Encrypt", table.encrypt);
}

PathResult find_path(CPDFDoc& doc, std::string_view path, CPDFObj& out) {
  PathResult result;
  out.free();
  CPDFXRefTable& table = doc.table();
  Cleared<CPDFDictionary> trailer;
  bool first = true;
  for (std::size_t at = 0; at <= path.size();) {
    const std::size_t end = path.find('/', at) < path.size() ? path.find('/', at) : path.size();
    const std::string_view step = path.substr(at, end - at);
    at = end + 1;
    if (step.empty())
      continue;
    Freed<CPDFObj> next;
    std::int32_t num = 0;
    if (first && step == "trailer") {
      read_trailer(doc, trailer);
      next.take_dict(new (std::nothrow) CPDFDictionary);
      if (next.as_dict() != nullptr)
        next.as_dict()->copy_from(&trailer);
    } else if (first && read_index(step, num)) {
      result.object = doc.reference_to(num);
      next = table.object(result.object);
    } else if (!first) {
      const CPDFObj* const item = step_into(out, step);
      if (item != nullptr && item->tag == kTagRef)
        result.object = item->as_ref();
      if (item == nullptr)
        return result;
      next = table.value(item);
    }
    if (first && next.is_null())
      return result;
    first = false;
    out.move_from(next);
    result.passed = end;
  }
  result.found = !first;
  return result;
}

}  // namespace sheaf
