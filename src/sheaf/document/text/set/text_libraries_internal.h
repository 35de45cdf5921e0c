// The libraries that know scripts: HarfBuzz shapes, FriBidi orders, libunibreak breaks lines. A build may load them
// when text is first set.
#pragma once

#include <fribidi/fribidi.h>
#include <hb-ot.h>
#include <hb.h>
#include <linebreak.h>

namespace sheaf {

struct ShaperCalls {
  decltype(&hb_blob_create) blob_create;
  decltype(&hb_buffer_add_utf32) buffer_add_utf32;
  decltype(&hb_buffer_allocation_successful) buffer_allocation_successful;
  decltype(&hb_buffer_clear_contents) buffer_clear_contents;
  decltype(&hb_buffer_create) buffer_create;
  decltype(&hb_buffer_destroy) buffer_destroy;
  decltype(&hb_buffer_get_glyph_infos) buffer_get_glyph_infos;
  decltype(&hb_buffer_get_glyph_positions) buffer_get_glyph_positions;
  decltype(&hb_buffer_set_direction) buffer_set_direction;
  decltype(&hb_buffer_set_language) buffer_set_language;
  decltype(&hb_buffer_set_script) buffer_set_script;
  decltype(&hb_face_create_for_tables) face_create_for_tables;
  decltype(&hb_face_destroy) face_destroy;
  decltype(&hb_face_set_upem) face_set_upem;
  decltype(&hb_font_create) font_create;
  decltype(&hb_font_destroy) font_destroy;
  decltype(&hb_font_get_glyph_h_advance) font_get_glyph_h_advance;
  decltype(&hb_font_get_glyph_v_advance) font_get_glyph_v_advance;
  decltype(&hb_font_get_glyph_v_origin) font_get_glyph_v_origin;
  decltype(&hb_font_get_nominal_glyph) font_get_nominal_glyph;
  decltype(&hb_font_set_var_named_instance) font_set_var_named_instance;
  decltype(&hb_language_from_string) language_from_string;
  decltype(&hb_ot_font_set_funcs) ot_font_set_funcs;
  decltype(&hb_shape) shape;
  decltype(&hb_unicode_funcs_get_default) unicode_funcs_get_default;
  decltype(&hb_unicode_script) unicode_script;
  bool complete;
};

struct DirectionCalls {
  decltype(&fribidi_get_bidi_types) get_bidi_types;
  decltype(&fribidi_get_bracket_types) get_bracket_types;
  decltype(&fribidi_get_par_embedding_levels_ex) get_par_embedding_levels;
  bool complete;
};

struct BreakCalls {
  decltype(&set_linebreaks_utf32) set_linebreaks;
  bool complete;
};

const ShaperCalls& shaper();
/// Where one of these is missing, text runs from left to right, and lines end after spaces.
const DirectionCalls& directions();
const BreakCalls& breaks();

}  // namespace sheaf
