// The steps of writing, in their order.
#include "sheaf/document/writer/doc_writer.h"

#include <algorithm>
#include <cstring>

#include "sheaf/base/heap_watch.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/temporary_file.h"
#include "sheaf/base/work_watch.h"
#include "sheaf/document/writer/equal_objects.h"
#include "sheaf/document/writer/linear_plan.h"
#include "sheaf/document/writer/linear_writer.h"
#include "sheaf/document/writer/object_survey.h"
#include "sheaf/document/writer/object_writer.h"
#include "sheaf/document/writer/resource_pruner.h"
#include "sheaf/document/writer/strip.h"
#include "sheaf/document/writer/target_file.h"
#include "sheaf/document/writer/write_plan.h"
#include "sheaf/object/security.h"

using namespace sheaf;

namespace {

constexpr std::size_t kVersionSize = 4;
constexpr std::int64_t kLinearBudget = 6 << 20;  // bytes of decoded object streams

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

bool preserves_streams(const PDF_WRITE_OPTIONS& options) {
  return options.object_streams == PDF_OBJECT_STREAMS::kPreserve && !options.readable;
}

bool has_compressed(const CPDFXRefTable& table) {
  for (std::uint32_t num = table.next_entry(1); num < table.xref_count; num = table.next_entry(num + 1)) {
    if (table.xref_items[num].is_compressed())
      return true;
  }
  return false;
}

Version version_for(const CPDFDoc& doc, const PDF_WRITE_OPTIONS& options, const CPDFEncrypt* enc, bool streams) {
  Version version;
  version.at_least(doc.version());
  version.at_least(options.min_version);
  if (enc != nullptr)
    version.at_least(version_of(*enc));
  if (streams)
    version.at_least("1.5");
  if (options.pack_bilevel_images)
    version.at_least("1.4");  // that of JBIG2
  return version;
}

// A sound page tree, the outline an object of its own.
bool prepare_linearized(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  if (!doc.rebuild_page_tree())
    return false;
  for (int i = 0; i < doc.page_count(); ++i) {
    const PDF_REF ref = doc.reference_to(doc.page_ref(i).num);
    Freed<CPDFObj> page = table.object(ref);
    if (page.as_dict() == nullptr || table.value(page.as_dict(), CPDFDictionary::sm_tag_type).is_name("Page"))
      continue;
    page.as_dict()->set_item_name(CPDFDictionary::sm_tag_type, "Page");
    if (!table.store_object(ref, page))
      return false;
  }
  Freed<CPDFObj> catalog = table.catalog();
  CPDFObj* const outlines = catalog.as_dict() != nullptr ? catalog.as_dict()->get_item("Outlines") : nullptr;
  if (outlines == nullptr || outlines->as_dict() == nullptr)
    return true;
  const PDF_REF ref{table.alloc_obj_num(), 0};
  if (!table.store_object(ref, *outlines))
    return false;
  outlines->set_ref(ref);
  return table.store_object(table.root.as_ref(), catalog);
}

}  // namespace

void CPDFDocWriter::count_left_out() {
  const CPDFXRefTable& table = doc_.table();
  std::int64_t known = 0;
  for (std::uint32_t num = table.next_entry(1); num < table.xref_count; num = table.next_entry(num + 1))
    known += table.xref_items[num].is_known() ? 1 : 0;
  result_.left_out = known > result_.objects ? known - result_.objects : 0;
}

bool CPDFDocWriter::join_equals(ObjectSurvey& survey, const PDF_WRITE_OPTIONS& options) {
  return !options.share_equals || EqualObjects(doc_, survey).join(result_.joined);
}

// What the options leave out is taken out of the objects in memory, one thing after the other, since each can make
// others unused.
bool CPDFDocWriter::edit(const PDF_WRITE_OPTIONS& options) {
  if (options.strip != 0) {
    ObjectSurvey survey(doc_);
    if (!survey.run(false))
      return false;
    result_.stripped = strip_document(doc_, survey, options.strip);
    if (result_.stripped < 0)
      return false;
  }
  if (options.remove_unused_resources) {
    ObjectSurvey survey(doc_);
    if (!survey.run(true))
      return false;
    result_.resources = ResourcePruner(doc_, survey).prune();
    if (result_.resources < 0)
      return false;
  }
  return true;
}

bool CPDFDocWriter::write_plainly(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options) {
  CPDFXRefTable& table = doc_.table();
  ObjectSurvey survey(doc_);
  WritePlan plan(survey);
  // Some readers look for the catalogue of an encrypted file outside of object streams only.
  const std::int32_t kept_apart = enc != nullptr ? table.root.as_ref().num : 0;
  if (!survey.run(false) || !join_equals(survey, options) || !plan.make(table, options, kept_apart))
    return false;
  const bool section_stream = plan.has_streams() || (preserves_streams(options) && (table.xref_kinds & 2) != 0);
  if (enc != nullptr && plan.has_streams())
    enc->use_one_method();
  TargetFile file(out, enc);
  if (!file.reserve(plan.next_number()))
    return false;
  file.put_header(version_for(doc_, options, enc, section_stream).text);
  ObjectWriter writer(doc_, plan, file, options, result_);
  VisitedSet contents;
  if (options.readable) {
    file.make_readable();
    find_contents(doc_, survey, contents);
    writer.lay_out(contents);
  }
  std::size_t stream = 0;
  for (std::size_t i = 0; i < plan.order().size(); ++i) {
    WorkWatch::at(static_cast<double>(i), static_cast<double>(plan.order().size()));
    if (plan.is_member(i))
      writer.write_member(plan.order()[i], plan.begins_stream(i) ? plan.streams()[stream++] : 0);
    else
      writer.write(plan.order()[i]);
  }
  writer.end_stream();
  Cleared<CPDFDictionary> trailer;
  fill_trailer(doc_, id_, enc, writer, trailer);
  result_.streams_left = writer.streams_left_alone();
  if (section_stream)
    file.put_section_stream(trailer, plan.next_number());
  else
    file.put_classic_section(trailer);
  return file.finish();
}

bool CPDFDocWriter::write_linearized(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options) {
  // The plan takes what object streams would be held in.
  const std::int64_t budget = doc_.table().objstm_budget.limit;
  doc_.table().objstm_budget.limit = std::min(budget, kLinearBudget);
  const ScopeGuard restore([this, budget] { doc_.table().objstm_budget.limit = budget; });
  ObjectSurvey survey(doc_);
  WritePlan plan(survey);
  LinearPlan order(doc_, survey, plan);
  const bool streams = options.object_streams == PDF_OBJECT_STREAMS::kGenerate ||
                       (preserves_streams(options) && has_compressed(doc_.table()));
  survey.end_inheritance();
  if (!prepare_linearized(doc_) || !survey.run(true) || !join_equals(survey, options) || !order.make(streams))
    return false;
  survey.forget_references();
  result_.hints_are_cut = order.is_cut();
  CQVStreamFile body_stream;
  body_stream.file = open_unnamed_file(nullptr);
  if (body_stream.file == nullptr)
    return false;
  if (enc != nullptr && streams)
    enc->use_one_method();
  TargetFile body(body_stream, enc);
  ObjectWriter writer(doc_, plan, body, options, result_);
  LinearWriter file(order, plan, body, body_stream);
  doc_.table().objstm_budget.start_again();
  if (!file.put_body(writer))
    return false;
  Cleared<CPDFDictionary> trailer;
  fill_trailer(doc_, id_, enc, writer, trailer);
  result_.streams_left = writer.streams_left_alone();
  return file.put_file(out, version_for(doc_, options, enc, streams).text, trailer);
}

bool CPDFDocWriter::write(CQVStream& out, CPDFEncrypt* enc, const PDF_WRITE_OPTIONS& options) {
  result_ = {};
  const HeapWatch watch;
  if (!doc_.prepare_complete(id_, enc) || !edit(options))
    return false;
  result_.has_no_pages = options.linearize && doc_.page_count() == 0;
  const bool linearizes = options.linearize && !result_.has_no_pages;
  const bool good = linearizes ? write_linearized(out, enc, options) : write_plainly(out, enc, options);
  count_left_out();
  return good && watch.all_granted();
}
