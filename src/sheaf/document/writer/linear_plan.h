// The order of a linearized file (ISO 32000-1, Annex F.3): which objects belong to the first page, to one other page,
// to several, to the document as it is opened, or to nothing of these.
//
//   part 4  catalogue, what opening needs          part 8  shared by pages other than the first
//   part 6  first page                             part 9  everything else, outlines together
//   part 7  the other pages, one after the other
//
// A unit is an object by itself or an object stream: all members of one are used in the same way. Numbers are those of
// F.3: parts 7 to 9 from 1 on, a cross-reference stream, members of object streams, and after them the same for the
// dictionary of parameters, the first section, part 4, the hints and part 6.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/object_survey.h"
#include "sheaf/document/writer/write_plan.h"

namespace sheaf {

class LinearPlan {
public:
  /// The numbers that are not those of objects of the document; 0: not written.
  struct Numbers {
    std::int32_t main_section = 0;
    std::int32_t second_half_end = 0;  ///< One above the last number of the second half, where the first begins.
    std::int32_t parameters = 0;
    std::int32_t first_section = 0;
    std::int32_t hints = 0;
    std::int32_t end = 0;  ///< One above all.
  };
  /// A stretch of units.
  struct Part {
    std::size_t first = 0;
    std::size_t count = 0;
  };

  LinearPlan(CPDFDoc& doc, const ObjectSurvey& survey, WritePlan& plan);
  LinearPlan(const LinearPlan&) = delete;
  LinearPlan& operator=(const LinearPlan&) = delete;

  /// Plans everything; the survey has ended inheritance. False when there is no memory.
  bool make(bool object_streams);

  const Numbers& numbers() const { return numbers_; }
  std::size_t unit_count() const { return units_.size(); }
  std::int32_t unit_number(std::size_t unit) const;
  std::int32_t members_of(std::size_t unit) const { return units_[unit].is_stream() ? units_[unit].count : 0; }
  Part first_page_part() const { return first_page_; }
  Part shared_part() const { return shared_; }
  Part outlines() const { return outlines_; }
  /// The units of page `index`, the first one being the page object.
  Part page_part(std::int32_t index) const {
    const Page& page = pages_[static_cast<std::size_t>(index)];
    return {page.first, page.count};
  }
  std::int32_t page_count() const { return static_cast<std::int32_t>(pages_.size()); }
  /// The shared units that page `index` uses, counted through part 6 and then part 8.
  const std::int32_t* shared_of(std::int32_t index, std::int32_t& count) const;
  /// Whether the lists of shared objects became so long that they were cut: viewers then fetch those objects when they
  /// meet them.
  bool is_cut() const { return is_cut_; }

private:
  static constexpr std::int32_t kNone = -1;
  static constexpr std::int32_t kMany = -2;
  static constexpr unsigned kFlagBits = 8;

  // One of these for each object, and documents have a million.
  class Use {
  public:
    /// The only page but the first that uses it; kNone, or kMany.
    std::int32_t page() const { return static_cast<std::int32_t>(bits_ >> kFlagBits) + kMany; }
    void set_page(std::int32_t page) { bits_ = static_cast<std::uint32_t>(page - kMany) << kFlagBits | flags(); }
    std::uint32_t flags() const { return bits_ & ((1u << kFlagBits) - 1); }
    void add(std::uint32_t flags) { bits_ |= flags; }

  private:
    std::uint32_t bits_;
  };
  struct Unit {
    std::uint32_t first;  // in the sorted objects, then in the plan's order
    std::int32_t count;

    bool is_stream() const { return count > 1; }
  };
  struct Page {
    std::uint32_t first;   // of its units
    std::uint32_t count;   // of them
    std::uint32_t shared;  // where its list of shared units is; 0: it has none
  };
  enum Flag : std::uint32_t {
    kRoot = 1,
    kOpening = 2,
    kOutlines = 4,
    kFirstPage = 8,
    kOther = 16,
    kTree = 32,
    kThumb = 64,
    kThumbs = 128,
  };
  enum Rank : std::int32_t {
    kRankRoot,
    kRankOpening,
    kRankFirstPage,
    kRankFirstShared,
    kRankFirstOutlines,
    kRankPage,
    kRankShared,
    kRankTree,
    kRankThumb,
    kRankThumbs,
    kRankOutlines,
    kRankOther,
  };

  bool find_uses();
  bool use_by_pages();
  bool use_by_page(std::int32_t index, const PDF_REF& page);
  void use_by_document();
  void share_everything();
  template <class Mark>
  bool walk(bool through_tree, const Mark& mark);
  bool enter_page(std::int32_t num, CPDFObj& thumbnail);
  bool enter(const CPDFObj& value);
  bool is_page(std::int32_t num) const;
  Rank rank(std::int32_t num) const;
  std::int32_t page_of(std::int32_t num) const;
  bool in_front(std::int32_t a, std::int32_t b) const;
  bool make_units(bool object_streams);
  bool may_be_member(std::int32_t num) const;
  bool add_unit(std::size_t first, std::size_t end);
  bool place_units();
  bool number_units();
  bool number_objects(std::size_t first, std::size_t end, std::int32_t& next);
  bool list_shared();
  void keep_list(std::int32_t index, std::uint32_t start);
  Use& use(std::int32_t num) { return uses_[object_index(num)]; }
  const Use& use(std::int32_t num) const { return uses_[object_index(num)]; }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  const ObjectSurvey& survey_;
  WritePlan& plan_;
  GrowArray<Use> uses_;            // by number
  GrowArray<std::int32_t> turns_;  // by number: the last walk that came here
  std::int32_t turn_ = 0;
  GrowArray<std::int32_t> waiting_;
  std::int64_t steps_left_ = 0;
  VisitedSet pages_met_;  // numbers of the objects that are listed as pages
  GrowArray<std::int32_t> sorted_;
  GrowArray<Unit> units_;
  GrowArray<Page> pages_;
  GrowArray<std::int32_t> shared_units_;  // lists, each with its length in front; the first one is empty
  std::int32_t outlines_num_ = 0;
  bool outlines_first_ = false;
  bool is_cut_ = false;
  Numbers numbers_;
  Part document_;
  Part first_page_;
  Part shared_;
  Part outlines_;
};

}  // namespace sheaf
