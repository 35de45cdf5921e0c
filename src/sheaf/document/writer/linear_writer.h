// Writes a linearized file (ISO 32000-1, Annex F). What comes before the objects depends on where they are, so
// they are written to a temporary file first and then copied after it.
//
//   header | parameters | first section | part 4 | hints | parts 6, 7, 8, 9 | main section
#pragma once

#include <cstdint>

#include "sheaf/document/writer/linear_plan.h"
#include "sheaf/document/writer/object_writer.h"
#include "sheaf/document/writer/target_file.h"

namespace sheaf {

class LinearWriter {
public:
  /// `body` is the temporary file, in which the objects are; its entries become those of the new file.
  LinearWriter(const LinearPlan& plan, const WritePlan& objects, TargetFile& body, CQVStream& body_stream);
  LinearWriter(const LinearWriter&) = delete;
  LinearWriter& operator=(const LinearWriter&) = delete;

  /// Puts the objects into the temporary file. False when there is no memory.
  bool put_body(ObjectWriter& writer);
  /// Writes the new file. `trailer` lacks only "Size" and "Prev". False when the output came short.
  bool put_file(CQVStream& out, const char* version, const CPDFDictionary& trailer);

private:
  bool make_hints();
  void place(std::uint32_t first_section_size);
  bool print_section(BlockWriter& out, std::int32_t begin, std::int32_t end, CPDFDictionary& dict, std::int32_t num);
  bool make_first_section(const CPDFDictionary& trailer);
  bool find_places(const CPDFDictionary& trailer, std::uint32_t& room);
  bool put_main_section(BlockWriter& out, const CPDFDictionary& trailer, std::uint32_t& entries);
  void put_parameters(BlockWriter& out, std::uint32_t main_entries);
  bool copy(BlockWriter& out, std::uint32_t from, std::uint32_t to);

  const LinearPlan& plan_;
  const WritePlan& objects_;
  TargetFile& body_;
  CQVStream& body_stream_;
  GrowArray<std::uint32_t> starts_;  // by unit, in the temporary file, and after them where all end
  CQVStreamMem hints_;               // the hint stream as it is printed
  CQVStreamMem first_section_;
  std::uint32_t body_size_ = 0;
  std::uint32_t document_size_ = 0;  // of part 4
  std::uint32_t body_start_ = 0;     // where part 4 begins in the new file
  std::uint32_t placed_hints_ = 0;   // the size of the hints that places count with
  std::uint32_t main_start_ = 0;     // where the main section does
};

}  // namespace sheaf
