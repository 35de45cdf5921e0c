// The stack that operations need: threads of phones have little of it. Every kind of operation runs
// on a thread of its own and must leave room in 256 KiB; the peaks are recorded as properties.
#include <gtest/gtest.h>

#include "filters/filter_support.h"
#include "filters/lzw_encoder.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/neighbours/fonts/cmap.h"
#include "sheaf/neighbours/fonts/environment.h"
#include "sheaf/neighbours/fonts/programs/font_type0.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/corpus.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/painted_thread.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

constexpr std::size_t kBudget = 256 * 1024;

struct StackNeeds : testing::Test {
  void SetUp() override {
    if (!kStacksAreReal)
      GTEST_SKIP() << "sanitizers widen every frame";
  }
  void within(const std::string& name, const std::function<bool()>& work) {
    const StackUse use = run_on_painted_stack(work);
    EXPECT_TRUE(use.done) << name;
    EXPECT_LE(use.bytes, kBudget) << name;
    RecordProperty(name, std::to_string(use.bytes));
  }
};

// Reads a decoder to its end, or far enough: rows of CCITT data come without an end. False when nothing comes.
bool read_through(CPDFStream& decoder) {
  constexpr int kMostTurns = 1000;
  char block[4096];
  int turn = 0;
  while (turn < kMostTurns && decoder.read_block(block, sizeof block) > 0)
    ++turn;
  return turn != 0;
}

bool read_everything(CPDFDoc& doc) {
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    const StreamPtr stream(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
    if (stream != nullptr)
      read_through(*stream);
  }
  return true;
}

bool save_all_ways(CPDFDoc& doc, CQVStream& out, CPDFEncrypt* enc) {
  PDF_SIGN_DATA sign;
  const ScopeGuard clear([&sign] { sign.dict.clear(); });
  const bool updated = doc.set_info("Title", "plain") && doc.save_update(PDF_SAVE_FORM::kClassic, nullptr) &&
                       doc.save_update(PDF_SAVE_FORM::kStream, nullptr) && doc.set_info("Title", "sealed") &&
                       doc.save_update(PDF_SAVE_FORM::kStream, &sign);
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, enc);
  return updated && out.GetLen() > 0;
}

// Values as deep as the reader goes, chained objects, and pages with a form and annotations.
std::string deep_document() {
  constexpr int kDeep = 1500;
  constexpr int kChain = 20000;
  std::string opening;
  std::string closing;
  for (int level = 0; level < kDeep; ++level) {
    opening += "[<</A(text)/Kids";
    closing += ">>]";
  }
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</Fields[5 0 R]>>>>")
      .obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]/MediaBox[0 0 99 99]/Resources<</Font<<>>>>>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/Annots[5 0 R]>>")
      .obj(4, opening + " null" + closing)
      .obj(5, "<</Subtype/Widget/FT/Tx/T(f)/P 3 0 R/Deep 4 0 R/Chain 6 0 R>>");
  for (int num = 6; num < kChain; ++num)
    builder.obj(num, "<</Next " + std::to_string(num + 1) + " 0 R>>");
  return builder.obj(kChain, "null").classic().str();
}

TEST_F(StackNeeds, OpeningSoundAndDamagedFiles) {
  const std::string good = deep_document();
  PdfBuilder packed;
  packed.obj(2, "<</Type/Pages/Count 1/Kids[3 0 R]>>")
      .object_stream(9, {{1, "<</Type/Catalog/Pages 2 0 R>>"}, {3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>"}})
      .xref_stream(10);
  const std::string files[] = {good, good.substr(0, good.rfind("xref\n0")), packed.str(),
                               packed.str().substr(0, packed.str().rfind("startxref")), "junk" + good};
  const char* const names[] = {"open_classic", "open_rebuilt", "open_streams", "open_recovered", "open_shifted"};
  for (std::size_t i = 0; i < std::size(files); ++i) {
    MemStream file(files[i]);
    within(names[i], [&file] {
      CPDFDoc doc;
      return doc.open(&file) && doc.page_count() == 1 && read_everything(doc);
    });
  }
}

TEST_F(StackNeeds, SavingExportingAndImporting) {
  MemStream file(deep_document());
  within("save", [&file] {
    CPDFDoc doc;
    CQVStreamMem out;
    return doc.open(&file) && save_all_ways(doc, out, nullptr);
  });
  within("save_encrypted", [&file] {
    CPDFDoc doc;
    MemStream out("");
    CPDFStandardEncrypt enc;
    CPDFStandardEncrypt::Settings settings;
    settings.user_password = "I\xC2\xADX";
    if (!doc.open(&file) || !enc.create(settings, {0, nullptr}) || !save_all_ways(doc, out, &enc))
      return false;
    CPDFDoc again;
    again.set_password("IX");
    return again.open(&out) && again.is_readable() && read_everything(again);
  });
  within("merge", [&file] {
    CPDFDoc source;
    CPDFDoc into;
    CQVStreamMem start;
    const std::int32_t pages[] = {0, 0};
    if (!source.open(&file) || !into.create(&start))
      return false;
    CPDFDocMerge merge(into);
    return merge.append(source, pages, 2, "source") == 2 && merge.finish();
  });
  within("annotation", [&file] {
    CPDFDoc doc;
    Cleared<CPDFDictionary> flat;
    return doc.open(&file) && doc.table().export_annot(flat, {5, 0}) == 1 && doc.table().clone_annot({5, 0}) > 0;
  });
}

// A page of 256 x 256 with one arithmetically coded region; any bytes decode to something.
std::string jbig2_page(const std::string& coded) {
  const std::string side("\0\0\1\0", 4);
  const std::string zeros(9, '\0');
  const std::string page = side + side + zeros + std::string(2, '\0');
  const std::string region = side + side + zeros + std::string("\0\x03\xFF\xFD\xFF\x02\xFE\xFE\xFE", 9) + coded;
  const auto segment = [](char number, char type, const std::string& data) {
    std::string length;
    for (int shift = 24; shift >= 0; shift -= 8)
      length += static_cast<char>(data.size() >> shift);
    return std::string(3, '\0') + number + type + '\0' + '\1' + length + data;
  };
  return segment(0, 48, page) + segment(1, 38, region);
}

TEST_F(StackNeeds, Decoding) {
  const std::string plain = sample_bytes(100000);
  const std::string smooth = smooth_picture(300, 200, 3);
  const std::string jpegs[] = {make_jpeg(smooth, 300, 200, {}),
                               make_jpeg(smooth, 300, 200, {.progressive = true, .subsampled = true})};
  const std::string jp2 = make_jp2(300, 200, {.tile = 128}, [](int c, int x, int y) { return (x + y * c) & 255; });
  struct Row {
    const char* filter;
    std::string bytes;
    const char* parms;
  };
  const Row rows[] = {
      {"FlateDecode", PdfBuilder::deflated(plain), "<</Predictor 15/Columns 3000/Colors 3>>"},
      {"LZWDecode", lzw_encoded(plain, 1, true), ""},
      {"ASCII85Decode", "s8W-!s8W-!~>", ""},
      {"CCITTFaxDecode", plain, "<</K -1/Columns 30000>>"},
      {"CCITTFaxDecode", plain, "<</K 4/Columns 30000>>"},
      {"DCTDecode", jpegs[0], ""},
      {"DCTDecode", jpegs[1], ""},
      {"JPXDecode", jp2, ""},
      {"JBIG2Decode", jbig2_page(plain.substr(0, 5000)), ""},
  };
  for (const Row& row : rows) {
    within(row.filter, [&row] {
      const StreamPtr decoder = decoder_of(row.filter, row.bytes, row.parms);
      return decoder != nullptr && read_through(*decoder);
    });
  }
}

TEST_F(StackNeeds, Images) {
  const std::string smooth = smooth_picture(300, 200, 4);
  const std::string jpeg = make_jpeg(smooth_picture(300, 200, 3), 300, 200, {.progressive = true});
  within("images", [&smooth, &jpeg] {
    TestTable fresh("");
    fresh.table.next_obj_num = 1;
    CQVBmp32 bmp;
    bmp.pixels = reinterpret_cast<std::uint8_t*>(const_cast<char*>(smooth.data()));
    bmp.width = 300;
    bmp.height = 200;
    bmp.stride = 1200;
    const auto* bytes = reinterpret_cast<const unsigned char*>(jpeg.data());
    return fresh.table.new_image_flate(&bmp, 1, 1).num != 0 &&
           fresh.table.new_image_jpeg_mem(bytes, static_cast<int>(jpeg.size())).num != 0;
  });
}

TEST_F(StackNeeds, FontsAndTheirMaps) {
  bool has_font = false;
  within("fonts", [&has_font] {
    CPDFDoc doc;
    CQVStreamMem start;
    MemStream out("");
    doc.create(&start);
    auto* const env = new CPDFEnviroment;
    doc.table().set_envirment(env, "test");
    CPDFEnviroment::destroy(env);
    auto* const font = static_cast<CPDFFontType0*>(doc.table().new_font_type0_h("DejaVu Sans", 8 | 3));
    has_font = font != nullptr;
    unsigned char codes[64];
    if (has_font)
      font->encode(L"A subset \x00C4\x00D6 of glyphs", 20, codes);
    doc.table().get_cmap("UniGB-UCS2-H");
    return save_all_ways(doc, out, nullptr);
  });
  if (!has_font)
    GTEST_SKIP() << "DejaVu Sans is not installed: fonts were not measured";
}

TEST_F(StackNeeds, RealFiles) {
  const std::vector<CorpusFile> files = corpus_files();
  if (files.empty())
    GTEST_SKIP() << "SHEAF_CORPUS names no folder of PDFs";
  for (const CorpusFile& file : files) {
    within(file.name, [&file] {
      CPDFDoc doc;
      doc.set_password(file.expected.password.c_str());
      MemStream out("");
      return !doc.open(file.path.c_str()) || !doc.is_readable() || (read_everything(doc) && [&doc, &out] {
        CPDFXRefTable target;
        target.stream = &out;
        doc.save_complete(target, nullptr);
        return true;
      }());
    });
  }
}

}  // namespace
