// The sizes of the first section and of the hints depend on places, and places on these sizes: they are made until
// both fit, and what is too much becomes white space.
#include "sheaf/document/writer/linear_writer.h"

#include <algorithm>
#include <cstdio>

#include "sheaf/base/scope_guard.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/document/writer/deflater.h"
#include "sheaf/document/writer/hint_tables.h"
#include "sheaf/xref/pdf_header.h"

namespace sheaf {

namespace {

constexpr auto kHeaderSize = static_cast<std::uint32_t>(PDF_Header.size());
constexpr std::uint32_t kParametersSize = 200;
constexpr std::uint32_t kSlack = 24;
constexpr int kMostTries = 8;
constexpr unsigned kBlock = 256 * 1024;
constexpr int kHintLevel = 9;

void empty(CQVStreamMem& stream) {
  stream.SetPos(CQVStream::STR_SEEK_SET, 0);
  stream.len = 0;
}

void put_spaces(BlockWriter& out, std::uint32_t count) {
  for (std::uint32_t i = 0; i < count; ++i)
    out.Write(i + 1 < count ? " " : "\n", 1);
}

}  // namespace

LinearWriter::LinearWriter(const LinearPlan& plan, const WritePlan& objects, TargetFile& body, CQVStream& body_stream)
    : plan_(plan), objects_(objects), body_(body), body_stream_(body_stream) {}

bool LinearWriter::put_body(ObjectWriter& writer) {
  if (!body_.reserve(plan_.numbers().end))
    return false;
  std::size_t at = 0;
  for (std::size_t unit = 0; unit < plan_.unit_count(); ++unit) {
    const std::uint32_t start = body_.position();
    WorkWatch::at(static_cast<double>(at), static_cast<double>(objects_.order().size()));
    if (unit == plan_.first_page_part().first)
      document_size_ = start;
    const std::int32_t members = plan_.members_of(unit);
    if (members == 0)
      writer.write(objects_.order()[at++]);
    for (std::int32_t i = 0; i < members; ++i)
      writer.write_member(objects_.order()[at++], i == 0 ? plan_.unit_number(unit) : 0);
    writer.end_stream();
    if (!starts_.push(start))
      return false;
  }
  body_size_ = body_.position();
  return starts_.push(body_size_) && body_.finish();
}

bool LinearWriter::make_hints() {
  HintTables tables;
  tables.make(plan_, UnitPlaces(starts_, body_start_));
  std::size_t size = 0;
  const HeapBlock<unsigned char> packed(deflate_block(tables.data.data, tables.data.len, kHintLevel, size));
  if (!packed)
    return false;
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_filter, CPDFDictionary::sm_tag_fdec);
  dict.set_item_int("S", static_cast<int>(tables.shared_at));
  if (tables.outlines_at != 0)
    dict.set_item_int("O", static_cast<int>(tables.outlines_at));
  empty(hints_);
  return print_stream(hints_, dict, packed.get(), size, plan_.numbers().hints, body_.encrypt());
}

// With a first section of this size: where everything is. The entries come from the temporary file, or from an
// earlier attempt.
void LinearWriter::place(std::uint32_t first_section_size) {
  const std::uint32_t old_start = body_start_;
  body_start_ = kHeaderSize + kParametersSize + first_section_size;
  main_start_ = body_start_ + hints_.len + body_size_;
  const LinearPlan::Numbers& numbers = plan_.numbers();
  for (const std::int32_t num : {numbers.parameters, numbers.first_section, numbers.hints, numbers.main_section})
    body_.set_entry(num, {0, TargetEntry::kFree});
  for (std::int32_t num = 0; num < numbers.end; ++num) {
    TargetEntry entry = body_.entry(num);
    if (entry.index != TargetEntry::kInFile)
      continue;
    entry.place -= old_start;
    if (entry.place >= document_size_)
      entry.place += hints_.len - placed_hints_;
    entry.place += body_start_;
    body_.set_entry(num, entry);
  }
  placed_hints_ = hints_.len;
  const auto set = [this](std::int32_t num, std::uint32_t where) {
    if (num != 0)
      body_.set_entry(num, {where, TargetEntry::kInFile});
  };
  set(numbers.parameters, kHeaderSize);
  set(numbers.first_section, kHeaderSize + kParametersSize);
  set(numbers.hints, body_start_ + document_size_);
  set(numbers.main_section, main_start_);
}

bool LinearWriter::print_section(BlockWriter& out, std::int32_t begin, std::int32_t end, CPDFDictionary& dict,
                                 std::int32_t num) {
  const TargetSection section(&body_.entry(0), object_index(begin), object_index(end));
  if (num != 0)
    return section.print_stream(out, dict, num);
  section.print_classic(out);
  print_trailer(out, dict);
  return true;
}

bool LinearWriter::make_first_section(const CPDFDictionary& trailer) {
  const LinearPlan::Numbers& numbers = plan_.numbers();
  Cleared<CPDFDictionary> dict;
  dict.copy_from(&trailer);
  dict.set_item_int("Size", numbers.end);
  dict.set_item_int("Prev", static_cast<int>(main_start_));
  empty(first_section_);
  BlockWriter out(&first_section_);
  const bool good = print_section(out, numbers.second_half_end, numbers.end, dict, numbers.first_section);
  print_section_end(out, 0);
  out.write_out();
  return good;
}

// Tries until the hints and the first section, for which `room` bytes are kept, agree with the places in them.
bool LinearWriter::find_places(const CPDFDictionary& trailer, std::uint32_t& room) {
  for (int i = 0; i < kMostTries; ++i) {
    const std::uint32_t hint_size = hints_.len;
    place(room);
    if (!make_hints())
      return false;
    place(room);
    if (!make_first_section(trailer))
      return false;
    if (first_section_.len <= room && hints_.len == hint_size)
      return true;
    if (first_section_.len > room)
      room = first_section_.len + kSlack;
  }
  return false;
}

void LinearWriter::put_parameters(BlockWriter& out, std::uint32_t main_entries) {
  const std::size_t first_page = plan_.first_page_part().first;
  const std::size_t behind = first_page + plan_.first_page_part().count;
  const std::uint32_t end = starts_[behind];
  char text[kParametersSize];
  const int len =
      std::snprintf(text, sizeof(text), "%d 0 obj\n<</Linearized 1/L %lld/H[%u %u]/O %d/E %u/N %d/T %u>>\nendobj\n",
                    plan_.numbers().parameters, out.GetLen(), body_start_ + document_size_, hints_.len,
                    plan_.unit_number(first_page), body_start_ + hints_.len + end, plan_.page_count(), main_entries);
  out.Write(text, static_cast<unsigned>(len));
  put_spaces(out, kParametersSize - static_cast<std::uint32_t>(len));
}

bool LinearWriter::copy(BlockWriter& out, std::uint32_t from, std::uint32_t to) {
  const HeapBlock<unsigned char> block(static_cast<unsigned char*>(QVAlloc(kBlock)));
  if (!block)
    return false;
  body_stream_.SetPos(CQVStream::STR_SEEK_SET, from);
  for (std::uint32_t at = from; at < to;) {
    const unsigned wanted = std::min(kBlock, to - at);
    if (body_stream_.Read(block.get(), wanted) != wanted)
      return false;
    out.Write(block.get(), wanted);
    at += wanted;
  }
  return true;
}

// The main section; `entries` gets the place in it that the parameters name.
bool LinearWriter::put_main_section(BlockWriter& out, const CPDFDictionary& trailer, std::uint32_t& entries) {
  const LinearPlan::Numbers& numbers = plan_.numbers();
  entries = main_start_;
  if (numbers.main_section == 0) {
    char line[32];
    entries += static_cast<std::uint32_t>(std::snprintf(line, sizeof(line), "xref\n0 %d", numbers.second_half_end));
  }
  Cleared<CPDFDictionary> dict;
  dict.copy_from(&trailer);
  dict.set_item_int("Size", numbers.second_half_end);
  const bool good = print_section(out, 0, numbers.second_half_end, dict, numbers.main_section);
  print_section_end(out, kHeaderSize + kParametersSize);
  return good;
}

bool LinearWriter::put_file(CQVStream& stream, const char* version, const CPDFDictionary& trailer) {
  std::uint32_t room = 0;
  if (!find_places(trailer, room) || main_start_ > std::uint32_t{INT32_MAX})
    return false;
  const long long start = stream.GetPos();
  TargetFile file(stream, nullptr);
  BlockWriter& out = file.out();
  file.put_header(version);
  put_spaces(out, kParametersSize);
  out.Write(first_section_.data, first_section_.len);
  if (room != first_section_.len)
    put_spaces(out, room - first_section_.len);
  if (!copy(out, 0, document_size_))
    return false;
  out.Write(hints_.data, hints_.len);
  if (!copy(out, document_size_, body_size_))
    return false;
  std::uint32_t main_entries = 0;
  const bool good = put_main_section(out, trailer, main_entries);
  out.write_out();
  out.SetPos(CQVStream::STR_SEEK_SET, start + kHeaderSize);
  put_parameters(out, main_entries);
  return file.finish() && good;
}

}  // namespace sheaf
