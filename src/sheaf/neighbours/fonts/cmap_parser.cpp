// Each begin operator opens a block whose operands are collected until its end operator.
#include "sheaf/neighbours/fonts/cmap_parser.h"

#include <algorithm>
#include <iterator>

#include "sheaf/base/chars.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/cmap_tokens.h"
#include "sheaf/neighbours/fonts/standard_glyphs.h"

namespace sheaf {

namespace {

// A code as a map writes it; more than four bytes make no code.
struct Code {
  std::uint32_t value = 0;
  int bytes = 0;
  bool is_usable() const { return bytes >= 1 && bytes <= kMostCodeBytes; }
};

Code code_of(std::string_view text) {
  Code code;
  code.bytes = static_cast<int>(text.size());
  if (!code.is_usable())
    return code;
  for (const char c : text)
    code.value = code.value << 8 | static_cast<unsigned char>(c);
  return code;
}

// A text of UTF-16 units while it is read.
struct Units {
  char16_t items[CPDFCMapToUnicode::kMostUnits];
  std::size_t count = 0;

  void push(std::uint32_t unit) {
    if (count < std::size(items))
      items[count++] = static_cast<char16_t>(unit);
  }
  void push_character(std::uint32_t character) {
    if (character > 0xFFFF) {
      push(high_surrogate(character));
      character = low_surrogate(character);
    }
    push(character);
  }
  bool is_one_character(std::uint32_t& character) const {
    character = count > 0 ? items[0] : 0u;
    if (count != 2 || !is_high_surrogate(items[0]) || !is_low_surrogate(items[1]))
      return count == 1;
    character = from_surrogates(items[0], items[1]);
    return true;
  }
};

// UTF-16BE; a single byte is a unit by itself, and a last odd one of several is dropped.
void read_units(std::string_view text, Units& units) {
  if (text.size() == 1)
    units.push(static_cast<unsigned char>(text[0]));
  for (std::size_t i = 0; i + 1 < text.size(); i += 2)
    units.push(
        static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]) << 8 | static_cast<unsigned char>(text[i + 1])));
}

// The value of `text` as hexadecimal digits; false when it holds anything else.
bool read_hex(std::string_view text, std::uint32_t& value) {
  value = 0;
  for (const char c : text) {
    const int digit = hex_value(c);
    if (digit < 0)
      return false;
    value = value << 4 | static_cast<std::uint32_t>(digit);
  }
  return true;
}

// uniXXXX with any number of four digits, of which none is half a character. Nothing is read of any other name.
bool read_units_of_name(std::string_view name, Units& units) {
  constexpr std::string_view kPrefix = "uni";
  constexpr std::size_t kUnitDigits = 4;
  if (!name.starts_with(kPrefix) || name.size() == kPrefix.size() || (name.size() - kPrefix.size()) % kUnitDigits != 0)
    return false;
  Units read;
  for (std::size_t at = kPrefix.size(); at < name.size(); at += kUnitDigits) {
    std::uint32_t value = 0;
    if (!read_hex(name.substr(at, kUnitDigits), value) || is_high_surrogate(value) || is_low_surrogate(value))
      return false;
    read.push(value);
  }
  for (std::size_t i = 0; i < read.count; ++i)
    units.push(read.items[i]);
  return true;
}

// One part of a character's name: a single character, or a name that fonts have for letters and signs. Others give
// nothing.
void read_name_part(std::string_view name, Units& units) {
  if (name.size() == 1) {
    units.push(static_cast<unsigned char>(name[0]));
  } else if (read_units_of_name(name, units)) {
    return;
  } else if (const std::uint32_t character = character_of_glyph(name)) {
    units.push_character(character);
  } else {
    for (const char16_t unit : listed_text_of_glyph(name))
      units.push(unit);
  }
}

// What follows a full stop says how the glyph looks, and low lines join the parts of a ligature.
void read_glyph_name(std::string_view name, Units& units) {
  const std::size_t stop = name.find('.');
  if (name.size() > 1 && stop != std::string_view::npos)
    name = name.substr(0, stop);
  while (name.size() > 1 && name.find('_') != std::string_view::npos) {
    read_name_part(name.substr(0, name.find('_')), units);
    name.remove_prefix(name.find('_') + 1);
  }
  read_name_part(name, units);
}

class Parser {
public:
  Parser(const void* bytes, std::size_t len, CMapContents& contents) : tokens_(bytes, len), out_(contents) {}
  void run();

private:
  enum class Block { kNone, kCodespace, kCidRange, kCidChar, kNotdefRange, kNotdefChar, kBfRange, kBfChar };

  static Block block_of(std::string_view name);
  void advance() { token_ = tokens_.next(); }
  bool is_key(std::string_view name) const { return std::string_view(key_) == name; }
  void take_value();
  void read_block(Block block);
  bool read_codes(bool is_range, Code& lo, Code& hi);
  void read_cid(Block block, const Code& lo, const Code& hi);
  void read_text(const Code& lo, const Code& hi);
  void read_text_array(const Code& lo, const Code& hi);
  void add_text(const Code& lo, std::uint32_t hi);

  CMapTokens tokens_;
  CMapContents& out_;
  CMapToken token_ = CMapToken::kEnd;
  char key_[sizeof(PDF_CMAP_INFO::name)]{};  // the name before the present token; empty: none
};

Parser::Block Parser::block_of(std::string_view name) {
  struct Row {
    std::string_view name;
    Block block;
  };
  constexpr Row kRows[] = {
      {"begincodespacerange", Block::kCodespace},
      {"begincidrange", Block::kCidRange},
      {"begincidchar", Block::kCidChar},
      {"beginnotdefrange", Block::kNotdefRange},
      {"beginnotdefchar", Block::kNotdefChar},
      {"beginbfrange", Block::kBfRange},
      {"beginbfchar", Block::kBfChar},
  };
  for (const Row& row : kRows) {
    if (row.name == name)
      return row.block;
  }
  return Block::kNone;
}

// A block leaves the token that ended it, which may open the next one if an end operator is missing.
void Parser::run() {
  advance();
  while (token_ != CMapToken::kEnd) {
    const Block block = token_ == CMapToken::kOperator ? block_of(tokens_.text()) : Block::kNone;
    if (block != Block::kNone) {
      key_[0] = 0;
      advance();
      read_block(block);
      continue;
    }
    take_value();
    advance();
  }
}

// Keys are recognised by what follows them, so that `/WMode 1 def` and `<< /WMode 1 >>` are
// the same. A name is the value of the name before it, and may be a key itself.
void Parser::take_value() {
  const std::string_view text = tokens_.text();
  const bool is_text = token_ == CMapToken::kString || token_ == CMapToken::kName;
  if (token_ == CMapToken::kOperator && text == "usecmap" && out_.base_name[0] == 0)
    copy_text(out_.base_name, key_);
  if (is_text && is_key("CMapName"))
    copy_text(out_.info.name, text);
  if (is_text && is_key("Registry"))
    copy_text(out_.info.registry, text);
  if (is_text && is_key("Ordering"))
    copy_text(out_.info.ordering, text);
  if (token_ == CMapToken::kNumber && is_key("Supplement"))
    out_.info.supplement = tokens_.number();
  if (token_ == CMapToken::kNumber && is_key("WMode")) {
    out_.info.wmode = tokens_.number() != 0 ? 1 : 0;
    out_.has_wmode = true;
  }
  copy_text(key_, token_ == CMapToken::kName ? text : std::string_view());
}

// Entries up to the next operator, however many were announced.
void Parser::read_block(Block block) {
  const bool is_range = block != Block::kCidChar && block != Block::kNotdefChar && block != Block::kBfChar;
  while (token_ != CMapToken::kEnd && token_ != CMapToken::kOperator) {
    Code lo;
    Code hi;
    if (!read_codes(is_range, lo, hi))
      continue;
    if (block == Block::kCodespace)
      out_.spaces.add(lo.bytes, lo.value, hi.value);
    else if (block == Block::kBfRange || block == Block::kBfChar)
      read_text(lo, hi);
    else
      read_cid(block, lo, hi);
  }
}

// The code or the two codes before a value; false, with anything else skipped, otherwise.
bool Parser::read_codes(bool is_range, Code& lo, Code& hi) {
  if (token_ != CMapToken::kString) {
    advance();
    return false;
  }
  lo = code_of(tokens_.text());
  advance();
  hi = lo;
  if (!is_range)
    return true;
  if (token_ != CMapToken::kString)
    return false;
  hi = code_of(tokens_.text());
  // Lenient: of <00> <FFFF> the longer one gives the length.
  lo.bytes = hi.bytes = std::max(lo.bytes, hi.bytes);
  advance();
  return true;
}

void Parser::read_cid(Block block, const Code& lo, const Code& hi) {
  if (token_ != CMapToken::kNumber)
    return;
  const std::int32_t number = tokens_.number();
  advance();
  const auto cid = static_cast<std::uint32_t>(number);
  if (!lo.is_usable() || number < 0 || cid > kMostCid || hi.value < lo.value)
    return;
  if (block == Block::kNotdefRange || block == Block::kNotdefChar) {
    out_.notdefs.add(lo.bytes, {lo.value, hi.value, cid});
    return;
  }
  const std::uint32_t last = lo.value + std::min(hi.value - lo.value, kMostCid - cid);
  out_.cids.add(lo.bytes, {lo.value, last, cid});
}

void Parser::read_text(const Code& lo, const Code& hi) {
  if (token_ == CMapToken::kArrayOpen) {
    advance();
    read_text_array(lo, hi);
    return;
  }
  if (token_ != CMapToken::kString && token_ != CMapToken::kName)
    return;
  add_text(lo, hi.value);
  advance();
}

// One text for each code of the range; what is more than these is passed over.
void Parser::read_text_array(const Code& lo, const Code& hi) {
  Code code = lo;
  bool has_code = lo.value <= hi.value;
  for (; token_ == CMapToken::kString || token_ == CMapToken::kName || token_ == CMapToken::kNumber; advance()) {
    if (has_code)
      add_text(code, code.value);
    has_code = has_code && code.value < hi.value;
    code.value += has_code ? 1 : 0;
  }
  if (token_ == CMapToken::kArrayClose)
    advance();
}

// The present token is the text of the codes from `lo` to `hi`.
void Parser::add_text(const Code& lo, std::uint32_t hi) {
  if (!lo.is_usable() || hi < lo.value || token_ == CMapToken::kNumber)
    return;
  Units units;
  if (token_ == CMapToken::kName)
    read_glyph_name(tokens_.text(), units);
  else
    read_units(tokens_.text(), units);
  std::uint32_t character = 0;
  if (units.is_one_character(character)) {
    out_.texts.add(lo.bytes, {lo.value, lo.value + std::min(hi - lo.value, kLastCharacter - character), character});
    return;
  }
  const std::size_t place = out_.pool.size();
  if (place + TextPool::kHead + units.count > TextPool::kMostUnits)
    return;
  bool kept = out_.pool.push(static_cast<char16_t>(lo.value >> 16)) &&
              out_.pool.push(static_cast<char16_t>(lo.value)) && out_.pool.push(static_cast<char16_t>(units.count));
  for (std::size_t i = 0; i < units.count; ++i)
    kept = kept && out_.pool.push(units.items[i]);
  if (kept)
    out_.texts.add(lo.bytes, {lo.value, hi, TextPool::kPooled | static_cast<std::uint32_t>(place)});
}

}  // namespace

bool CMapContents::has_any() const {
  return !spaces.empty() || !cids.empty() || !notdefs.empty() || !texts.empty() || base_name[0] != 0;
}

void parse_cmap(const void* bytes, std::size_t len, CMapContents& contents) {
  Parser(bytes, len, contents).run();
}

}  // namespace sheaf
