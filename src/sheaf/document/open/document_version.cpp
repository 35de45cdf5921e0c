// The version of a document, from its header and its catalogue.
#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/chars.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/open/document_opener_internal.h"

namespace sheaf {

void DocumentOpener::find_header() {
  constexpr unsigned kHeaderWindow = 1024;  // the header may be anywhere in the first bytes
  char window[kHeaderWindow + 1];
  stream_.SetPos(CQVStream::STR_SEEK_SET, 0);
  const unsigned len = std::min(stream_.Read(window, kHeaderWindow), kHeaderWindow);
  window[len] = 0;
  const char* const end = window + len;
  constexpr std::string_view kMark = "%PDF-";
  const std::size_t found = std::string_view(window, len).find(kMark);
  const bool has_header = found != std::string_view::npos;
  doc_.header_offset_ = has_header ? static_cast<long long>(found) : 0;
  doc_.version_[0] = 0;
  if (!has_header) {
    add_repair("header", 0, 0, "no header in the first 1,024 bytes; read without one");
    return;
  }
  std::size_t count = 0;
  for (const char* at = window + found + kMark.size();
       at < end && count + 1 < sizeof(doc_.version_) && (is_digit(*at) || *at == '.'); ++at)
    doc_.version_[count++] = *at;
  doc_.version_[count] = 0;
}

// The catalogue may name a newer version than the header (ISO 32000-1, 7.7.2).
void DocumentOpener::read_catalog_version() {
  Freed<CPDFObj> catalog = table_.catalog();
  const CPDFDictionary* dict = catalog.as_dict();
  Freed<CPDFObj> version = table_.value(dict, "Version");
  const char* name = version.as_name();
  if (name == nullptr || std::strlen(name) >= sizeof(doc_.version_) || std::strcmp(name, doc_.version_) <= 0)
    return;
  std::memcpy(doc_.version_, name, std::strlen(name) + 1);
}

}  // namespace sheaf
