// Every operator is looked up in one table: how many operands it needs, and which of them names a resource of which
// kind.
#include "sheaf/document/content/content_check.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_reader.h"
#include "sheaf/document/content/content_text.h"
#include "sheaf/document/doc.h"

namespace sheaf {

namespace {

// Bytes of content that are looked at: at least, and for each byte of the file.
constexpr long long kLeastWork = 1LL << 28;
constexpr long long kWorkPerByte = 64;

struct Operator {
  std::string_view name;
  int operands;                // at least
  const char* kind = nullptr;  // of the resource that the operand below names
  int from_end = 0;            // that operand, counted from the last one
};

constexpr Operator kOperators[] = {{"\"", 3},
                                   {"'", 1},
                                   {"B", 0},
                                   {"B*", 0},
                                   {"BDC", 2, "Properties"},
                                   {"BI", 1},
                                   {"BMC", 1},
                                   {"BT", 0},
                                   {"BX", 0},
                                   {"CS", 1, "ColorSpace"},
                                   {"DP", 2, "Properties"},
                                   {"Do", 1, "XObject"},
                                   {"EMC", 0},
                                   {"ET", 0},
                                   {"EX", 0},
                                   {"F", 0},
                                   {"G", 1},
                                   {"J", 1},
                                   {"K", 4},
                                   {"M", 1},
                                   {"MP", 1},
                                   {"Q", 0},
                                   {"RG", 3},
                                   {"S", 0},
                                   {"SC", 1},
                                   {"SCN", 1, "Pattern"},
                                   {"T*", 0},
                                   {"TD", 2},
                                   {"TJ", 1},
                                   {"TL", 1},
                                   {"Tc", 1},
                                   {"Td", 2},
                                   {"Tf", 2, "Font", 1},
                                   {"Tj", 1},
                                   {"Tm", 6},
                                   {"Tr", 1},
                                   {"Ts", 1},
                                   {"Tw", 1},
                                   {"Tz", 1},
                                   {"W", 0},
                                   {"W*", 0},
                                   {"b", 0},
                                   {"b*", 0},
                                   {"c", 6},
                                   {"cm", 6},
                                   {"cs", 1, "ColorSpace"},
                                   {"d", 2},
                                   {"d0", 2},
                                   {"d1", 6},
                                   {"f", 0},
                                   {"f*", 0},
                                   {"g", 1},
                                   {"gs", 1, "ExtGState"},
                                   {"h", 0},
                                   {"i", 1},
                                   {"j", 1},
                                   {"k", 4},
                                   {"l", 2},
                                   {"m", 2},
                                   {"n", 0},
                                   {"q", 0},
                                   {"re", 4},
                                   {"rg", 3},
                                   {"ri", 1},
                                   {"s", 0},
                                   {"sc", 1},
                                   {"scn", 1, "Pattern"},
                                   {"sh", 1, "Shading"},
                                   {"v", 4},
                                   {"w", 1},
                                   {"y", 4}};

static_assert(std::is_sorted(std::begin(kOperators), std::end(kOperators),
                             [](const Operator& a, const Operator& b) { return a.name < b.name; }));

const Operator* find_operator(std::string_view name) {
  const auto* const found = std::lower_bound(std::begin(kOperators), std::end(kOperators), name,
                                             [](const Operator& a, std::string_view b) { return a.name < b; });
  return found != std::end(kOperators) && found->name == name ? found : nullptr;
}

const char* text_of(ContentFault fault) {
  switch (fault) {
    case ContentFault::kStray:
      return "a bracket closes nothing";
    case ContentFault::kUnclosed:
      return "an array, a dictionary or a string does not end";
    case ContentFault::kNoOperator:
      return "operands are followed by no operator";
    case ContentFault::kTooManyOperands:
      return "there are more operands than any operator takes";
    case ContentFault::kImage:
      return "an inline image has no ID or no EI";
    default:
      return "";
  }
}

// Colour spaces that need no resource.
bool is_own_space(const char* name) {
  for (const char* own : {"DeviceGray", "DeviceRGB", "DeviceCMYK", "Pattern", "G", "RGB", "CMYK"}) {
    if (std::strcmp(own, name) == 0)
      return true;
  }
  return false;
}

}  // namespace

// One content while it is read.
struct ContentChecker::State {
  State(std::string_view content, const ContentText& source, GrowArray<ContentFinding>& out)
      : reader(content), text(source), findings(out) {}

  void find(const char* what, std::string_view name, std::size_t at) {
    if (findings.size() >= kMostFindings)
      return;
    const ContentPart* const part = text.part_at(at);
    ContentFinding finding{
        part != nullptr ? part->ref : PDF_REF{0, 0}, part != nullptr ? at - part->begin : at, what, {}};
    const std::size_t size = std::min(name.size(), sizeof(finding.name) - 1);
    if (size != 0)
      std::memcpy(finding.name, name.data(), size);
    findings.push(finding);
  }
  void find(const char* what, std::string_view name) { find(what, name, reader.begin()); }

  ContentReader reader;
  const ContentText& text;
  GrowArray<ContentFinding>& findings;
  const CPDFDictionary* resources = nullptr;
  Freed<CPDFObj> group;  // the resources of a kind that were looked at last, where they are an object
  std::int32_t group_num = 0;
  const Operator* known = nullptr;
  int saved = 0;    // q without Q
  int marked = 0;   // BMC and BDC without EMC
  int lenient = 0;  // BX without EX
  bool in_text = false;
};

ContentChecker::ContentChecker(CPDFDoc& doc) : doc_(doc), left_(kLeastWork + kWorkPerByte * doc.file_size()) {}

// The resources that apply to a page. Where they are not its own, pages that follow one another share them.
const CPDFDictionary* ContentChecker::resources_of(int index, const CPDFPage& page) {
  const CPDFObj* const own = page.dict.get_item(CPDFDictionary::sm_tag_res);
  if (own != nullptr && own->as_dict() != nullptr)
    return own->as_dict();
  const CPDFDictionary* shared = own != nullptr ? share(own->as_ref().num, own) : nullptr;
  const PDF_INHERITED& above = page.from_above;
  if (shared == nullptr && above.resources.num != 0) {
    CPDFObj ref{};
    ref.set_ref(above.resources);
    shared = share(above.resources.num, &ref);
  }
  if (shared != nullptr || !above.has_direct_resources)
    return shared;
  const std::int32_t key = -2 - above.holder;
  CPDFPage whole;
  if (shared_num_ != key && doc_.load_page(index, whole))
    return share(key, whole.dict.get_item(CPDFDictionary::sm_tag_res));
  return shared_num_ == key ? shared_.as_dict() : nullptr;
}

const CPDFDictionary* ContentChecker::share(std::int32_t num, const CPDFObj* value) {
  if (num == 0)
    return nullptr;
  if (shared_num_ != num)
    doc_.table().resolve(shared_, value);
  shared_num_ = num;
  return shared_.as_dict();
}

void ContentChecker::check_page(int index, GrowArray<ContentFinding>& findings) {
  CPDFPage page;
  if (left_ < 0 || !pages_.visit(doc_.page_ref(index).num) || !doc_.load_page_alone(index, page))
    return;
  const CPDFObj* const contents = page.dict.get_item("Contents");
  if (contents == nullptr)
    return;
  CPDFXRefTable& table = doc_.table();
  const CPDFDictionary* const resources = resources_of(index, page);
  check_text(contents, resources, findings);
  while (!waiting_.empty()) {
    CPDFObj ref{};
    ref.set_ref(waiting_.back());
    waiting_.pop();
    const Freed<CPDFObj> form = table.value(&ref);
    const Freed<CPDFObj> own = table.value(&form.as_stream()->dict, CPDFDictionary::sm_tag_res);
    check_text(&ref, own.as_dict() != nullptr ? own.as_dict() : resources, findings);
  }
}

void ContentChecker::check_text(const CPDFObj* contents, const CPDFDictionary* resources,
                                GrowArray<ContentFinding>& findings) {
  ContentText text;
  text.load(doc_.table(), contents);
  State state(text.text(), text, findings);
  left_ -= static_cast<long long>(text.text().size());
  if (left_ < 0)
    return state.find("there is too much content for so small a file; the rest was not looked at", "", 0);
  state.resources = resources;
  while (state.reader.next()) {
    if (state.reader.fault() != ContentFault::kNone)
      state.find(text_of(state.reader.fault()), state.reader.op());
    if (!state.reader.op().empty())
      check_operator(state);
  }
  const std::size_t end = text.text().size();
  const std::size_t last = end != 0 ? end - 1 : 0;
  if (state.saved > 0)
    state.find("graphics states are saved and not restored", "q", last);
  if (state.in_text)
    state.find("a text object does not end", "BT", last);
  if (state.marked > 0)
    state.find("marked content does not end", "BMC", last);
}

void ContentChecker::check_operator(State& state) {
  state.known = find_operator(state.reader.op());
  if (state.known == nullptr) {
    if (state.lenient == 0)
      state.find("there is no such operator", state.reader.op());
    return;
  }
  if (state.reader.operands().count < state.known->operands)
    state.find("the operator lacks operands", state.reader.op());
  check_nesting(state);
  if (state.known->kind != nullptr)
    check_resource(state);
}

void ContentChecker::check_nesting(State& state) {
  const ContentReader& reader = state.reader;
  if (reader.is("q")) {
    ++state.saved;
  } else if (reader.is("Q")) {
    if (--state.saved < 0)
      state.find("a graphics state is restored that was not saved", "Q");
    state.saved = std::max(state.saved, 0);
  } else if (reader.is("BT") || reader.is("ET")) {
    const bool begins = reader.is("BT");
    if (state.in_text == begins)
      state.find(begins ? "a text object begins inside another" : "a text object ends that did not begin", reader.op());
    state.in_text = begins;
  } else if (reader.is("BMC") || reader.is("BDC")) {
    ++state.marked;
  } else if (reader.is("EMC")) {
    if (--state.marked < 0)
      state.find("marked content ends that did not begin", "EMC");
    state.marked = std::max(state.marked, 0);
  } else if (reader.is("BX")) {
    ++state.lenient;
  } else if (reader.is("EX")) {
    state.lenient = std::max(state.lenient - 1, 0);
  }
}

void ContentChecker::check_resource(State& state) {
  const CPDFObj* const operand = state.reader.operand_from_end(state.known->from_end);
  const char* const name = operand != nullptr ? operand->as_name() : nullptr;
  const std::string_view kind = state.known->kind;
  if (name == nullptr || (kind == "ColorSpace" && is_own_space(name)))
    return;
  const CPDFObj* group = state.resources != nullptr ? state.resources->get_item(state.known->kind) : nullptr;
  if (group != nullptr && group->tag == kTagRef) {
    if (group->as_ref().num != state.group_num)
      doc_.table().resolve(state.group, group);
    state.group_num = group->as_ref().num;
    group = &state.group;
  }
  const CPDFDictionary* const named = group != nullptr ? group->as_dict() : nullptr;
  const CPDFObj* const item = named != nullptr ? named->get_item(name) : nullptr;
  if (doc_.is_absent(item))
    state.find("the resources do not have what is named", name);
  else if (kind == "XObject")
    note_form(*item);
}

void ContentChecker::note_form(const CPDFObj& item) {
  const PDF_REF ref = item.as_ref();
  if (ref.num == 0 || forms_.has(ref.num))
    return;
  const Freed<CPDFObj> object = doc_.table().object(ref);
  const CPDFStreamRec* const rec = object.as_stream();
  const Freed<CPDFObj> kind = doc_.table().value(rec != nullptr ? &rec->dict : nullptr, CPDFDictionary::sm_tag_subtype);
  if (kind.is_name("Form") && forms_.visit(ref.num))
    waiting_.push(ref);
}

}  // namespace sheaf
