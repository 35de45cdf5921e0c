// Faults on demand while images and fonts are made, saved and read; see support/fault_frame.h.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "filters/lzw_encoder.h"
#include "filters/predictor_encoder.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/images/image.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/object/array.h"
#include "support/external_tool.h"
#include "support/fault_frame.h"
#include "support/font_builder.h"
#include "support/jbig2_example.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr int kSide = 9;

// Rows of CCITT data come without an end, so that there has to be one here.
std::string samples_of(CPDFStream* stream) {
  const StreamPtr owner(stream);
  char block[4096];
  const int got = stream != nullptr ? stream->read_block(block, sizeof(block)) : -1;
  return got >= 0 ? std::string(block, static_cast<std::size_t>(got)) : "no stream";
}

// An image, its soft mask and, where it is one, the file in it.
std::string describe_image(CPDFXRefTable& table, const CPDFObj& obj) {
  CPDFImage image;
  if (!image.load(table, obj))
    return "no image";
  Freed<CPDFObj> mask;
  table.resolve(mask, obj.as_stream()->dict.get_item("SMask"));
  std::int32_t len = 0;
  const HeapBlock<std::uint8_t> encoded(image.load_encoded(len));
  return std::to_string(image.width) + "x" + std::to_string(image.height) + " " +
         TestTable::syntax(image.colour_space) + " " + image.filter + " " + std::to_string(len) + ": " +
         samples_of(image.open_samples()) + (mask.as_stream() != nullptr ? "; " + describe_image(table, mask) : "");
}

// The resources of one kind of the first page, each described.
template <class Describe>
std::string describe_resources(CPDFDoc& doc, const char* kind, const Describe& describe) {
  CPDFPage page;
  if (!doc.load_page(0, page))
    return "no page";
  Freed<CPDFObj> resources;
  Freed<CPDFObj> list;
  Freed<CPDFObj> value;
  doc.table().resolve(resources, page.dict.get_item("Resources"));
  doc.table().resolve(list, resources.as_dict() != nullptr ? resources.as_dict()->get_item(kind) : nullptr);
  std::string text;
  for (int i = 0; list.as_dict() != nullptr && i < list.as_dict()->count; ++i) {
    doc.table().resolve(value, list.as_dict()->items[i]);
    text += describe(doc.table(), value) + "\n";
  }
  return text;
}

template <class Describe>
std::string describe_file(const std::string& bytes, const char* kind, const Describe& describe) {
  StringStream file(bytes);
  CPDFDoc doc;
  return doc.open(&file) && doc.status() == PDF_OPEN::kClean ? describe_resources(doc, kind, describe) : "no document";
}

// A page whose resources of one kind are `refs`. False when one is missing or there is no memory.
bool add_page(CPDFDoc& doc, const char* kind, const std::vector<PDF_REF>& refs) {
  const std::uint64_t refusals = heap_refusals();
  Cleared<CPDFDictionary> list;
  for (std::size_t i = 0; i < refs.size(); ++i) {
    if (refs[i].num == 0)
      return false;
    list.set_item_ref(("R" + std::to_string(i)).c_str(), refs[i]);
  }
  Cleared<CPDFDictionary> resources;
  resources.set_item_dict(kind, &list);
  Cleared<CPDFDictionary> page;
  page.set_item_name("Type", "Page");
  page.set_item_dict("Resources", &resources);
  const PDF_REF ref{doc.table().alloc_obj_num(), 0};
  doc.table().store_dict(ref, &page);
  return heap_refusals() == refusals && doc.insert_page(0, ref);
}

bool save_to(CPDFDoc& doc, CQVStream& out) {
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, nullptr);
  return target.write_failed == 0 && target.xref_items != nullptr;
}

// ---- images ----

struct ImageInputs {
  ImageInputs() {
    write_file(folder / "in.jpg", make_jpeg(smooth_picture(kSide, kSide, 1), kSide, kSide, kGreyJpeg));
    write_file(folder / "in.jp2", jp2);
    bitmap.pixels = reinterpret_cast<std::uint8_t*>(pixels.data());
    bitmap.width = bitmap.height = kSide;
    bitmap.stride = 4 * kSide;
  }
  TestFolder folder;
  std::string pixels = smooth_picture(kSide, kSide, 4);
  std::string jpeg = make_jpeg(smooth_picture(kSide, kSide, 3), kSide, kSide, {});
  std::string jp2 = make_jp2(kSide, kSide, {.tile = 8}, [](int c, int x, int y) { return x + y + c; });
  CQVBmp32 bitmap;
};

bool make_images(const ImageInputs& inputs, bool with_temp_file, Trial& run) {
  StringStream start("");
  CPDFDoc doc;
  if (!doc.create(&start) || (with_temp_file && !doc.use_temp_file((inputs.folder / "").c_str())))
    return false;
  CPDFXRefTable& table = doc.table();
  const std::vector<PDF_REF> images = {
      table.new_image_flate(&inputs.bitmap, 0, 1),
      table.new_image_flate(&inputs.bitmap, 1, 0),
      table.new_image_jpeg_mem(reinterpret_cast<const unsigned char*>(inputs.jpeg.data()),
                               static_cast<int>(inputs.jpeg.size())),
      table.new_image_jpeg((inputs.folder / "in.jpg").c_str()),
      table.new_image_jpx((inputs.folder / "in.jp2").c_str()),
      table.adv_new_stream_flate(inputs.bitmap.pixels, kSide),
      table.adv_new_stream_raw(inputs.bitmap.pixels, kSide),
  };
  return add_page(doc, "XObject", images) && save_to(doc, run.target);
}

void make_images_with_faults(const char* name, bool with_temp_file) {
  const ImageInputs inputs;
  const auto make = [&](Trial& run) { return make_images(inputs, with_temp_file, run); };
  Trial sound("", 0, 0, Fault::kNothing);
  ASSERT_TRUE(make(sound));
  const std::string expected = describe_file(sound.out.bytes, "XObject", describe_image);
  EXPECT_NE(expected.find("9x9 /DeviceRGB FlateDecode"), std::string::npos);
  EXPECT_NE(expected.find("; 9x9 /DeviceGray FlateDecode"), std::string::npos) << "the soft mask";
  EXPECT_NE(expected.find("9x9 null JPXDecode"), std::string::npos);
  const auto expect_images = [&](Trial& run) {
    EXPECT_TRUE(describe_file(run.out.bytes, "XObject", describe_image) == expected);
  };
  const Scenario scenario{name, "", make, expect_images, any_bytes};
  report(name, "requests for memory", refuse_each_request(scenario));
  report(name, "writes", fail_each_operation(scenario, FaultyStream::kWrite, false));
  report(name, "seeks of the target", fail_each_operation(scenario, FaultyStream::kSeek, false));
}

TEST(Faults, WhileImagesAreMade) {
  make_images_with_faults("images", false);
}

TEST(Faults, WhileImagesAreMadeInATemporaryFile) {
  make_images_with_faults("images in a temporary file", true);
}

// An image of every decoder, some after others.
std::string image_document() {
  const std::string picture = smooth_picture(kSide, kSide, 3);
  const std::string jpeg = make_jpeg(picture, kSide, kSide, {.subsampled = true});
  const std::string progressive = make_jpeg(picture, kSide, kSide, {.progressive = true});
  const std::string jp2 =
      make_jp2(kSide, kSide, {.components = 2, .tile = 8}, [](int c, int x, int y) { return x * y + c; });
  const std::string keys = "/Type/XObject/Subtype/Image/Width 9/Height 9/BitsPerComponent 8";
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>").obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>");
  builder.obj(
      3, "<</Type/Page/Resources<</XObject<</A 11 0 R/B 12 0 R/C 13 0 R/D 14 0 R/E 15 0 R/F 16 0 R/G 17 0 R>>>>>>");
  builder.stream(10, keys + "/ColorSpace/DeviceGray/Filter[/ASCIIHexDecode/RunLengthDecode]", "B088>");
  builder.stream(
      11,
      keys + "/SMask 10 0 R/ColorSpace/DeviceRGB/DecodeParms<</Predictor 15/Colors 3/Columns 9>>/Filter/FlateDecode",
      PdfBuilder::deflated(predictor_encoded({15, kSide, 3, 8}, picture)));
  builder.stream(12, keys + "/DecodeParms<</Predictor 2/Colors 3/Columns 9>>/Filter/LZWDecode",
                 lzw_encoded(predictor_encoded({2, kSide, 3, 8}, picture), 1, true));
  builder.stream(13, keys + "/Filter[/FlateDecode/DCTDecode]", PdfBuilder::deflated(jpeg));
  builder.stream(14, keys + "/Filter/DCTDecode", progressive);
  builder.stream(15, keys + "/Filter/JPXDecode", jp2);
  builder.stream(16, keys + "/ImageMask true/Filter/CCITTFaxDecode/DecodeParms<</K -1/Columns 9/Rows 9>>", picture);
  builder.stream(17, keys + "/ImageMask true/Filter/JBIG2Decode/DecodeParms<</JBIG2Globals 18 0 R>>",
                 jb2_test::example(1, 7, false));
  builder.stream(18, "", jb2_test::example(0, 0, false));
  return builder.classic().str();
}

TEST(Faults, WhileImagesAreRead) {
  const std::string bytes = image_document();
  const std::string expected = describe_file(bytes, "XObject", describe_image);
  for (const char* weak : {"no document", "no page", "no image", "no stream"})
    EXPECT_EQ(expected.find(weak), std::string::npos) << weak;
  const std::string picture = smooth_picture(kSide, kSide, 3);
  const std::size_t first = expected.find(picture);
  EXPECT_NE(expected.find(picture, first + 1), std::string::npos) << "once by each of two predictors";
  EXPECT_GT(expected.size(), first + 7 * picture.size());
  const auto read = [&](Trial& run) {
    CPDFDoc doc;
    return doc.open(&run.source) && describe_resources(doc, "XObject", describe_image) == expected;
  };
  const Scenario scenario{"read images", bytes, read, any_bytes, any_bytes};
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "reads", fail_each_operation(scenario, FaultyStream::kRead, true));
  report(scenario.name, "seeks", fail_each_operation(scenario, FaultyStream::kSeek, true));
}

// ---- fonts ----

// A composite font with its text map, its descendant and the font program.
std::string describe_font(CPDFXRefTable& table, const CPDFObj& obj) {
  const auto syntax_of = [&](const CPDFDictionary& dict, const char* key) {
    Freed<CPDFObj> value;
    table.resolve(value, dict.get_item(key));
    return TestTable::syntax(value);
  };
  const auto data_of = [&](const CPDFDictionary& dict, const char* key) {
    Freed<CPDFObj> value;
    table.resolve(value, dict.get_item(key));
    return value.as_stream() != nullptr ? samples_of(table.make_stream(value.as_stream())) : "";
  };
  const CPDFDictionary* top = obj.as_dict();
  Freed<CPDFObj> descendants;
  Freed<CPDFObj> cid;
  Freed<CPDFObj> descriptor;
  table.resolve(descendants, top != nullptr ? top->get_item("DescendantFonts") : nullptr);
  table.resolve(cid, descendants.as_array() != nullptr ? descendants.as_array()->get(0) : nullptr);
  table.resolve(descriptor, cid.as_dict() != nullptr ? cid.as_dict()->get_item("FontDescriptor") : nullptr);
  if (descriptor.as_dict() == nullptr)
    return "no font";
  return TestTable::syntax(obj) + syntax_of(*cid.as_dict(), "W") + syntax_of(*cid.as_dict(), "W2") +
         TestTable::syntax(descriptor) + data_of(*top, "ToUnicode") + data_of(*descriptor.as_dict(), "FontFile2");
}

// Two fonts with a save after the first glyphs, one after a later one, and a complete file at the end.
bool make_fonts(const std::string& folder, Trial& run) {
  CPDFDoc doc;
  if (!doc.create(&run.source))
    return false;
  auto* const env = new CPDFEnviroment;
  env->use_system_fonts(0);
  env->add_font_folder(folder.c_str());
  doc.table().set_envirment(env, "test");
  CPDFEnviroment::destroy(env);
  auto* const across = static_cast<CPDFFontType0*>(doc.table().new_font_type0_h("Test Sans", 8));
  auto* const down = static_cast<CPDFFontType0*>(doc.table().new_font_type0_v("Other", 8 | 1 | 2));
  unsigned char codes[8];
  if (across == nullptr || down == nullptr || across->encode(L"AB", 2, codes) != 2 ||
      down->encode(L"AB", 2, codes) != 2)
    return false;
  if (!add_page(doc, "Font", {across->ref(), down->ref()}) || !doc.save_update(PDF_SAVE_FORM::kStream, nullptr))
    return false;
  return across->encode(L"D", 1, codes) == 1 && doc.set_info("Title", "New") &&
         doc.save_update(PDF_SAVE_FORM::kClassic, nullptr) && save_to(doc, run.target);
}

TEST(Faults, WhileFontsAreMadeAndFlushed) {
  const TestFolder folder;
  FontBuilder face;
  face.characters = {{'A', 2}, {'B', 3}, {'C', 4}, {'D', 5}};
  face.vertical_metrics = {{2000, 1760}, {2000, 1760}, {2000, 1760}, {1500, 1600}};
  write_file(folder / "test.ttf", face.build());
  face.family = face.post_script = "Other";
  write_file(folder / "other.ttc", FontBuilder::collection({face}));
  const auto make = [where = folder / ""](Trial& run) { return make_fonts(where, run); };
  Trial sound("", 0, 0, Fault::kNothing);
  ASSERT_TRUE(make(sound));
  const std::string expected = describe_file(sound.in.bytes, "Font", describe_font);
  EXPECT_NE(expected.find("<0041>"), std::string::npos);
  EXPECT_NE(expected.find("[3[-750 "), std::string::npos) << "vertical metrics";
  const auto expect_fonts = [&](Trial& run) {
    EXPECT_TRUE(describe_file(run.in.bytes, "Font", describe_font) == expected);
    EXPECT_TRUE(describe_file(run.out.bytes, "Font", describe_font) == expected);
  };
  const Scenario scenario{"fonts", "", make, expect_fonts, any_bytes};
  report(scenario.name, "requests for memory", refuse_each_request(scenario));
  report(scenario.name, "writes", fail_each_operation(scenario, FaultyStream::kWrite, true));
  report(scenario.name, "writes of the target", fail_each_operation(scenario, FaultyStream::kWrite, false));
}

}  // namespace
