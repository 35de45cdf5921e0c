// Documents to begin with, of every form that a file can have.
#include "oracle/source.h"

#include <cctype>
#include <cstdio>

#include "oracle/chance.h"

namespace oracle {

namespace {

enum class Form { kClassic, kStream, kHybrid };

class SourceMaker {
public:
  explicit SourceMaker(std::uint64_t seed) : chance_(seed) {}

  Source make() {
    static constexpr const char* kNames[] = {"classic", "stream", "hybrid"};
    form_ = static_cast<Form>(chance_.next(3));
    source_.form = kNames[static_cast<int>(form_)];
    make_objects();
    next_ = model().objects.rbegin()->first + 1;
    out_ = chance_.one_in(6) ? "some bytes in front\n%PDF-1.6\n%\xE2\xE3\xCF\xD3\n" : "%PDF-1.6\n%\xE2\xE3\xCF\xD3\n";
    base_ = out_.find("%PDF");
    const bool two = chance_.one_in(2);
    model().is_for_library_only = form_ == Form::kStream && chance_.one_in(8);
    if (two)
      put_old_revision();
    put_revision();
    // What is left of two revisions is the older one, which is sound.
    if (form_ == Form::kClassic && !two && chance_.one_in(8))
      damage();
    source_.bytes = out_;
    return source_;
  }

private:
  Model& model() { return source_.model; }

  Object& object(int num) { return model().objects[num]; }

  void make_objects() {
    const int pages = 1 + static_cast<int>(chance_.next(4));
    const int others = 3 + static_cast<int>(chance_.next(12));
    int num = 3;
    Value kids = Value::array();
    for (int i = 0; i < pages; ++i, ++num) {
      object(num).value = Value::dict({{"Type", Value::name("Page")},
                                       {"Parent", Value::ref(2)},
                                       {"Mark", Value::of(i + 1)},
                                       {"Contents", Value::ref(3 + pages)}});
      kids.items.push_back(Value::ref(num));
      model().pages.push_back(i + 1);
    }
    object(2).value =
        Value::dict({{"Type", Value::name("Pages")},
                     {"Count", Value::of(pages)},
                     {"Kids", kids},
                     {"MediaBox", Value::array({Value::of(0), Value::of(0), Value::of(200), Value::of(300.5)})}});
    Value held = Value::array();
    for (int i = 0; i < others; ++i, ++num) {
      make_object(num, i == 0);
      held.items.push_back(Value::ref(num, object(num).gen));
    }
    object(num).value = Value::dict({{"Author", Value::string("the oracle")}});
    model().info["Author"] = "the oracle";
    object(1).value = Value::dict({{"Type", Value::name("Catalog")}, {"Pages", Value::ref(2)}, {"Held", held}});
    const Value id = Value::string(chance_.bytes(16));
    model().trailer = Value::dict({{"Root", Value::ref(1)}, {"Info", Value::ref(num)}, {"ID", Value::array({id, id})}});
  }

  void make_object(int num, bool is_stream) {
    Object& made = object(num);
    if (form_ == Form::kClassic && !is_stream && chance_.one_in(6))
      made.gen = 1 + static_cast<int>(chance_.next(3));
    if (is_stream || chance_.one_in(2)) {
      made.value = Value::dict({{"Kept", Value::of(num)}});
      made.body = std::make_shared<std::string>(chance_.bytes(chance_.size()));
      return;
    }
    switch (chance_.next(4)) {
      case 0:
        made.value = Value::array({Value::of(num), Value::string(chance_.bytes(20)), Value::ref(num)});
        made.value.items[2].gen = made.gen;
        return;
      case 1:
        made.value = Value::string("string " + std::to_string(num));
        return;
      case 2:
        made.value = Value::of(num * 1000.5);
        return;
      default:
        made.value = Value::dict({{"Big", Value::of(4294967252.0)},
                                  {"Inner", Value::dict({{"Text", Value::string(chance_.bytes(9))}})},
                                  {"To", Value::ref(3)}});
    }
  }

  std::size_t position() const { return out_.size() - base_; }

  void put_object(int num, const Object& held) {
    places_[num] = {position(), held.gen};
    out_ += std::to_string(num) + " " + std::to_string(held.gen) + " obj\n";
    if (held.body == nullptr) {
      out_ += syntax(held.value) + "\nendobj\n";
      return;
    }
    std::string dict = syntax(held.value);
    dict.resize(dict.size() - 2);
    const bool has_keyword = held.body->find("endstream") != std::string::npos;
    out_ += dict + length_text(held.body->size(), has_keyword) + ">>\nstream\n" + *held.body + "\nendstream\nendobj\n";
  }

  // Line ends at the end of the data are lost where these are searched for, so that only plain ends are
  // left to a search.
  std::string length_text(std::size_t size, bool has_keyword) {
    constexpr std::uint32_t kTooShort = 6;
    const std::string text = std::to_string(size);
    const Bytes& body = last_body_;
    const bool plain_end = body != nullptr && !body->empty() && body->back() != '\n' && body->back() != '\r';
    std::uint32_t kind = chance_.next(has_keyword || !plain_end ? 4 : 7);
    // After white space or a comment in the data some readers find the keyword all the same.
    if (kind == kTooShort && !std::isalnum(static_cast<unsigned char>((*body)[1 + size / 2 < size ? 1 + size / 2 : 0])))
      kind = 5;
    if (kind > 3)
      model().open_ended.insert(present_);
    switch (kind) {
      case 3:
        extra_[next_] = text;
        return "/Length " + std::to_string(next_++) + " 0 R";
      case 4:
        return "/Length " + text + ".0";
      case 5:
        return "";
      case kTooShort:
        return "/Length " + std::to_string(1 + size / 2);  // where no keyword is
      default:
        return "/Length " + text;
    }
  }

  // An older state of some objects, which the newer one replaces.
  void put_old_revision() {
    for (const auto& [num, held] : model().objects) {
      Object old = held;
      if (num > 2 && held.body == nullptr && held.value.kind == Value::Kind::kNumber)
        old.value = Value::string("what it was before");
      put(num, old);
    }
    finish();
  }

  void put_revision() {
    const bool again = has_section_;
    for (const auto& [num, held] : model().objects) {
      if (!again || held.value.kind == Value::Kind::kNumber || chance_.one_in(4))
        put(num, held);
    }
    finish();
  }

  void put(int num, const Object& held) {
    last_body_ = held.body;
    present_ = num;
    model().open_ended.erase(num);
    const bool can_be_compressed = form_ != Form::kClassic && held.body == nullptr && held.gen == 0;
    // The catalogue of a hybrid file must be seen by readers that know no object streams.
    if (can_be_compressed && num > 2 && chance_.one_in(2))
      compressed_.push_back(num);
    else
      put_object(num, held);
    if (can_be_compressed)
      values_[num] = held.value;
  }

  // An object stream with objects that nothing refers to, as writers leave them after.
  void put_orphans() {
    if (form_ == Form::kClassic || !chance_.one_in(3))
      return;
    const std::vector<int> kept = compressed_;
    compressed_ = {next_, next_ + 1};
    next_ += 2;
    for (const int num : compressed_)
      values_[num] = Value::string("nobody asks for this");
    put_compressed();
    for (std::size_t i = 0; i < compressed_.size(); ++i)
      orphans_[compressed_[i]] = {container_, i};
    compressed_ = kept;
  }

  void put_compressed() {
    if (compressed_.empty())
      return;
    std::string numbers;
    std::string bodies;
    for (const int num : compressed_) {
      numbers += std::to_string(num) + " " + std::to_string(bodies.size()) + " ";
      bodies += syntax(values_[num]) + "\n";
    }
    Object stream;
    stream.value = Value::dict({{"Type", Value::name("ObjStm")},
                                {"N", Value::of(static_cast<double>(compressed_.size()))},
                                {"First", Value::of(static_cast<double>(numbers.size()))}});
    stream.body = std::make_shared<std::string>(numbers + bodies);
    last_body_ = nullptr;
    container_ = next_++;
    containers_.insert(container_);
    put_object(container_, stream);
  }

  void finish() {
    put_orphans();
    put_compressed();
    for (const auto& [num, text] : extra_) {
      places_[num] = {position(), 0};
      out_ += std::to_string(num) + " 0 obj\n" + text + "\nendobj\n";
    }
    extra_.clear();
    std::size_t start = 0;
    std::string hybrid;
    if (form_ == Form::kStream || (form_ == Form::kHybrid && !(compressed_.empty() && orphans_.empty()))) {
      start = position();
      put_xref_stream(form_ == Form::kStream);
      hybrid = "/XRefStm " + std::to_string(start);
    }
    if (form_ != Form::kStream) {
      start = position();
      put_table(hybrid);
    }
    out_ += "startxref\n" + std::to_string(start) + "\n%%EOF\n";
    prev_ = start;
    has_section_ = true;
    places_.clear();
    compressed_.clear();
  }

  std::string trailer() {
    std::string text = syntax(model().trailer);
    text.resize(text.size() - 2);
    return text + "/Size " + std::to_string(next_) + (has_section_ ? "/Prev " + std::to_string(prev_) : "");
  }

  void put_table(const std::string& hybrid) {
    out_ += "xref\n";
    if (!has_section_)
      out_ += "0 1\n0000000000 65535 f \n";
    else if (places_.empty())
      out_ += "0 0\n";  // other programs want a subsection, though of no objects
    for (const auto& [num, place] : places_) {
      char line[48];
      std::snprintf(line, sizeof(line), "%d 1\n%010zu %05d n \n", num, place.first, place.second);
      out_ += line;
    }
    out_ += "trailer\n" + trailer() + hybrid + ">>\n";
  }

  static void put_row(std::string& rows, int type, std::size_t second, std::size_t third) {
    rows += static_cast<char>(type);
    for (int shift = 24; shift >= 0; shift -= 8)
      rows += static_cast<char>(second >> shift);
    rows += static_cast<char>(third >> 8);
    rows += static_cast<char>(third);
  }

  void put_xref_stream(bool with_all) {
    const int num = next_++;
    const std::size_t start = position();
    std::string index;
    std::string rows;
    std::map<int, std::string> entries;
    if (with_all) {
      for (const auto& [member, place] : places_)
        put_row(entries[member], 1, place.first, static_cast<std::size_t>(place.second));
      put_row(entries[num], 1, start, 0);
    } else {
      places_[num] = {start, 0};
    }
    for (std::size_t i = 0; i < compressed_.size(); ++i)
      put_row(entries[compressed_[i]], 2, static_cast<std::size_t>(container_), i);
    for (const auto& [member, place] : orphans_)
      put_row(entries[member], 2, static_cast<std::size_t>(place.first), place.second);
    orphans_.clear();
    // Entries of object streams, of a type that leads nowhere.
    for (auto& [member, row] : entries) {
      if (model().is_for_library_only && containers_.count(member) != 0)
        row[0] = chance_.one_in(2) ? '\5' : '\x87';
    }
    for (const auto& [member, row] : entries) {
      index += std::to_string(member) + " 1 ";
      rows += row;
    }
    out_ += std::to_string(num) + " 0 obj\n" + trailer() + "/Type/XRef/W[1 4 2]/Index[" + index + "]/Length " +
            std::to_string(rows.size()) + ">>\nstream\n" + rows + "\nendstream\nendobj\n";
  }

  void damage() {
    source_.form += ", damaged";
    const std::size_t start = out_.rfind("startxref");
    if (chance_.one_in(2))
      out_.replace(start, 9, "startxxxx");
    else
      out_.resize(start);
  }

  Chance chance_;
  Source source_;
  Form form_ = Form::kClassic;
  std::string out_;
  std::size_t base_ = 0;
  int next_ = 0;
  std::map<int, std::pair<std::size_t, int>> places_;
  std::map<int, std::string> extra_;  // numbers that lengths refer to
  std::map<int, Value> values_;
  std::vector<int> compressed_;
  std::map<int, std::pair<int, std::size_t>> orphans_;
  Bytes last_body_;
  int present_ = 0;
  int container_ = 0;
  std::set<int> containers_;
  std::size_t prev_ = 0;
  bool has_section_ = false;
};

}  // namespace

Source make_source(std::uint64_t seed) {
  return SourceMaker(seed).make();
}

}  // namespace oracle
