// Takes entries out of resource dictionaries that no content uses. A name counts as used by every content stream that
// has that dictionary, or the part of it that holds the name, if it comes up anywhere in one of them; content without
// resources of its own, such as an old form's, keeps its names everywhere. A dictionary with a user whose content
// cannot be read to its end, or with one that is not known, stays as it is. ISO 32000-1, 7.8.3.
#pragma once

#include <cstdint>
#include <string_view>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/number_map.h"
#include "sheaf/base/visited_set.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/writer/object_survey.h"

namespace sheaf {

class ResourcePruner {
public:
  /// `survey` has kept its references.
  ResourcePruner(CPDFDoc& doc, const ObjectSurvey& survey);
  ResourcePruner(const ResourcePruner&) = delete;
  ResourcePruner& operator=(const ResourcePruner&) = delete;

  /// Takes them out, in memory. The result is their count, -1 when there is no memory.
  std::int64_t prune();

private:
  // A name in a dictionary that is the object `holder`, or that an object of that number holds directly.
  struct Use {
    std::int32_t holder;
    std::uint64_t name;
    friend bool operator==(const Use&, const Use&) = default;
    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the operator's own 0 for one
    friend auto operator<=>(const Use&, const Use&) = default;
  };

  enum Role : std::int32_t { kNoHolder = 0, kResources = 1, kPart = 2 };

  bool look_at_pages();
  bool look_at_objects();
  bool look_at_page(std::int32_t num, const CPDFDictionary& page, const GrowArray<std::int32_t>& holders);
  bool look_at_stream(std::int32_t num, const CPDFObj& stream);
  bool look_at_font(std::int32_t num, const CPDFDictionary& font);
  bool take_content(std::string_view text, const GrowArray<std::int32_t>& holders);
  void add_holder(std::int32_t num, std::int32_t role, GrowArray<std::int32_t>& holders);
  void find_holders(std::int32_t owner, const CPDFObj* resources, GrowArray<std::int32_t>& holders);
  void find_holders_above(const PDF_INHERITED& above, GrowArray<std::int32_t>& holders);
  bool add_names(const CPDFObj& operand, const GrowArray<std::int32_t>& holders);
  bool add_use(std::int32_t holder, std::string_view name);
  bool append_data(const CPDFObj& value, GrowArray<char>& text);
  void keep_all(const GrowArray<std::int32_t>& holders);
  void keep_shared_with_others();
  bool is_used(std::int32_t holder, const char* name) const;
  bool prune_object(std::int32_t num);
  bool prune_resources(CPDFDictionary& resources, std::int32_t owner);
  bool prune_part(CPDFDictionary& part, std::int32_t holder);

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  const ObjectSurvey& survey_;
  GrowArray<Use> uses_;
  std::size_t sorted_ = 0;  // so many of them when they were last put in order
  NumberMap roles_;         // what the objects are that hold names: resources or their owner, or a part of them
  VisitedSet kept_;         // of these, those that stay as they are
  VisitedSet owners_;       // pages, forms, patterns and fonts: whoever else refers to a holder is not known
  GrowArray<std::int32_t> changed_;
  GrowArray<std::int32_t> all_holders_;
  std::int64_t count_ = 0;
  std::int32_t shared_ = 0;                 // the resources, or the node with them, that many pages have in common,
  GrowArray<std::int32_t> shared_holders_;  // and their holders
  std::int64_t work_left_;                  // bytes of content that may still be read
};

}  // namespace sheaf
