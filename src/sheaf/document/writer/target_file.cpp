// Printing of objects and of the section (ISO 32000-1, 7.5.4, 7.5.8).
#include "sheaf/document/writer/target_file.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/writer/deflater.h"
#include "sheaf/object/array.h"
#include "sheaf/object/coding_para.h"
#include "sheaf/object/stream_rec.h"
#include "sheaf/save/stored_print.h"
#include "sheaf/xref/pdf_header.h"

namespace sheaf {

namespace {

constexpr TargetEntry kFreeEntry{0, TargetEntry::kFree};
// A gap of more free numbers than this begins a new subsection.
constexpr std::size_t kMostGap = 32;
constexpr unsigned kMostWidth = 9;
constexpr unsigned kUp = 2;  // the PNG filter of each row
constexpr int kUpPredictor = 12;
constexpr int kLevel = 9;

unsigned bytes_for(std::uint32_t value) {
  return static_cast<unsigned>((std::bit_width(value) + 7) / 8);
}

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
  if (!print_stored(table, obj, &out_, para))
    return false;
  set_place(num, place);
  return true;
}

void TargetFile::put_stream(CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num,
                            CPDFEncrypt* enc) {
  Freed<CPDFObj> obj;
  CQVStreamMemFix view;
  auto* const rec = new (std::nothrow) CPDFStreamRec;
  if (rec == nullptr || size > INT32_MAX) {
    delete rec;
    failed_ = true;
    return;
  }
  obj.take_stream(rec);
  std::swap(rec->dict, dict);
  view.Open(data, static_cast<int>(size));
  rec->source = size != 0 ? &view : nullptr;
  rec->length = static_cast<std::int32_t>(size);
  rec->plain = 1;
  set_place(num, position());
  PDF_ENC_PARA para{num, 0, 1, enc};
  obj.write(&out_, &para);
}

void TargetFile::set_member(std::int32_t num, std::int32_t holder, std::int32_t index) {
  entries_[static_cast<std::size_t>(num)] = {static_cast<std::uint32_t>(holder), static_cast<std::uint32_t>(index)};
}

void TargetFile::set_place(std::int32_t num, std::uint32_t place) {
  entries_[static_cast<std::size_t>(num)] = {place, TargetEntry::kInFile};
}

// The next stretch of entries behind `run`, with small gaps in it. False when there is none.
bool TargetFile::next_run(Run& run) const {
  std::size_t at = run.end;
  while (at < entries_.size() && entries_[at].index == TargetEntry::kFree && at != 0)
    ++at;
  if (at >= entries_.size())
    return false;
  run = {at, at + 1};
  for (++at; at < entries_.size() && at - run.end < kMostGap; ++at) {
    if (entries_[at].index != TargetEntry::kFree)
      run.end = at + 1;
  }
  return true;
}

void TargetFile::put_classic_section(CPDFDictionary& trailer) {
  const std::uint32_t section = position();
  char line[32];
  out_.text("xref\n");
  for (Run run{0, 0}; next_run(run);) {
    std::snprintf(line, sizeof(line), "%zu %zu\n", run.first, run.end - run.first);
    out_.text(line);
    for (std::size_t num = run.first; num < run.end; ++num) {
      const bool in_file = entries_[num].index == TargetEntry::kInFile;
      std::snprintf(line, sizeof(line), "%010u %05d %c \n", in_file ? entries_[num].place : 0, in_file ? 0 : 65535,
                    in_file ? 'n' : 'f');
      out_.text(line);
    }
  }
  out_.text("trailer\n");
  trailer.set_item_int("Size", static_cast<int>(entries_.size()));
  CPDFObj value{};
  value.tag = kTagDict;
  value.value = reinterpret_cast<std::uintptr_t>(&trailer);  // borrowed, not released
  value.write(&out_, nullptr);
  out_.text("\n");
  put_end(section);
}

void SectionRows::fill(unsigned char* row, const TargetEntry& entry) const {
  const bool is_free = entry.index == TargetEntry::kFree;
  const bool in_file = entry.index == TargetEntry::kInFile;
  row[0] = is_free ? 0 : in_file ? 1 : 2;
  const auto put = [&row](unsigned at, unsigned width, std::uint32_t value) {
    for (unsigned i = 0; i < width; ++i)
      row[at + i] = static_cast<unsigned char>(value >> (8 * (width - 1 - i)));
  };
  put(1, place_width, is_free ? 0 : entry.place);
  put(1 + place_width, index_width, is_free || in_file ? 0 : entry.index);
}

void TargetFile::put_section_stream(CPDFDictionary& trailer, std::int32_t num) {
  const std::uint32_t section = position();
  if (!reserve(num + 1)) {
    failed_ = true;
    return;
  }
  set_place(num, section);
  std::uint32_t last_index = 0;
  std::uint32_t last_place = section;
  for (const TargetEntry& entry : entries_) {
    if (entry.index < TargetEntry::kInFile)
      last_index = std::max(last_index, entry.index);
    last_place = std::max(last_place, entry.place);
  }
  const SectionRows rows{bytes_for(last_place), bytes_for(last_index)};
  Deflater deflater(kLevel);
  Cleared<CPDFArray> index;
  unsigned char row[kMostWidth];
  unsigned char above[kMostWidth] = {};
  unsigned char line[1 + kMostWidth] = {kUp};
  for (Run run{0, 0}; next_run(run);) {
    index.append_int(static_cast<int>(run.first));
    index.append_int(static_cast<int>(run.end - run.first));
    for (std::size_t at = run.first; at < run.end; ++at) {
      rows.fill(row, entries_[at]);
      for (unsigned i = 0; i < rows.width(); ++i)
        line[1 + i] = static_cast<unsigned char>(row[i] - above[i]);
      std::memcpy(above, row, rows.width());
      deflater.add(line, 1 + rows.width());
    }
  }
  if (!deflater.finish()) {
    failed_ = true;
    return;
  }
  trailer.set_item_name("Type", "XRef");
  trailer.set_item_int("Size", static_cast<int>(entries_.size()));
  if (index.count != 2)
    trailer.set_item_arr("Index", &index);
  Cleared<CPDFArray> widths;
  for (const unsigned width : {1u, rows.place_width, rows.index_width})
    widths.append_int(static_cast<int>(width));
  trailer.set_item_arr("W", &widths);
  Cleared<CPDFDictionary> parms;
  parms.set_item_int("Predictor", kUpPredictor);
  parms.set_item_int("Columns", static_cast<int>(rows.width()));
  trailer.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  trailer.set_item_dict("DecodeParms", &parms);
  put_stream(trailer, deflater.data(), deflater.size(), num, nullptr);  // a section is never encrypted
  put_end(section);
}

void TargetFile::put_end(std::uint32_t section) {
  out_.text("startxref\n");
  out_.decimal(section);
  out_.text("\n%%EOF\n");
}

bool TargetFile::finish() {
  out_.settle();
  return !failed_ && !out_.failed() && out_.GetPos() - start_ <= static_cast<long long>(UINT32_MAX);
}

}  // namespace sheaf
