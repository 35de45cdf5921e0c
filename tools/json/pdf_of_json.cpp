// Objects keep their numbers and generations; what the JSON has no data for becomes an empty stream.
#include <algorithm>
#include <charconv>
#include <vector>

#include "json/json_document.h"
#include "sheaf/base/scope_guard.h"
#include "support/base64.h"
#include "support/inputs.h"
#include "support/json_file.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr std::int32_t kMostObjects = 8388607;  // ISO 32000-1, table C.1

// One object of the JSON.
struct Entry {
  PDF_REF ref;
  const JsonValue* value;   // null for a stream
  const JsonValue* stream;  // null for others
};

class Builder {
public:
  Builder(const JsonValue& json, const std::string& file, CQVStream& output) : json_(json), file_(file) {
    table_.stream = &output;
    table_.keeps_generations = 1;
    table_.omits_frame = 1;
  }

  bool run() {
    if (!find_objects())
      return false;
    write_header();
    std::int32_t most = 0;
    for (const Entry& entry : entries_)
      most = std::max(most, entry.ref.num);
    table_.next_obj_num = 1;
    while (table_.next_obj_num <= static_cast<std::uint32_t>(most))
      table_.alloc_obj_num();
    for (const Entry& entry : entries_) {
      if (!(entry.stream != nullptr ? add_stream(entry) : add_value(entry)))
        return false;
    }
    if (!set_trailer())
      return false;
    table_.save_14(nullptr, nullptr);  // which adds no object of its own
    if (table_.write_failed == 0)
      return true;
    complain(file_, "the document could not be written to its end; is the disk full?");
    return false;
  }

private:
  bool fail(const std::string& what) {
    complain(file_, what);
    return false;
  }

  bool find_objects() {
    const JsonValue* const qpdf = json_.member("qpdf");
    return qpdf != nullptr ? find_qpdf_objects(*qpdf) : find_own_objects();
  }

  bool find_own_objects() {
    const JsonValue* const list = json_.member("objects");
    trailer_ = json_.member("trailer");
    version_ = text_member(json_, "pdf_version");
    if (list == nullptr || list->kind != JsonValue::Kind::kArray || trailer_ == nullptr)
      return fail("is no document as sheaf json writes it: it has no \"objects\" or no \"trailer\"");
    for (const JsonValue& item : list->items) {
      const PDF_REF ref{int_member(item, "object", 0), int_member(item, "generation", 0)};
      if (!add({ref, item.member("value"), item.member("stream")}))
        return false;
    }
    return true;
  }

  // "obj:5 0 R".
  static PDF_REF reference_of(const std::string& name) {
    PDF_REF ref{0, 0};
    const char* const end = name.data() + name.size();
    if (name.compare(0, 4, "obj:") != 0)
      return ref;
    const auto num = std::from_chars(name.data() + 4, end, ref.num);
    if (num.ec == std::errc() && num.ptr != end && *num.ptr == ' ')
      std::from_chars(num.ptr + 1, end, ref.gen);
    return ref;
  }

  bool find_qpdf_objects(const JsonValue& qpdf) {
    form_ = JsonForm::kQpdf;
    if (qpdf.items.size() != 2 || int_member(qpdf.items[0], "jsonversion", 0) != 2)
      return fail("is not version 2 of qpdf's JSON, as sheaf json --qpdf and qpdf --json-output write it");
    version_ = text_member(qpdf.items[0], "pdfversion");
    for (const JsonValue& item : qpdf.items[1].items) {
      if (item.name == "trailer")
        trailer_ = item.member("value");
      else if (!add({reference_of(item.name), item.member("value"), item.member("stream")}))
        return false;
    }
    return trailer_ != nullptr || fail("has no trailer");
  }

  bool add(const Entry& entry) {
    const PDF_REF ref = entry.ref;
    if (ref.num < 1 || ref.num > kMostObjects || ref.gen < 0 || ref.gen > UINT16_MAX ||
        (entry.value == nullptr) == (entry.stream == nullptr))
      return fail("entry " + std::to_string(entries_.size() + 1) +
                  " is no object with a number, a generation, and a value or a stream");
    entries_.push_back(entry);
    return true;
  }

  void write_header() {
    const bool sound = version_.size() == 3 && version_[1] == '.' && version_[0] >= '1' && version_[0] <= '9';
    const std::string header = "%PDF-" + (sound ? version_ : "1.7") + "\n%\xE2\xE3\xCF\xD3\n";
    table_.stream->SetPos(CQVStream::STR_SEEK_SET, 0);
    if (table_.stream->Write(header.data(), static_cast<unsigned>(header.size())) != header.size())
      table_.write_failed = 1;
    table_.append_offset = static_cast<std::uint32_t>(header.size());
  }

  bool misread(const Entry& entry, const std::string& trouble) {
    return fail("object " + std::to_string(entry.ref.num) + ": " + trouble + " is not understood");
  }

  bool add_value(const Entry& entry) {
    Freed<CPDFObj> value;
    std::string trouble;
    if (!read_exact(*entry.value, form_, value, trouble))
      return misread(entry, trouble);
    return table_.store_object(entry.ref, value) || fail("there is not enough memory");
  }

  bool read_data(const Entry& entry, std::string& bytes) {
    const JsonValue* const data = entry.stream->member("data");
    const std::string path = text_member(*entry.stream, form_ == JsonForm::kQpdf ? "datafile" : "file");
    if (!path.empty())
      return read_input(path, bytes);
    if (data == nullptr) {
      ++empty_;
      return true;
    }
    return read_base64(data->text, bytes) || misread(entry, "its data in base 64");
  }

  bool add_stream(const Entry& entry) {
    Freed<CPDFObj> dict;
    std::string trouble = "its dictionary";
    std::string bytes;
    const JsonValue* const members = entry.stream->member(form_ == JsonForm::kQpdf ? "dict" : "dictionary");
    if (members == nullptr || !read_stream_dictionary(*members, dict, trouble) || dict.as_dict() == nullptr)
      return misread(entry, trouble);
    if (!read_data(entry, bytes) || bytes.size() > INT32_MAX)
      return false;
    CPDFStreamRec rec;
    rec.dict.copy_from(dict.as_dict());
    rec.dict.set_item_int(CPDFDictionary::sm_tag_length, static_cast<int>(bytes.size()));
    table_.write_stream(entry.ref, &rec, bytes.data(), static_cast<unsigned>(bytes.size()));
    table_.store_stream(entry.ref, rec);
    return true;
  }

  bool read_stream_dictionary(const JsonValue& members, CPDFObj& dict, std::string& trouble) {
    if (form_ == JsonForm::kQpdf)
      return read_exact(members, form_, dict, trouble);
    JsonValue wrapped;
    wrapped.kind = JsonValue::Kind::kObject;
    wrapped.items.push_back(members);
    wrapped.items.back().name = "dictionary";
    return read_exact(wrapped, form_, dict, trouble);
  }

  bool set_trailer() {
    Freed<CPDFObj> trailer;
    std::string trouble;
    if (!read_exact(*trailer_, form_, trailer, trouble) || trailer.as_dict() == nullptr)
      return fail("the trailer: " + trouble + " is not understood");
    const auto take = [&trailer](const char* key, CPDFObj& to) {
      if (CPDFObj* const item = trailer.as_dict()->get_item(key))
        to.move_from(*item);
    };
    take("Root", table_.root);
    take("Info", table_.info);
    take("ID", table_.id);
    if (empty_ != 0)
      warn(file_, std::to_string(empty_) + " streams have no data in it, and are empty now");
    return table_.root.tag == kTagRef || fail("the trailer has no reference under Root");
  }

  const JsonValue& json_;
  const std::string& file_;
  CPDFXRefTable table_;
  JsonForm form_ = JsonForm::kOwn;
  std::string version_;
  const JsonValue* trailer_ = nullptr;
  std::vector<Entry> entries_;
  int empty_ = 0;
};

}  // namespace

bool write_pdf_of_json(const JsonValue& json, const std::string& file, CQVStream& output) {
  return Builder(json, file, output).run();
}

}  // namespace sheaf::tool
