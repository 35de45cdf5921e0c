// Every file of the folder that SHEAF_CORPUS names: opened, walked, decoded, saved and reopened.
// The page counts of an expected.tsv beside the files are held where several other programs agree.
#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/security/standard_handler.h"
#include "sheaf/object/array.h"
#include "support/corpus.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// Every object by number, streams with a hash of their decoded data (the first megabytes of them).
std::map<std::uint32_t, std::string> contents(CPDFXRefTable& table) {
  std::map<std::uint32_t, std::string> all;
  table.drain_pending();
  std::vector<char> block(1 << 16);
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    const CPDFStreamRec* rec = obj.as_stream();
    if (rec == nullptr) {
      all[num] = TestTable::syntax(obj);
      continue;
    }
    const std::unique_ptr<CPDFStream> stream(table.make_stream(rec));
    std::size_t hash = 0;
    std::size_t total = 0;
    for (int got = 1; stream != nullptr && got > 0 && total < (8u << 20); total += static_cast<std::size_t>(got)) {
      got = std::max(stream->read_block(block.data(), static_cast<int>(block.size())), 0);
      if (got > 0)
        hash = hash * 31 + std::hash<std::string_view>()(std::string_view(block.data(), static_cast<std::size_t>(got)));
    }
    CPDFObj dict{};
    dict.copy_from(&obj);
    dict.as_stream()->dict.set_item("Length", nullptr);
    dict.as_stream()->source = nullptr;
    all[num] = TestTable::syntax(dict) + " " + std::to_string(total) + " " + std::to_string(hash);
    dict.free();
  }
  return all;
}

struct Corpus : testing::Test {
  void SetUp() override {
    files = corpus_files();
    if (files.empty())
      GTEST_SKIP() << "SHEAF_CORPUS names no folder of PDFs";
  }
  std::vector<CorpusFile> files;
};

TEST_F(Corpus, EveryFileOpensWithItsPages) {
  for (const CorpusFile& file : files) {
    CPDFDoc doc;
    doc.set_password(file.expected.password.c_str());
    doc.open(file.path.c_str());
    if (doc.is_readable())
      contents(doc.table());
    if (file.expected.openable >= 2 && file.expected.pages >= 0) {
      EXPECT_EQ(doc.page_count(), file.expected.pages) << file.name;
    }
  }
}

TEST_F(Corpus, RewritingKeepsEveryObjectThatIsReached) {
  for (const CorpusFile& file : files) {
    CPDFDoc doc;
    doc.set_password(file.expected.password.c_str());
    if (!doc.open(file.path.c_str()) || !doc.is_readable())
      continue;
    MemStream out("");
    CPDFXRefTable target;
    target.stream = &out;
    doc.save_complete(target, nullptr);
    CPDFDoc again;
    if (doc.page_count() == 0 && !again.open(&out))
      continue;
    ASSERT_TRUE(again.open(&out)) << file.name;
    EXPECT_EQ(again.page_count(), doc.page_count()) << file.name;
    auto before = contents(doc.table());
    auto after = contents(again.table());
    CPDFCloneMap reached{nullptr, 0};
    doc.table().rec_obj(reached, doc.table().root.as_ref());
    const HeapBlock<std::uint32_t> words(reached.entries);
    for (const auto& [num, text] : before) {
      const bool is_reached = num < reached.capacity && words[num] != 0;
      if (is_reached && text != "null") {
        EXPECT_EQ(after[num], text) << file.name << " object " << num;
      }
    }
  }
}

TEST_F(Corpus, UpdatesKeepTheOldBytesAndObjects) {
  for (const CorpusFile& file : files) {
    for (const PDF_SAVE_FORM form : {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream}) {
      const std::string bytes = read_file(file.path);
      MemStream copy(bytes);
      CPDFDoc doc;
      doc.set_password(file.expected.password.c_str());
      if (!doc.open(&copy) || !doc.is_readable())
        continue;
      const int pages = doc.page_count();
      ASSERT_TRUE(doc.set_info("Title", "A new title")) << file.name;
      using Outcome = CPDFStandardSecHand::Outcome;
      const Outcome outcome = doc.handler().outcome();
      if (doc.is_encrypted() && outcome != Outcome::kOpenedAsUser && outcome != Outcome::kOpenedAsOwner) {
        EXPECT_FALSE(doc.save_update(form, nullptr)) << file.name << ": nothing in clear goes into it";
        break;
      }
      ASSERT_TRUE(doc.save_update(form, nullptr)) << file.name;
      doc.close();
      doc.set_password(file.expected.password.c_str());
      ASSERT_TRUE(doc.open(&copy)) << file.name;
      EXPECT_EQ(doc.page_count(), pages) << file.name;
      Freed<CPDFObj> info;
      doc.table().resolve(info, &doc.table().info);
      ASSERT_NE(info.as_dict(), nullptr) << file.name;
      EXPECT_STREQ(info.as_dict()->get_item("Title")->as_text(), "A new title") << file.name;
      std::string start = copy.str().substr(0, bytes.size());
      for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (start[i] == ' ')
          start[i] = bytes[i];  // the one change that is allowed in the old content
      }
      EXPECT_TRUE(start == bytes) << file.name;
    }
  }
}

}  // namespace
