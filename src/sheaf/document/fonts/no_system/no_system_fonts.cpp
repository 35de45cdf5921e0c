// A build without fonts finds none.
#include "sheaf/document/fonts/system_fonts.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"

namespace sheaf {

SystemFonts::~SystemFonts() = default;

bool SystemFonts::add(const char*) {
  return false;
}
bool SystemFonts::add_only(const char*) {
  return false;
}
std::size_t SystemFonts::count() {
  return 0;
}
CPDFFontType0* SystemFonts::made(std::size_t, bool) const {
  return nullptr;
}
int SystemFonts::find(const std::uint32_t*, std::size_t, const FontTraits&) {
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
