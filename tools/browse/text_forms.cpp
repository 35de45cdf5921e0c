// Bytes go into the page as characters, so that JSON can hold them.
#include "browse/text_forms.h"

#include "sheaf/base/utf.h"

namespace sheaf::tool {

// Bytes as characters of the same number.
std::string latin_text(const std::string& bytes) {
  std::string text;
  for (const char c : bytes) {
    char character[kMostUtf8Bytes];
    text.append(character, put_utf8(character, static_cast<unsigned char>(c)));
  }
  return text;
}

}  // namespace sheaf::tool
