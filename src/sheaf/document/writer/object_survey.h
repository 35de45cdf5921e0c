// Which objects of a document a complete new file needs: all that can be reached from the catalogue and the document
// information, each read once. What a stream's "Length" names is not needed, since the length is printed with it;
// nor are object streams, whose members are objects of their own.
#pragma once

#include <cstdint>

#include "sheaf/base/number_map.h"
#include "sheaf/object/object.h"
#include "sheaf/object/references.h"

class CPDFDoc;
class CPDFXRefTable;

namespace sheaf {

class ObjectSurvey {
public:
  enum Kind : std::uint8_t {
    kUnknown = 0,
    kValue = 1,
    kStream = 2,
    kPage = 3,
    kNothing = 4,  ///< Null, or not there.
    kOther = 5,    ///< Another object stands for it.
  };

  explicit ObjectSurvey(CPDFDoc& doc);
  ObjectSurvey(const ObjectSurvey&) = delete;
  ObjectSurvey& operator=(const ObjectSurvey&) = delete;

  /// Reads all that can be reached. With `keeps_references`, `references_of` answers afterwards. False when
  /// there is no memory.
  bool run(bool keeps_references);

  Kind kind(std::int32_t num) const {
    return num > 0 && static_cast<std::size_t>(num) < kinds_.size() ? kinds_[static_cast<std::size_t>(num)] : kUnknown;
  }
  /// The object that is written where `num` is referred to; 0 for none.
  std::int32_t standing_for(std::int32_t num) const;
  /// From here on `other` stands for `num`. False when there is no memory.
  bool replace(std::int32_t num, std::int32_t other);
  /// All objects that are written, in the order of the file.
  const GrowArray<std::int32_t>& objects() const { return objects_; }
  /// Takes those that were replaced off the list.
  void forget_replaced();

  /// A list of the objects that `num` refers to, with their count.
  const std::int32_t* references_of(std::int32_t num, std::int32_t& count) const;

private:
  bool enter(std::int32_t num);
  bool visit(std::int32_t num);
  Kind kind_of(std::int32_t num, const CPDFObj& value);
  bool collect(std::int32_t num, const CPDFObj& value);
  void sort_by_place(GrowArray<std::int32_t>& numbers);

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  GrowArray<Kind> kinds_;  // by number
  NumberMap stands_for_;
  GrowArray<std::int32_t> objects_;
  GrowArray<std::int32_t> waiting_;
  ReferenceList found_;
  bool keeps_references_ = false;
  GrowArray<std::int32_t> edges_;
  GrowArray<std::uint32_t> first_edge_;  // by number: where its edges begin, a count in front of them; 0 for none
};

}  // namespace sheaf
