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

  /// From here on no page inherits anything (see CPDFDoc::get_without_inheritance).
  void end_inheritance() { ends_inheritance_ = true; }
  /// Reads an object as the new file is to have it.
  void read(CPDFObj& out, std::int32_t num) const;
  /// Reads all that can be reached. With `keeps_references`, `references_of` answers afterwards. False when
  /// there is no memory.
  bool run(bool keeps_references);

  Kind kind(std::int32_t num) const {
    return num > 0 && object_index(num) < kinds_.size() ? kinds_[object_index(num)] : kUnknown;
  }
  /// The object that is written where `num` is referred to; 0 for none.
  std::int32_t standing_for(std::int32_t num) const;
  /// From here on `other` stands for `num`. False when there is no memory.
  bool replace(std::int32_t num, std::int32_t other);
  /// All objects that are written, in the order of the file.
  const GrowArray<std::int32_t>& objects() const { return objects_; }
  /// Takes those that were replaced off the list.
  void forget_replaced();

  /// How many references `num` holds.
  std::int32_t reference_count(std::int32_t num) const {
    std::size_t at = 0;
    return find_edges(num, at) ? static_cast<std::int32_t>(next_edge(at)) : 0;
  }
  /// Calls `each` with the number that each of them has.
  template <class Each>
  void each_reference(std::int32_t num, const Each& each) const {
    std::size_t at = 0;
    std::uint32_t count = find_edges(num, at) ? next_edge(at) : 0;
    for (std::int32_t last = num; count > 0; --count) {
      const std::uint32_t step = next_edge(at);
      last += static_cast<std::int32_t>(step >> 1) ^ -static_cast<std::int32_t>(step & 1);
      each(last);
    }
  }
  /// Whether it is a node of the page tree, and whether it is a page with a thumbnail; with `keeps_references` only.
  bool is_tree_node(std::int32_t num) const { return tree_nodes_.has(num); }
  bool has_thumbnail(std::int32_t num) const { return thumbnails_.has(num); }
  /// Gives back the memory of the references.
  void forget_references() {
    edges_.reset();
    first_edge_.reset();
  }

private:
  bool enter(std::int32_t num);
  bool visit(std::int32_t num);
  Kind kind_of(std::int32_t num, const CPDFObj& value);
  bool collect(std::int32_t num, const CPDFObj& value);
  void sort_by_place(GrowArray<std::int32_t>& numbers);
  bool push_edge(std::uint32_t value);
  bool find_edges(std::int32_t num, std::size_t& at) const {
    const auto index = object_index(num);
    at = index < first_edge_.size() ? first_edge_[index] : 0;
    return at != 0;
  }
  std::uint32_t next_edge(std::size_t& at) const {
    std::uint32_t value = 0;
    for (unsigned shift = 0;; shift += kEdgeBits) {
      const std::uint8_t byte = edges_[at++];
      value |= (byte & kEdgeMask) << shift;
      if (byte <= kEdgeMask)
        return value;
    }
  }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  GrowArray<Kind> kinds_;  // by number
  NumberMap stands_for_;
  GrowArray<std::int32_t> objects_;
  GrowArray<std::int32_t> waiting_;
  ReferenceList found_;
  bool keeps_references_ = false;
  bool ends_inheritance_ = false;
  VisitedSet tree_nodes_;
  VisitedSet thumbnails_;
  // References are kept as what each adds to the one before it, the first to the number that refers: the sign in
  // the lowest bit, seven bits a byte, the lowest first, and all but the last with the highest bit set. Their count
  // comes first.
  static constexpr unsigned kEdgeBits = 7;
  static constexpr std::uint32_t kEdgeMask = 0x7F;
  GrowArray<std::uint8_t> edges_;
  GrowArray<std::uint32_t> first_edge_;  // by number: where its edges begin; 0 for none
};

}  // namespace sheaf
