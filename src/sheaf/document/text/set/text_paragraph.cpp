// Composition (UAX 15), levels of direction (UAX 9), scripts (UAX 24) and line breaks (UAX 14) of one paragraph.
#include "sheaf/document/text/set/text_paragraph_internal.h"

#include <utf8proc.h>

#include <algorithm>

namespace sheaf {

namespace {

constexpr std::uint32_t kFirstMark = 0x300;  // below it nothing combines
constexpr int kMostParts = 18;               // that one character is made of

// Whether composing can change text that has the character.
bool may_compose(std::uint32_t character) {
  if (character < kFirstMark)
    return false;
  const utf8proc_property_t* const property = utf8proc_get_property(static_cast<utf8proc_int32_t>(character));
  return property->combining_class != 0 || property->decomp_seqindex != UINT16_MAX ||
         property->comb_index != UINT16_MAX || (character >= 0x1100 && character < 0x1200);
}

int mark_class(utf8proc_int32_t character) {
  return utf8proc_get_property(character)->combining_class;
}

// Marks of one base in the order of their classes.
void order_marks(utf8proc_int32_t* from, utf8proc_int32_t* end) {
  while (from != end) {
    if (mark_class(*from) == 0) {
      ++from;
      continue;
    }
    utf8proc_int32_t* to = from;
    while (to != end && mark_class(*to) != 0)
      ++to;
    std::stable_sort(from, to, [](auto a, auto b) { return mark_class(a) < mark_class(b); });
    from = to;
  }
}

// Whether the order of text depends on the character: letters from right to left, and marks of direction.
bool has_direction(std::uint32_t c) {
  return (c >= 0x590 && c < 0x900) || (c >= 0xFB1D && c < 0xFE00) || (c >= 0xFE70 && c < 0xFF00) || c == 0x200F ||
         (c >= 0x202A && c < 0x202F) || (c >= 0x2066 && c < 0x206A) || (c >= 0x10800 && c < 0x11000) ||
         (c >= 0x1E800 && c < 0x1F000);
}

// Releases of libunibreak before 4 end the program at letters of flags, and at the number that marks the end for them.
// Flags may be parted from one another like ideographs; their two letters stay together as one character.
constexpr std::uint32_t kIdeograph = 0x4E00;

bool is_unknown_to_breaks(std::uint32_t character) {
  return (character >= 0x1F1E6 && character <= 0x1F1FF) || character == 0xFFFF;
}

bool is_shared(hb_script_t script) {
  return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

}  // namespace

bool is_text_space(std::uint32_t c) {
  return c == ' ' || c == '\t' || c == 0x1680 || (c >= 0x2000 && c <= 0x200B && c != 0x2007) || c == 0x205F ||
         c == 0x3000;
}

bool is_ignorable(std::uint32_t c) {
  return c == 0xAD || c == 0x34F || c == 0x61C || (c >= 0x17B4 && c <= 0x17B5) || (c >= 0x180B && c <= 0x180F) ||
         (c >= 0x200B && c <= 0x200F) || (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x206F) ||
         (c >= 0xFE00 && c <= 0xFE0F) || c == 0xFEFF || (c >= 0xE0000 && c < 0xE1000);
}

bool TextParagraph::analyse(const TextFormat& format, bool vertical) {
  pieces_.clear();
  return compose() && find_levels(format, vertical) && find_scripts() && find_breaks(format) && cut();
}

bool TextParagraph::compose() {
  if (std::none_of(text.begin(), text.end(), may_compose))
    return true;
  GrowArray<utf8proc_int32_t> parts;
  for (const std::uint32_t character : text) {
    utf8proc_int32_t some[kMostParts];
    int boundary = 0;
    const auto whole = static_cast<utf8proc_int32_t>(character);
    utf8proc_ssize_t count = utf8proc_decompose_char(whole, some, kMostParts, UTF8PROC_DECOMPOSE, &boundary);
    if (count < 1 || count > kMostParts) {
      some[0] = whole;
      count = 1;
    }
    for (utf8proc_ssize_t i = 0; i < count; ++i) {
      if (!parts.push(some[i]))
        return false;
    }
  }
  order_marks(parts.begin(), parts.end());
  constexpr auto kCompose = static_cast<utf8proc_option_t>(UTF8PROC_COMPOSE | UTF8PROC_STABLE);
  const utf8proc_ssize_t size =
      utf8proc_normalize_utf32(parts.begin(), static_cast<utf8proc_ssize_t>(parts.size()), kCompose);
  if (size < 0 || !text.resize(static_cast<std::size_t>(size)))
    return false;
  std::copy(parts.begin(), parts.begin() + size, text.begin());
  return true;
}

bool TextParagraph::find_levels(const TextFormat& format, bool vertical) {
  levels_.clear();
  level_ = format.direction == TextDirection::kRightToLeft && !vertical ? 1 : 0;
  if (vertical || !directions().complete || (level_ == 0 && std::none_of(text.begin(), text.end(), has_direction)))
    return true;
  const auto count = static_cast<FriBidiStrIndex>(text.size());
  GrowArray<FriBidiCharType> types;
  GrowArray<FriBidiBracketType> brackets;
  if (!types.resize(text.size()) || !brackets.resize(text.size()) || !levels_.resize(text.size()))
    return false;
  FriBidiParType base = FRIBIDI_PAR_ON;
  if (format.direction != TextDirection::kAuto)
    base = level_ != 0 ? FRIBIDI_PAR_RTL : FRIBIDI_PAR_LTR;
  directions().get_bidi_types(text.begin(), count, types.begin());
  directions().get_bracket_types(text.begin(), count, types.begin(), brackets.begin());
  if (directions().get_par_embedding_levels(types.begin(), brackets.begin(), count, &base, levels_.begin()) == 0)
    return false;
  level_ = FRIBIDI_IS_RTL(base) ? 1 : 0;
  return true;
}

// Signs that all scripts share, and marks, belong to the script before them, at the beginning to the one after.
bool TextParagraph::find_scripts() {
  if (!scripts_.resize(text.size()))
    return false;
  hb_unicode_funcs_t* const known = shaper().unicode_funcs_get_default();
  hb_script_t before = HB_SCRIPT_COMMON;
  std::size_t first = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const hb_script_t script = shaper().unicode_script(known, text[i]);
    if (!is_shared(script)) {
      for (; is_shared(before) && first < i; ++first)
        scripts_[first] = script;
      before = script;
    }
    scripts_[i] = before;
  }
  return true;
}

bool TextParagraph::find_breaks(const TextFormat& format) {
  if (!breaks_.resize(text.size()) || !starts_.resize(text.size()))
    return false;
  utf8proc_int32_t state = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    breaks_[i] = is_text_space(text[i]) ? LINEBREAK_ALLOWBREAK : LINEBREAK_NOBREAK;
    starts_[i] = i == 0 || utf8proc_grapheme_break_stateful(static_cast<utf8proc_int32_t>(text[i - 1]),
                                                            static_cast<utf8proc_int32_t>(text[i]), &state);
  }
  if (!breaks().complete)
    return true;
  GrowArray<std::uint32_t> stand_ins;
  const std::uint32_t* characters = text.begin();
  if (std::any_of(text.begin(), text.end(), is_unknown_to_breaks)) {
    if (!stand_ins.resize(text.size()))
      return false;
    std::transform(text.begin(), text.end(), stand_ins.begin(),
                   [](std::uint32_t c) { return is_unknown_to_breaks(c) ? kIdeograph : c; });
    characters = stand_ins.begin();
  }
  breaks().set_linebreaks(characters, text.size(), format.language, breaks_.begin());
  return true;
}

bool TextParagraph::cut() {
  std::uint32_t from = 0;
  const auto level_at = [this](std::uint32_t i) { return levels_.empty() ? 0 : levels_[i]; };
  const auto count = static_cast<std::uint32_t>(text.size());
  for (std::uint32_t i = 0; i < count; ++i) {
    const bool is_last = i + 1 == count;
    const bool may_break = is_last || (breaks_[i] == LINEBREAK_ALLOWBREAK && starts_[i + 1]);
    const bool is_space = is_text_space(text[i]);
    const bool changes =
        !is_last && (level_at(i) != level_at(i + 1) || text[i] == '\t' || text[i + 1] == '\t' ||
                     (starts_[i + 1] && (scripts_[i] != scripts_[i + 1] || is_space != is_text_space(text[i + 1]))));
    if (!may_break && !changes)
      continue;
    if (!pieces_.push({from, i + 1, scripts_[i], static_cast<std::uint8_t>(level_at(i)), is_space, may_break}))
      return false;
    from = i + 1;
  }
  return true;
}

std::uint32_t TextParagraph::character_end(std::uint32_t at) const {
  const auto count = static_cast<std::uint32_t>(text.size());
  do
    ++at;
  while (at < count && !starts_[at]);
  return at;
}

}  // namespace sheaf
