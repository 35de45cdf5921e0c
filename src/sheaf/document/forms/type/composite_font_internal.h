// A composite font that the document names for its fields (ISO 32000-1, 9.7): embedded, with codes of two bytes that
// are its CIDs, and a map that says what text they stand for, read backwards.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"

class CPDFDictionary;
class CPDFXRefTable;

namespace sheaf {

class CompositeFont : public QVHeapObject<CompositeFont> {
public:
  CompositeFont() = default;
  CompositeFont(const CompositeFont&) = delete;
  CompositeFont& operator=(const CompositeFont&) = delete;

  /// Reads a font dictionary. False when no text can be set in it.
  bool load(CPDFXRefTable& table, const CPDFDictionary& font);
  /// The code of a character; -1 when the font has none.
  int code_of(std::uint32_t character) const;
  /// Thousandths of the em.
  int width(int code) const;

  CompositeFont* next = nullptr;  ///< For the one who owns several.

private:
  struct Code {
    std::uint32_t character;
    std::uint32_t code;
  };

  bool read_codes(CPDFXRefTable& table, const CPDFDictionary& font);
  void read_widths(CPDFXRefTable& table, const CPDFDictionary& descendant);

  GrowArray<Code> codes_;            // by character
  GrowArray<std::uint16_t> widths_;  // by code, as far as any is given
  int default_width_ = 1000;
};

}  // namespace sheaf
