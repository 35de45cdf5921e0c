// Uses are found by a walk from each page and from each key of the catalogue, which stops at other pages.
#include "sheaf/document/writer/linear_plan.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/scope_guard.h"

namespace sheaf {

namespace {

// An object stream of fewer members takes more than it saves.
constexpr std::size_t kLeastMembers = 3;
// Walks take this many steps for each object and reference of the document, and the lists this many entries, before
// they give way: a document in which every page uses nearly everything would take quadratic time.
constexpr std::int64_t kStepsPerObject = 64;
constexpr std::int64_t kLeastSteps = 1 << 24;
constexpr std::size_t kMostShared = 1 << 22;
// As many as the indices of uses can say.
constexpr std::int32_t kMostPages = (1 << 23) - 1;

}  // namespace

LinearPlan::LinearPlan(CPDFDoc& doc, const ObjectSurvey& survey, WritePlan& plan)
    : doc_(doc), table_(doc.table()), survey_(survey), plan_(plan) {}

bool LinearPlan::is_page(std::int32_t num) const {
  return survey_.kind(num) == ObjectSurvey::kPage || pages_met_.has(num);
}

// The references of a value wait for the walk. False when there is no memory.
bool LinearPlan::enter(const CPDFObj& value) {
  ReferenceList found;
  collect_references(value, found);
  for (const std::int32_t num : found) {
    if (!waiting_.push(num))
      return false;
  }
  return true;
}

// Passes through all that waits and what can be reached from there, each object once a turn, and calls `mark` for it.
// From pages the way does not lead back into the page tree. False when too many steps were taken, or there is no
// memory.
template <class Mark>
bool LinearPlan::walk(bool through_tree, const Mark& mark) {
  while (!waiting_.empty()) {
    const std::int32_t num = survey_.standing_for(waiting_.back());
    waiting_.pop();
    if (num == 0 || turns_[object_index(num)] == turn_ || is_page(num) || (!through_tree && survey_.is_tree_node(num)))
      continue;
    turns_[object_index(num)] = turn_;
    mark(num);
    bool all_wait = true;
    --steps_left_;
    survey_.each_reference(num, [&](std::int32_t to) {
      --steps_left_;
      all_wait = all_wait && waiting_.push(to);
    });
    if (!all_wait || steps_left_ < 0)
      return false;
  }
  return true;
}

// What a page refers to waits for a walk, all but its thumbnail, which goes into `thumbnail`. Only pages that have one
// are read for that. False when there is no memory.
bool LinearPlan::enter_page(std::int32_t num, CPDFObj& thumbnail) {
  waiting_.clear();
  ++turn_;
  bool all_wait = true;
  if (!survey_.has_thumbnail(num)) {
    survey_.each_reference(num, [&](std::int32_t to) { all_wait = all_wait && waiting_.push(to); });
    return all_wait;
  }
  Freed<CPDFObj> page;
  survey_.read(page, num);
  for (std::int32_t i = 0; page.as_dict() != nullptr && i < page.as_dict()->count; ++i) {
    const CPDFDictItem& item = *page.as_dict()->items[i];
    if (std::strcmp(item.key(), "Thumb") == 0)
      thumbnail.copy_from(&item);
    else
      all_wait = enter(item) && all_wait;
  }
  return all_wait;
}

bool LinearPlan::use_by_page(std::int32_t index, const PDF_REF& page) {
  Freed<CPDFObj> thumbnail;
  if (!enter_page(page.num, thumbnail))
    return false;
  const bool done = walk(false, [&](std::int32_t num) {
    Use& found = use(num);
    if (index == 0)
      found.add(kFirstPage);
    else
      found.set_page(found.page() == kNone || found.page() == index ? index : kMany);
  });
  if (!done || thumbnail.is_null())
    return done;
  // In the same turn: what the page uses as well is the page's.
  return enter(thumbnail) && walk(false, [&](std::int32_t num) {
           Use& found = use(num);
           found.add((found.flags() & kThumb) != 0 ? kThumbs : kThumb);
         });
}

bool LinearPlan::use_by_pages() {
  for (std::int32_t i = 0; i < page_count(); ++i) {
    if (!use_by_page(i, doc_.page_ref(i)))
      return false;
  }
  return true;
}

void LinearPlan::use_by_document() {
  const Freed<CPDFObj> catalog = table_.catalog();
  const CPDFDictionary* const dict = catalog.as_dict();
  const auto spread = [this](const CPDFObj& from, std::uint32_t flags) {
    waiting_.clear();
    ++turn_;
    if (enter(from))
      walk(true, [this, flags](std::int32_t num) { use(num).add(flags); });
  };
  for (std::int32_t i = 0; dict != nullptr && i < dict->count; ++i) {
    const char* const key = dict->items[i]->key();
    const auto is = [key](const char* other) { return std::strcmp(key, other) == 0; };
    const bool opens = is("ViewerPreferences") || is("PageMode") || is("Threads") || is("OpenAction") || is("AcroForm");
    steps_left_ = INT64_MAX;  // as many walks as the catalogue has keys
    spread(*dict->items[i], opens ? kOpening : is("Outlines") ? kOutlines : is("Pages") ? kOther | kTree : kOther);
    if (is("Outlines"))
      outlines_num_ = survey_.standing_for(dict->items[i]->as_ref().num);
  }
  spread(table_.info, kOther);
  const std::int32_t root = survey_.standing_for(table_.root.as_ref().num);
  if (root != 0)
    use(root).add(kRoot);
  const Freed<CPDFObj> mode = table_.value(dict, "PageMode");
  outlines_first_ = mode.is_name("UseOutlines");
}

// Whatever is not known to belong elsewhere is shared by the pages.
void LinearPlan::share_everything() {
  for (const std::int32_t num : survey_.objects()) {
    Use& found = use(num);
    if (!is_page(num) && (found.page() != kNone || (found.flags() & (kTree | kThumb)) == 0))
      found.set_page(kMany);
  }
  is_cut_ = true;
}

bool LinearPlan::find_uses() {
  std::int32_t last = 0;
  std::int64_t size = 0;
  for (const std::int32_t num : survey_.objects()) {
    size += 1 + survey_.reference_count(num);
    last = std::max(last, num);
  }
  if (!uses_.resize(std::size_t{object_index(last)} + 1) || !turns_.resize(uses_.size()) ||
      !pages_.resize(static_cast<std::size_t>(doc_.page_count())))
    return false;
  for (Use& found : uses_)
    found.set_page(kNone);
  for (std::int32_t i = 0; i < page_count(); ++i) {
    const std::int32_t num = doc_.page_ref(i).num;
    if (num < 1 || num > last)
      return false;
    pages_met_.visit(num);
    if (i == 0)
      use(num).add(kFirstPage);
    else
      use(num).set_page(i);
  }
  steps_left_ = std::max(kLeastSteps, size * kStepsPerObject);
  const bool in_time = use_by_pages();
  use_by_document();
  if (!in_time)
    share_everything();
  return true;
}

LinearPlan::Rank LinearPlan::rank(std::int32_t num) const {
  const Use& found = use(num);
  const std::uint32_t flags = found.flags();
  const auto has = [flags](std::uint32_t wanted) { return (flags & wanted) != 0; };
  if (has(kRoot))
    return kRankRoot;
  if (has(kOutlines))
    return outlines_first_ ? kRankFirstOutlines : kRankOutlines;
  if (has(kOpening))
    return kRankOpening;
  if (has(kFirstPage))
    return has(kOther | kThumb) || found.page() != kNone ? kRankFirstShared : kRankFirstPage;
  if (found.page() >= 0 && !has(kOther | kThumb))
    return kRankPage;
  if (found.page() == kMany)
    return kRankShared;
  if (has(kThumbs))
    return kRankThumbs;
  if (has(kThumb) && !has(kOther))
    return kRankThumb;
  return has(kTree) ? kRankTree : kRankOther;
}

std::int32_t LinearPlan::page_of(std::int32_t num) const {
  return rank(num) == kRankPage ? use(num).page() : 0;
}

// The order of the file: the page before what it uses, the outline dictionary before the outlines.
bool LinearPlan::in_front(std::int32_t a, std::int32_t b) const {
  const Rank left = rank(a);
  const Rank right = rank(b);
  if (left != right)
    return left < right;
  const std::int32_t left_page = page_of(a);
  const std::int32_t right_page = page_of(b);
  if (left_page != right_page)
    return left_page < right_page;
  const bool left_first = pages_met_.has(a) || a == outlines_num_;
  const bool right_first = pages_met_.has(b) || b == outlines_num_;
  return left_first != right_first ? left_first : a < b;
}

bool LinearPlan::may_be_member(std::int32_t num) const {
  return survey_.kind(num) == ObjectSurvey::kValue && !pages_met_.has(num) && num != outlines_num_ &&
         rank(num) != kRankRoot;
}

// The objects from `first` to `end` become one object stream, or units of their own.
bool LinearPlan::add_unit(std::size_t first, std::size_t end) {
  if (end - first < kLeastMembers) {
    for (std::size_t i = first; i < end; ++i) {
      if (!units_.push({static_cast<std::uint32_t>(i), 1}))
        return false;
    }
    return true;
  }
  Use all = use(sorted_[first]);
  for (std::size_t i = first; i < end; ++i) {
    const Use& other = use(sorted_[i]);
    all.add(other.flags());
    if (other.page() != kNone)
      all.set_page(all.page() == kNone || all.page() == other.page() ? other.page() : kMany);
  }
  for (std::size_t i = first; i < end; ++i)
    use(sorted_[i]) = all;
  return units_.push({static_cast<std::uint32_t>(first), static_cast<std::int32_t>(end - first)});
}

bool LinearPlan::make_units(bool object_streams) {
  for (const std::int32_t num : survey_.objects()) {
    if (!sorted_.push(num))
      return false;
  }
  std::sort(sorted_.begin(), sorted_.end(), [this](std::int32_t a, std::int32_t b) { return in_front(a, b); });
  GrowArray<std::int32_t> members;
  for (std::size_t at = 0; at < sorted_.size();) {
    // Within one kind of use, members of object streams come before objects of their own, and both after the page.
    const Rank kind = rank(sorted_[at]);
    const std::int32_t page = page_of(sorted_[at]);
    std::size_t end = at;
    while (end < sorted_.size() && rank(sorted_[end]) == kind && page_of(sorted_[end]) == page)
      ++end;
    const auto alone = std::stable_partition(sorted_.begin() + at, sorted_.begin() + end,
                                             [&](std::int32_t num) { return !object_streams || !may_be_member(num); });
    const auto first_member = static_cast<std::size_t>(alone - sorted_.begin());
    for (std::size_t i = at; i < first_member; ++i) {
      if (!units_.push({static_cast<std::uint32_t>(i), 1}))
        return false;
    }
    for (std::size_t i = first_member; i < end; i += static_cast<std::size_t>(WritePlan::kMembers)) {
      if (!add_unit(i, std::min(end, i + static_cast<std::size_t>(WritePlan::kMembers))))
        return false;
    }
    at = end;
  }
  return true;
}

// Members that are used by different pages together can make their object stream one of another kind.
bool LinearPlan::place_units() {
  std::sort(units_.begin(), units_.end(), [this](const Unit& a, const Unit& b) {
    const std::int32_t left = sorted_[a.first];
    const std::int32_t right = sorted_[b.first];
    if (rank(left) != rank(right))
      return rank(left) < rank(right);
    if (page_of(left) != page_of(right))
      return page_of(left) < page_of(right);
    const bool left_first = pages_met_.has(left) || left == outlines_num_;
    const bool right_first = pages_met_.has(right) || right == outlines_num_;
    return left_first != right_first ? left_first : a.first < b.first;
  });
  const auto extend = [](auto& part, std::size_t unit) {
    if (part.count++ == 0)
      part.first = static_cast<decltype(part.first)>(unit);
  };
  for (std::size_t i = 0; i < units_.size(); ++i) {
    const std::int32_t num = sorted_[units_[i].first];
    const Rank kind = rank(num);
    if (kind <= kRankOpening)
      extend(document_, i);
    else if (kind <= kRankFirstOutlines)
      extend(first_page_, i);
    else if (kind == kRankPage)
      extend(pages_[static_cast<std::size_t>(page_of(num))], i);
    else if (kind == kRankShared)
      extend(shared_, i);
    if (kind == kRankFirstOutlines || kind == kRankOutlines)
      extend(outlines_, i);
    const auto placed = static_cast<std::uint32_t>(plan_.order().size());
    for (std::int32_t k = 0; k < units_[i].count; ++k) {
      const std::int32_t member = sorted_[units_[i].first + static_cast<std::size_t>(k)];
      if (!plan_.append(member, units_[i].is_stream(), k == 0))
        return false;
    }
    units_[i].first = placed;
  }
  sorted_.reset();
  if (!pages_.empty())
    pages_[0] = {static_cast<std::uint32_t>(first_page_.first), static_cast<std::uint32_t>(first_page_.count), 0};
  return true;
}

// Units are numbered in their order, those of parts 7 to 9 first.
std::int32_t LinearPlan::unit_number(std::size_t unit) const {
  const auto at = static_cast<std::int32_t>(unit);
  const auto in_document = static_cast<std::int32_t>(document_.count);
  const auto first_half = in_document + static_cast<std::int32_t>(first_page_.count);
  if (at >= first_half)
    return 1 + at - first_half;
  return at < in_document ? numbers_.hints - in_document + at : numbers_.hints + 1 + at - in_document;
}

// The numbers of all objects, those in object streams from `next` on.
bool LinearPlan::number_objects(std::size_t first, std::size_t end, std::int32_t& next) {
  for (std::size_t i = first; i < end; ++i) {
    const Unit& unit = units_[i];
    for (std::int32_t k = 0; k < unit.count; ++k) {
      const std::int32_t num = plan_.order()[unit.first + static_cast<std::size_t>(k)];
      if (!plan_.set_number(num, unit.is_stream() ? next++ : unit_number(i)))
        return false;
    }
  }
  return true;
}

bool LinearPlan::number_units() {
  const std::size_t first_half = document_.count + first_page_.count;
  const bool streams = std::any_of(units_.begin(), units_.end(), [](const Unit& unit) { return unit.is_stream(); });
  std::int32_t next = 1 + static_cast<std::int32_t>(units_.size() - first_half);
  numbers_.main_section = streams ? next++ : 0;
  if (!number_objects(first_half, units_.size(), next))
    return false;
  numbers_.second_half_end = next;
  numbers_.parameters = next++;
  numbers_.first_section = streams ? next++ : 0;
  numbers_.hints = next + static_cast<std::int32_t>(document_.count);
  next = numbers_.hints + 1 + static_cast<std::int32_t>(first_page_.count);
  if (!number_objects(0, first_half, next))
    return false;
  numbers_.end = next;
  plan_.set_next_number(next);
  return true;
}

// The list of page `index` begins at `start`. Neighbours often use the same, and then have one list together.
void LinearPlan::keep_list(std::int32_t index, std::uint32_t start) {
  Page& page = pages_[static_cast<std::size_t>(index)];
  const std::size_t size = shared_units_.size() - start;
  shared_units_[start] = static_cast<std::int32_t>(size) - 1;
  const std::uint32_t before = pages_[static_cast<std::size_t>(index) - 1].shared;
  const bool is_same =
      before + size <= start && std::equal(&shared_units_[start], &shared_units_[start] + size, &shared_units_[before]);
  page.shared = is_same ? before : start;
  while (is_same && shared_units_.size() > start)
    shared_units_.pop();
}

// For each page but the first: the units of parts 6 and 8 that it uses.
bool LinearPlan::list_shared() {
  std::int32_t index = 0;
  GrowArray<std::int32_t> listed_for;  // by index: the last page that lists it
  for (Use& found : uses_)
    found.set_page(0);  // from here on the index of its unit plus one
  for (const Part part : {first_page_, shared_}) {
    for (std::size_t i = part.first; i < part.first + part.count; ++i) {
      ++index;
      for (std::int32_t k = 0; k < units_[i].count; ++k)
        use(plan_.order()[units_[i].first + static_cast<std::size_t>(k)]).set_page(index);
    }
  }
  if (!listed_for.resize(static_cast<std::size_t>(index) + 1) || !shared_units_.push(0))
    return false;
  is_cut_ = is_cut_ || index > kMostPages;
  steps_left_ = INT64_MAX;
  for (std::int32_t i = 1; i < page_count() && !is_cut_; ++i) {
    const auto start = static_cast<std::uint32_t>(shared_units_.size());
    if (!shared_units_.push(0))
      return false;
    Freed<CPDFObj> thumbnail;
    bool all_listed = true;
    const auto list_unit = [&](std::int32_t num) {
      const std::int32_t at = use(num).page();
      if (at == 0 || listed_for[static_cast<std::size_t>(at)] == i)
        return;
      listed_for[static_cast<std::size_t>(at)] = i;
      all_listed = all_listed && shared_units_.push(at - 1);
    };
    if (!enter_page(doc_.page_ref(i).num, thumbnail) || !walk(false, list_unit) || !all_listed)
      return false;
    keep_list(i, start);
    is_cut_ = shared_units_.size() > kMostShared;
  }
  return true;
}

const std::int32_t* LinearPlan::shared_of(std::int32_t index, std::int32_t& count) const {
  const std::int32_t* const list = &shared_units_[pages_[static_cast<std::size_t>(index)].shared];
  count = *list;
  return count != 0 ? list + 1 : nullptr;
}

bool LinearPlan::make(bool object_streams) {
  if (doc_.page_count() > kMostPages)
    return false;
  const bool good = find_uses() && make_units(object_streams) && place_units() && number_units() && list_shared();
  uses_.reset();
  turns_.reset();
  waiting_.reset();
  return good;
}

}  // namespace sheaf
