// Where each object goes in a new file: its number there, the order, and the object streams.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/document/writer/object_survey.h"

namespace sheaf {

class WritePlan {
public:
  /// Members of one object stream: enough to be compressed well, few enough to be read for one of them.
  static constexpr std::int32_t kMembers = 100;

  explicit WritePlan(const ObjectSurvey& survey) : survey_(survey) {}
  WritePlan(const WritePlan&) = delete;
  WritePlan& operator=(const WritePlan&) = delete;

  /// The plan of a file whose objects are in the order of the source. `kept_apart` (0: none) goes into no object
  /// stream. False when there is no memory.
  bool make(CPDFXRefTable& table, const PDF_WRITE_OPTIONS& options, std::int32_t kept_apart);

  /// The number in the new file of what a reference to `num` means; 0: nothing, the reference becomes null.
  std::int32_t number(std::int32_t num) const { return numbers_.get(survey_.standing_for(num)); }
  /// Reads an object of the source as the new file is to have it, with the source's numbers.
  void read(CPDFObj& out, std::int32_t num) const { survey_.read(out, num); }
  /// The source's numbers in the order of writing.
  const GrowArray<std::int32_t>& order() const { return order_; }
  bool is_member(std::size_t place) const { return (marks_[place] & kMember) != 0; }
  /// Whether the member at `place` is the first of its object stream.
  bool begins_stream(std::size_t place) const { return (marks_[place] & kFirst) != 0; }
  /// The numbers of the object streams, in the order in which they begin.
  const GrowArray<std::int32_t>& streams() const { return streams_; }
  bool has_streams() const { return !streams_.empty(); }
  /// The least number that nothing has.
  std::int32_t next_number() const { return next_; }

  // For who makes a plan of another order.
  bool append(std::int32_t num, bool member, bool first);
  bool set_number(std::int32_t num, std::int32_t number) { return numbers_.set(num, number); }
  bool append_stream(std::int32_t number) { return streams_.push(number); }
  void set_next_number(std::int32_t number) { next_ = number; }

private:
  enum Mark : std::uint8_t { kMember = 1, kFirst = 2 };

  bool plan_streams(CPDFXRefTable& table, PDF_OBJECT_STREAMS wanted, std::int32_t kept_apart);
  bool plan_numbers(CPDFXRefTable& table, bool renumber);

  const ObjectSurvey& survey_;
  GrowArray<std::int32_t> order_;
  GrowArray<std::uint8_t> marks_;
  GrowArray<std::int32_t> streams_;
  NumberMap numbers_;
  std::int32_t next_ = 1;
};

}  // namespace sheaf
