// A FreeType face with a library and a memory handler of its own, so that faces share no state.
#include "sheaf/neighbours/fonts/programs/ft_font.h"

#include <algorithm>

#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/ft_outline_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_parser.h"

#include FT_ADVANCES_H
#include FT_CID_H
#include FT_MODULE_H
#include FT_SYSTEM_H
#include FT_TRUETYPE_TABLES_H

using namespace sheaf;

namespace {

constexpr std::uint32_t kSymbolBase = 0xF000;  // where symbol fonts keep their characters
constexpr std::uint32_t kSymbolCount = 0x100;
constexpr int kFaceBits = 0xFFFF;
constexpr int kInstanceShift = 16;

// Widespread fonts have vertical metrics that put glyphs a whole em too low: an origin that is not
// about the top of the em box is ignored.
constexpr int kMostEms = 4;

// The rasteriser's memory comes from the library's heap, so that an application's own heap and the
// tests' counting one see it.
void* heap_alloc(FT_Memory, long size) {
  return QVAlloc(static_cast<std::size_t>(size));
}

void heap_free(FT_Memory, void* block) {
  QVFree(block);
}

void* heap_realloc(FT_Memory, long, long size, void* block) {
  return QVRealloc(block, static_cast<std::size_t>(size));
}

FT_MemoryRec_ heap_memory{nullptr, heap_alloc, heap_free, heap_realloc};

// A count of 0 asks whether the position can be reached: 0 says yes.
unsigned long read_font(FT_Stream stream, unsigned long offset, unsigned char* to, unsigned long count) {
  auto* const from = static_cast<CQVStream*>(stream->descriptor.pointer);
  if (count == 0)
    return offset > stream->size;
  from->SetPos(CQVStream::STR_SEEK_SET, static_cast<long long>(offset));
  return from->Read(to, static_cast<unsigned>(count));
}

FT_Face face_of(const CQVFTFont& font) {
  return static_cast<FT_Face>(font.face_handle);
}

}  // namespace

CQVFTFont::~CQVFTFont() {
  if (face_handle != nullptr)
    FT_Done_Face(static_cast<FT_Face>(face_handle));
  if (library_ != nullptr)
    FT_Done_Library(static_cast<FT_Library>(library_));
  QVFree(input_);
}

CQVFTFont* CQVFTFont::open(const char* path, int index) {
  auto* font = new CQVFTFont;
  if (font == nullptr)
    return nullptr;
  font->file_.Open(path);
  if (font->file_.file != nullptr && font->start(&font->file_, index))
    return font;
  delete font;
  return nullptr;
}

CQVFTFont* CQVFTFont::open(CQVStream* stream, int index) {
  auto* font = new CQVFTFont;
  if (font != nullptr && font->start(stream, index))
    return font;
  delete font;
  return nullptr;
}

// A library of the face's own makes faces independent of one another: no lock is needed between
// documents of different threads.
bool CQVFTFont::start(CQVStream* stream, int index) {
  CQVTTParser parser;
  if (index < 0 || parser.TT_Open(stream) != 0 || parser.TT_Select(static_cast<std::uint32_t>(index & kFaceBits)) != 0)
    return false;
  instance_ = index >> kInstanceShift;
  FT_Library library = nullptr;
  if (FT_New_Library(&heap_memory, &library) != 0)
    return false;
  library_ = library;
  FT_Add_Default_Modules(library);
  auto* input = static_cast<FT_Stream>(QVCalloc(1, sizeof(FT_StreamRec)));
  if (input == nullptr)
    return false;
  input_ = input;
  stream_ = stream;
  input->size = static_cast<unsigned long>(stream->GetLen());
  input->descriptor.pointer = stream;
  input->read = read_font;
  FT_Open_Args args{};
  args.flags = FT_OPEN_STREAM;
  args.stream = input;
  FT_Face face = nullptr;
  if (FT_Open_Face(library, &args, index, &face) != 0)
    return false;
  face_handle = face;
  if (face->charmap == nullptr)
    symbol_map_ = FT_Select_Charmap(face, FT_ENCODING_MS_SYMBOL) == 0;
  return FT_IS_SFNT(face) && FT_IS_SCALABLE(face) && face->num_glyphs > 0;
}

void CQVFTFont::set_style(int bold, int italic, int vertical) {
  bold_ = bold != 0;
  italic_ = italic != 0;
  vertical_ = vertical != 0;
}

std::uint32_t CQVFTFont::glyph_index(std::uint32_t character) {
  std::uint32_t glyph = FT_Get_Char_Index(face_of(*this), character);
  if (glyph == 0 && symbol_map_ && character < kSymbolCount)
    glyph = FT_Get_Char_Index(face_of(*this), kSymbolBase + character);
  return glyph < glyph_count() ? glyph : 0;
}

std::uint32_t CQVFTFont::glyph_count() const {
  return static_cast<std::uint32_t>(std::clamp<long>(face_of(*this)->num_glyphs, 0, UINT16_MAX));
}

int CQVFTFont::units_per_em() const {
  return std::max<int>(face_of(*this)->units_per_EM, 1);
}

int CQVFTFont::advance(std::uint32_t glyph) {
  FT_Fixed advance = 0;
  constexpr FT_Int32 kFromTable = FT_LOAD_NO_SCALE | static_cast<FT_Int32>(FT_ADVANCE_FLAG_FAST_ONLY);
  if (instance_ == 0)
    return FT_Get_Advance(face_of(*this), glyph, kFromTable, &advance) == 0 ? static_cast<int>(advance) : 0;
  return load_glyph(glyph) ? static_cast<int>(face_of(*this)->glyph->metrics.horiAdvance) : 0;
}

bool CQVFTFont::has_vertical_metrics() const {
  return FT_HAS_VERTICAL(face_of(*this));
}

bool CQVFTFont::vertical_metrics(std::uint32_t glyph, int& advance, int& origin_y) {
  FT_Face const face = face_of(*this);
  if (!has_vertical_metrics() || !load_glyph(glyph))
    return false;
  const FT_Glyph_Metrics& metrics = face->glyph->metrics;
  const FT_Pos em = units_per_em();
  const FT_Pos down = metrics.vertAdvance;
  const FT_Pos origin = metrics.vertBearingY + metrics.horiBearingY;
  if (down < 0 || (down == 0 && !has_true_zeros()) || down > em * kMostEms || origin * 2 < em || origin * 4 > em * 5)
    return false;
  advance = static_cast<int>(down);
  origin_y = static_cast<int>(origin);
  return true;
}

// Glyphs that move nothing on are marks, unless the font says it of letters too.
bool CQVFTFont::has_true_zeros() {
  if (zeros_ == Zeros::kUnknown) {
    zeros_ = Zeros::kOfMarks;
    for (const char32_t letter : {U'\u4E00', U'\u3042', U'n'}) {
      const std::uint32_t glyph = glyph_index(letter);
      if (glyph != 0 && load_glyph(glyph) && face_of(*this)->glyph->metrics.vertAdvance == 0)
        zeros_ = Zeros::kOfLetters;
    }
  }
  return zeros_ == Zeros::kOfMarks;
}

bool CQVFTFont::needs_instructions() const {
  return FT_IS_TRICKY(face_of(*this));
}

// The lowest four bits are a choice of one; a font that has several of them set means the most that they allow.
PDF_FONT_LICENCE CQVFTFont::licence() const {
  constexpr unsigned kChoice = 0xF;
  const unsigned flags = FT_Get_FSType_Flags(face_of(*this));
  if ((flags & kChoice) == FT_FSTYPE_RESTRICTED_LICENSE_EMBEDDING)
    return PDF_FONT_LICENCE::kRestricted;
  return (flags & FT_FSTYPE_BITMAP_EMBEDDING_ONLY) != 0 ? PDF_FONT_LICENCE::kBitmapsOnly : PDF_FONT_LICENCE::kEmbed;
}

bool CQVFTFont::allows_subsets() const {
  return (FT_Get_FSType_Flags(face_of(*this)) & FT_FSTYPE_NO_SUBSETTING) == 0;
}

bool CQVFTFont::is_cid_keyed() const {
  FT_Bool is_keyed = 0;
  return FT_Get_CID_Is_Internally_CID_Keyed(face_of(*this), &is_keyed) == 0 && is_keyed != 0;
}

bool CQVFTFont::has_numbers_for_cids() const {
  if (!is_cid_keyed())
    return true;
  for (std::uint32_t glyph = 0; glyph < glyph_count(); ++glyph) {
    FT_UInt cid = 0;
    if (FT_Get_CID_From_Glyph_Index(face_of(*this), glyph, &cid) != 0 || cid != glyph)
      return false;
  }
  return true;
}

std::uint8_t* CQVFTFont::load_table(std::uint32_t tag, std::uint32_t& length) {
  FT_ULong size = 0;
  length = 0;
  if (FT_Load_Sfnt_Table(face_of(*this), tag, 0, nullptr, &size) != 0 || size == 0 || size > INT32_MAX)
    return nullptr;
  HeapBlock<std::uint8_t> block(static_cast<std::uint8_t*>(QVAlloc(size)));
  if (!block || FT_Load_Sfnt_Table(face_of(*this), tag, 0, block.get(), &size) != 0)
    return nullptr;
  length = static_cast<std::uint32_t>(size);
  return block.release();
}
