// Graphics state parameter dictionaries (ISO 32000-1, 8.4.5), and setters for one key of a state.
#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/neighbours/page/blend_mode.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kOpaque = 255;

QVFIX alpha_value(unsigned char alpha) {
  return fix_from_int(alpha) / kOpaque;
}

// Truncated towards zero. What does not fit becomes the outermost value, no number becomes 0.
QVFIX fix_from_float(float value) {
  constexpr float kLimit = 0x1p63f;
  const float scaled = value * static_cast<float>(kFixOne);
  if (scaled >= kLimit)
    return INT64_MAX;
  if (scaled < -kLimit)
    return INT64_MIN;
  return scaled == scaled ? static_cast<QVFIX>(scaled) : 0;
}

// Changes the state `ref` through a fresh copy; whatever is no dictionary stays as it is.
template <class Set>
void change_gstate(CPDFXRefTable& table, const PDF_REF& ref, const Set& set) {
  Freed<CPDFObj> state = table.object(ref);
  CPDFDictionary* const dict = state.as_dict();
  if (dict == nullptr)
    return;
  set(*dict);
  table.store_object(ref, state);
}

}  // namespace

PDF_REF CPDFXRefTable::new_gstate() {
  const HeapWatch watch;
  Cleared<CPDFDictionary> state;
  state.set_item_name(CPDFDictionary::sm_tag_type, CPDFDictionary::sm_tag_extgs);
  const PDF_REF ref{alloc_obj_num(), 0};
  store_dict(ref, &state);
  return watch.all_granted() ? ref : PDF_REF{0, 0};
}

void CPDFXRefTable::set_gstate_fill_alpha(const PDF_REF& ref, unsigned char alpha) {
  change_gstate(*this, ref, [alpha](CPDFDictionary& state) { state.set_item_real("ca", alpha_value(alpha)); });
}

void CPDFXRefTable::set_gstate_stroke_alpha(const PDF_REF& ref, unsigned char alpha) {
  change_gstate(*this, ref, [alpha](CPDFDictionary& state) { state.set_item_real("CA", alpha_value(alpha)); });
}

void CPDFXRefTable::set_gstate_stroke_dash(const PDF_REF& ref, const float* dash, int count, float phase) {
  Cleared<CPDFArray> dashes;
  for (int i = 0; dash != nullptr && i < count; ++i)
    dashes.append_real(fix_from_float(dash[i]));
  Cleared<CPDFArray> pattern;
  pattern.append_arr(&dashes);
  pattern.append_real(fix_from_float(phase));
  change_gstate(*this, ref, [&pattern](CPDFDictionary& state) { state.set_item_arr("D", &pattern); });
}

void CPDFXRefTable::set_gstate_bmode(const PDF_REF& ref, int mode) {
  change_gstate(*this, ref, [mode](CPDFDictionary& state) { state.set_item_name("BM", get_blend_name(mode)); });
}
