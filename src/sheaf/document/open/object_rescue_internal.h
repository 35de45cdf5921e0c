// The objects of one document that its cross-reference sections do not lead to: those that do not
// are where their entries say, and those that only a section names that cannot be read. The file
// is looked at once, when the first of them is asked for.
#pragma once

#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/open/object_scan_internal.h"
#include "sheaf/xref/object_finder.h"

class CPDFDoc;
struct CPDFStreamRec;
class CPDFXRefTable;

namespace sheaf {

class ObjectRescue : public ObjectFinder, public QVHeapObject<ObjectRescue> {
public:
  ObjectRescue(CPDFDoc& doc, CPDFXRefTable& table) : doc_(doc), table_(table) {}

  bool find_header(std::int32_t num, std::uint32_t stated, std::uint32_t& place) override;
  bool find_data_end(std::uint32_t data, std::uint32_t& end) override;
  void enter_missing() override;
  bool is_named(std::uint32_t num) override;
  /// Gives every object in the file its last place there, whatever the entries say.
  void enter_all();
  /// What is in the file. Null without memory.
  const ObjectScan* scan();
  /// For a table that begins anew.
  void begin_anew() {
    entered_ = has_reported_number_ = has_names_ = false;
    named_.clear();
  }
  /// Records that an object has a number which the table cannot hold; the first of them.
  void report_number(const ObjectScan::Object& object);
  /// Another place counts as the start of the file.
  void forget_scan() { scan_.reset(); }

private:
  bool can_look_through() const;
  void read_names();
  bool is_unknown(std::int32_t num);
  bool enter(std::int32_t num, std::uint32_t pos);
  void enter_members(const ObjectScan::Object& container);
  std::int32_t number_of(const ObjectScan::Object& container);

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  std::unique_ptr<ObjectScan> scan_;
  bool entered_ = false;  // all that is missing has an entry
  bool busy_ = false;
  bool has_reported_number_ = false;
  bool has_names_ = false;
  VisitedSet named_;             // numbers from `first_new_` on, less that, to which references lead
  std::uint32_t first_new_ = 0;  // what the table would have given out first
};

constexpr char kObjectStreamDamaged[] = "this object stream is damaged; objects of it may be gone";

/// The numbers that an object stream gives its members, in their order. False when it cannot be decoded as a
/// whole, so that some can be missing.
bool read_member_numbers(CPDFXRefTable& table, const CPDFStreamRec& rec, GrowArray<std::int32_t>& numbers);

}  // namespace sheaf
