// Depth and size: long chains, deep nesting, many pages and sections, and files of nearly 4 GiB, on
// a thread with a stack of 256 KiB. The counts grow tenfold when SHEAF_HEAVY is set.
#include <gtest/gtest.h>

#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>

#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/neighbours/page/acro_form.h"
#include "sheaf/object/array.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/same_value.h"
#include "support/string_stream.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kSmallStack = 256 * 1024;

int scaled(int count) {
  return std::getenv("SHEAF_HEAVY") != nullptr ? 10 * count : count;
}

void* run_function(void* function) {
  (*static_cast<std::function<void()>*>(function))();
  return nullptr;
}

void on_small_stack(std::function<void()> function) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kSmallStack), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, run_function, &function), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

// A page whose annotation begins a chain of `links` dictionaries, each the next one's only referrer.
std::string chain(int links) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R/Annots[10 0 R]>>");
  for (int i = 0; i < links; ++i)
    builder.obj(10 + i, i + 1 < links ? "<</Next " + std::to_string(11 + i) + " 0 R>>" : "(the end)");
  return builder.classic().str();
}

TEST(Depth, AChainGoesThroughEveryWalk) {
  const int links = scaled(100'000);
  const int last = 10 + links - 1;
  const std::string bytes = chain(links);
  on_small_stack([&] {
    StringStream file(bytes);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));

    StringStream out("");
    CPDFXRefTable target;
    target.stream = &out;
    doc.save_complete(target, nullptr);
    EXPECT_EQ(target.xref_items[last].type, 1u);

    CPDFCloneMap map{};
    const PDF_REF copy = doc.table().clone_obj(map, {10, 0});
    EXPECT_NE(copy.num, 0);
    EXPECT_EQ(map.entries[last], static_cast<std::uint32_t>(copy.num) + static_cast<unsigned>(links) - 1);
    QVFree(map.entries);

    Cleared<CPDFDictionary> flat;
    doc.table().export_annot(flat, {10, 0});

    StringStream start("");
    CPDFDoc into;
    ASSERT_TRUE(into.create(&start));
    CPDFDocMerge merge(into);
    const std::int32_t page = 0;
    EXPECT_EQ(merge.append(doc, &page, 1, "chain"), 1);
    EXPECT_TRUE(merge.finish());
    EXPECT_GT(into.table().new_obj_count, static_cast<unsigned>(links));
  });
}

// Full names repeat those of all fields above: together they would take the square of the depth.
TEST(Depth, FieldsInAChainAreMergedInLittleMemory) {
  const int links = scaled(100'000);
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[10 0 R]>>>>");
  builder.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>").obj(3, "<</Type/Page/Parent 2 0 R/Annots[10 0 R]>>");
  for (int i = 0; i < links; ++i)
    builder.obj(10 + i, "<</T(x)/FT/Tx/Kids[" + std::to_string(11 + i) + " 0 R]>>");
  builder.classic();
  on_small_stack([&] {
    StringStream file(builder.str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    StringStream start("");
    CPDFDoc into;
    ASSERT_TRUE(into.create(&start));
    CPDFDocMerge merge(into);
    const std::int32_t page = 0;
    EXPECT_EQ(merge.append(doc, &page, 1, "fields"), 1);
    EXPECT_TRUE(merge.finish());
    EXPECT_GT(into.table().new_obj_count, static_cast<unsigned>(links));
    CPDFAcroForm form(into.table());
    ASSERT_TRUE(form.load());
    EXPECT_NE(form.get_field(L"x.x.x.x"), nullptr);
    EXPECT_LT(form.field_count(), 10'000);
  });
}

TEST(Depth, NestedValuesAreReadCopiedPrintedAndReleased) {
  constexpr int kLevels = 10'000;
  on_small_stack([] {
    std::string arrays;
    std::string dicts;
    for (int i = 0; i < kLevels; ++i) {
      arrays += "[";
      dicts += "<</K";
    }
    for (const std::string& text :
         {arrays + "1" + std::string(kLevels, ']'), dicts + " 1" + std::string(2 * kLevels, '>'), arrays, dicts}) {
      Freed<CPDFObj> value;
      read_value(value, text);
      Freed<CPDFObj> copy;
      copy.copy_from(&value);
      EXPECT_EQ(TestTable::syntax(copy), TestTable::syntax(value));
    }
  });
}

TEST(Depth, APageTreeOfManyPagesIsWalkedEditedAndSaved) {
  const int pages = scaled(100'000);
  PdfBuilder builder;
  builder.pages(pages).classic();
  on_small_stack([&] {
    StringStream file(builder.str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    EXPECT_EQ(doc.page_count(), pages);
    EXPECT_EQ(doc.page_ref(pages - 1).num, pages + 2);
    ASSERT_TRUE(doc.move_page(pages - 1, 0));
    ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
    doc.close();
    ASSERT_TRUE(doc.open(&file));
    EXPECT_EQ(doc.page_count(), pages);
    EXPECT_EQ(doc.page_ref(0).num, pages + 2);
    EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  });
}

TEST(Depth, ThreeHundredSectionsAreReadToTheOldest) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(oldest)").classic();
  for (int i = 0; i < 299; ++i)
    builder.obj(5, std::to_string(i)).classic();
  on_small_stack([&] {
    StringStream file(builder.str());
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    Freed<CPDFObj> value;
    doc.table().get_entity(value, {4, 0});
    EXPECT_EQ(TestTable::syntax(value), "(oldest)");
    doc.table().get_entity(value, {5, 0});
    EXPECT_EQ(value.as_int(), 298);
  });
}

// A sparse file of `size` bytes: the first objects at its start, the others and the section at its end.
// It has an identifier, since a new one would be a digest of all the zeros.
void write_sparse(const std::string& path, long long size) {
  PdfBuilder front;
  front.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>");
  const auto tail_at = [&](long long start) {
    const std::string page = "3 0 obj\n<</Type/Page/Parent 2 0 R>>\nendobj\n";
    char section[256];
    std::snprintf(section, sizeof(section),
                  "xref\n0 4\n0000000000 65535 f \n%010zu 00000 n \n%010zu 00000 n \n%010lld 00000 n \n"
                  "trailer\n<</Size 4/Root 1 0 R/ID[(identifier)(identifier)]>>\nstartxref\n%lld\n%%%%EOF\n",
                  front.offset_of(1), front.offset_of(2), start, start + static_cast<long long>(page.size()));
    return page + section;
  };
  const long long start = size - static_cast<long long>(tail_at(size).size());
  std::FILE* file = std::fopen(path.c_str(), "wb");
  std::fwrite(front.str().data(), 1, front.str().size(), file);
  std::fseek(file, start, SEEK_SET);
  const std::string tail = tail_at(start);
  std::fwrite(tail.data(), 1, tail.size(), file);
  std::fclose(file);
}

TEST(Depth, AFileOfNearlyFourGiBIsOpenedAndUpdated) {
  const TestFolder folder;
  const std::string path = folder / "large.pdf";
  write_sparse(path, (1LL << 32) - 64 * 1024);
  CPDFDoc doc;
  ASSERT_TRUE(doc.open_for_update(path.c_str()));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  ASSERT_TRUE(doc.set_info("Title", "large"));
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  ASSERT_TRUE(doc.open(path.c_str()));
  EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
  EXPECT_EQ(doc.page_count(), 1);
  EXPECT_NE(doc.table().info.as_ref().num, 0);
}

// Offsets have 32 bits: what would lie after them must not be written as if it did not.
TEST(Depth, AnUpdateAcrossFourGiBIsRefusedAndLeavesTheFile) {
  const TestFolder folder;
  const std::string path = folder / "full.pdf";
  const long long size = (1LL << 32) - 200;
  write_sparse(path, size);
  for (const PDF_SAVE_FORM form : {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream}) {
    CPDFDoc doc;
    ASSERT_TRUE(doc.open_for_update(path.c_str()));
    ASSERT_TRUE(doc.set_info("Title", "too large"));
    EXPECT_FALSE(doc.save_update(form, nullptr));
    EXPECT_TRUE(doc.undo_failed_save());
    EXPECT_EQ(doc.file_size(), size);
    doc.close();
    ASSERT_TRUE(doc.open(path.c_str()));
    EXPECT_EQ(doc.status(), PDF_OPEN::kClean);
    EXPECT_EQ(doc.table().info.tag, kTagNull);
  }
}

}  // namespace
