// Journeys through the C++ layer: open, read, change, save, and read again, with what values promise on the way.
#include "sheaf/sheaf.hpp"

#include <gtest/gtest.h>

#include <filesystem>

#include "sheaf/document/doc.h"
#include "support/external_tool.h"
#include "support/failing_heap.h"
#include "support/pdf_builder.h"

using namespace sheaf;

namespace {

std::string three_pages() {
  PdfBuilder builder;
  builder.pages(3).obj(6, "<</Title(Old)/Author<FEFF00E5>>>").stream(7, "/Kind/Note", "some data");
  builder.obj(8, "<</List[1 2.5(two)/Name[9 10]6 0 R]/Inner<</A 1>>>>").classic("/Root 1 0 R/Info 6 0 R");
  return builder.str();
}

std::span<const std::uint8_t> bytes_of(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

class LayerFile : public testing::Test {
protected:
  std::string file(const std::string& bytes, const std::string& name = "in.pdf") {
    write_file(folder_ / name, bytes);
    return folder_ / name;
  }
  std::string path(const std::string& name) { return folder_ / name; }
  TestFolder folder_;
};

using LayerDocument = LayerFile;

}  // namespace

TEST_F(LayerDocument, AChangedDocumentReadsBackAsItWasLeft) {
  const std::string name = file(three_pages());
  {
    auto doc = Document::open(name);
    ASSERT_TRUE(doc) << doc.error().message;
    doc->pages()[1].rotate(-90);
    doc->pages()[1].rotate(450);
    doc->info().title("Uusi – новый");
    Value list = doc->object(8)["List"];
    Value nested = list[4];
    list.insert(0, Name("First"));
    list.append(doc->object(7));
    nested.set(0, 11);  // its place moved by one, and a value follows its place
    list[5].set(1, "deep");
    EXPECT_TRUE(doc->save_update()) << doc->failure().message;
    EXPECT_TRUE(doc->save_update());  // without a change there is nothing to write
  }
  EXPECT_EQ(read_file(name).substr(0, three_pages().size()), three_pages());
  auto doc = Document::open(name);
  EXPECT_EQ(doc->pages()[1].rotation(), 0);
  EXPECT_EQ(doc->info().title(), "Uusi – новый");
  EXPECT_EQ(doc->info().author(), "å");
  EXPECT_EQ(doc->object(8)["List"].print(), "[/First 1 2.5(two)/Name[11(deep)]6 0 R 7 0 R]");
}

TEST_F(LayerDocument, ValuesOfOneObjectSeeOneAnother) {
  const std::string bytes = three_pages();
  auto doc = Document::open(bytes_of(bytes));
  Value a = doc->object(8);
  Value b = doc->object(8);
  Value inner = a["Inner"];
  Value one = inner["A"];
  a.set("New", 5);
  inner.set("B", true);
  EXPECT_EQ(b.get<int>("New"), 5);
  inner.set("A", "one");
  EXPECT_EQ(one.text(), "one");
  a.set("Inner", Name("Gone"));  // what was replaced lives on for those who hold it
  EXPECT_EQ(inner.print(), "<</A(one)/B true>>");
  EXPECT_EQ(one.text(), "one");
  EXPECT_EQ(b["Inner"].bytes(), "Gone");
  a.remove("List");
  EXPECT_FALSE(b.has("List"));
  EXPECT_EQ(doc->object(8).print(), "<</Inner/Gone/New 5>>");

  Value page = doc->pages()[0].object();
  Value box = doc->pages()[0].inherited("MediaBox");
  doc->pages().move(0, 2);
  page.set("Rotate", 90);
  EXPECT_EQ(doc->pages()[2].rotation(), 90);
  EXPECT_EQ(box.size(), 4);
}

TEST_F(LayerDocument, AChangeBelowIsSeenAndAStaleValueRefusesToBeLost) {
  const std::string bytes = three_pages();
  auto doc = Document::open(bytes_of(bytes));
  Value object = doc->object(8);
  Value inner = object["Inner"];
  Object fresh = Object::parse("<</Inner<</A 2>>>>");
  doc->below().table().store_object({8, 0}, fresh.raw());
  EXPECT_EQ(object["Inner"].get<int>("A"), 2);
  EXPECT_EQ(inner.get<int>("A"), 1);
  EXPECT_FALSE(inner.set("A", 3));
  EXPECT_EQ(doc->failure().code, Code::kStale);
  const auto saved = doc->save_to_memory();
  ASSERT_FALSE(saved);
  EXPECT_EQ(saved.error().object, 8);
}

TEST_F(LayerDocument, ValuesOutliveTheirDocument) {
  const std::string bytes = three_pages();
  Value list;
  Value stream;
  Page page;
  {
    auto doc = Document::open(bytes_of(bytes));
    list = doc->object(8)["List"];
    stream = doc->object(7);
    page = doc->pages()[0];
    EXPECT_EQ(stream.decoded()->text(), "some data");
  }
  EXPECT_EQ(list.get<double>(1), 2.5);
  EXPECT_TRUE(list[5].is_null());
  EXPECT_FALSE(stream.decoded());
  EXPECT_FALSE(list.append(1));
  EXPECT_EQ(page.rotation(), 0);
}

TEST_F(LayerDocument, AnUpdateIsRefusedWhereTheFileIsAnother) {
  const std::string name = file(three_pages());
  auto doc = Document::open(name);
  doc->info().title("New");
  file(three_pages() + " ");
  const auto saved = doc->save_update();
  EXPECT_EQ(saved.error().code, Code::kFileChanged);
  EXPECT_EQ(read_file(name), three_pages() + " ");
}

TEST_F(LayerDocument, ErrorsSayWhatAndWhere) {
  EXPECT_EQ(Document::open(path("missing.pdf")).error().code, Code::kNoFile);
  EXPECT_EQ(Document::open(file("")).error().code, Code::kEmpty);
  EXPECT_EQ(Document::open(file("no document at all")).error().code, Code::kDamaged);
  const std::string bytes = three_pages();
  auto doc = Document::open(bytes_of(bytes));
  EXPECT_EQ(doc->object(8).decoded().error().object, 8);
  EXPECT_EQ(doc->save_update().error().code, Code::kNotAllowed);
  auto other = Document::open(bytes_of(bytes));
  EXPECT_FALSE(doc->object(8).set("X", other->object(7)));
  EXPECT_EQ(doc->failure().code, Code::kOtherDocument);
  EXPECT_FALSE(other->root()["Nothing"]["Below"].set("X", 1));
  EXPECT_EQ(other->save_to_memory().error().code, Code::kWrongKind);
  EXPECT_THROW(Document::open(path("missing.pdf")).value(), Failure);
}

TEST_F(LayerDocument, EncryptedDocumentsStayEncryptedUnlessAskedOtherwise) {
  const std::string bytes = three_pages();
  auto doc = Document::open(bytes_of(bytes));
  for (const Cipher cipher : {Cipher::kAes256, Cipher::kAes128, Cipher::kRc4}) {
    Encryption keys;
    keys.user_password = "open";
    keys.owner_password = "own";
    keys.cipher = cipher;
    SaveOptions options;
    options.encrypt = keys;
    ASSERT_TRUE(doc->save_as(path("locked.pdf"), options));
    EXPECT_EQ(Document::open(path("locked.pdf")).error().code, Code::kNeedsPassword);
    EXPECT_EQ(Document::open(path("locked.pdf"), {.password = "no"}).error().code, Code::kWrongPassword);
    auto locked = Document::open(path("locked.pdf"), {.password = "open"});
    ASSERT_TRUE(locked);
    Value extra = locked->add_stream("a new stream");
    locked->root().set("Extra", extra);
    locked->root().set("Said", "so");
    ASSERT_TRUE(locked->save_update());
    ASSERT_TRUE(locked->save_as(path("still.pdf")));
    auto still = Document::open(path("still.pdf"), {.password = "own"});
    EXPECT_TRUE(still->is_encrypted());
    EXPECT_EQ(still->root()["Extra"].decoded()->text(), "a new stream");
    EXPECT_EQ(still->root().get<std::string>("Said"), "so");
    EXPECT_EQ(read_file(path("still.pdf")).find("a new stream"), std::string::npos);
    ASSERT_TRUE(still->save_as(path("clear.pdf"), {.decrypt = true}));
    auto clear = Document::open(path("clear.pdf"));
    EXPECT_FALSE(clear->is_encrypted());
    EXPECT_EQ(clear->info().title(), "Old");
  }
}

TEST_F(LayerDocument, StorageIsReadAndWrittenThroughFunctions) {
  std::string held = three_pages();
  Storage storage;
  storage.size = [&held] { return held.size(); };
  storage.read = [&held](std::uint64_t at, std::uint8_t* to, std::size_t size) {
    return at < held.size() ? held.copy(reinterpret_cast<char*>(to), size, at) : 0;
  };
  storage.write = [&held](std::uint64_t at, const std::uint8_t* from, std::size_t size) {
    held.resize(std::max<std::size_t>(held.size(), at + size));
    std::copy(from, from + size, held.begin() + static_cast<std::ptrdiff_t>(at));
    return size;
  };
  {
    auto doc = Document::open(storage);
    ASSERT_TRUE(doc);
    doc->info().title("Stored");
    ASSERT_TRUE(doc->save_update());
    EXPECT_EQ(doc->object(7).decoded()->text(), "some data");
  }
  EXPECT_EQ(held.substr(0, three_pages().size()), three_pages());
  EXPECT_EQ(Document::open(storage)->info().title(), "Stored");
}

TEST_F(LayerDocument, ProgressCanStopLongWork) {
  PdfBuilder builder;
  std::string kids;
  builder.pages(1);
  for (int i = 4; i < 60000; ++i)
    builder.obj(i, "<</Next " + std::to_string(i + 1) + " 0 R/Text(something to read)>>");
  builder.classic("/Root 1 0 R/Info 4 0 R");
  const std::string name = file(builder.str());
  int asked = 0;
  auto doc = Document::open(name);
  doc->on_progress([&asked](const Progress&) { return ++asked < 3; });
  const auto stopped = doc->save_as(path("out.pdf"));
  EXPECT_EQ(stopped.error().code, Code::kCancelled);
  EXPECT_EQ(asked, 3);
  EXPECT_FALSE(std::filesystem::exists(path("out.pdf")));
  double last = 0;
  bool grows = true;
  doc->on_progress([&](const Progress& state) {
    grows = grows && state.done >= last && state.done <= state.total;
    last = state.done;
    return true;
  });
  EXPECT_TRUE(doc->save_as(path("out.pdf")));
  EXPECT_TRUE(grows);
  EXPECT_GT(last, 0) << "of some 60,000 objects";
  for (int number = 5; number < 30000; ++number)
    doc->object(number).set("Text", "something else to read, which is written in its place");
  last = 0;
  EXPECT_TRUE(doc->save_update());
  EXPECT_TRUE(grows);
  EXPECT_GT(last, 0) << "of some 30,000 objects";
  doc->on_progress({});
  SaveOptions options;
  options.object_streams = ObjectStreams::kGenerate;
  options.linearize = true;
  options.min_version = "2.0";
  ASSERT_TRUE(doc->save_as(path("linear.pdf"), options));
  EXPECT_LT(std::filesystem::file_size(path("linear.pdf")), std::filesystem::file_size(path("out.pdf")) / 2);
  EXPECT_EQ(Document::open(path("linear.pdf"))->version(), "2.0");
  EXPECT_EQ(Document::open(path("out.pdf"))->pages().size(), 1);
}

// Held values are compared with the table after a change, but only those that it can have touched.
TEST_F(LayerDocument, AChangeCostsTheSameHoweverManyValuesAreHeld) {
  const auto requests_for = [](int count) {
    FailingHeap heap(0);
    auto doc = Document::create();
    std::vector<Value> held;
    for (int i = 0; i < count; ++i) {
      held.push_back(doc->add(Object::dictionary("Number", i, "List", Object::array(1, 2, 3))));
      held.push_back(doc->add_stream("some data"));
      held[0].set("Number", i);
    }
    EXPECT_EQ(held[0].get<int>("Number"), count - 1);
    EXPECT_EQ(held.back().decoded()->text(), "some data");
    return heap.requests;
  };
  EXPECT_LT(requests_for(400), 3 * requests_for(200));
}

TEST_F(LayerDocument, EveryRefusedRequestForMemoryIsReported) {
  const std::string bytes = three_pages();
  bool done = false;
  for (long long refused = 1; !done; ++refused) {
    FailingHeap heap(refused);
    bool saved = false;
    {
      auto doc = Document::open(bytes_of(bytes));
      if (doc) {
        Value object = doc->object(8);
        doc->root().set("Kept", object);
        object.set("Text", "new");
        object["List"].append(Object::array(1, 2, 3));
        Value stream = doc->add_stream("data of a stream");
        object.set("Stream", stream);
        const auto file = doc->save_to_memory();
        saved = file.has_value();
        if (saved && file->text().find("(new)") == std::string_view::npos)
          ADD_FAILURE() << "request " << refused << " was refused, and a change was lost";
      }
    }
    EXPECT_EQ(heap.held, 0) << "after refusing request " << refused;
    done = !heap.has_refused();
    ASSERT_TRUE(!done || saved);
  }
}
