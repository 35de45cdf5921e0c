// Where a file says that its newest cross-reference section begins (ISO 32000-1, 7.5.5), and whether
// one begins there.
#pragma once

#include <cstdint>

class CQVStream;

namespace sheaf {

constexpr std::uint32_t kSectionReach = 1024;  ///< How far around a wrong offset a section is looked for.

/// The word "startxref" and the number after it.
struct SectionMark {
  long long position;  ///< Of the word itself.
  long long end = 0;   ///< Of the word.
  std::uint32_t offset = 0;
  bool has_number = false;
  bool is_cut = false;  ///< The file ends within the two.
};

/// The last mark before `mark.position`, looked for from there over zeros and junk: a save that was
/// cut short can have left a whole section of it after the old end. False when nothing was found.
bool find_section_mark(CQVStream& stream, SectionMark& mark);
/// Whether a cross-reference section begins at `offset`: the keyword, or the header of an object.
bool is_section_at(CQVStream& stream, std::uint32_t offset);
/// Whether the section at `offset` is whole, and the file ends within the word after it.
bool ends_within_mark(CQVStream& stream, std::uint32_t offset);
/// The place of the "xref" that is nearest to `offset`; `offset` itself when no "xref" is near.
std::uint32_t find_section_near(CQVStream& stream, std::uint32_t offset);

}  // namespace sheaf
