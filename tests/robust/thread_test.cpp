// Tables have nothing in common but constant data: two of them on two threads, each with its own
// copy of one shared environment. To be run under ThreadSanitizer too.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "sheaf/object/array.h"
#include "support/pdf_builder.h"
#include "support/string_stream.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

std::string sample() {
  PdfBuilder builder;
  builder.pages(3).stream(8, "/Filter/FlateDecode", PdfBuilder::deflated(std::string(5000, 'd')));
  builder.object_stream(9, {{6, "<</A(b)>>"}, {7, "[1 2 3]"}});
  return builder.xref_stream(10, "/Root 1 0 R/ID[(0123456789abcdef)(0123456789abcdef)]").str();
}

// A life of a document that touches every room; the result does not depend on what else runs.
std::string live(const std::string& bytes, CPDFEnviroment& shared) {
  StringStream file(bytes);
  CPDFDoc doc;
  if (!doc.open(&file))
    return "cannot be opened";
  doc.table().set_envirment(&shared, "1234");
  doc.set_info("Title", "threads");
  doc.save_update(PDF_SAVE_FORM::kStream, nullptr);

  StringStream start("");
  CPDFDoc into;
  into.create(&start);
  CPDFDocMerge merge(into);
  const std::array<std::int32_t, 3> pages{2, 1, 0};
  merge.append(doc, pages.data(), 3, "source");
  merge.finish();

  StringStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  CPDFStandardEncrypt enc;
  CPDFStandardEncrypt::Settings settings;
  settings.user_password = "user";
  into.keep_identifier(target.id);
  enc.create(settings, target.id.as_array()->get(0)->as_string());
  into.save_complete(target, &enc);

  CPDFDoc again;
  again.set_password("user");
  if (!again.open(&out) || !again.is_readable())
    return "cannot be opened again";
  Freed<CPDFObj> page;
  again.table().get_entity(page, again.page_ref(0));
  return std::to_string(again.page_count()) + TestTable::syntax(page);
}

TEST(Threads, TablesOnTwoThreadsDoNotDisturbOneAnother) {
  constexpr int kRounds = 20;
  const std::string bytes = sample();
  auto* shared = new CPDFEnviroment;
  const std::string alone = live(bytes, *shared);
  EXPECT_EQ(alone.substr(0, 1), "3");
  std::array<std::string, 2> results;
  std::array<std::thread, 2> threads;
  for (std::size_t i = 0; i < threads.size(); ++i) {
    threads[i] = std::thread([&, i] {
      for (int round = 0; round < kRounds && (round == 0 || results[i] == alone); ++round)
        results[i] = live(bytes, *shared);
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(results[0], alone);
  EXPECT_EQ(results[1], alone);
  CPDFEnviroment::destroy(shared);
}

}  // namespace
