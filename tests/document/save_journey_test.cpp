// What an application does around saves of a file: autosaves, disks that run full, other programs that
// write to the same file. At every moment the file must hold what was promised.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "sheaf/document/doc.h"
#include "support/external_tool.h"
#include "support/full_disk.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

struct SaveJourney : testing::Test {
  void SetUp() override {
    PdfBuilder builder;
    builder.pages(2).obj(5, "<</Title(first)>>").obj(6, "(ballast)").classic("/Root 1 0 R/Info 5 0 R/ID[<0A><0B>]");
    original = builder.str();
    write_file(path, original);
  }
  std::string bytes() const { return read_file(path); }
  long long size_on_disk() const { return static_cast<long long>(std::filesystem::file_size(path)); }
  // A title, and with it so much that a save takes more than a block.
  static bool change(CPDFDoc& doc, const std::string& title, std::size_t ballast = 0) {
    Freed<CPDFObj> obj;
    const std::string text(ballast, 'x');
    obj.set_string(text.data(), static_cast<int>(text.size()));
    return doc.set_info("Title", title.c_str()) && (ballast == 0 || doc.table().store_object({6, 0}, obj));
  }
  // The title that a reader of the file sees; also an independent one must find no fault.
  std::string title() const {
    CPDFDoc doc;
    if (!doc.open(path.c_str()) || doc.status() != PDF_OPEN::kClean)
      return "does not open";
    if (has_program("qpdf") &&
        run_command("qpdf --check " + path + " 2>&1 | grep -v 'one plus'").output.find("WARN") != std::string::npos)
      return "qpdf warns";
    Freed<CPDFObj> info;
    doc.table().resolve(info, &doc.table().info);
    const CPDFObj* const item = info.as_dict() != nullptr ? info.as_dict()->get_item("Title") : nullptr;
    return item != nullptr ? item->as_text() : "no title";
  }

  TestFolder folder;
  std::string path = folder / "file.pdf";
  std::string original;
};

constexpr PDF_SAVE_FORM kForms[] = {PDF_SAVE_FORM::kClassic, PDF_SAVE_FORM::kStream};

// The disk is full in the middle of what is written, or only for its last bytes.
TEST_F(SaveJourney, AFailedSaveIsTakenBackAndWhatWasSealedStays) {
  for (const std::string& front : {std::string(), std::string("mail in front of it\r\n\r\n")}) {
    const long long room = front.empty() ? 40'000 : 100'100;
    write_file(path, front + original);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open_for_update(path.c_str()));
    EXPECT_EQ(doc.file_size(), size_on_disk());
    PDF_SIGN_DATA sign;
    ASSERT_TRUE(change(doc, "sealed") && doc.save_update(PDF_SAVE_FORM::kAsFile, &sign));
    const std::string sealed = bytes();
    EXPECT_EQ(doc.file_size(), size_on_disk());
    ASSERT_TRUE(change(doc, "later", 100'000));
    {
      const FullDisk disk(size_on_disk() + room);
      EXPECT_FALSE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
    }
    EXPECT_EQ(doc.last_save(), PDF_SAVE::kShort);
    EXPECT_GT(doc.file_size(), static_cast<long long>(sealed.size()));
    EXPECT_FALSE(doc.truncate_to(static_cast<long long>(original.size())));  // would cut through what is sealed
    EXPECT_TRUE(doc.undo_failed_save());
    EXPECT_EQ(bytes(), sealed);
    EXPECT_EQ(doc.file_size(), doc.sound_end());
    EXPECT_EQ(title(), "sealed");
    EXPECT_TRUE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));  // the changes went on waiting
    EXPECT_EQ(title(), "later");
    EXPECT_EQ(bytes().substr(0, sealed.size()), sealed);
  }
}

TEST_F(SaveJourney, ANewFileOnAFullDiskIsNoSuccess) {
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(path.c_str()));
  for (const long long room : {10, 300}) {
    CQVStreamFile out;
    out.file = std::fopen((folder / "new.pdf").c_str(), "w+b");
    CPDFXRefTable target;
    target.stream = &out;
    const FullDisk disk(room);
    doc.save_complete(target, nullptr);
    EXPECT_NE(target.write_failed, 0) << room;
  }
}

TEST_F(SaveJourney, AnAppendedSaveThatFailsLeavesTheOneBefore) {
  for (const PDF_SAVE_FORM form : kForms) {
    for (const bool seals : {false, true}) {
      for (const long long room : {0, 700, 33'000, 66'000, 90'000}) {
        write_file(path, original);
        CPDFDoc doc;
        doc.set_save_safety(PDF_SAVE_SAFETY::kAppend);
        ASSERT_TRUE(doc.open_for_update(path.c_str()));
        ASSERT_TRUE(change(doc, "one", 30'000) && doc.save_update(form, nullptr));
        ASSERT_TRUE(change(doc, "two", 60'000));
        PDF_SIGN_DATA sign;
        const long long before = size_on_disk();
        bool good = false;
        {
          const FullDisk disk(before + room);
          good = doc.save_update(form, seals ? &sign : nullptr);
        }
        // A seal may come as far as to a plain section of the new state.
        const std::string expected = room > 60'000 ? "two" : "one";
        EXPECT_EQ(good, room > 60'000 && !seals);
        EXPECT_EQ(title(), expected) << "room " << room;  // as it would be after a crash, too
        EXPECT_TRUE(doc.undo_failed_save());
        EXPECT_EQ(title(), expected);
        ASSERT_TRUE(change(doc, "three") && doc.save_update(form, seals ? &sign : nullptr));
        EXPECT_EQ(title(), "three");
      }
    }
  }
}

TEST_F(SaveJourney, AppendedSavesBecomeOneSectionAtASealAndAtClose) {
  for (const PDF_SAVE_FORM form : kForms) {
    for (const bool seals : {false, true}) {
      const std::string before = (seals ? "bytes in front of the header\n" : "") + original;
      write_file(path, before);
      CPDFDoc doc;
      doc.set_save_safety(PDF_SAVE_SAFETY::kAppend);
      ASSERT_TRUE(doc.open_for_update(path.c_str()));
      for (int i = 0; i < 10; ++i)
        ASSERT_TRUE(change(doc, "plain " + std::to_string(i), 5'000) && doc.save_update(form, nullptr));
      EXPECT_GT(size_on_disk(), 50'000);
      EXPECT_EQ(title(), "plain 9");
      PDF_SIGN_DATA sign;
      ASSERT_TRUE(!seals || (change(doc, "sealed") && doc.save_update(form, &sign)));
      if (seals) {
        EXPECT_LT(size_on_disk(), 8'000);
        EXPECT_EQ(doc.sound_end(), size_on_disk());
      }
      doc.close();
      EXPECT_LT(size_on_disk(), 8'000);
      EXPECT_EQ(bytes().substr(0, before.size()), before);
      EXPECT_EQ(title(), seals ? "sealed" : "plain 9");
    }
  }
}

// What was never saved is not saved by closing either.
TEST_F(SaveJourney, ClosingWithUnsavedChangesKeepsTheLastSave) {
  CPDFDoc doc;
  doc.set_save_safety(PDF_SAVE_SAFETY::kAppend);
  ASSERT_TRUE(doc.open_for_update(path.c_str()));
  ASSERT_TRUE(change(doc, "one") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  ASSERT_TRUE(change(doc, "two") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  ASSERT_TRUE(change(doc, "never saved"));
  doc.close();
  EXPECT_EQ(title(), "two");
}

TEST_F(SaveJourney, AnotherProgramsChangeIsNeverWrittenOver) {
  const auto rewrite = [](const std::string& file, const std::string& text) { write_file(file, text); };
  const auto appends = [&](const std::string& file) { rewrite(file, read_file(file) + "% more\n"); };
  const auto cuts = [](const std::string& file) { std::filesystem::resize_file(file, 300); };
  const auto changes = [](const std::string& file) {
    std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).seekp(20).put('?');
  };
  const auto replaces = [&](const std::string& file) {
    rewrite(file + ".new", read_file(file));
    std::filesystem::rename(file + ".new", file);
  };
  const auto removes = [](const std::string& file) { std::filesystem::remove(file); };
  const std::function<void(const std::string&)> others[] = {appends, cuts, changes, replaces, removes};
  for (const auto& other : others) {
    for (const bool after_a_save : {false, true}) {
      write_file(path, original);
      CPDFDoc doc;
      ASSERT_TRUE(doc.open_for_update(path.c_str()));
      if (after_a_save) {
        ASSERT_TRUE(change(doc, "own") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
      }
      run_command("sleep 0.02");  // the clock of the file system is a coarse one
      other(path);
      const std::string theirs = bytes();
      ASSERT_TRUE(change(doc, "mine"));
      EXPECT_FALSE(doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
      EXPECT_EQ(doc.last_save(), PDF_SAVE::kFileChanged);
      EXPECT_FALSE(doc.truncate_to(doc.sound_end()));
      doc.close();
      EXPECT_EQ(bytes(), theirs);
    }
  }
}

TEST_F(SaveJourney, BytesWrittenThroughTheDocumentsStreamAreItsOwn) {
  CPDFDoc doc;
  ASSERT_TRUE(doc.open_for_update(path.c_str()));
  PDF_SIGN_DATA sign;
  ASSERT_TRUE(change(doc, "one") && doc.save_update(PDF_SAVE_FORM::kAsFile, &sign));
  run_command("sleep 0.02");
  CQVStream& stream = *doc.table().stream;
  stream.SetPos(CQVStream::STR_SEEK_SET, 10);
  ASSERT_EQ(stream.Write("\xE3", 1), 1u);
  ASSERT_TRUE(change(doc, "two") && doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr));
  EXPECT_EQ(title(), "two");
}

TEST_F(SaveJourney, AutosavesNeitherGrowTheFileNorWriteWithoutAChange) {
  for (const PDF_SAVE_FORM form : kForms) {
    write_file(path, original);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open_for_update(path.c_str()));
    long long after_first = 0;
    for (int i = 1000; i < 1300; ++i) {
      ASSERT_TRUE(change(doc, "number " + std::to_string(i)) && doc.save_update(form, nullptr));
      after_first = after_first != 0 ? after_first : size_on_disk();
    }
    EXPECT_LE(size_on_disk(), after_first + 32);
    EXPECT_EQ(doc.table().next_obj_num, 7u);
    const std::string saved = bytes();
    for (int i = 0; i < 100; ++i)
      ASSERT_TRUE(doc.save_update(form, nullptr));
    EXPECT_EQ(doc.last_save(), PDF_SAVE::kUnchanged);
    EXPECT_EQ(bytes(), saved);  // with another identifier it would not be
    PDF_SIGN_DATA sign;
    ASSERT_TRUE(doc.save_update(form, &sign));  // sealing is a change of its own
    EXPECT_EQ(doc.last_save(), PDF_SAVE::kDone);
    const PDF_REF made{doc.table().alloc_obj_num(), 0};
    Freed<CPDFObj> obj;
    obj.set_string("made", 4);
    doc.table().store_object(made, obj);
    ASSERT_TRUE(change(doc, "last") && doc.save_update(form, nullptr));
    doc.close();
    EXPECT_EQ(title(), "last");
  }
}

TEST_F(SaveJourney, EachUpdateHasAnIdentifierOfItsOwn) {
  std::string second;
  for (int i = 0; i < 3; ++i) {
    CPDFDoc doc;
    ASSERT_TRUE(doc.open_for_update(path.c_str()));
    ASSERT_TRUE(change(doc, "t" + std::to_string(i)) && doc.save_update(kForms[i % 2], nullptr));
    doc.close();
    ASSERT_TRUE(doc.open(path.c_str()));
    const std::string id = TestTable::syntax(doc.table().id);
    EXPECT_EQ(id.substr(0, 5), "[(\\n)") << id;
    EXPECT_NE(id, second);
    second = id;
  }
}

}  // namespace
