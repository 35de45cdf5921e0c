// Runs of entries; rows of a stream are the differences from the row above.
#include "sheaf/document/writer/target_section.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/writer/deflater.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

namespace {

// A gap of more free numbers than this begins a new subsection.
constexpr std::size_t kMostGap = 32;
constexpr unsigned kMostWidth = 9;
constexpr unsigned kUp = 2;  // the PNG filter of each row
constexpr std::size_t kLinesRoom = 4096;
constexpr int kUpPredictor = 12;
constexpr int kLevel = 9;

unsigned bytes_for(std::uint32_t value) {
  return static_cast<unsigned>((std::bit_width(value) + 7) / 8);
}

// The fields of a row: the kind, a place, an index.
struct Row {
  unsigned place_width;
  unsigned index_width;

  unsigned width() const { return 1 + place_width + index_width; }
  void fill(unsigned char* row, const TargetEntry& entry) const {
    const bool is_free = entry.index == TargetEntry::kFree;
    const bool in_file = entry.index == TargetEntry::kInFile;
    row[0] = is_free ? 0 : in_file ? 1 : 2;
    put(row + 1, place_width, is_free ? 0 : entry.place);
    put(row + 1 + place_width, index_width, is_free || in_file ? 0 : entry.index);
  }
  static void put(unsigned char* at, unsigned width, std::uint32_t value) {
    for (unsigned i = 0; i < width; ++i)
      at[i] = static_cast<unsigned char>(value >> (8 * (width - 1 - i)));
  }
};

}  // namespace

// The next stretch of entries behind `run`, with small gaps in it. False after the last.
bool TargetSection::next_run(Run& run) const {
  std::size_t at = run.end;
  while (at < end_ && entries_[at].index == TargetEntry::kFree && at != 0)
    ++at;
  if (at >= end_)
    return false;
  run = {at, at + 1};
  for (++at; at < end_ && at - run.end < kMostGap; ++at) {
    if (entries_[at].index != TargetEntry::kFree)
      run.end = at + 1;
  }
  return true;
}

void TargetSection::print_classic(BlockWriter& out) const {
  char line[32];
  out.text("xref\n");
  for (Run run{first_, first_}; next_run(run);) {
    std::snprintf(line, sizeof(line), "%zu %zu\n", run.first, run.end - run.first);
    out.text(line);
    for (std::size_t num = run.first; num < run.end; ++num) {
      const bool in_file = entries_[num].index == TargetEntry::kInFile;
      std::snprintf(line, sizeof(line), "%010u %05d %c \n", in_file ? entries_[num].place : 0, in_file ? 0 : 65535,
                    in_file ? 'n' : 'f');
      out.text(line);
    }
  }
}

bool TargetSection::print_stream(CQVStream& out, CPDFDictionary& dict, std::int32_t num) const {
  std::uint32_t last_index = 0;
  std::uint32_t last_place = 0;
  for (std::size_t at = first_; at < end_; ++at) {
    if (entries_[at].index < TargetEntry::kInFile)
      last_index = std::max(last_index, entries_[at].index);
    last_place = std::max(last_place, entries_[at].place);
  }
  const Row rows{bytes_for(last_place), bytes_for(last_index)};
  Deflater deflater(kLevel);
  Cleared<CPDFArray> index;
  unsigned char row[kMostWidth];
  unsigned char above[kMostWidth] = {};
  unsigned char lines[kLinesRoom];
  std::size_t filled = 0;
  for (Run run{first_, first_}; next_run(run);) {
    index.append_int(static_cast<int>(run.first));
    index.append_int(static_cast<int>(run.end - run.first));
    for (std::size_t at = run.first; at < run.end; ++at) {
      rows.fill(row, entries_[at]);
      lines[filled++] = kUp;
      for (unsigned i = 0; i < rows.width(); ++i)
        lines[filled++] = static_cast<unsigned char>(row[i] - above[i]);
      std::memcpy(above, row, rows.width());
      if (filled > sizeof(lines) - 1 - kMostWidth) {
        deflater.add(lines, filled);
        filled = 0;
      }
    }
  }
  deflater.add(lines, filled);
  Cleared<CPDFArray> widths;
  for (const unsigned width : {1u, rows.place_width, rows.index_width})
    widths.append_int(static_cast<int>(width));
  Cleared<CPDFDictionary> parms;
  parms.set_item_int("Predictor", kUpPredictor);
  parms.set_item_int("Columns", static_cast<int>(rows.width()));
  dict.set_item_name(CPDFDictionary::sm_tag_type, "XRef");
  if (index.count != 2 || first_ != 0)
    dict.set_item_arr("Index", &index);
  dict.set_item_arr("W", &widths);
  dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  dict.set_item_dict("DecodeParms", &parms);
  return deflater.finish() && sheaf::print_stream(out, dict, deflater.data(), deflater.size(), num, nullptr);
}

bool print_stream(CQVStream& out, CPDFDictionary& dict, unsigned char* data, std::size_t size, std::int32_t num,
                  CPDFEncrypt* enc) {
  auto* const rec = size <= INT32_MAX ? new (std::nothrow) CPDFStreamRec : nullptr;
  if (rec == nullptr)
    return false;
  Freed<CPDFObj> obj;
  CQVStreamMemFix view;
  obj.take_stream(rec);
  std::swap(rec->dict, dict);
  view.Open(data, static_cast<int>(size));
  rec->source = size != 0 ? &view : nullptr;
  rec->length = static_cast<std::int32_t>(size);
  rec->plain = 1;
  PDF_ENC_PARA para{num, 0, 1, enc};
  obj.write(&out, &para);
  return true;
}

void print_trailer(BlockWriter& out, CPDFDictionary& dict) {
  Freed<CPDFObj> value;
  value.take_dict(new (std::nothrow) CPDFDictionary);
  if (value.as_dict() != nullptr)
    std::swap(*value.as_dict(), dict);
  out.text("trailer\n");
  value.write(&out, nullptr);
  out.text("\n");
}

void print_section_end(BlockWriter& out, std::uint32_t section) {
  out.text("startxref\n");
  out.decimal(section);
  out.text("\n%%EOF\n");
}

}  // namespace sheaf
