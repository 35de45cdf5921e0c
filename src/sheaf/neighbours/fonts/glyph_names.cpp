// Looking up glyph names and characters.
#include <algorithm>
#include <array>

#include "sheaf/base/chars.h"
#include "sheaf/base/utf.h"
#include "sheaf/neighbours/fonts/glyph_list_internal.h"
#include "sheaf/neighbours/fonts/standard_glyphs.h"

namespace sheaf {

namespace {

constexpr char16_t kFirstSequence = 0xD800;

// Where each name of the list begins, and after them where one more would.
constexpr auto kStarts = [] {
  std::array<std::uint16_t, glyph_list::kNameCount + 1> starts{};
  const char* const names = glyph_list::kNames.data();
  int count = 0;
  for (unsigned at = 0; names[at] != 0; ++at) {
    if (names[at] == ' ')
      starts[static_cast<std::size_t>(++count)] = static_cast<std::uint16_t>(at + 1);
  }
  return starts;
}();

constexpr std::string_view listed_name(std::size_t index) {
  return glyph_list::kNames.substr(kStarts[index], kStarts[index + 1] - 1u - kStarts[index]);
}

// A space is below all that names are made of. Plain characters, which compilers look at five times as fast as at
// views.
constexpr bool is_sorted_list() {
  const char* const names = glyph_list::kNames.data();
  for (std::size_t i = 1; i < glyph_list::kNameCount; ++i) {
    const char* before = names + kStarts[i - 1];
    const char* name = names + kStarts[i];
    for (; *before == *name && *name != ' '; ++before)
      ++name;
    if (*before >= *name)
      return false;
  }
  return true;
}

static_assert(glyph_list::kNames.size() <= UINT16_MAX && kStarts.back() == glyph_list::kNames.size());
static_assert(std::size(glyph_list::kCharacters) == glyph_list::kNameCount);
static_assert(is_sorted_list());

// The number behind `prefix`, of `least` to `most` digits to the end of the name; 0 when it is no character's.
std::uint32_t hex_behind(std::string_view name, std::string_view prefix, std::size_t least, std::size_t most) {
  if (!name.starts_with(prefix))
    return 0;
  name.remove_prefix(prefix.size());
  std::uint32_t value = 0;
  for (const char c : name.substr(0, most + 1)) {
    const int digit = hex_value(c);
    if (digit < 0)
      return 0;
    value = value * 16 + static_cast<std::uint32_t>(digit);
  }
  const bool is_half = is_high_surrogate(value) || is_low_surrogate(value);
  return name.size() >= least && name.size() <= most && value <= kLastCharacter && !is_half ? value : 0;
}

}  // namespace

std::u16string_view listed_text_of_glyph(std::string_view name) {
  std::size_t low = 0;
  for (std::size_t high = glyph_list::kNameCount; low < high;) {
    const std::size_t middle = (low + high) / 2;
    if (listed_name(middle) < name)
      low = middle + 1;
    else
      high = middle;
  }
  if (low == glyph_list::kNameCount || listed_name(low) != name)
    return {};
  const char16_t* const character = glyph_list::kCharacters + low;
  const std::size_t sequence = *character - kFirstSequence;
  return *character >= kFirstSequence && sequence < std::size(glyph_list::kSequences)
             ? glyph_list::kSequences[sequence]
             : std::u16string_view(character, 1);
}

std::uint32_t character_of_glyph(std::string_view name) {
  const StandardGlyph* const end = kStandardGlyphs + kStandardGlyphCount;
  const StandardGlyph* const found = std::lower_bound(
      kStandardGlyphs, end, name, [](const StandardGlyph& row, std::string_view key) { return row.name < key; });
  if (found != end && found->name == name)
    return found->character;
  if (const std::u16string_view listed = listed_text_of_glyph(name); listed.size() == 1)
    return listed[0];
  const std::uint32_t number = hex_behind(name, "uni", 4, 4);
  return number != 0 ? number : hex_behind(name, "u", 4, 6);
}

const StandardGlyph* glyph_of_character(std::uint32_t character) {
  for (int i = 0; i < kStandardGlyphCount; ++i) {
    if (kStandardGlyphs[i].character == character)
      return &kStandardGlyphs[i];
  }
  return nullptr;
}

}  // namespace sheaf
