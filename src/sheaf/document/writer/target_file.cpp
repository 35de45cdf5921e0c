// Printing of objects, and of the section over all of them.
#include "sheaf/document/writer/target_file.h"

#include <algorithm>

#include "sheaf/document/writer/readable_print.h"
#include "sheaf/save/stored_print.h"
#include "sheaf/xref/pdf_header.h"

namespace sheaf {

namespace {

constexpr TargetEntry kFreeEntry{0, TargetEntry::kFree};

}  // namespace

TargetFile::TargetFile(CQVStream& out, CPDFEncrypt* enc) : out_(&out), enc_(enc), start_(out.GetPos()) {}

bool TargetFile::reserve(std::int32_t count) {
  const auto wanted = static_cast<std::size_t>(count);
  const std::size_t before = entries_.size();
  if (wanted <= before)
    return true;
  if (!entries_.resize(wanted))
    return false;
  std::fill(entries_.begin() + before, entries_.end(), kFreeEntry);
  return true;
}

void TargetFile::put_header(const char* version) {
  constexpr std::size_t kMajor = 5;
  constexpr std::size_t kMinor = 7;
  auto header = PDF_Header;
  header[kMajor] = static_cast<std::uint8_t>(version[0]);
  header[kMinor] = static_cast<std::uint8_t>(version[2]);
  out_.Write(header.data(), static_cast<unsigned>(header.size()));
}

bool TargetFile::put(CPDFXRefTable& table, CPDFObj& obj, std::int32_t num) {
  const std::uint32_t place = position();
  PDF_ENC_PARA para{num, 0, 1, enc_};
  if (!(readable_ && print_readable(table, obj, out_, num)) && !print_stored(table, obj, &out_, para))
    return false;
  set_place(num, place);
  return true;
}

void TargetFile::put_stream(CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num) {
  set_place(num, position());
  failed_ = !print_stream(out_, dict, data, size, num, enc_) || failed_;
}

void TargetFile::set_member(std::int32_t num, std::int32_t holder, std::int32_t index) {
  entries_[num] = {object_index(holder), static_cast<std::uint32_t>(index)};
}

void TargetFile::set_place(std::int32_t num, std::uint32_t place) {
  entries_[num] = {place, TargetEntry::kInFile};
}

void TargetFile::put_classic_section(CPDFDictionary& trailer) {
  const std::uint32_t section = position();
  TargetSection(entries_.begin(), 0, entries_.size()).print_classic(out_);
  trailer.set_item_int("Size", entries_.count());
  if (readable_) {
    out_.text("trailer\n");
    print_readable(trailer, out_);
    out_.text("\n");
  } else {
    print_trailer(out_, trailer);
  }
  print_section_end(out_, section);
}

void TargetFile::put_section_stream(CPDFDictionary& trailer, std::int32_t num) {
  const std::uint32_t section = position();
  if (!reserve(num + 1)) {
    failed_ = true;
    return;
  }
  set_place(num, section);
  trailer.set_item_int("Size", entries_.count());
  failed_ = !TargetSection(entries_.begin(), 0, entries_.size()).print_stream(out_, trailer, num) || failed_;
  print_section_end(out_, section);
}

bool TargetFile::finish() {
  out_.write_out();
  return !failed_ && !out_.failed() && out_.GetPos() - start_ <= static_cast<long long>(UINT32_MAX);
}

}  // namespace sheaf
