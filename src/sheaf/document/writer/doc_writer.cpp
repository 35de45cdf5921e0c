// The steps of writing, in their order.
#include "sheaf/document/writer/doc_writer.h"

#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/writer/object_survey.h"
#include "sheaf/document/writer/object_writer.h"
#include "sheaf/document/writer/target_file.h"
#include "sheaf/document/writer/write_plan.h"
#include "sheaf/object/encrypt.h"

using namespace sheaf;

namespace {

constexpr std::size_t kVersionSize = 4;

struct Version {
  char text[kVersionSize] = "1.3";

  void at_least(const char* other) {
    const bool is_version =
        other[0] >= '1' && other[0] <= '9' && other[1] == '.' && other[2] >= '0' && other[2] <= '9' && other[3] == 0;
    if (is_version && std::strcmp(other, text) > 0)
      std::memcpy(text, other, kVersionSize);
  }
};

// The version that an encryption dictionary asks for.
const char* version_of(const CPDFEncrypt& enc) {
  const CPDFObj* const item = enc.encrypt_dict.get_item("V");
  const std::int32_t version = item != nullptr ? item->as_int() : 0;
  return version >= 5 ? "1.7" : version == 4 ? "1.6" : version >= 2 ? "1.4" : "1.3";
}

void fill_trailer(CPDFDoc& doc, const CPDFObj& id, const CPDFEncrypt* enc, ObjectWriter& writer,
                  CPDFDictionary& trailer) {
  CPDFXRefTable& table = doc.table();
  Freed<CPDFObj> value;
  const auto put = [&](const char* key, const CPDFObj& from) {
    value.copy_from(&from);
    writer.renumber(value);
    if (!value.is_null())
      trailer.move_item(key, value);
  };
  put("Root", table.root);
  put("Info", table.info);
  if (!id.is_null())
    trailer.set_item("ID", &id);
  if (enc != nullptr)
    trailer.set_item_dict("Encrypt", &enc->encrypt_dict);
}

}  // namespace

void CPDFDocWriter::count_left_out() {
  const CPDFXRefTable& table = doc_.table();
  std::int64_t known = 0;
  for (std::uint32_t num = 1; num < table.xref_count; ++num)
    known += table.xref_items[num].is_known() ? 1 : 0;
  result_.left_out = known > result_.objects ? known - result_.objects : 0;
}

bool CPDFDocWriter::write(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options) {
  result_ = {};
  CPDFXRefTable& table = doc_.table();
  const HeapWatch watch;
  if (!doc_.prepare_complete(id_, enc))
    return false;
  ObjectSurvey survey(doc_);
  WritePlan plan(survey);
  // Some readers look for the catalogue of an encrypted file outside of object streams only.
  const std::int32_t kept_apart = enc != nullptr ? table.root.as_ref().num : 0;
  if (!survey.run(false) || !plan.make(table, options, kept_apart))
    return false;
  const bool preserves = options.object_streams == PDF_OBJECT_STREAMS::kPreserve && !options.readable;
  const bool section_stream = plan.has_streams() || (preserves && (table.xref_kinds & 2) != 0);
  Version version;
  version.at_least(doc_.version());
  version.at_least(options.min_version);
  if (enc != nullptr)
    version.at_least(version_of(*enc));
  if (section_stream)
    version.at_least("1.5");
  TargetFile file(out, enc);
  if (!file.reserve(plan.next_number()))
    return false;
  file.put_header(version.text);
  ObjectWriter writer(doc_, plan, file, options, result_);
  std::size_t stream = 0;
  for (std::size_t i = 0; i < plan.order().size(); ++i) {
    if (plan.is_member(i))
      writer.write_member(plan.order()[i], plan.begins_stream(i) ? plan.streams()[stream++] : 0);
    else
      writer.write(plan.order()[i]);
  }
  writer.end_stream();
  count_left_out();
  Cleared<CPDFDictionary> trailer;
  fill_trailer(doc_, id_, enc, writer, trailer);
  if (section_stream)
    file.put_section_stream(trailer, plan.next_number());
  else
    file.put_classic_section(trailer);
  return file.finish() && watch.all_granted();
}
