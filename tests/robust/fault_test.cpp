// Faults on demand while documents are read, saved, merged and copied; see support/fault_frame.h.
#include <gtest/gtest.h>

#include <memory>

#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"
#include "support/fault_frame.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr char kTrailer[] = "/Root 1 0 R/Info 9 0 R/ID[(0123456789abcdef)(0123456789abcdef)]";

// Two sections, an object stream, a compressed page, inherited values.
std::string sample() {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Lang(en)>>").obj(3, "<</Type/Page/Parent 2 0 R/Contents 6 0 R>>");
  builder.obj(2,
              "<</Type/Pages/Count 3/Kids[3 0 R 4 0 R 5 0 R]/MediaBox[0 0 612 792]/Resources<</Font<</F 8 0 R>>>>>>");
  builder.obj(4, "<</Type/Page/Parent 2 0 R>>").obj(8, "<</Type/Font>>").obj(9, "<</Title(Old)/Author(Someone)>>");
  builder.stream(6, "/Filter/FlateDecode", PdfBuilder::deflated("1 0 0 1 0 0 cm q Q")).classic(kTrailer);
  builder.object_stream(10,
                        {{5, "<</Type/Page/Parent 2 0 R/Annots[11 0 R]>>"}, {11, "<</Subtype/Link/Dest[3 0 R/Fit]>>"}});
  return builder.xref_stream(12, kTrailer).str();
}

std::string without_startxref(std::string bytes) {
  for (std::size_t at = bytes.find("startxref"); at != std::string::npos; at = bytes.find("startxref"))
    bytes[at] = 'S';
  return bytes;
}

std::string decoded(CPDFXRefTable& table, const CPDFObj& obj) {
  char block[256];
  const CPDFStreamRec* rec = obj.as_stream();
  const std::unique_ptr<CPDFStream> stream(rec != nullptr ? table.make_stream(rec) : nullptr);
  const int got = stream != nullptr ? stream->read_block(block, sizeof(block)) : 0;
  return std::string(block, static_cast<std::size_t>(std::max(got, 0)));
}

// What a reader sees of a document: its pages with their contents, and the document information.
std::string contents(CPDFDoc& doc) {
  Freed<CPDFObj> value;
  std::string text;
  doc.page_ref(0);
  for (int i = 0; i < doc.page_count(); ++i) {
    CPDFPage page;
    if (!doc.load_page(i, page))
      return "page " + std::to_string(i) + " cannot be read";
    doc.table().resolve(value, page.dict.get_item("Contents"));
    text += "[" + std::to_string(page.shown_width() / kFixOne) + " " + decoded(doc.table(), value);
    text += page.dict.get_item("Annots") != nullptr ? " annots" : "";
    text += page.dict.get_item("Resources") != nullptr ? " resources]" : "]";
  }
  doc.table().resolve(value, &doc.table().info);
  if (value.as_dict() != nullptr)
    value.as_dict()->set_item("ModDate", nullptr);  // the clock's
  return text + TestTable::syntax(value);
}

constexpr char kBefore[] =
    "[612 1 0 0 1 0 0 cm q Q resources][612  resources][612  annots resources]<</Author(Someone)/Title(Old)>>";
constexpr char kAfter[] = "[612 1 0 0 1 0 0 cm q Q resources][612  annots resources]<</Author(Someone)/Title(New)>>";

std::string contents_of(const std::string& bytes, const char* password) {
  StringStream file(bytes);
  CPDFDoc doc;
  doc.set_password(password);
  return doc.open(&file) && doc.is_readable() ? contents(doc) : "cannot be opened";
}

// ---- reading ----

bool read_all(Trial& run) {
  CPDFDoc doc;
  doc.set_password("user");
  return doc.open(&run.source) && doc.is_readable() && contents(doc) == kBefore;
}

Scenario reading(const char* name, const std::string& bytes) {
  return {name, bytes, read_all, any_bytes, any_bytes};
}

void read_with_faults(const Scenario& scenario) {
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "reads", fail_each_operation(scenario, FaultyStream::kRead, true));
  report(scenario.name, "seeks", fail_each_operation(scenario, FaultyStream::kSeek, true));
}

TEST(Faults, WhileADocumentIsRead) {
  read_with_faults(reading("read", sample()));
}

TEST(Faults, WhileADamagedDocumentIsRead) {
  read_with_faults(reading("recover", without_startxref(sample())));
}

// ---- update sections ----

// Changes a document and saves it, once more where the first attempt says that it failed.
bool update(Trial& run, PDF_SAVE_FORM form, bool sealed) {
  CPDFDoc doc;
  doc.set_password("user");
  if (!doc.open(&run.source) || !doc.is_readable() || contents(doc) != kBefore)
    return false;
  if (!doc.set_info("Title", "New") || !doc.remove_page(1))
    return false;
  PDF_SIGN_DATA sign;
  bool saved = doc.save_update(form, sealed ? &sign : nullptr);
  if (!saved && !sealed) {
    run.source.repair();
    saved = doc.save_update(form, nullptr);
    EXPECT_TRUE(saved || doc.table().entries_lost != 0) << "the table is not usable after a save that failed";
  }
  sign.dict.clear();
  return saved;
}

Scenario updating(const char* name, PDF_SAVE_FORM form, bool sealed, const std::string& bytes) {
  const auto expect_new = [](Trial& run) { EXPECT_EQ(contents_of(run.in.bytes, "user"), kAfter); };
  const auto expect_openable = [bytes](Trial& run) {
    EXPECT_EQ(run.in.bytes.substr(0, bytes.size()), bytes);
    const std::string left = contents_of(run.in.bytes, "user");
    EXPECT_TRUE(left == kBefore || left == kAfter) << left;
  };
  return {name, bytes, [form, sealed](Trial& run) { return update(run, form, sealed); }, expect_new, expect_openable};
}

void update_with_faults(const Scenario& scenario) {
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "writes", fail_each_operation(scenario, FaultyStream::kWrite, true));
}

TEST(Faults, WhileAnUpdateIsSaved) {
  update_with_faults(updating("save", PDF_SAVE_FORM::kStream, false, sample()));
}

TEST(Faults, WhileAnUpdateWithAClassicTableIsSaved) {
  update_with_faults(updating("save_14", PDF_SAVE_FORM::kClassic, false, sample()));
}

TEST(Faults, WhileAnUpdateIsSealed) {
  update_with_faults(updating("sealed save", PDF_SAVE_FORM::kStream, true, sample()));
  update_with_faults(updating("sealed save_14", PDF_SAVE_FORM::kClassic, true, sample()));
}

// ---- complete files ----

bool rewrite(Trial& run) {
  CPDFDoc doc;
  if (!doc.open(&run.source) || contents(doc) != kBefore)
    return false;
  if (!doc.set_info("Title", "New") || !doc.remove_page(1))
    return false;
  CPDFXRefTable target;
  target.stream = &run.target;
  doc.save_complete(target, nullptr);
  return target.write_failed == 0 && target.xref_items != nullptr;
}

TEST(Faults, WhileACompleteFileIsWritten) {
  const auto expect_new = [](Trial& run) { EXPECT_EQ(contents_of(run.out.bytes, nullptr), kAfter); };
  const Scenario scenario{"save_as", sample(), rewrite, expect_new, any_bytes};
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "writes", fail_each_operation(scenario, FaultyStream::kWrite, false));
  report(scenario.name, "seeks of the target", fail_each_operation(scenario, FaultyStream::kSeek, false));
}

// ---- encryption ----

std::string encrypted_sample() {
  StringStream in(sample());
  StringStream out("");
  CPDFDoc doc;
  doc.open(&in);
  CPDFStandardEncrypt enc;
  CPDFStandardEncrypt::Settings settings;
  settings.algorithm = CPDFStandardEncrypt::Algorithm::kAES128;
  settings.user_password = "user";
  CPDFXRefTable target;
  target.stream = &out;
  doc.keep_identifier(target.id);
  enc.create(settings, target.id.as_array()->get(0)->as_string());
  doc.save_complete(target, &enc);
  return out.bytes;
}

TEST(Faults, WhileAnEncryptedDocumentIsReadAndUpdated) {
  const std::string bytes = encrypted_sample();
  read_with_faults(reading("read encrypted", bytes));
  update_with_faults(updating("save encrypted", PDF_SAVE_FORM::kStream, false, bytes));
}

// ---- merging ----

bool merge_twice(Trial& run) {
  StringStream start("");
  CPDFDoc into;
  if (!into.create(&start))
    return false;
  CPDFDocMerge merge(into);
  for (int i = 0; i < 2; ++i) {
    run.source.SetPos(CQVStream::STR_SEEK_SET, 0);
    CPDFDoc source;
    if (!source.open(&run.source) || contents(source) != kBefore)
      return false;
    const std::int32_t pages[] = {0, 2, 1};
    if (merge.append(source, pages, 3, "source") != 3)
      return false;
  }
  if (!merge.finish())
    return false;
  CPDFXRefTable target;
  target.stream = &run.target;
  into.save_complete(target, nullptr);
  return target.write_failed == 0 && target.xref_items != nullptr;
}

TEST(Faults, WhileDocumentsAreMerged) {
  const auto expect_pages = [](Trial& run) {
    const std::string part = "[612 1 0 0 1 0 0 cm q Q resources][612  annots resources][612  resources]";
    EXPECT_EQ(contents_of(run.out.bytes, nullptr).substr(0, 2 * part.size()), part + part);
  };
  const Scenario scenario{"merge", sample(), merge_twice, expect_pages, any_bytes};
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "writes", fail_each_operation(scenario, FaultyStream::kWrite, false));
  // A read that comes short once looks like the end of the file: the copy is weaker, that is all.
  const Scenario weaker{"merge", sample(), merge_twice, any_bytes, any_bytes};
  report(scenario.name, "reads", fail_each_operation(weaker, FaultyStream::kRead, true));
}

// ---- walks inside a document ----

TEST(Faults, WhileObjectsAreCopiedInsideADocument) {
  const auto copy = [](Trial& run) {
    TestTable t(run.in.bytes);
    if (t.table.XRefCreate() == 0)
      return false;
    CPDFCloneMap map{};
    const PDF_REF ref = t.table.clone_obj(map, {1, 0});
    QVFree(map.entries);
    Cleared<CPDFDictionary> flat;
    const bool exported = t.table.export_annot(flat, {9, 0}) != 0;
    return ref.num != 0 && exported && t.table.clone_annot({9, 0}) != 0;
  };
  const Scenario scenario{"clone", sample(), copy, any_bytes, any_bytes};
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
}

}  // namespace
