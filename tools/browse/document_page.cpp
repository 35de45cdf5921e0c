// The list of the objects is written while they are read for the first time, which shows how much room remains for what
// streams hold; then the objects are written in pieces, and the index behind them. Of each object only what the second
// reading needs is kept.
#include "browse/document_page.h"

#include <algorithm>
#include <compare>
#include <optional>
#include <vector>

#include "browse/document_tree.h"
#include "browse/object_places.h"
#include "browse/object_syntax.h"
#include "browse/page_writer.h"
#include "browse/stream_views.h"
#include "map/byte_window.h"
#include "map/map_heading.h"
#include "map/map_style.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/paths/object_path.h"
#include "sheaf/object/references.h"
#include "support/document_check.h"
#include "support/progress.h"
#include "support/tool_support.h"
#include "support/utf8_steps.h"

namespace sheaf::tool {

namespace {

constexpr std::size_t kMostSyntax = 128 * 1024;
constexpr std::size_t kPieceBytes = 128 * 1024;
constexpr std::int64_t kRestOfIndex = 16 * 1024;  // what is added to it last
constexpr std::size_t kMostReferences = 1 << 20;
constexpr std::int64_t kLeastBytesOfObject = 160;  // with its row
constexpr std::ptrdiff_t kMostShownReferrers = 200;
constexpr std::ptrdiff_t kMostVersions = 12;
constexpr std::size_t kMostLabelBytes = 60;
constexpr std::int64_t kMostBytesOfItem = 4096;  // a share of the page for each item of a list in the tree

// What the index says of an object, as bits.
enum ObjectFlag : int { kUnused = 1, kStream = 2, kProblem = 4, kUnreadable = 8, kDeleted = 16, kHasVersions = 32 };

// What a value takes in the page, about: line ends and brackets are escaped.
std::int64_t cost_of(const std::string& syntax) {
  constexpr std::int64_t kFrame = 400;
  constexpr std::int64_t kEscape = 5;
  const auto escaped =
      std::count_if(syntax.begin(), syntax.end(), [](char c) { return c == '\n' || c == '<' || c == '>'; });
  return std::ssize(syntax) + kEscape * escaped + kFrame;
}

class DocumentPage {
public:
  DocumentPage(CPDFDoc& doc, const std::string& file, std::int64_t most_bytes, SafeOutput& out)
      : doc_(doc),
        table_(doc.table()),
        file_(file),
        most_(most_bytes),
        map_(make_file_map(doc)),
        places_(doc, map_, static_cast<std::size_t>(most_bytes / kLeastBytesOfObject)),
        page_(out, most_bytes),
        views_(doc.table()) {}

  PageOutcome write();

private:
  using Place = std::vector<ObjectPlace>::const_iterator;
  // An object of the index.
  struct Listed {
    static constexpr std::uint32_t kMostBytes = (1 << 30) - 1;
    std::uint32_t bytes : 30;  // what it takes without what its stream holds, about
    bool is_stream : 1;
    bool is_picture : 1;
  };
  struct Fonts {
    std::string label;
    std::int32_t num;
  };

  void write_facts();
  void write_parts();
  void write_told();
  void write_rows();
  void write_row(Place place, Place end, JsonWriter& rows);
  void put_list(const char* name, JsonWriter& list, bool is_last);
  void write_resources();
  void note_references(std::int32_t num, const CPDFObj& value);
  std::string label_of(const CPDFObj& value);
  PartKind kind_of(const ObjectPlace& place) const;
  void share_room();
  bool write_objects();
  bool write_object(Place place, Place end);
  std::string object_json(Place place, Place end, bool with_views);
  void write_version(const ObjectPlace& place, std::optional<PartKind> kind, JsonWriter& json, Freed<CPDFObj>& value);
  void write_referrers(std::int32_t num, JsonWriter& json);
  bool write_trailer();
  bool write_part_bytes();
  bool flush();
  template <class Action>
  bool for_each_object(const Action& action);

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  std::string file_;
  std::int64_t most_;
  FileMap map_;
  ObjectPlaces places_;
  PageWriter page_;
  CheckResult check_;
  JsonWriter index_;
  struct Reference {
    std::int32_t to;
    std::int32_t from;

    // NOLINTNEXTLINE(modernize-use-nullptr): the check takes the operator's own 0 for one
    auto operator<=>(const Reference&) const = default;
  };
  GrowArray<Reference> references_;          // sorted once all rows are written
  std::vector<std::int32_t> with_problems_;  // sorted
  std::vector<Fonts> fonts_;
  std::vector<Fonts> images_;
  StreamViews views_;
  std::int64_t syntax_bytes_ = 0;        // that the objects not yet written take
  std::int64_t least_bytes_ = 0;         // that all listed objects take
  std::int32_t last_shown_ = INT32_MAX;  // for objects with greater numbers there is no room
  bool has_all_references_ = true;
  std::int64_t index_bytes_ = 0;
  std::int64_t streams_ = 0;   // that are not yet written
  std::int64_t pictures_ = 0;  // the same
  std::vector<Listed> listed_;
  std::int64_t left_out_ = 0;
  std::string piece_;
  std::int64_t piece_bytes_ = 0;  // as they will be in the page
  std::int32_t piece_first_ = 0;
  bool is_written_ = true;            // all so far
  std::vector<std::int32_t> pieces_;  // the first number in each
};

// Calls `action` with the places of each number; ends by its false.
template <class Action>
bool DocumentPage::for_each_object(const Action& action) {
  const std::vector<ObjectPlace>& all = places_.all();
  for (Place at = all.begin(); at != all.end();) {
    const Place end = std::find_if(at, all.end(), [at](const ObjectPlace& place) { return place.num != at->num; });
    if (!action(at, end))
      return false;
    at = end;
  }
  return true;
}

PageOutcome DocumentPage::write() {
  check_document(doc_, check_);
  table_.objstm_budget.start_again();
  for (const Problem& problem : check_.problems)
    with_problems_.push_back(problem.object);
  for (const PDF_DOC_REPAIR& repair : doc_.repairs())
    with_problems_.push_back(repair.num);
  std::sort(with_problems_.begin(), with_problems_.end());
  is_written_ = page_.begin();
  index_.begin_object();
  write_facts();
  write_told();
  write_parts();
  write_rows();
  index_.key("tree").begin_array();
  write_document_tree(doc_, most_ / kMostBytesOfItem, index_);
  write_resources();
  index_.end_array();
  index_bytes_ = PageWriter::data_size(index_.str()) + kRestOfIndex;
  pictures_ = std::ssize(images_);
  PageOutcome outcome;
  outcome.is_written = is_written_ && write_trailer() && write_objects() && write_part_bytes();
  index_.key("pieces").begin_array();
  for (const std::int32_t first : pieces_)
    index_.number(first);
  index_.end_array().key("left_out").number(left_out_);
  index_.key("has_all_references").flag(has_all_references_).end_object();
  outcome.is_written = outcome.is_written && page_.put_data("index", index_.str()) && page_.finish();
  outcome.has_problems = std::string(check_.status) != "clean";
  outcome.left_out = left_out_;
  return outcome;
}

void DocumentPage::write_facts() {
  const MapHeading heading = heading_of(doc_, input_name(file_), map_);
  index_.key("file").text(heading.title).key("facts").text(heading.facts).key("size").number(map_.size);
  index_.key("kinds").begin_array();
  for (int i = 0; i < kPartKinds; ++i) {
    const auto kind = static_cast<PartKind>(i);
    index_.begin_array().text(kind_name(kind)).text(kind_colour(kind)).end_array();
  }
  index_.end_array().key("filters").begin_array();
  for (const std::string& filter : map_.scan.filters)
    index_.text(filter);
  index_.end_array().key("revisions").begin_array();
  for (const Revision& revision : map_.scan.revisions)
    index_.begin_array().number(revision.start).number(revision.end).end_array();
  index_.end_array();
}

// Puts a list that is long enough, or the last of it, into the page, and starts another one that goes on with it.
void DocumentPage::put_list(const char* name, JsonWriter& list, bool is_last) {
  if (!is_last && list.str().size() < kPieceBytes)
    return;
  list.end_array();
  is_written_ = is_written_ && page_.put_data(name, list.str());
  list.restart();
  list.begin_array();
}

// The parts follow one another without gaps, so that the end of each is enough. Those without an object have a name.
void DocumentPage::write_parts() {
  std::vector<std::string> names;
  JsonWriter list;
  list.begin_array();
  const std::int64_t least_left = page_.left() - most_ / 8;
  for (std::size_t i = 0; i < map_.scan.parts.size(); ++i) {
    FilePart part = map_.scan.parts[i];
    std::string name = part.num > 0 ? "" : map_.name_of(part);
    const bool is_full = page_.left() < least_left;
    if (is_full) {
      part = {};
      part.end = map_.size;
      name = "the rest of the file";
    }
    const auto known = std::find(names.begin(), names.end(), name);
    list.number(part.end).number(part.num).number(static_cast<int>(part.kind)).number(known - names.begin());
    if (known == names.end())
      names.push_back(name);
    put_list("parts", list, false);
    if (is_full)
      break;
  }
  put_list("parts", list, true);
  index_.key("part_names").begin_array();
  for (const std::string& name : names)
    index_.text(name);
  index_.end_array();
}

// Problems and repairs.
void DocumentPage::write_told() {
  const auto most = static_cast<std::size_t>(most_ / 2048);
  index_.key("status").text(check_.status).key("problems").begin_array();
  for (std::size_t i = 0; i < std::min(check_.problems.size(), most); ++i)
    index_.begin_array().number(check_.problems[i].object).text(check_.problems[i].what).end_array();
  index_.end_array().key("repairs").begin_array();
  std::size_t told = 0;
  for (const PDF_DOC_REPAIR& repair : doc_.repairs()) {
    if (told++ < most)
      index_.begin_array().number(repair.num).text(repair.action).number(repair.offset).end_array();
  }
  index_.end_array();
  index_.key("told").number(std::ssize(check_.problems)).key("repaired").number(static_cast<std::int64_t>(told));
}

void DocumentPage::write_rows() {
  Progress progress("objects listed", table_.xref_count);
  left_out_ = places_.left_out();
  last_shown_ = places_.last_num();
  table_.objstm_budget.start_again();
  JsonWriter rows;
  rows.begin_array();
  const std::int64_t least_left = page_.left() - most_ / 4;
  for_each_object([&](Place place, Place end) {
    progress.show(place->num);
    if (page_.left() < least_left) {
      ++left_out_;
      return true;
    }
    write_row(place, end, rows);
    put_list("rows", rows, false);
    return is_written_;
  });
  put_list("rows", rows, true);
  std::sort(references_.begin(), references_.end());
  const auto kept = static_cast<std::size_t>(std::unique(references_.begin(), references_.end()) - references_.begin());
  while (references_.size() > kept)
    references_.pop();
}

PartKind DocumentPage::kind_of(const ObjectPlace& place) const {
  const auto num = object_index(place.num);
  if (!place.is_current && place.index >= 0)
    return PartKind::kOldObject;
  if (place.index < 0)
    return place.part < 0 ? PartKind::kUnknown : map_.scan.parts[static_cast<std::size_t>(place.part)].kind;
  return num < map_.packed_kinds.size() ? map_.packed_kinds[num] : PartKind::kObject;
}

void DocumentPage::write_row(Place place, Place end, JsonWriter& rows) {
  Freed<CPDFObj> value;
  places_.read(*place, value);
  const PartKind kind = kind_of(*place);
  std::string label = label_of(value);
  if (kind == PartKind::kContent && label == "stream")
    label = "Content";
  const bool is_frame = kind == PartKind::kFrame;
  const auto num = object_index(place->num);
  int flags = value.tag == kTagStream ? kStream : 0;
  if (place->is_current && !is_frame && (num >= map_.reached.size() || !map_.reached[num]))
    flags |= kUnused;
  if (std::binary_search(with_problems_.begin(), with_problems_.end(), place->num))
    flags |= kProblem;
  if (value.is_null() && !doc_.can_reach(place->num))
    flags |= kUnreadable;
  if (!place->is_current && !is_frame)
    flags |= kDeleted;
  if (end - place > 1)
    flags |= kHasVersions;
  const std::uint16_t filter =
      place->part >= 0 && place->index < 0 ? map_.scan.parts[static_cast<std::size_t>(place->part)].filter : 0;
  rows.begin_array().number(place->num).number(static_cast<int>(kind)).number(filter).number(flags);
  rows.number(places_.revision(*place)).number(place->size).number(place->part).text(label).end_array();
  streams_ += value.tag == kTagStream ? 1 : 0;
  SyntaxPrinter syntax(kMostSyntax);
  syntax.print(value);
  const std::int64_t bytes = cost_of(syntax.text()) * std::min<std::int64_t>(end - place, kMostVersions);
  listed_.push_back(
      {static_cast<std::uint32_t>(bytes) & Listed::kMostBytes, value.tag == kTagStream, kind == PartKind::kImage});
  syntax_bytes_ += listed_.back().bytes;
  least_bytes_ += std::ssize(syntax.text()) + kLeastBytesOfObject;
  if (least_bytes_ > most_)
    last_shown_ = std::min(last_shown_, place->num);
  if (!place->is_current)
    return;
  note_references(place->num, value);
  if (kind == PartKind::kFont && label.starts_with("Font "))
    fonts_.push_back({label.substr(5), place->num});
  if (kind == PartKind::kImage)
    images_.push_back({label, place->num});
}

void DocumentPage::note_references(std::int32_t num, const CPDFObj& value) {
  ReferenceList found;
  collect_references(value, found);
  for (const std::int32_t to : found) {
    if (to > last_shown_)
      continue;
    has_all_references_ = references_.size() < kMostReferences && references_.push({to, num});
    if (!has_all_references_)
      return;
  }
}

// What an object is in a few words.
std::string DocumentPage::label_of(const CPDFObj& value) {
  const CPDFDictionary* const dict = value.as_dict_or_stream();
  std::string label;
  if (dict == nullptr) {
    label = value.as_array() != nullptr ? "array of " + std::to_string(value.as_array()->count) : syntax_text(value);
    return shown(label.substr(0, kMostLabelBytes));
  }
  for (const char* key : {"Type", "Subtype", "S", "FT", "BaseFont", "FontName", "T", "Title", "F"}) {
    const Freed<CPDFObj> item = table_.value(dict, key);
    const std::string word = item.tag == kTagString ? utf8_text(item.as_string())
                             : item.as_text()       ? item.as_text()
                                                    : "";
    if (!word.empty() && word != "XObject" && label.size() < kMostLabelBytes)
      label += (label.empty() ? "" : " ") + word.substr(0, kMostLabelBytes);
  }
  const Freed<CPDFObj> width = table_.value(dict, CPDFDictionary::sm_tag_width);
  if (width.is_number())
    label += " " + std::to_string(width.to_int()) + " × " +
             std::to_string(table_.value(dict, CPDFDictionary::sm_tag_height).to_int());
  if (label.empty() && value.tag == kTagStream)
    label = "stream";
  else if (label.empty() && dict->count > 0)
    label = std::string("with ") + dict->items[0]->key();
  return shown(label);
}

void DocumentPage::write_resources() {
  for (const auto& [name, list] : {std::pair{"Fonts", &fonts_}, std::pair{"Images", &images_}}) {
    TreeItems items(index_, name, most_ / kMostBytesOfItem);
    for (const Fonts& item : *list)
      items.add(item.label, item.num);
  }
}

// What the streams still to be written hold shares the room that the index and the objects leave. As most streams are
// small, each may take several shares.
void DocumentPage::share_room() {
  constexpr std::int64_t kShares = 4;
  const ViewLimits most;
  const std::int64_t room = std::max<std::int64_t>(page_.left() - index_bytes_ - piece_bytes_ - syntax_bytes_, 0);
  const std::int64_t share = room / std::max<std::int64_t>(streams_, 1) * kShares;
  const std::int64_t picture = room / 2 / std::max<std::int64_t>(pictures_, 1);
  ViewLimits limits;
  limits.text_bytes = static_cast<std::int32_t>(std::clamp<std::int64_t>(share / 2, 512, most.text_bytes));
  limits.hex_bytes = static_cast<std::int32_t>(std::clamp<std::int64_t>(share / 16, 256, most.hex_bytes));
  limits.picture_bytes = std::clamp<std::int64_t>(picture, 16 * 1024, most.picture_bytes);
  views_.set_limits(limits);
}

bool DocumentPage::write_objects() {
  Progress progress("objects written", table_.xref_count);
  table_.objstm_budget.start_again();
  std::size_t written = 0;
  return for_each_object([&](Place place, Place end) {
           progress.show(place->num);
           if (written == listed_.size())
             return true;
           const Listed& object = listed_[written++];
           syntax_bytes_ -= object.bytes;
           const bool good = write_object(place, end);
           streams_ -= object.is_stream ? 1 : 0;
           pictures_ -= object.is_picture ? 1 : 0;
           return good;
         }) &&
         flush();
}

bool DocumentPage::write_object(Place place, Place end) {
  const std::int64_t waiting = index_bytes_ + piece_bytes_;
  share_room();
  std::string json = object_json(place, end, true);
  if (PageWriter::data_size(json) > page_.left() - waiting - syntax_bytes_)
    json = object_json(place, end, false);
  if (PageWriter::data_size(json) > page_.left() - waiting) {
    ++left_out_;
    return true;
  }
  if (piece_.empty())
    piece_first_ = place->num;
  piece_ += (piece_.empty() ? "[" : ",") + json;
  piece_bytes_ += PageWriter::data_size(json);
  return piece_.size() < kPieceBytes || flush();
}

bool DocumentPage::flush() {
  if (piece_.empty())
    return true;
  pieces_.push_back(piece_first_);
  piece_ += ']';
  const bool good = page_.put_data("objects", piece_);
  piece_.clear();
  piece_bytes_ = 0;
  return good;
}

std::string DocumentPage::object_json(Place place, Place end, bool with_views) {
  JsonWriter json;
  Freed<CPDFObj> value;
  json.begin_object().key("n").number(place->num).key("versions").begin_array();
  // The current one comes last, so that `value` is left with it.
  const std::optional<PartKind> kind = with_views && end - place > 1 ? std::optional(kind_of(*place)) : std::nullopt;
  const Place last = end - place > kMostVersions ? place + kMostVersions : end;
  for (Place at = place + 1; at < last; ++at)
    write_version(*at, kind, json, value);
  write_version(*place, kind, json, value);
  json.end_array().key("hidden").number(end - last);
  write_referrers(place->num, json);
  const CPDFDictionary* const dict = value.as_dict();
  if (const CPDFStreamRec* const rec = value.as_stream()) {
    json.key("stored").number(rec->length).key("views_left_out").flag(!with_views);
    if (with_views)
      views_.write(value, kind_of(*place), json);
  } else if (with_views && dict != nullptr && table_.value(dict, CPDFDictionary::sm_tag_type).is_name("Font")) {
    views_.write_glyphs(*dict, json);
  }
  return json.end_object().str();
}

void DocumentPage::write_version(const ObjectPlace& place, std::optional<PartKind> kind, JsonWriter& json,
                                 Freed<CPDFObj>& value) {
  places_.read(place, value);
  SyntaxPrinter syntax(kMostSyntax);
  syntax.print(value);
  json.begin_object().key("index").number(place.index);
  if (place.part >= 0) {
    const FilePart& part = map_.scan.parts[static_cast<std::size_t>(place.part)];
    json.key("offset").number(part.start).key("end").number(part.end).key("holder").number(part.num);
  }
  json.key("revision").number(places_.revision(place)).key("size").number(place.size);
  json.key("current").flag(place.is_current).key("text").text(syntax.text()).key("cut").flag(syntax.is_cut());
  if (const CPDFStreamRec* const rec = kind ? value.as_stream() : nullptr)
    json.key("stream").text(views_.text(*rec, *kind));
  json.end_object();
}

void DocumentPage::write_referrers(std::int32_t num, JsonWriter& json) {
  const Reference* const begin = references_.begin();
  const Reference* const last = references_.end();
  const Reference* const first = std::lower_bound(begin, last, Reference{num, INT32_MIN});
  const Reference* const end = std::lower_bound(first, last, Reference{num, INT32_MAX});
  json.key("from").begin_array();
  for (const Reference* at = first; at < end && at - first < kMostShownReferrers; ++at)
    json.number(at->from);
  json.end_array().key("from_count").number(end - first);
}

// The values of the trailers, as object 0.
bool DocumentPage::write_trailer() {
  Freed<CPDFObj> value;
  value.take_dict(new CPDFDictionary);
  read_trailer(doc_, *value.as_dict());
  SyntaxPrinter syntax(kMostSyntax);
  syntax.print(value);
  JsonWriter json;
  json.begin_object().key("text").text(syntax.text()).end_object();
  return page_.put_data("trailer", json.str());
}

// The bytes of the parts that are no objects, as far as they are few.
bool DocumentPage::write_part_bytes() {
  constexpr std::int64_t kMostBytes = 2048;
  constexpr int kMostShown = 200;
  ByteWindow bytes(*table_.stream);
  const std::int64_t front = doc_.header_offset();
  JsonWriter json;
  json.begin_object();
  int shown_parts = 0;
  for (std::size_t i = 0; i < map_.scan.parts.size() && shown_parts < kMostShown; ++i) {
    const FilePart& part = map_.scan.parts[i];
    if (part.num > 0 || part.start < front)
      continue;
    ++shown_parts;
    std::string text;
    for (std::int64_t at = part.start; at < std::min<std::int64_t>(part.end, part.start + kMostBytes); ++at)
      text += bytes.at(at - front);
    json.key(std::to_string(i)).text(latin_text(text));
  }
  json.end_object();
  return PageWriter::data_size(json.str()) > page_.left() - index_bytes_ || page_.put_data("bytes", json.str());
}

}  // namespace

PageOutcome write_document_page(CPDFDoc& doc, const std::string& file, std::int64_t most_bytes, SafeOutput& out) {
  return DocumentPage(doc, file, most_bytes, out).write();
}

}  // namespace sheaf::tool
