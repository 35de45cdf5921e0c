// Each form has its bound, and says so where there is more.
#include "browse/stream_views.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "image/image_writer.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/utf.h"
#include "sheaf/document/content/content_reader.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/object/array.h"
#include "support/base64.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr std::int32_t kMostRows = 4000;
constexpr std::int32_t kMostGlyphs = 512;

bool has_prefix(const std::string& bytes, const char* prefix) {
  return bytes.compare(0, std::strlen(prefix), prefix) == 0;
}

bool looks_like_text(const std::string& bytes) {
  constexpr std::ptrdiff_t kMostControls = 50;  // one of so many characters
  const auto is_control = [](char c) { return static_cast<unsigned char>(c) < 0x20 && !std::strchr("\t\n\r\f", c); };
  const auto is_high = [](char c) { return (c & 0x80) != 0; };
  return !bytes.empty() && bytes.find('\0') == std::string::npos &&
         std::count_if(bytes.begin(), bytes.end(), is_control) * kMostControls < std::ssize(bytes) &&
         (is_utf8(bytes) || std::count_if(bytes.begin(), bytes.end(), is_high) * 4 < std::ssize(bytes));
}

const char* kind_of_text(const std::string& bytes) {
  if (bytes.find("begincmap") != std::string::npos || bytes.find("begincodespacerange") != std::string::npos)
    return "cmap";
  return has_prefix(bytes, "<?x") || has_prefix(bytes, "<x:") || has_prefix(bytes, "\xEF\xBB\xBF<?x") ? "xml" : "text";
}

bool is_any(std::string_view op, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [op](const char* name) { return op == name; });
}

const char* fault_comment(ContentFault fault) {
  switch (fault) {
    case ContentFault::kNone:
      return "";
    case ContentFault::kStray:
      return "  % a bracket that closes nothing";
    case ContentFault::kUnclosed:
      return "  % an array, a dictionary or a string without its end";
    case ContentFault::kNoOperator:
      return "  % no operator follows";
    case ContentFault::kTooManyOperands:
      return "  % the last of too many operands";
    case ContentFault::kImage:
      return "  % an inline image without its data or its end";
  }
  return "";
}

// An operator a line behind its operands, indented within what saves the state, text and marked content.
std::string content_text(const std::string& bytes) {
  constexpr int kMostIndent = 20;
  std::string text;
  int indent = 0;
  ContentReader reader(bytes);
  while (reader.next()) {
    const std::string_view op = reader.op();
    if (is_any(op, {"Q", "ET", "EMC", "EX"}))
      indent = std::max(indent - 1, 0);
    text.append(static_cast<std::size_t>(std::min(indent, kMostIndent)) * 2, ' ');
    if (is_any(op, {"q", "BT", "BMC", "BDC", "BX"}))
      ++indent;
    std::string operands;
    for (std::int32_t i = 0; i < reader.operands().count; ++i)
      operands += syntax_text(reader.operands().items[i]) + ' ';
    std::replace(operands.begin(), operands.end(), '\n', ' ');
    if (reader.is("BI"))
      text += "BI " + operands + "ID EI  % " + std::to_string(reader.image_data().size()) + " bytes of image";
    else
      text += operands + latin_text(op);
    text += fault_comment(reader.fault());
    text += '\n';
  }
  return text;
}

std::string text_form(const std::string& bytes, bool is_content) {
  return is_content ? content_text(bytes) : is_utf8(bytes) ? bytes : latin_text(bytes);
}

std::string hex_code(std::uint32_t code, int bytes) {
  std::string text;
  for (int shift = bytes * 8 - 4; shift >= 0; shift -= 4)
    text += "0123456789ABCDEF"[code >> shift & 15];
  return text;
}

std::string utf8_of(const char16_t* units, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    std::uint32_t character = units[i];
    if (is_high_surrogate(character) && i + 1 < count && is_low_surrogate(units[i + 1]))
      character = from_surrogates(character, units[++i]);
    append_utf8(text, character);
  }
  return text;
}

}  // namespace

void StreamViews::write(const CPDFObj& stream, PartKind kind, JsonWriter& json) {
  const CPDFStreamRec& rec = *stream.as_stream();
  json.key("views").begin_array();
  const bool is_picture = kind == PartKind::kImage && write_picture(stream, json);
  if (table_.value(&rec.dict, "Type").is_name("XRef"))
    write_entries(rec, json);
  std::string bytes;
  const bool is_cut = !is_picture && decode(rec, limits_.text_bytes, bytes);
  if (table_.value(&rec.dict, "Type").is_name("ObjStm"))
    write_members(rec, bytes, json);
  if (!is_picture) {
    write_text(rec, kind, bytes, is_cut, json);
    write_hex(bytes, is_cut, json);
  }
  json.end_array();
}

// Decodes the start. True when there is more.
bool StreamViews::decode(const CPDFStreamRec& rec, std::int32_t most_bytes, std::string& bytes) {
  const std::unique_ptr<CPDFStream> decoder(table_.make_stream(&rec));
  if (decoder == nullptr)
    return false;
  const auto most = static_cast<std::size_t>(most_bytes);
  drain(table_, rec, *decoder, [&bytes, most](const unsigned char* block, int size) {
    bytes.append(reinterpret_cast<const char*>(block), static_cast<std::size_t>(size));
    return bytes.size() <= most;
  });
  const bool is_cut = bytes.size() > most;
  bytes.resize(std::min(bytes.size(), most));
  return is_cut;
}

bool StreamViews::write_picture(const CPDFObj& stream, JsonWriter& json) {
  CPDFImage image;
  if (!image.load(table_, stream))
    return false;
  constexpr int kMostShrink = 64;
  bool is_whole = true;
  CQVStreamMem png;
  // Photographs take two bytes a pixel or so; when that was too hopeful, the next try is half as wide.
  int shrink = 1;
  while (shrink < kMostShrink && std::int64_t{image.width} * image.height * 2 > limits_.picture_bytes * shrink * shrink)
    ++shrink;
  for (;; shrink *= 2) {
    png.Close();
    if (write_png(&png, table_, image, Dots{}, is_whole, shrink) != nullptr)
      return false;
    if (png.len <= limits_.picture_bytes * 2)
      break;
    if (shrink >= kMostShrink)
      return false;
  }
  json.begin_object().key("type").text("picture").key("png").text(base64_text(png.data, png.len));
  json.key("width").number(image.width).key("height").number(image.height).key("shrunk").number(shrink);
  json.key("whole").flag(is_whole).end_object();
  return true;
}

// The entries of a cross-reference stream (ISO 32000-1, 7.5.8.3).
void StreamViews::write_entries(const CPDFStreamRec& rec, JsonWriter& json) {
  const Freed<CPDFObj> widths = table_.value(&rec.dict, "W");
  const Freed<CPDFObj> index = table_.value(&rec.dict, "Index");
  const Freed<CPDFObj> size = table_.value(&rec.dict, "Size");
  const std::unique_ptr<CPDFStream> decoder(table_.make_stream(&rec));
  constexpr int kFields = 3;
  int width[kFields]{};
  for (int i = 0; i < kFields; ++i)
    width[i] = std::clamp(table_.value(widths.as_array(), i).to_int(), 0, 8);
  const int row_bytes = width[0] + width[1] + width[2];
  if (decoder == nullptr || row_bytes == 0)
    return;
  json.begin_object().key("type").text("entries").key("rows").begin_array();
  std::int32_t rows = 0;
  bool is_cut = false;
  const std::int32_t ranges = index.as_array() != nullptr ? index.as_array()->count / 2 : 1;
  for (std::int32_t range = 0; range < ranges && !is_cut; ++range) {
    const std::int32_t first = table_.value(index.as_array(), 2 * range).to_int();
    const std::int32_t count =
        index.as_array() != nullptr ? table_.value(index.as_array(), 2 * range + 1).to_int() : size.to_int();
    for (std::int32_t i = 0; i < count; ++i) {
      unsigned char row[8 * kFields]{};
      if (decoder->read_block(row, row_bytes) != row_bytes)
        break;
      is_cut = rows++ == kMostRows;
      if (is_cut)
        break;
      json.begin_array().number(std::int64_t{first} + i);
      const unsigned char* at = row;
      for (int field = 0; field < kFields; ++field) {
        std::uint64_t value = field == 0 && width[0] == 0 ? 1 : 0;
        for (int byte = 0; byte < width[field]; ++byte)
          value = value << 8 | *at++;
        json.number(static_cast<std::int64_t>(value));
      }
      json.end_array();
    }
  }
  json.end_array().key("cut").flag(is_cut).end_object();
}

// Numbers and offsets in front of the objects of an object stream.
void StreamViews::write_members(const CPDFStreamRec& rec, const std::string& bytes, JsonWriter& json) {
  const std::int32_t count = table_.value(&rec.dict, "N").to_int();
  json.begin_object().key("type").text("members").key("rows").begin_array();
  const char* at = bytes.c_str();
  for (std::int32_t i = 0; i < std::min(count, kMostRows); ++i) {
    char* end = nullptr;
    const long num = std::strtol(at, &end, 10);
    char* const behind = end;
    const long offset = std::strtol(behind, &end, 10);
    if (behind == at || end == behind)
      break;
    json.begin_array().number(num).number(offset).end_array();
    at = end;
  }
  json.end_array().key("cut").flag(count > kMostRows).end_object();
}

bool StreamViews::is_content(const CPDFStreamRec& rec, PartKind kind) {
  return kind == PartKind::kContent || table_.value(&rec.dict, CPDFDictionary::sm_tag_subtype).is_name("Form") ||
         table_.value(&rec.dict, "PatternType").to_int() == 1;
}

void StreamViews::write_text(const CPDFStreamRec& rec, PartKind kind, const std::string& bytes, bool is_cut,
                             JsonWriter& json) {
  const bool is_drawn = is_content(rec, kind);
  if (!is_drawn && !looks_like_text(bytes))
    return;
  json.begin_object().key("type").text(is_drawn ? "content" : kind_of_text(bytes));
  json.key("text").text(text_form(bytes, is_drawn)).key("cut").flag(is_cut).end_object();
}

std::string StreamViews::text(const CPDFStreamRec& rec, PartKind kind) {
  constexpr std::int32_t kMostCompared = 32 * 1024;
  std::string bytes;
  decode(rec, std::min(limits_.text_bytes, kMostCompared), bytes);
  const bool is_drawn = is_content(rec, kind);
  return is_drawn || looks_like_text(bytes) ? text_form(bytes, is_drawn) : "";
}

void StreamViews::write_hex(const std::string& bytes, bool is_cut, JsonWriter& json) const {
  const auto shown = std::min(bytes.size(), static_cast<std::size_t>(limits_.hex_bytes));
  json.begin_object().key("type").text("hex");
  json.key("bytes").text(base64_text(reinterpret_cast<const unsigned char*>(bytes.data()), shown));
  json.key("cut").flag(is_cut || shown < bytes.size());
  if (!is_cut)
    json.key("size").number(std::ssize(bytes));
  json.end_object();
}

void StreamViews::write_glyphs(const CPDFDictionary& font, JsonWriter& json) {
  const bool is_composite = table_.value(&font, "Subtype").is_name("Type0");
  const Freed<CPDFObj> encoding = table_.value(&font, "Encoding");
  const Freed<CPDFObj> differences = table_.value(encoding.as_dict(), "Differences");
  std::map<std::uint32_t, std::string> names;
  std::int32_t code = 0;
  for (std::int32_t i = 0; differences.as_array() != nullptr && i < differences.as_array()->count; ++i) {
    const Freed<CPDFObj> item = table_.value(differences.as_array(), i);
    if (item.is_number())
      code = item.to_int();
    else if (item.as_name() != nullptr && code >= 0 && code < 256)
      names[static_cast<std::uint32_t>(code++)] = item.as_name();
  }
  CPDFCMapToUnicode* const map = CPDFCMapToUnicode::load(table_, font.get_item("ToUnicode"));
  const ScopeGuard release([map] { CPDFSharedCMap::release(map); });
  const int bytes = is_composite ? 2 : 1;
  const std::uint32_t codes = map == nullptr && names.empty() ? 0 : 1u << (8 * bytes);
  json.key("glyphs").begin_array();
  std::int32_t count = 0;
  for (std::uint32_t at = 0; at < codes && count < kMostGlyphs && codes_left_ > 0; ++at, --codes_left_) {
    char16_t units[CPDFCMapToUnicode::kMostUnits];
    const int len = map != nullptr ? map->text_of(at, bytes, units, CPDFCMapToUnicode::kMostUnits) : 0;
    const auto name = names.find(at);
    if (len == 0 && name == names.end())
      continue;
    json.begin_array().text(hex_code(at, bytes)).text(name != names.end() ? name->second : "");
    json.text(utf8_of(units, std::min(len, 16))).end_array();
    ++count;
  }
  json.end_array();
}

}  // namespace sheaf::tool
