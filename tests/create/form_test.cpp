// Forms, outline items and graphics states, and what other programs make of them.
#include <gtest/gtest.h>

#include <limits>

#include "sheaf/document/doc.h"
#include "sheaf/neighbours/page/blend_mode.h"
#include "sheaf/neighbours/page/page.h"
#include "support/create_support.h"
#include "support/external_tool.h"
#include "support/failing_heap.h"

using namespace sheaf;

using namespace std::string_literals;

namespace {

constexpr PDF_REF kNone{0, 0};

TEST(NewForm, EmptyFormComesLoadedWithItsResources) {
  FreshTable doc;
  const std::unique_ptr<CPDFForm> form(doc.table.new_form());
  ASSERT_NE(form, nullptr);
  EXPECT_EQ(doc.items({1, 0}),
            "BBox [0.0 0.0 0.0 0.0]\nFilter /FlateDecode\nResources 2 0 R\nSubtype /Form\nType /XObject\n");
  EXPECT_EQ(doc.object(2), "<<>>");
  EXPECT_EQ(doc.data({1, 0}), "%empty\r\n");
  EXPECT_EQ(form->stream.as_stream()->length, 22);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(form->content), static_cast<std::size_t>(form->content_len)),
            "%empty\r\n");
  EXPECT_EQ(form->resources_ref, (PDF_REF{2, 0}));
  EXPECT_EQ(form->box.right, 0);
  EXPECT_EQ(form->is_bare, 0);
  EXPECT_EQ(doc.table.next_obj_num, 3u);
}

TEST(NewForm, ContentStaysInMemoryBesideATemporaryFile) {
  FreshTable doc;
  doc.table.temp_stream.file = std::tmpfile();
  const _QVRECTF box{fix_from_int(1), fix_from_int(2), fix_from_int(30), fix_from_int(40)};
  const PDF_REF bare = doc.table.new_form(box, "0 0 10 10 re f", 14, kNone);
  const PDF_REF dressed = doc.table.new_form(box, "", 0, {77, 0});
  EXPECT_EQ(doc.items(bare), "BBox [1.0 2.0 30.0 40.0]\nFilter /FlateDecode\nSubtype /Form\nType /XObject\n");
  EXPECT_EQ(doc.items(dressed),
            "BBox [1.0 2.0 30.0 40.0]\nFilter /FlateDecode\nResources 77 0 R\nSubtype /Form\nType /XObject\n");
  EXPECT_EQ(doc.data(bare), "0 0 10 10 re f");
  EXPECT_EQ(doc.data(dressed), "");
  EXPECT_EQ(doc.table.mem_stream_count, 2);
  EXPECT_EQ(doc.table.temp_stream.GetLen(), 0);
}

TEST(Form, TakesBoxMatrixResourcesAndContentFromAnyStream) {
  FreshTable doc;
  std::string content = "q Q";
  const PDF_REF ref = doc.table.adv_new_stream_raw(reinterpret_cast<unsigned char*>(content.data()), 3);
  Freed<CPDFObj> obj;
  doc.table.get_entity(obj, ref);
  CPDFForm form;
  EXPECT_TRUE(form.pre_load(&doc.table, &obj));
  EXPECT_GT(form.box.left, form.box.right);  // no "BBox"
  const Value box("[0 0 5 6.5]");
  const Value matrix("[2 0 0 2 10 20]");
  const Value resources("<</Font<<>>>>");
  obj.as_stream()->dict.set_item("BBox", &box);
  obj.as_stream()->dict.set_item("Matrix", &matrix);
  obj.as_stream()->dict.set_item("Resources", &resources);
  EXPECT_TRUE(form.pre_load(&doc.table, &obj) && form.load());
  EXPECT_EQ(form.box.top, fix_from_int(13) / 2);
  EXPECT_EQ(form.matrix[0], 2 * kFixOne);
  EXPECT_EQ(form.matrix[5], 20 * kFixOne);
  EXPECT_NE(form.resources.get_item("Font"), nullptr);
  EXPECT_STREQ(reinterpret_cast<char*>(form.content), "q Q");
  const Value none("(no stream)");
  EXPECT_FALSE(form.pre_load(&doc.table, &none));
  EXPECT_FALSE(form.load());
  EXPECT_EQ(form.content, nullptr);
}

TEST(NewOutline, LinksThatAreNoObjectStayAway) {
  FreshTable doc;
  const PDF_REF alone = doc.table.new_outline(L"A", kNone, kNone, kNone, {5, 0}, fix_from_int(700));
  EXPECT_EQ(doc.object(alone.num), "<</Dest[5 0 R/FitH 700.0]/Title<FEFF0041>>>");
  const PDF_REF linked = doc.table.new_outline(L"", {1, 0}, {2, 0}, {3, 0}, kNone, 0);
  EXPECT_EQ(doc.object(linked.num), "<</Dest[0 0 R/FitH 0.0]/Next 3 0 R/Parent 1 0 R/Prev 2 0 R/Title<FEFF>>>");
}

TEST(GraphicsState, SettersChangeOneKeyOfOneSlot) {
  FreshTable doc;
  const PDF_REF state = doc.table.new_gstate();
  EXPECT_EQ(doc.object(state.num), "<</Type/ExtGState>>");
  doc.table.set_gstate_fill_alpha(state, 128);
  doc.table.set_gstate_fill_alpha(state, 255);
  doc.table.set_gstate_stroke_alpha(state, 128);
  const float dash[] = {3, 1.5f, -0.25f};
  doc.table.set_gstate_stroke_dash(state, dash, 3, 0.5f);
  doc.table.set_gstate_bmode(state, 1);
  EXPECT_EQ(doc.table.new_obj_count, 1u);
  Freed<CPDFObj> obj;
  doc.table.get_entity(obj, state);
  EXPECT_EQ(obj.as_dict()->get_item("ca")->as_real(), kFixOne);
  EXPECT_EQ(obj.as_dict()->get_item("CA")->as_real(), (QVFIX{128} << 26) / 255);
  EXPECT_EQ(TestTable::syntax(*obj.as_dict()->get_item("D")), "[[3.0 1.5 -0.25]0.5]");
  EXPECT_TRUE(obj.as_dict()->get_item("BM")->is_name("Multiply"));

  doc.table.set_gstate_stroke_dash(state, nullptr, 0, 0);
  doc.table.get_entity(obj, state);
  EXPECT_EQ(TestTable::syntax(*obj.as_dict()->get_item("D")), "[[]0.0]");
  const float beyond[] = {std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), -1e30f};
  doc.table.set_gstate_stroke_dash(state, beyond, 3, 0);
  doc.table.get_entity(obj, state);
  const CPDFArray* lengths = obj.as_dict()->get_item("D")->as_array()->items[0].as_array();
  EXPECT_EQ(lengths->items[0].as_real(), INT64_MAX);
  EXPECT_EQ(lengths->items[1].as_real(), 0);
  EXPECT_EQ(lengths->items[2].as_real(), INT64_MIN);
}

TEST(GraphicsState, WhatIsNoDictionaryStaysUntouched) {
  FreshTable doc;
  std::string byte = "x";
  const PDF_REF stream = doc.table.adv_new_stream_raw(reinterpret_cast<unsigned char*>(byte.data()), 1);
  const std::string before = doc.items(stream);
  doc.table.set_gstate_fill_alpha(stream, 1);
  doc.table.set_gstate_bmode({99, 0}, 1);
  EXPECT_EQ(doc.items(stream), before);
  EXPECT_EQ(doc.table.new_obj_count, 1u);
}

TEST(BlendMode, NumbersOutsideTheTablesAreNormal) {
  EXPECT_STREQ(get_blend_name(0), "Normal");
  EXPECT_STREQ(get_blend_name(11), "Exclusion");
  EXPECT_STREQ(get_blend_name(15), "Luminosity");
  EXPECT_STREQ(get_blend_name(16), "Normal");
  EXPECT_STREQ(get_blend_name(-1), "Normal");
}

TEST(FormFactories, AnyRefusedAllocationLeavesNothingBehind) {
  for (long long refused = 1; refused < 400; ++refused) {
    FailingHeap heap(refused);
    {
      CPDFXRefTable table;
      table.next_obj_num = 1;
      delete table.new_form();
      table.new_form({}, "q Q", 3, {1, 0});
      table.new_outline(L"Title", {1, 0}, {2, 0}, {3, 0}, {4, 0}, kFixOne);
      const PDF_REF state = table.new_gstate();
      const float dash[] = {1, 2};
      table.set_gstate_stroke_dash(state, dash, 2, 0);
      table.set_gstate_bmode(state, 3);
      table.XRefFree();
    }
    ASSERT_EQ(heap.held, 0) << refused;
    if (!heap.has_refused())
      return;
  }
  ADD_FAILURE() << "the factories make more requests than were tried";
}

// A page that paints with a form, states of every blend mode, and an outline of two items.
PDF_REF make_page(CPDFXRefTable& table) {
  std::string states;
  std::string content = "1 0 0 rg 0 0 200 200 re f 0 0 1 rg\n";
  for (int mode = 0; mode < 16; ++mode) {
    const PDF_REF state = table.new_gstate();
    table.set_gstate_bmode(state, mode);
    table.set_gstate_fill_alpha(state, 128);
    const float dash[] = {4, 2};
    table.set_gstate_stroke_dash(state, dash, 2, 1);
    const std::string name = "/G" + std::to_string(mode);
    states += name + " " + std::to_string(state.num) + " 0 R";
    content += name + " gs " + std::to_string(mode * 12) + " 0 10 200 re B\n";
  }
  const PDF_REF form = table.new_form({0, 0, fix_from_int(50), fix_from_int(50)}, "0 1 0 rg 0 0 50 50 re f", 23, kNone);
  content += "/F Do";
  const PDF_REF stream =
      table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  const Value page("<</Type/Page/MediaBox[0 0 200 200]/Contents " + std::to_string(stream.num) +
                   " 0 R/Resources<</ExtGState<<" + states + ">>/XObject<</F " + std::to_string(form.num) +
                   " 0 R>>>>>>");
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, page.as_dict());
  return ref;
}

TEST(CreatedObjects, OtherProgramsReadThem) {
  if (!has_program("qpdf") || !has_program("mutool") || !has_program("pdfinfo"))
    GTEST_SKIP() << "needs qpdf, mutool and pdfinfo";
  const TestFolder folder;
  const std::string path = folder / "out.pdf";
  CQVStreamFile file;
  file.file = std::fopen(path.c_str(), "w+b");
  CPDFDoc doc;
  ASSERT_TRUE(doc.create(&file));
  CPDFXRefTable& table = doc.table();
  const PDF_REF page = make_page(table);
  ASSERT_TRUE(doc.insert_page(0, page));
  const PDF_REF outlines{table.alloc_obj_num(), 0};
  const PDF_REF first{static_cast<std::int32_t>(table.next_obj_num), 0};
  const PDF_REF second{first.num + 1, 0};
  EXPECT_EQ(table.new_outline(L"First \x20AC", outlines, kNone, second, page, fix_from_int(200)), first);
  EXPECT_EQ(table.new_outline(L"Second", outlines, first, kNone, page, 0), second);
  const Value root("<</Type/Outlines/Count 2/First " + std::to_string(first.num) + " 0 R/Last " +
                   std::to_string(second.num) + " 0 R>>");
  table.store_dict(outlines, root.as_dict());
  Freed<CPDFObj> catalog;
  table.resolve(catalog, &table.root);
  catalog.as_dict()->set_item_ref("Outlines", outlines);
  table.store_object(table.root.as_ref(), catalog);
  ASSERT_TRUE(doc.save_update(PDF_SAVE_FORM::kStream, nullptr));
  doc.close();
  file.Close();

  EXPECT_EQ(run_command("qpdf --check " + path + " 2>&1 >/dev/null").output, "");
  const RunResult outline = run_command("mutool show " + path + " outline 2>&1");
  EXPECT_NE(outline.output.find("First \xE2\x82\xAC"), std::string::npos) << outline.output;
  EXPECT_NE(outline.output.find("Second"), std::string::npos) << outline.output;
  const RunResult info = run_command("pdfinfo " + path + " 2>&1");
  EXPECT_EQ(info.output.find("Error"), std::string::npos) << info.output;
  const RunResult drawn = run_command("mutool draw -F ppm -o /dev/null " + path + " 2>&1");
  EXPECT_EQ(drawn.output.find("error"), std::string::npos) << drawn.output;
}

}  // namespace
