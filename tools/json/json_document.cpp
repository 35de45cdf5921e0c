// One object a line, so that the texts of two documents can be compared line by line.
#include "json/json_document.h"

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/paths/object_path.h"
#include "support/base64.h"
#include "support/json_values.h"
#include "support/progress.h"
#include "support/safe_names.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr int kQpdfVersion = 2;

class Writer {
public:
  Writer(CPDFDoc& doc, const std::string& file, const JsonManner& manner, SafeOutput& output)
      : doc_(doc), table_(doc.table()), file_(file), manner_(manner), output_(output), names_(manner.folder) {}

  int run() {
    table_.drain_pending();
    begin();
    Progress progress("objects", table_.xref_count);
    for (std::uint32_t num = 1; num < table_.xref_count && good_; ++num) {
      progress.show(num);
      if (table_.xref_items[num].is_known())
        add(doc_.reference_to(object_num(num)));
    }
    end();
    if (!good_)
      complain(output_.name(), "could not be written to its end; is its reader gone, or the disk full?");
    return good_ ? code_ : int{kExitFailed};
  }

private:
  bool own() const { return manner_.form == JsonForm::kOwn; }
  void put(const std::string& text) { good_ = good_ && output_.put(text.data(), text.size()); }

  // Lines are parted by commas, whichever comes first.
  void put_line(const std::string& text) {
    put((first_ ? "\n" : ",\n") + text);
    first_ = false;
  }

  void begin() {
    JsonWriter json;
    if (own()) {
      begin_report(json, file_).key("pdf_version").text(doc_.version()).key("trailer");
      write_trailer(json);
      json.key("objects").begin_array();
    } else {
      json.begin_object().key("version").number(kQpdfVersion).key("parameters").begin_object();
      json.key("decodelevel").text("none").end_object().key("qpdf").begin_array().begin_object();
      json.key("jsonversion").number(kQpdfVersion).key("pdfversion").text(doc_.version());
      json.key("pushedinheritedpageresources").flag(false).key("calledgetallpages").flag(false);
      json.key("maxobjectid").number(object_num(table_.xref_count) - 1).end_object();
    }
    put(json.str());
    first_ = true;
    if (!own())
      put(",{");
  }

  void write_trailer(JsonWriter& json) {
    Cleared<CPDFDictionary> trailer;
    read_trailer(doc_, trailer);
    trailer.set_item("Encrypt", nullptr);
    write_exact_dictionary(json, trailer, manner_.form, nullptr);
  }

  void end() {
    if (own()) {
      put("\n]}\n");
      return;
    }
    JsonWriter json;
    json.begin_object().key("value");
    write_trailer(json);
    put_line("\"trailer\":" + json.end_object().str());
    put("\n}]}\n");
  }

  bool holds_the_file(const PDF_REF& ref, const CPDFObj& obj) {
    const CPDFStreamRec* const rec = obj.as_stream();
    const Freed<CPDFObj> kind = table_.value(rec != nullptr ? &rec->dict : nullptr, CPDFDictionary::sm_tag_type);
    return kind.is_name("XRef") || kind.is_name("ObjStm") || ref.num == table_.encrypt.as_ref().num;
  }

  void add(const PDF_REF& ref) {
    Freed<CPDFObj> obj;
    table_.get_stored(obj, ref);
    if (obj.is_null() || holds_the_file(ref, obj))
      return;
    if (!own() && obj.tag == kTagRef)
      follow(obj);
    JsonWriter json;
    json.begin_object();
    if (own())
      json.key("object").number(ref.num).key("generation").number(ref.gen);
    if (obj.as_stream() != nullptr)
      write_stream(json, ref, *obj.as_stream());
    else
      write_exact(json.key("value"), obj, manner_.form);
    json.end_object();
    const std::string key = "\"obj:" + std::to_string(ref.num) + " " + std::to_string(ref.gen) + " R\":";
    put_line(own() ? json.str() : key + json.str());
  }

  // qpdf takes no reference for an object: the value that it leads to is written instead, unless that is a stream.
  void follow(CPDFObj& obj) {
    const Freed<CPDFObj> value = table_.value(&obj);
    if (value.as_stream() != nullptr)
      return;
    obj.free();
    obj.copy_from(&value);
  }

  void write_stream(JsonWriter& json, const PDF_REF& ref, const CPDFStreamRec& rec) {
    json.key("stream").begin_object().key(own() ? "dictionary" : "dict");
    JsonWriter dict;
    write_exact_dictionary(dict, rec.dict, manner_.form, CPDFDictionary::sm_tag_length);
    // In this tool's own form the dictionary's members come without their wrapping.
    constexpr std::size_t kWrapping = sizeof("{\"dictionary\":") - 1;
    json.raw(own() ? dict.str().substr(kWrapping, dict.str().size() - kWrapping - 1) : dict.str());
    if (manner_.streams != JsonStreams::kNone)
      write_data(json, ref, rec);
    json.end_object();
  }

  void problem(const PDF_REF& ref, const char* what) {
    complain(file_, "object " + std::to_string(ref.num) + ": " + what);
    code_ = kExitProblems;
  }

  void write_data(JsonWriter& json, const PDF_REF& ref, const CPDFStreamRec& rec) {
    int size = 0;
    const HeapBlock<unsigned char> data(table_.load_raw_data(&rec, size));
    if (!data)
      problem(ref, "its data cannot be read; the JSON has none");
    const auto length = static_cast<std::size_t>(data ? size : 0);
    if (manner_.streams == JsonStreams::kInline) {
      json.key("data").text(base64_text(data.get(), length));
      return;
    }
    SafeOutput apart;
    const std::string path = names_.path_for("stream-" + std::to_string(ref.num) + ".bin");
    if (!apart.open_for_data(path) || !apart.put(data.get(), length) || !apart.commit())
      problem(ref, "its data could not be written");
    json.key(own() ? "file" : "datafile").text(path);
  }

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  const std::string& file_;
  const JsonManner& manner_;
  SafeOutput& output_;
  SafeNames names_;
  bool good_ = true;
  bool first_ = true;
  int code_ = kExitClean;
};

}  // namespace

int write_json_document(CPDFDoc& doc, const std::string& file, const JsonManner& manner, SafeOutput& output) {
  return Writer(doc, file, manner, output).run();
}

}  // namespace sheaf::tool
