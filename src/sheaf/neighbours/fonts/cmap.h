// Character maps (ISO 32000-1, 9.7.5 and 9.10.3): from the codes of a string to CIDs, and from codes
// to text. Both are read from map files or from streams of a document, may build on another map,
// and are shared: a map does not change once it is handed out, and its count is safe to use from
// several threads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/neighbours/fonts/code_ranges.h"
#include "sheaf/neighbours/fonts/codespaces.h"

class CPDFCMapResources;
class CPDFXRefTable;

namespace sheaf {

struct CMapContents;

}  // namespace sheaf

struct CPDFObj;

/// What a map says about itself. Strings are truncated to fit; empty means not stated.
struct PDF_CMAP_INFO {
  char name[128];     ///< "CMapName".
  char registry[64];  ///< Of "CIDSystemInfo", as are the next two.
  char ordering[64];
  std::int32_t supplement;
  std::int32_t wmode;  ///< 0 horizontal, 1 vertical.
};

/// What both kinds of maps have in common.
class CPDFSharedCMap {
public:
  /// Maps that build on one another, the first one included.
  static constexpr int kMostChain = 8;

  CPDFSharedCMap() = default;
  CPDFSharedCMap(const CPDFSharedCMap&) = delete;
  CPDFSharedCMap& operator=(const CPDFSharedCMap&) = delete;
  virtual ~CPDFSharedCMap() = default;

  std::atomic<std::int32_t> ref_count = 0;  ///< One for every hand-out.

  const PDF_CMAP_INFO& info() const { return info_; }
  bool is_vertical() const { return info_.wmode != 0; }

  /// Takes the first code off the `len` bytes at `text`. The result is how many bytes it takes up, 0
  /// only when `len` is below 1; `valid` is false for a code outside of the map's codespace. The
  /// text's end may cut a code short. Allocates nothing. ISO 32000-1, 9.7.6.2 and 9.7.6.3.
  int next_code(const std::uint8_t* text, int len, std::uint32_t& code, bool& valid) const {
    return spaces_.next(text, len, code, valid);
  }

  /// Gives up one reference; the map goes with the last one. Accepts null.
  static void release(CPDFSharedCMap* map);

protected:
  /// Takes what the contents say about the map itself, and takes over a reference to `base`, whose
  /// codes hold where this map has none; null for no base. A base that would make the chain too long
  /// is given back and not used.
  void set_up(const sheaf::CMapContents& contents, CPDFSharedCMap* base);

  PDF_CMAP_INFO info_{};
  sheaf::Codespaces spaces_;
  CPDFSharedCMap* base_ = nullptr;  // one reference is held
  int chain_ = 1;

private:
  friend class CPDFCMapResources;
  CPDFCMapResources* owner_ = nullptr;  // lists this map; null for a map of a document
};

/// From character codes to CIDs.
class CPDFCMap : public CPDFSharedCMap {
public:
  /// Reads a map by itself: what a `usecmap` names is not looked for. The caller owns one reference.
  /// Null when there is nothing of a map in the bytes, or no memory.
  static CPDFCMap* parse(const void* bytes, std::size_t len);
  /// A map of what was parsed; takes over the reference to `base`, which may be null, even on failure.
  static CPDFCMap* make(sheaf::CMapContents& contents, CPDFCMap* base);
  /// Codes of two bytes that are the CIDs, when `name` is "Identity-H" or "Identity-V"; else null.
  static CPDFCMap* make_identity(const char* name);
  /// The map that a font's "Encoding" names: a name, through the table's cache, or a stream
  /// with its "UseCMap". The caller owns one reference. Null for a font without.
  static CPDFCMap* load(CPDFXRefTable& table, const CPDFObj* value);

  /// The CID of `code` of `bytes` bytes: as mapped, else as the notdef ranges say,
  /// else 0. Allocates nothing.
  std::uint32_t cid_of(std::uint32_t code, int bytes) const;
  /// Whether the code is mapped, and not only stood in for.
  bool has_code(std::uint32_t code, int bytes) const;
  /// Takes the first code off `text` as `next_code` does, and gives its CID.
  int next_cid(const std::uint8_t* text, int len, std::uint32_t& code, std::uint32_t& cid) const;

private:
  std::uint32_t notdef_of(std::uint32_t code, int bytes) const;
  const CPDFCMap* next_map() const { return static_cast<const CPDFCMap*>(base_); }

  sheaf::CodeRanges cids_;
  sheaf::CodeRanges notdefs_;
};

/// From character codes to text.
class CPDFCMapToUnicode : public CPDFSharedCMap {
public:
  /// No text of one code is longer.
  static constexpr int kMostUnits = 256;

  /// As CPDFCMap::parse; null also when the map has no text for any code.
  static CPDFCMapToUnicode* parse(const void* bytes, std::size_t len);
  static CPDFCMapToUnicode* make(sheaf::CMapContents& contents, CPDFCMapToUnicode* base);
  /// Codes of two bytes that are the characters: *Lenient:* files name these maps as "ToUnicode".
  static CPDFCMapToUnicode* make_identity(const char* name);
  /// The map that a font's "ToUnicode" names; as CPDFCMap::load.
  static CPDFCMapToUnicode* load(CPDFXRefTable& table, const CPDFObj* value);

  /// The text of `code` of `bytes` bytes as UTF-16 into `out`: at most `most` units, and their count;
  /// 0 when there is none. *Lenient:* a code that is not mapped at its length is looked for at
  /// the others, as the maps of fonts with one-byte codes are often written with two. Units
  /// can be single surrogates when a map makes a pair of two codes. Allocates nothing.
  int text_of(std::uint32_t code, int bytes, char16_t* out, int most) const;

private:
  const CPDFCMapToUnicode* next_map() const { return static_cast<const CPDFCMapToUnicode*>(base_); }
  int text_at_length(std::uint32_t code, int bytes, char16_t* out, int most) const;

  sheaf::CodeRanges texts_;
  sheaf::GrowArray<char16_t> pool_;  // texts that are more than one character: see TextPool
};
