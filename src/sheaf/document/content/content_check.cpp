// Every operator is looked up in one table: how many operands it needs, and which of them names a resource of which
// kind.
#include "sheaf/document/content/content_check.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/content/content_reader.h"
#include "sheaf/document/doc.h"

namespace sheaf {

namespace {

// Bytes of content that are looked at: at least, and for each byte of the file.
constexpr long long kLeastWork = 1LL << 28;
constexpr long long kWorkPerByte = 64;

// Kinds of resources.
enum Kind : std::int8_t {
  kNoKind = -1,
  kProperties,
  kColorSpace,
  kXObject,
  kPattern,
  kFont,
  kExtGState,
  kShading,
  kKinds
};
constexpr const char* kKindNames[kKinds] = {"Properties", "ColorSpace", "XObject", "Pattern",
                                            "Font",       "ExtGState",  "Shading"};

// What an operator opens or closes.
enum class Nest : std::uint8_t { kNone, kSave, kRestore, kText, kTextEnd, kMark, kMarkEnd, kLenient, kLenientEnd };

struct Operator {
  std::string_view name;
  int operands;         // at least
  Kind kind = kNoKind;  // of the resource that the operand below names
  int from_end = 0;     // that operand, counted from the last one
  Nest nest = Nest::kNone;
};

constexpr Operator kOperators[] = {{"\"", 3},
                                   {"'", 1},
                                   {"B", 0},
                                   {"B*", 0},
                                   {"BDC", 2, kProperties, 0, Nest::kMark},
                                   {"BI", 1},
                                   {"BMC", 1, kNoKind, 0, Nest::kMark},
                                   {"BT", 0, kNoKind, 0, Nest::kText},
                                   {"BX", 0, kNoKind, 0, Nest::kLenient},
                                   {"CS", 1, kColorSpace},
                                   {"DP", 2, kProperties},
                                   {"Do", 1, kXObject},
                                   {"EMC", 0, kNoKind, 0, Nest::kMarkEnd},
                                   {"ET", 0, kNoKind, 0, Nest::kTextEnd},
                                   {"EX", 0, kNoKind, 0, Nest::kLenientEnd},
                                   {"F", 0},
                                   {"G", 1},
                                   {"J", 1},
                                   {"K", 4},
                                   {"M", 1},
                                   {"MP", 1},
                                   {"Q", 0, kNoKind, 0, Nest::kRestore},
                                   {"RG", 3},
                                   {"S", 0},
                                   {"SC", 1},
                                   {"SCN", 1, kPattern},
                                   {"T*", 0},
                                   {"TD", 2},
                                   {"TJ", 1},
                                   {"TL", 1},
                                   {"Tc", 1},
                                   {"Td", 2},
                                   {"Tf", 2, kFont, 1},
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
                                   {"cs", 1, kColorSpace},
                                   {"d", 2},
                                   {"d0", 2},
                                   {"d1", 6},
                                   {"f", 0},
                                   {"f*", 0},
                                   {"g", 1},
                                   {"gs", 1, kExtGState},
                                   {"h", 0},
                                   {"i", 1},
                                   {"j", 1},
                                   {"k", 4},
                                   {"l", 2},
                                   {"m", 2},
                                   {"n", 0},
                                   {"q", 0, kNoKind, 0, Nest::kSave},
                                   {"re", 4},
                                   {"rg", 3},
                                   {"ri", 1},
                                   {"s", 0},
                                   {"sc", 1},
                                   {"scn", 1, kPattern},
                                   {"sh", 1, kShading},
                                   {"v", 4},
                                   {"w", 1},
                                   {"y", 4}};

static_assert(std::is_sorted(std::begin(kOperators), std::end(kOperators),
                             [](const Operator& a, const Operator& b) { return a.name < b.name; }));

// The first operator whose name begins with each letter, or would: they are few for each.
constexpr std::array<std::uint8_t, 129> kFirstOf = []() {
  std::array<std::uint8_t, 129> table{};
  std::uint8_t at = 0;
  for (unsigned c = 0; c < table.size(); ++c) {
    while (at < std::size(kOperators) && static_cast<unsigned char>(kOperators[at].name[0]) < c)
      ++at;
    table[c] = at;
  }
  return table;
}();

constexpr std::size_t kLongestName = 3;

// The bytes of a name in one number.
constexpr std::uint32_t key_of(std::string_view name) {
  std::uint32_t key = 0;
  for (const char c : name.substr(0, kLongestName))
    key = key << 8 | static_cast<unsigned char>(c);
  return key;
}

constexpr auto kKeys = []() {
  std::array<std::uint32_t, std::size(kOperators)> keys{};
  for (std::size_t i = 0; i < keys.size(); ++i)
    keys[i] = key_of(kOperators[i].name);
  return keys;
}();

static_assert(std::all_of(std::begin(kOperators), std::end(kOperators),
                          [](const Operator& item) { return item.name.size() <= kLongestName; }));

const Operator* find_operator(std::string_view name) {
  const auto letter = static_cast<unsigned char>(name[0]);
  if (letter + 1U >= kFirstOf.size())
    return nullptr;
  const std::uint32_t key = key_of(name);
  for (std::size_t i = kFirstOf[letter]; i < kFirstOf[letter + 1U]; ++i) {
    if (kKeys[i] == key && name.size() <= kLongestName)
      return kOperators + i;
  }
  return nullptr;
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
bool is_own_space(std::string_view name) {
  for (const std::string_view own : {"DeviceGray", "DeviceRGB", "DeviceCMYK", "Pattern", "G", "RGB", "CMYK"}) {
    if (own == name)
      return true;
  }
  return false;
}

// A resource that was looked for.
struct Known {
  Kind kind;
  std::string_view name;  // in the text of the content
  bool is_absent;
};

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
  Freed<CPDFObj> groups[kKinds];  // of the resources, by kind, once they were asked for
  bool has_group[kKinds] = {};
  std::array<Known, 64> resources_met{};  // by a hash: the same few names come again and again
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
    shared_ = doc_.table().value(value);
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

void ContentChecker::note_streams() {
  for (const ContentPart& part : text_.parts()) {
    if (part.is_read && part.size != 0 && end_of_.get(part.ref.num) == 0 && ends_.push({part.size, part.flaw}))
      end_of_.set(part.ref.num, ends_.count());
  }
}

bool ContentChecker::has_read(std::int32_t num, std::size_t& size, CPDFStreamFlaw& flaw) const {
  const std::int32_t at = end_of_.get(num);
  if (at == 0)
    return false;
  size = ends_[static_cast<std::size_t>(at) - 1].size;
  flaw = ends_[static_cast<std::size_t>(at) - 1].flaw;
  return true;
}

void ContentChecker::check_text(const CPDFObj* contents, const CPDFDictionary* resources,
                                GrowArray<ContentFinding>& findings) {
  text_.load(doc_.table(), contents);
  note_streams();
  const std::string_view text = text_.text();
  State state(text, text_, findings);
  left_ -= static_cast<long long>(text.size());
  if (left_ < 0)
    return state.find("there is too much content for so small a file; the rest was not looked at", "", 0);
  state.resources = resources;
  while (state.reader.next()) {
    if (state.reader.fault() != ContentFault::kNone)
      state.find(text_of(state.reader.fault()), state.reader.op());
    if (!state.reader.op().empty())
      check_operator(state);
  }
  const std::size_t last = text.empty() ? 0 : text.size() - 1;
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
  if (state.reader.operand_count() < state.known->operands)
    state.find("the operator lacks operands", state.reader.op());
  check_nesting(state);
  if (state.known->kind != kNoKind)
    check_resource(state);
}

void ContentChecker::check_nesting(State& state) {
  const Nest nest = state.known->nest;
  switch (nest) {
    case Nest::kNone:
      return;
    case Nest::kSave:
      ++state.saved;
      return;
    case Nest::kRestore:
      if (state.saved == 0)
        state.find("a graphics state is restored that was not saved", "Q");
      state.saved = std::max(state.saved - 1, 0);
      return;
    case Nest::kText:
      if (state.in_text)
        state.find("a text object begins inside another", "BT");
      state.in_text = true;
      return;
    case Nest::kTextEnd:
      if (!state.in_text)
        state.find("a text object ends that did not begin", "ET");
      state.in_text = false;
      return;
    case Nest::kMark:
      ++state.marked;
      return;
    case Nest::kMarkEnd:
      if (state.marked == 0)
        state.find("marked content ends that did not begin", "EMC");
      state.marked = std::max(state.marked - 1, 0);
      return;
    case Nest::kLenient:
      ++state.lenient;
      return;
    case Nest::kLenientEnd:
      state.lenient = std::max(state.lenient - 1, 0);
      return;
  }
}

void ContentChecker::check_resource(State& state) {
  const Kind kind = state.known->kind;
  std::string_view name;
  if (!state.reader.name_from_end(state.known->from_end, name) || (kind == kColorSpace && is_own_space(name)))
    return;
  const std::size_t first = name.empty() ? 0 : static_cast<unsigned char>(name[0]);
  const std::size_t last = name.empty() ? 0 : static_cast<unsigned char>(name.back());
  Known& known = state.resources_met[(first * 7 + last * 3 + name.size() * 5 + static_cast<std::size_t>(kind)) %
                                     state.resources_met.size()];
  const bool is_in_text = name.data() >= state.reader.text().data() && name.data() < state.reader.text().end();
  if (known.name.data() != nullptr && known.kind == kind && known.name == name) {
    if (known.is_absent)
      state.find("the resources do not have what is named", name);
    return;
  }
  const bool is_gone = is_absent(state, name);
  if (is_in_text)
    known = {kind, name, is_gone};
  if (is_gone)
    state.find("the resources do not have what is named", name);
}

// Whether the resources lack what is named. A form among them is looked at later.
bool ContentChecker::is_absent(State& state, std::string_view name) {
  const Kind kind = state.known->kind;
  Freed<CPDFObj>& group = state.groups[kind];
  if (!state.has_group[kind])
    group = doc_.table().value(state.resources, kKindNames[kind]);
  state.has_group[kind] = true;
  GrowArray<char> key;
  if (!key.resize(name.size() + 1))
    return false;
  std::copy(name.begin(), name.end(), key.begin());
  const CPDFObj* const item = group.item(key.begin());
  if (item == nullptr || doc_.is_absent(item))
    return true;
  if (kind == kXObject)
    note_form(*item);
  return false;
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
