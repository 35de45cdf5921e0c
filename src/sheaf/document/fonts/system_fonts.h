// Fonts of the system by name, in the order in which they are asked for characters. A face is opened for the question;
// a font becomes part of the document, as a subset, when a character needs it. A build without fonts has none.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"
#include "sheaf/object/object.h"

class CPDFFontType0;
class CPDFXRefTable;
class CQVFTFont;

namespace sheaf {

enum class FontFamily : int { kSans, kSerif, kMono };

/// Why a font that characters need does not become part of the document.
enum class FontRefusal : int {
  kNone,
  kOutlines,     ///< Its outlines cannot be embedded.
  kRestricted,   ///< Its licence does not allow embedding.
  kBitmapsOnly,  ///< Its licence allows its bitmaps to be embedded, not its outlines.
};

/// Which font of the system comes nearest.
struct FontTraits {
  FontFamily family = FontFamily::kSans;
  bool bold = false;
};

class SystemFonts : public QVHeapObject<SystemFonts> {
public:
  /// What holds for all fonts that are made.
  struct Options {
    bool italic = false;
    bool vertical = false;
    bool embeds = true;
    bool insists = false;  ///< Embeds fonts also where their licence says no: the caller has another one.
  };

  explicit SystemFonts(CPDFXRefTable& table) : table_(table) {}
  SystemFonts(CPDFXRefTable& table, const Options& options) : table_(table), options_(options) {}
  SystemFonts(const SystemFonts&) = delete;
  SystemFonts& operator=(const SystemFonts&) = delete;
  ~SystemFonts();

  /// A font to ask before the common ones: a family, full or PostScript name, copied. False when there is none
  /// of that name.
  bool add(const char* name);
  /// A font to ask after those added in this way before; the common ones are then not asked at all.
  bool add_only(const char* name);
  /// How many fonts there are to ask.
  std::size_t count();
  /// The first font that has all of these characters, those of the family before others; -1 when no font has them.
  int find(const std::uint32_t* characters, std::size_t count, const FontTraits& traits);
  /// The name that font `index` of `count` was asked for by.
  const char* name(std::size_t index) const { return entries_[index].name; }
  /// Why it was not embedded though characters needed it.
  FontRefusal refusal(std::size_t index) const { return entries_[index].refusal; }
  /// Font `index` of `count` in that weight as `find` made it, or null. The table's.
  CPDFFontType0* made(std::size_t index, bool bold) const;
  /// The same for a result of `find`.
  CPDFFontType0* font(int found) const { return made(index_of(found), found % 2 != 0); }
  static std::size_t index_of(int found) { return static_cast<std::size_t>(found) / 2; }
  /// The face of a result of `find`, and whether it has a character. Borrowed.
  CQVFTFont& face(int found) const { return *entries_[index_of(found)].face; }
  bool has(int found, std::uint32_t character) const;
  /// The two-byte code of a character that the font has. Its glyph is embedded by the next save.
  unsigned code_of(int font, std::uint32_t character);
  /// Thousandths of the em.
  int width(int font, unsigned code);
  /// The font object, for resources.
  PDF_REF ref(int font) const;

  static constexpr double kAscent = 0.76;  ///< In ems; what suits the common fonts.
  static constexpr double kDescent = -0.24;

private:
  struct Entry {
    char* name;  // owned
    FontFamily family;
    bool any_family;
    CQVFTFont* face;          // the table's
    CPDFFontType0* fonts[2];  // upright weight and bold; the table's
    FontRefusal refusal;
  };

  void open();
  bool append(const char* name, FontFamily family, bool any_family);
  bool has_all(const Entry& entry, const std::uint32_t* characters, std::size_t count) const;
  bool need(Entry& entry, bool bold);
  FontRefusal refusal_of(const Entry& entry) const;

  CPDFXRefTable& table_;
  Options options_;
  GrowArray<Entry> entries_;
  bool is_open_ = false;
};

}  // namespace sheaf
