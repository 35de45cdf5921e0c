// Subsets of font programs: the outlines of the glyphs in use, under their own numbers.
#include <hb-subset.h>

#include "sheaf/base/heap.h"
#include "sheaf/base/lazy_library.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/fonts/programs/tt_bytes_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_composites_internal.h"
#include "sheaf/neighbours/fonts/programs/tt_writer.h"

using namespace sheaf;

namespace {

// What a viewer reads of an embedded CIDFontType2 program (ISO 32000-1, 9.9); the last three only
// where glyphs are made by their instructions.
constexpr std::uint32_t kKeptTables[] = {tt_tag("CFF "), tt_tag("glyf"), tt_tag("head"), tt_tag("hhea"),
                                         tt_tag("hmtx"), tt_tag("loca"), tt_tag("maxp")};
constexpr std::uint32_t kInstructionTables[] = {tt_tag("cvt "), tt_tag("fpgm"), tt_tag("prep")};

bool is_kept(std::uint32_t tag, bool keeps_instructions) {
  for (const std::uint32_t kept : kKeptTables) {
    if (tag == kept)
      return true;
  }
  for (const std::uint32_t kept : kInstructionTables) {
    if (tag == kept)
      return keeps_instructions;
  }
  return false;
}

struct SubsetterCalls {
  decltype(&hb_blob_create) blob_create;
  decltype(&hb_blob_destroy) blob_destroy;
  decltype(&hb_blob_get_data) blob_get_data;
  decltype(&hb_blob_reference) blob_reference;
  decltype(&hb_face_create_for_tables) face_create_for_tables;
  decltype(&hb_face_destroy) face_destroy;
  decltype(&hb_face_reference_blob) face_reference_blob;
  decltype(&hb_face_reference_table) face_reference_table;
  decltype(&hb_set_add) set_add;
  decltype(&hb_subset_input_create_or_fail) subset_input_create_or_fail;
  decltype(&hb_subset_input_destroy) subset_input_destroy;
  decltype(&hb_subset_input_glyph_set) subset_input_glyph_set;
  decltype(&hb_subset_input_set) subset_input_set;
  decltype(&hb_subset_input_set_flags) subset_input_set_flags;
  decltype(&hb_subset_or_fail) subset_or_fail;
  bool complete;
};

SubsetterCalls find_calls() {
  SubsetterCalls found{};
  [[maybe_unused]] void* const library = load_library("libharfbuzz-subset.so.0");
  found.complete = SHEAF_CALL(library, found.blob_create, hb_blob_create) &&
                   SHEAF_CALL(library, found.blob_destroy, hb_blob_destroy) &&
                   SHEAF_CALL(library, found.blob_get_data, hb_blob_get_data) &&
                   SHEAF_CALL(library, found.blob_reference, hb_blob_reference) &&
                   SHEAF_CALL(library, found.face_create_for_tables, hb_face_create_for_tables) &&
                   SHEAF_CALL(library, found.face_destroy, hb_face_destroy) &&
                   SHEAF_CALL(library, found.face_reference_blob, hb_face_reference_blob) &&
                   SHEAF_CALL(library, found.face_reference_table, hb_face_reference_table) &&
                   SHEAF_CALL(library, found.set_add, hb_set_add) &&
                   SHEAF_CALL(library, found.subset_input_create_or_fail, hb_subset_input_create_or_fail) &&
                   SHEAF_CALL(library, found.subset_input_destroy, hb_subset_input_destroy) &&
                   SHEAF_CALL(library, found.subset_input_glyph_set, hb_subset_input_glyph_set) &&
                   SHEAF_CALL(library, found.subset_input_set, hb_subset_input_set) &&
                   SHEAF_CALL(library, found.subset_input_set_flags, hb_subset_input_set_flags) &&
                   SHEAF_CALL(library, found.subset_or_fail, hb_subset_or_fail);
  return found;
}

const SubsetterCalls& calls() {
  static const SubsetterCalls found = find_calls();
  return found;
}

// The tables that a subset is made from. Each is loaded once and stays to the end: the subsetter
// keeps pointers into tables beyond its own hold on them.
class LoadedTables {
public:
  LoadedTables(const CQVTTParser& parser, const CQVTTCodesRec& codes) {
    GrowArray<LoadedTable> loaded;
    for (const PDF_TT_TABLE& table : parser.tables) {
      if (!is_kept(table.tag, codes.keeps_instructions != 0))
        continue;
      std::uint32_t length = 0;
      std::uint8_t* const block = parser.load(table.tag, length);
      if (block == nullptr || !loaded.push({table.tag, length, block})) {
        QVFree(block);
        is_complete_ = false;
      }
    }
    is_complete_ = is_complete_ && add_composites(loaded, codes);
    for (const LoadedTable& table : loaded) {
      hb_blob_t* const blob = calls().blob_create(reinterpret_cast<const char*>(table.block), table.length,
                                                  HB_MEMORY_MODE_WRITABLE, table.block, QVFree);
      if (!tables_.push({table.tag, blob})) {
        calls().blob_destroy(blob);
        is_complete_ = false;
      }
    }
  }
  LoadedTables(const LoadedTables&) = delete;
  LoadedTables& operator=(const LoadedTables&) = delete;
  ~LoadedTables() {
    for (const Table& table : tables_)
      calls().blob_destroy(table.blob);
  }

  bool is_complete() const { return is_complete_; }

  static hb_blob_t* give(hb_face_t*, hb_tag_t tag, void* context) {
    for (const Table& table : static_cast<const LoadedTables*>(context)->tables_) {
      if (table.tag == tag)
        return calls().blob_reference(table.blob);
    }
    return nullptr;
  }

private:
  struct Table {
    std::uint32_t tag;
    hb_blob_t* blob;
  };
  GrowArray<Table> tables_;
  bool is_complete_ = true;
};

void set_up(hb_subset_input_t* input, const CQVTTParser& parser, const CQVTTCodesRec& codes) {
  const bool keeps_instructions = codes.keeps_instructions != 0;
  unsigned flags = HB_SUBSET_FLAGS_NOTDEF_OUTLINE;
  if (codes.has_cids == 0)
    flags |= HB_SUBSET_FLAGS_RETAIN_GIDS;
  if (!keeps_instructions)
    flags |= HB_SUBSET_FLAGS_NO_HINTING;
  // Subroutines of CFF outlines would all be kept, whoever calls them.
  flags |= HB_SUBSET_FLAGS_DESUBROUTINIZE;
  calls().subset_input_set_flags(input, flags);
  hb_set_t* const glyphs = calls().subset_input_glyph_set(input);
  for (std::uint32_t i = 0; i < codes.count; ++i)
    calls().set_add(glyphs, codes.glyphs[i]);
  hb_set_t* const dropped = calls().subset_input_set(input, HB_SUBSET_SETS_DROP_TABLE_TAG);
  for (const PDF_TT_TABLE& table : parser.tables) {
    if (!is_kept(table.tag, keeps_instructions))
      calls().set_add(dropped, table.tag);
  }
}

}  // namespace

int CQVTTWriter::save_subset(CQVStream* out, const CQVTTCodesRec& codes) {
  if (!calls().complete)
    return 1;
  LoadedTables tables(parser_, codes);
  if (!tables.is_complete())
    return 1;
  hb_face_t* const source = calls().face_create_for_tables(LoadedTables::give, &tables, nullptr);
  const ScopeGuard free_source([source] { calls().face_destroy(source); });
  hb_subset_input_t* const input = calls().subset_input_create_or_fail();
  if (input == nullptr)
    return 1;
  const ScopeGuard free_input([input] { calls().subset_input_destroy(input); });
  set_up(input, parser_, codes);
  hb_face_t* const subset = calls().subset_or_fail(source, input);
  if (subset == nullptr)
    return 1;
  hb_blob_t* const program =
      has_cff_outlines() ? calls().face_reference_table(subset, tt_tag("CFF ")) : calls().face_reference_blob(subset);
  calls().face_destroy(subset);
  unsigned length = 0;
  const char* const bytes = calls().blob_get_data(program, &length);
  const bool written = length != 0 && out->Write(bytes, length) == length;
  calls().blob_destroy(program);
  return written ? 0 : 1;
}
