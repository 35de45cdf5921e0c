// A build without fonts finds none.
#include "sheaf/document/forms/type/system_fonts_internal.h"

namespace sheaf {

SystemFonts::~SystemFonts() = default;

bool SystemFonts::add(const char*) {
  return false;
}
int SystemFonts::find(const std::uint32_t*, std::size_t, const FontManner&) {
  return -1;
}
unsigned SystemFonts::code_of(int, std::uint32_t) {
  return 0;
}
int SystemFonts::width(int, unsigned) {
  return 0;
}
PDF_REF SystemFonts::ref(int) const {
  return {0, 0};
}

}  // namespace sheaf
