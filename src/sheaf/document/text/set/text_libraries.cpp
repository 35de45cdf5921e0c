// Finds the functions of each library once.
#include "sheaf/document/text/set/text_libraries_internal.h"

#include "sheaf/base/lazy_library.h"

namespace sheaf {

namespace {

ShaperCalls find_shaper() {
  ShaperCalls found{};
  [[maybe_unused]] void* const library = load_library("libharfbuzz.so.0");
  found.complete = SHEAF_CALL(library, found.blob_create, hb_blob_create) &&
                   SHEAF_CALL(library, found.buffer_add_utf32, hb_buffer_add_utf32) &&
                   SHEAF_CALL(library, found.buffer_allocation_successful, hb_buffer_allocation_successful) &&
                   SHEAF_CALL(library, found.buffer_clear_contents, hb_buffer_clear_contents) &&
                   SHEAF_CALL(library, found.buffer_create, hb_buffer_create) &&
                   SHEAF_CALL(library, found.buffer_destroy, hb_buffer_destroy) &&
                   SHEAF_CALL(library, found.buffer_get_glyph_infos, hb_buffer_get_glyph_infos) &&
                   SHEAF_CALL(library, found.buffer_get_glyph_positions, hb_buffer_get_glyph_positions) &&
                   SHEAF_CALL(library, found.buffer_set_direction, hb_buffer_set_direction) &&
                   SHEAF_CALL(library, found.buffer_set_language, hb_buffer_set_language) &&
                   SHEAF_CALL(library, found.buffer_set_script, hb_buffer_set_script) &&
                   SHEAF_CALL(library, found.face_create_for_tables, hb_face_create_for_tables) &&
                   SHEAF_CALL(library, found.face_destroy, hb_face_destroy) &&
                   SHEAF_CALL(library, found.face_set_upem, hb_face_set_upem) &&
                   SHEAF_CALL(library, found.font_create, hb_font_create) &&
                   SHEAF_CALL(library, found.font_destroy, hb_font_destroy) &&
                   SHEAF_CALL(library, found.font_get_glyph_h_advance, hb_font_get_glyph_h_advance) &&
                   SHEAF_CALL(library, found.font_get_glyph_v_advance, hb_font_get_glyph_v_advance) &&
                   SHEAF_CALL(library, found.font_get_glyph_v_origin, hb_font_get_glyph_v_origin) &&
                   SHEAF_CALL(library, found.font_get_nominal_glyph, hb_font_get_nominal_glyph) &&
                   SHEAF_CALL(library, found.font_set_var_named_instance, hb_font_set_var_named_instance) &&
                   SHEAF_CALL(library, found.language_from_string, hb_language_from_string) &&
                   SHEAF_CALL(library, found.ot_font_set_funcs, hb_ot_font_set_funcs) &&
                   SHEAF_CALL(library, found.shape, hb_shape) &&
                   SHEAF_CALL(library, found.unicode_funcs_get_default, hb_unicode_funcs_get_default) &&
                   SHEAF_CALL(library, found.unicode_script, hb_unicode_script);
  return found;
}

DirectionCalls find_directions() {
  DirectionCalls found{};
  [[maybe_unused]] void* const library = load_library("libfribidi.so.0");
  found.complete = SHEAF_CALL(library, found.get_bidi_types, fribidi_get_bidi_types) &&
                   SHEAF_CALL(library, found.get_bracket_types, fribidi_get_bracket_types) &&
                   SHEAF_CALL(library, found.get_par_embedding_levels, fribidi_get_par_embedding_levels_ex);
  return found;
}

BreakCalls find_breaks() {
  BreakCalls found{};
  [[maybe_unused]] void* const library = load_library("libunibreak.so.1");
  decltype(&init_linebreak) start = nullptr;
  found.complete =
      SHEAF_CALL(library, found.set_linebreaks, set_linebreaks_utf32) && SHEAF_CALL(library, start, init_linebreak);
  if (found.complete)
    start();
  return found;
}

}  // namespace

const ShaperCalls& shaper() {
  static const ShaperCalls found = find_shaper();
  return found;
}

const DirectionCalls& directions() {
  static const DirectionCalls found = find_directions();
  return found;
}

const BreakCalls& breaks() {
  static const BreakCalls found = find_breaks();
  return found;
}

}  // namespace sheaf
