// Pages, content, forms, attachments, images and signatures through the C++ layer.
#include "sheaf/sheaf.hpp"

#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/failing_heap.h"
#include "support/form_maker.h"
#include "support/jpeg_maker.h"
#include "support/pdf_builder.h"

using namespace sheaf;

namespace {

std::span<const std::uint8_t> bytes_of(const std::string& text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// Pages that bear their number as text, whose resources stand in the node above.
std::string numbered(int count, char letter) {
  PdfBuilder builder;
  std::string kids;
  for (int i = 0; i < count; ++i) {
    kids += std::to_string(10 + 2 * i) + " 0 R ";
    builder.obj(10 + 2 * i, "<</Type/Page/Parent 2 0 R/Contents " + std::to_string(11 + 2 * i) + " 0 R>>");
    builder.stream(11 + 2 * i, "", "BT /F 12 Tf (" + std::string(1, letter) + std::to_string(i) + ") Tj ET");
  }
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  builder.obj(2, "<</Type/Pages/Count " + std::to_string(count) + "/Kids[" + kids +
                     "]/MediaBox[0 0 300 400]/Resources<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Courier>>>>>>>>");
  return builder.classic().str();
}

// The same document with its objects in object streams.
std::string packed(const std::string& bytes) {
  auto doc = Document::open(bytes_of(bytes));
  return std::string(doc->save_to_memory({.object_streams = ObjectStreams::kGenerate})->text());
}

// The texts that the pages show, one after the other.
std::string texts(const Document& doc) {
  std::string all;
  for (const Page& page : doc.pages()) {
    const auto content = page.content();
    for (const Operator& op : *content) {
      if (op.name() == "Tj")
        all += std::string(op.bytes(0)) + " ";
    }
  }
  return all;
}

}  // namespace

TEST(LayerPages, AreAppendedInsertedMovedAndRemoved) {
  const std::string a = numbered(3, 'a');
  const std::string b = numbered(6, 'b');
  auto doc = Document::open(bytes_of(a));
  {
    auto other = Document::open(bytes_of(b));
    other->pages()[2].object().set("Rotate", 270);
    ASSERT_TRUE(doc->pages().append(other->pages(2, 4)));
    ASSERT_TRUE(doc->pages().insert(1, other->pages().slice(5, 9)));
  }
  EXPECT_EQ(texts(*doc), "a0 b5 a1 a2 b2 b3 ");
  EXPECT_EQ(doc->pages()[4].rotation(), 270);
  doc->pages().move(5, 0);
  doc->pages().remove(1);
  Page last = doc->pages().add(100, 200);
  EXPECT_EQ(last.media_box(), (Rect{0, 0, 100, 200}));
  EXPECT_FALSE(doc->pages()[6]);
  const auto saved = doc->save_to_memory();
  ASSERT_TRUE(saved) << saved.error().message;
  auto again = Document::open(saved->bytes());
  EXPECT_EQ(texts(*again), "b3 b5 a1 a2 b2 ");
  EXPECT_EQ(again->pages().size(), 6);
  EXPECT_EQ(again->pages()[1].media_box().width(), 300);
  EXPECT_FALSE(doc->pages().append(doc->pages(0, 1)));
  EXPECT_FALSE(doc->save_to_memory());
}

TEST(LayerContent, OperatorsAreRemovedChangedAndInserted) {
  const std::string bytes = numbered(2, 'c');
  auto doc = Document::open(bytes_of(bytes));
  Page page = doc->pages()[0];
  const std::string image = "BI/W 1/H 1/BPC 8/CS/G ID \x80 EI";
  ASSERT_TRUE(page.set_content("q 1 0 0 1 5 5 cm " + image + " Q [(T) -20 (J)] TJ (drop) Tj"));
  ContentAppender kept;
  for (const Operator& op : *page.content()) {
    if (op.name() == "Tj")
      continue;
    if (op.name() == "cm")
      kept.add("cm", 2, 0, 0, 2, op.number(4), op.number(5));
    else
      kept.add(op);
  }
  kept.add("rg", 1, 0.5, 0);
  ASSERT_TRUE(page.set_content(kept));
  EXPECT_EQ(page.content_data()->text(), "q\n2 0 0 2 5 5 cm\n" + image + "\nQ\n[(T) -20 (J)] TJ\n1 0.5 0 rg\n");
  for (const Operator& op : *page.content()) {
    if (op.name() == "BI") {
      EXPECT_EQ(op.image_data(), "\x80");
    }
  }
  const std::string name = page.add_resource("Font", doc->add(Object::dictionary("Type", Name("Font"))));
  EXPECT_TRUE(page.resources()["Font"].has(name) && page.resources()["Font"].has("F"));
  EXPECT_EQ(doc->pages()[1].resources()["Font"].size(), 1);  // what is shared stays as it was
  ASSERT_TRUE(doc->pages()[1].add_content("(more) Tj"));
  EXPECT_EQ(texts(*doc), "c1 more ");
}

TEST(LayerForm, IsFilledAcrossAMergeAndFlattened) {
  FormMaker one;
  one.field("City", "/FT/Tx/DA(/Helv 12 Tf 0 g)/V(Turku)");
  one.field("Locked", "/FT/Tx/DA(/Helv 12 Tf 0 g)/Ff 1");
  const std::string bytes = one.str();
  auto doc = Document::open(bytes_of(bytes));
  auto other = Document::open(bytes_of(bytes));
  ASSERT_TRUE(doc->pages().append(other->pages()));
  const std::vector<Field> fields = doc->form().fields();
  ASSERT_EQ(fields.size(), 4u);
  for (Field field : fields) {
    const auto state = field.state();
    ASSERT_TRUE(state);
    EXPECT_EQ(static_cast<bool>(field.set("Oulu")), !state->read_only);
  }
  EXPECT_EQ(doc->form().field("City").value(), "Oulu");
  EXPECT_EQ(doc->form().field("Locked").set("x").error().code, Code::kNotAllowed);
  EXPECT_EQ(doc->form().field("Nothing").set("x").error().code, Code::kNotFound);
  const auto filled = doc->save_to_memory();
  ASSERT_TRUE(filled);
  auto again = Document::open(filled->bytes());
  int shown = 0;
  for (const Value& widget : again->pages()[1].object()["Annots"].elements())
    shown +=
        widget.has("AP") && widget["AP"]["N"].decoded()->text().find("<4F756C75>") != std::string_view::npos ? 1 : 0;
  EXPECT_EQ(shown, 1);
  const auto report = again->flatten();
  ASSERT_TRUE(report);
  EXPECT_EQ(report->pages, 2);
  EXPECT_FALSE(again->form());
}

TEST(LayerForm, ANameBeyondTheBasicPlaneIsOneCharacter) {
  FormMaker one;
  one.field("\\376\\377\\330\\075\\336\\000", "/FT/Tx/V(here)");
  const std::string bytes = one.str();
  auto doc = Document::open(bytes_of(bytes));
  ASSERT_EQ(doc->form().fields().size(), 1u);
  EXPECT_EQ(doc->form().fields()[0].name(), "\xF0\x9F\x98\x80");
  EXPECT_EQ(doc->form().field("\xF0\x9F\x98\x80").value(), "here");
}

TEST(LayerAttachments, GoInAndComeOut) {
  const std::string bytes = numbered(1, 'd');
  auto doc = Document::open(bytes_of(bytes));
  ASSERT_TRUE(doc->attachments().add("größe.txt", bytes_of("first"), "text/plain"));
  ASSERT_TRUE(doc->attachments().add("a.bin", bytes_of(std::string(1000, '\0'))));
  const auto saved = doc->save_to_memory();
  auto again = Document::open(saved->bytes());
  const Attachments files = again->attachments();
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files.begin()->name(), "a.bin");
  EXPECT_EQ(files.begin()->data()->size(), 1000u);
  const Attachment* const text = files.find("größe.txt");
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->data()->text(), "first");
  EXPECT_EQ(text->mime_type(), "text/plain");
  ASSERT_TRUE(again->attachments().remove("größe.txt"));
  EXPECT_EQ(again->attachments().remove("größe.txt").error().code, Code::kNotFound);
  const auto less = again->save_to_memory();
  EXPECT_EQ(Document::open(less->bytes())->attachments().begin()->name(), "a.bin");
  EXPECT_EQ(less->text().find("first"), std::string_view::npos);
}

TEST(LayerImages, ArePixelsAndFiles) {
  TestFolder folder;
  PdfBuilder builder;
  const std::string colours = "\x10\x20\x30\x40\x50\x60";
  builder.pages(1).stream(4, "/Subtype/Image/Width 2/Height 1/BitsPerComponent 8/ColorSpace/DeviceRGB", colours);
  builder.stream(5, "/Subtype/Image/Width 8/Height 2/BitsPerComponent 1/ColorSpace/DeviceGray", "\xA5\x0F");
  builder.stream(6, "/Subtype/Image/Width 2/Height 2/BitsPerComponent 8/ColorSpace/DeviceGray", "\x01\x02\x03");
  const std::string bytes = builder.classic().str();
  auto doc = Document::open(bytes_of(bytes));
  std::vector<int> found;
  for (const Image& image : doc->images()) {
    found.push_back(image.number());
    const auto pixels = image.pixels();
    ASSERT_TRUE(pixels) << pixels.error().message;
    EXPECT_EQ(pixels->rows.text() == colours, image.number() == 4);
    EXPECT_EQ(pixels->is_whole, image.number() != 6);
    const auto path = image.save(folder / "out");
    ASSERT_TRUE(path) << path.error().message;
    if (has_program("pngtopnm") && image.number() == 4) {
      EXPECT_EQ(run_command("pngtopnm " + *path).output, "P6\n2 1\n255\n" + colours);
    }
  }
  EXPECT_EQ(found, (std::vector<int>{4, 5, 6}));
}

TEST(LayerSigning, SealsAFieldOfItsOwnAndKeepsEarlierSignatures) {
  TestFolder folder;
  const std::string path = folder / "signed.pdf";
  write_file(path, numbered(1, 'e'));
  auto doc = Document::open(path);
  Value stream = doc->add_stream("kept across the seal");
  doc->root().set("Extra", stream);
  auto first = doc->seal_signature({.room = 100, .field = "One"});
  ASSERT_TRUE(first) << first.error().message;
  const std::string before = read_file(path);
  std::string covered;
  ASSERT_TRUE(first->digest([&covered](auto piece) { covered.append(piece.begin(), piece.end()); }));
  const auto range = first->byte_range();
  EXPECT_EQ(covered,
            before.substr(0, static_cast<std::size_t>(range[1])) + before.substr(static_cast<std::size_t>(range[2])));
  EXPECT_EQ(range[2] + range[3], static_cast<long long>(before.size()));
  EXPECT_FALSE(first->write(bytes_of(std::string(101, 'x'))));
  ASSERT_TRUE(first->write(bytes_of("\x30\x01\x02")));
  EXPECT_EQ(stream.decoded()->text(), "kept across the seal");

  const std::string signed_once = read_file(path);
  EXPECT_EQ(doc->seal_signature({.field = "One"}).error().code, Code::kNotAllowed);
  auto second = doc->seal_signature({.room = 100, .rect = {10, 10, 110, 40}, .name = "Ann"});
  ASSERT_TRUE(second) << second.error().message;
  ASSERT_TRUE(second->write(bytes_of("\x30\x01\x02")));
  EXPECT_EQ(read_file(path).substr(0, signed_once.size()), signed_once);
  EXPECT_EQ(doc->signature_count(), 2);
  auto again = Document::open(path);
  EXPECT_EQ(again->signature_count(), 2);
  EXPECT_EQ(again->pages()[0].object()["Annots"].size(), 2);
  EXPECT_EQ(again->form().fields().size(), 2u);
}

namespace {

// A journey over all parts: what it reported as done, and the file that it saved, "" where that was refused.
struct Journey {
  bool added = false, turned = false, filled = false, attached = false, titled = false, drawn = false;
  std::string file;
  bool has_done_all() const { return added && turned && filled && attached && titled && drawn; }
};

Journey journey(const std::string& form, const std::string& more) {
  Journey done;
  auto doc = Document::open(bytes_of(form));
  auto other = Document::open(bytes_of(more));
  if (!doc || !other)
    return done;
  done.added = doc->pages().append(other->pages());
  done.turned = doc->pages()[0].rotate(90);
  done.filled = static_cast<bool>(doc->form().field("City").set("Oulu"));
  done.attached = static_cast<bool>(doc->attachments().add("a.txt", bytes_of("of the attachment")));
  done.titled = doc->info().title("A new title");
  done.drawn = doc->pages()[0].add_content("q 1 0 0 1 7 7 cm Q");
  if (const auto saved = doc->save_to_memory())
    done.file = std::string(saved->text());
  return done;
}

void expect_in_file(const Journey& done) {
  auto doc = Document::open(bytes_of(done.file));
  ASSERT_TRUE(doc);
  EXPECT_TRUE(!done.added || texts(*doc).find("m0 m1") != std::string::npos);
  EXPECT_TRUE(!done.turned || doc->pages()[0].rotation() == 90);
  EXPECT_TRUE(!done.filled || doc->form().field("City").value() == "Oulu");
  const Attachments files = doc->attachments();
  const Attachment* const text = files.find("a.txt");
  EXPECT_TRUE(!done.attached || (text != nullptr && text->data()->text() == "of the attachment"));
  EXPECT_TRUE(!done.titled || doc->info().title() == "A new title");
  const auto content = doc->pages()[0].content_data();
  EXPECT_TRUE(!done.drawn || content->text().find("7 7 cm") != std::string_view::npos);
}

}  // namespace

TEST(LayerParts, WhatIsReportedAsDoneIsInTheFileWhicheverRequestForMemoryIsRefused) {
  FormMaker form;
  form.field("City", "/FT/Tx/DA(/Helv 12 Tf 0 g)/V(Turku)");
  const std::string base = form.str();
  const std::string more = packed(numbered(2, 'm'));
  Journey done;
  bool is_refused = true;
  for (long long refused = 1; is_refused; ++refused) {
    SCOPED_TRACE(refused);
    {
      FailingHeap heap(refused);
      done = journey(base, more);
      EXPECT_EQ(heap.held, 0);
      is_refused = heap.has_refused();
    }
    if (!done.file.empty())
      expect_in_file(done);
  }
  EXPECT_TRUE(done.has_done_all());
  EXPECT_FALSE(done.file.empty());
}

TEST(LayerParts, AnUpdateAndASealAreWholeOrRefusedWhicheverRequestForMemoryIsRefused) {
  TestFolder folder;
  const std::string path = folder / "a.pdf";
  const std::string before = packed(numbered(2, 'n'));
  bool is_refused = true;
  bool updated = false;
  bool sealed = false;
  constexpr long long kStep = 3;  // saves wait for the disk
  for (long long refused = 1; is_refused; refused += kStep) {
    SCOPED_TRACE(refused);
    write_file(path, before);
    {
      FailingHeap heap(refused);
      auto doc = Document::open(path);
      updated = doc && doc->pages()[1].rotate(90) && doc->info().title("Updated") && doc->save_update();
      auto seal = updated ? doc->seal_signature({.room = 100, .field = "One"}) : Expected<Seal>(Error{});
      sealed = seal && seal->write(bytes_of("\x30\x01\x02"));
      is_refused = heap.has_refused();
    }
    const std::string after = read_file(path);
    EXPECT_TRUE(after.starts_with(before));
    auto again = Document::open(path);
    ASSERT_TRUE(again);
    EXPECT_TRUE(again->repairs().empty());
    EXPECT_EQ(texts(*again), "n0 n1 ");
    EXPECT_TRUE(!updated || (again->pages()[1].rotation() == 90 && again->info().title() == "Updated"));
    EXPECT_TRUE(!sealed || again->signature_count() == 1);
  }
  EXPECT_TRUE(updated && sealed);
}
