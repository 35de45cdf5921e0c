// Complete new files as they are asked for, read back by this library and looked at by an independent program: what a
// user has before must be there afterwards, whatever the options are.
#include <gtest/gtest.h>

#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/document/writer/doc_writer.h"
#include "sheaf/document/writer/edited_file.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

std::string bytes_of(const CQVStreamMem& stream) {
  return std::string(reinterpret_cast<const char*>(stream.data), stream.len);
}

// A document whose pages inherit, share a font and a form, and have an outline, a thumbnail and metadata.
std::string sample(int pages = 7) {
  PdfBuilder builder;
  std::string kids;
  for (int i = 0; i < pages; ++i)
    kids += std::to_string(20 + 2 * i) + " 0 R ";
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Outlines 5 0 R/Names<</JavaScript 11 0 R>>/OpenAction 12 0 R>>");
  builder.obj(2, "<</Type/Pages/Count " + std::to_string(pages) + "/Kids[" + kids +
                     "]/MediaBox[0 0 200 300]/Resources<</Font<</F1 3 0 R/F2 4 0 R>>/XObject<</X 8 0 R/Y 9 0 R>>>>>>");
  builder.obj(3, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  builder.obj(4, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  builder.obj(5, "<</Type/Outlines/First 6 0 R/Last 6 0 R/Count 1>>");
  builder.obj(6, "<</Title(Top)/Parent 5 0 R/Dest[20 0 R/Fit]>>");
  builder.stream(8, "/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<<>>", "0 0 9 9 re f");
  builder.stream(9, "/Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<<>>", "0 0 5 5 re f");
  builder.obj(10, "(nobody refers to this)");
  builder.obj(11, "<</Names[(s) 12 0 R]>>");
  builder.obj(12, "<</S/JavaScript/JS(app.alert\\(1\\))/Next<</S/GoTo/D[20 0 R/Fit]>>>>");
  for (int i = 0; i < pages; ++i) {
    const std::string num = std::to_string(21 + 2 * i);
    builder.obj(20 + 2 * i, "<</Type/Page/Parent 2 0 R/Contents " + num + " 0 R>>");
    builder.stream(21 + 2 * i, "", "q BT /F1 12 Tf 20 200 Td (Page " + std::to_string(i + 1) + ") Tj ET /X Do Q");
  }
  return builder.classic("/Root 1 0 R/ID[<0102><0304>]").str();
}

struct Writer : testing::Test {
  // The new file, or "" when it could not be written.
  std::string written(const std::string& source, const PDF_WRITE_OPTIONS& options, CPDFStandardEncrypt* enc = nullptr) {
    CQVStreamMemFix in;
    std::string copy = source;
    in.Open(copy.data(), static_cast<int>(copy.size()));
    CPDFDoc doc;
    CQVStreamMem out;
    if (!doc.open(&in))
      return "";
    CPDFDocWriter writer(doc);
    Freed<CPDFObj> id;
    doc.keep_identifier(id);
    writer.set_id(id);
    if (!writer.write(out, enc, options))
      return "";
    result = writer.result();
    return bytes_of(out);
  }
  // Every page's text and content, by this library.
  static std::string contents(const std::string& file, const char* password = nullptr) {
    CQVStreamMemFix in;
    std::string copy = file;
    in.Open(copy.data(), static_cast<int>(copy.size()));
    CPDFDoc doc;
    doc.set_password(password);
    if (!doc.open(&in) || doc.status() != PDF_OPEN::kClean)
      return "does not open";
    std::string text;
    for (int i = 0; i < doc.page_count(); ++i) {
      CPDFPage page;
      EXPECT_TRUE(doc.load_page(i, page));
      const Freed<CPDFObj> content = doc.table().value(&page.dict, "Contents");
      int len = 0;
      const std::unique_ptr<CPDFStream> decoder(doc.table().make_stream(content.as_stream()));
      const HeapBlock<std::uint8_t> data(decoder != nullptr ? decoder->buffer_load(1 << 20, len) : nullptr);
      for (const char c : std::string(reinterpret_cast<const char*>(data.get()), static_cast<std::size_t>(len)))
        text += c == ' ' || c == '\n' ? "" : std::string(1, c);
      const Freed<CPDFObj> fonts = doc.table().value(&page.dict, "Resources");
      text += doc.table().value(fonts.as_dict(), "Font").as_dict() != nullptr || page.inherited != nullptr ? "" : "?";
      text += std::to_string(page.shown_width() >> 26) + "\n";
    }
    return text;
  }
  // What qpdf finds wrong with it; "" for nothing.
  std::string faults(const std::string& file, const std::string& arguments = "--check") {
    write_file(folder / "out.pdf", file);
    const RunResult run = run_command("qpdf " + arguments + " " + (folder / "out.pdf") + " 2>&1");
    return run.code == 0 ? "" : run.output;
  }

  TestFolder folder;
  PDF_WRITE_RESULT result{};
};

PDF_WRITE_OPTIONS options_of(PDF_OBJECT_STREAMS streams, PDF_STREAM_DATA data = PDF_STREAM_DATA::kPreserve,
                             bool linearize = false) {
  PDF_WRITE_OPTIONS options;
  options.object_streams = streams;
  options.stream_data = data;
  options.linearize = linearize;
  return options;
}

TEST_F(Writer, EveryFormHoldsTheSamePagesAndSatisfiesAnIndependentReader) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const std::string source = sample();
  const std::string before = contents(source);
  ASSERT_NE(before, "does not open");
  std::string packed;
  for (const PDF_OBJECT_STREAMS streams :
       {PDF_OBJECT_STREAMS::kGenerate, PDF_OBJECT_STREAMS::kDisable, PDF_OBJECT_STREAMS::kPreserve}) {
    for (const PDF_STREAM_DATA data :
         {PDF_STREAM_DATA::kPreserve, PDF_STREAM_DATA::kCompress, PDF_STREAM_DATA::kUncompress}) {
      for (const bool linearize : {false, true}) {
        for (const bool renumber : {false, true}) {
          PDF_WRITE_OPTIONS options = options_of(streams, data, linearize);
          options.renumber = renumber;
          options.readable = data == PDF_STREAM_DATA::kUncompress && !linearize;
          // What was packed before must come through as well.
          for (const std::string& from : {source, packed.empty() ? source : packed}) {
            const std::string file = written(from, options);
            EXPECT_EQ(contents(file), before);
            EXPECT_EQ(faults(file, linearize ? "--check-linearization" : "--check"), "");
          }
          if (packed.empty())
            packed = written(source, options);
        }
      }
    }
  }
  EXPECT_NE(packed.find("/ObjStm"), std::string::npos);
  EXPECT_EQ(packed.find("nobody refers"), std::string::npos);
}

TEST_F(Writer, TheLibraryReadsThePagesOfALinearizedFileFromItsHints) {
  for (const int pages : {1, 2, 40}) {
    for (const PDF_OBJECT_STREAMS streams : {PDF_OBJECT_STREAMS::kGenerate, PDF_OBJECT_STREAMS::kDisable}) {
      std::string file = written(sample(pages), options_of(streams, PDF_STREAM_DATA::kPreserve, true));
      CQVStreamMemFix in;
      in.Open(file.data(), static_cast<int>(file.size()));
      CPDFDoc doc;
      ASSERT_TRUE(doc.open(&in));
      EXPECT_TRUE(doc.is_linearized());
      EXPECT_TRUE(pages == 1 || doc.hints_hold()) << pages;
      EXPECT_EQ(doc.page_count(), pages);
    }
  }
}

TEST_F(Writer, EncryptedFilesStayReadableInEveryForm) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const std::string source = sample();
  for (const auto algorithm : {CPDFStandardEncrypt::Algorithm::kAES256, CPDFStandardEncrypt::Algorithm::kRC4}) {
    for (const bool linearize : {false, true}) {
      for (const PDF_OBJECT_STREAMS streams : {PDF_OBJECT_STREAMS::kGenerate, PDF_OBJECT_STREAMS::kDisable}) {
        CPDFStandardEncrypt enc;
        CPDFStandardEncrypt::Settings settings;
        settings.algorithm = algorithm;
        settings.user_password = "u";
        char id[] = "\1\2";
        ASSERT_TRUE(enc.create(settings, {2, id}));
        const std::string file = written(source, options_of(streams, PDF_STREAM_DATA::kCompress, linearize), &enc);
        EXPECT_EQ(contents(file, "u"), contents(source));
        EXPECT_EQ(faults(file, (linearize ? "--password=u --check-linearization" : "--password=u --check")), "");
      }
    }
  }
}

// Pages of linearized files have everything themselves, and the nodes above them nothing, also what no page needs.
TEST_F(Writer, NodesAboveThePagesOfALinearizedFileHandNothingDown) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Kids[3 0 R]/Count 1/MediaBox[0 0 9 9]/Resources 4 0 R>>")
      .obj(3, "<</Type/Page/Parent 2 0 R/MediaBox[0 0 8 8]/Resources<<>>>>")
      .obj(4, "<<>>");
  const std::string file =
      written(builder.classic().str(), options_of(PDF_OBJECT_STREAMS::kDisable, PDF_STREAM_DATA::kPreserve, true));
  EXPECT_EQ(faults(file, "--check-linearization"), "");
  EXPECT_EQ(file.find("0 0 9 9"), std::string::npos);
}

// What pages inherit goes into each of them while it is written: kept in memory, a million pages would not fit.
TEST_F(Writer, PagesOfALinearizedFileGetWhatTheyInheritOneByOne) {
  constexpr int kPages = 60;
  PdfBuilder builder;
  std::string kids;
  for (int i = 0; i < kPages; ++i) {
    kids += std::to_string(10 + i) + " 0 R ";
    builder.obj(10 + i,
                i == 7 ? "<</Type/Page/Parent 3 0 R/MediaBox[0 0 8 8]/Rotate 0>>" : "<</Type/Page/Parent 3 0 R>>");
  }
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R>>")
      .obj(2, "<</Type/Pages/Kids[3 0 R]/Count 60/Resources<</Font<</F 4 0 R>>>>/Rotate 90/MediaBox[0 0 5 5]>>")
      .obj(3, "<</Type/Pages/Parent 2 0 R/Kids[" + kids + "]/Count 60/MediaBox[0 0 30 40]>>")
      .obj(4, "<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>");
  std::string source = builder.classic().str();
  CQVStreamMemFix in;
  in.Open(source.data(), static_cast<int>(source.size()));
  CPDFDoc doc;
  ASSERT_TRUE(doc.open(&in));
  CQVStreamMem out;
  ASSERT_TRUE(CPDFDocWriter(doc).write(out, nullptr, options_of(PDF_OBJECT_STREAMS::kDisable, {}, true)));
  int in_memory = 0;
  for (std::uint32_t num = 1; num < doc.table().xref_count; ++num)
    in_memory += doc.table().xref_items[num].is_in_memory() ? 1 : 0;
  EXPECT_LE(in_memory, 1);  // the resources, as an object of their own

  std::string file = bytes_of(out);
  if (has_program("qpdf")) {
    EXPECT_EQ(faults(file, "--check-linearization"), "");
  }
  CQVStreamMemFix again;
  again.Open(file.data(), static_cast<int>(file.size()));
  CPDFDoc result_doc;
  ASSERT_TRUE(result_doc.open(&again));
  ASSERT_EQ(result_doc.page_count(), kPages);
  for (const int index : {0, 7, kPages - 1}) {
    CPDFPage page;
    ASSERT_TRUE(result_doc.load_page(index, page));
    EXPECT_EQ(page.rotate, index == 7 ? 0 : 90) << index;
    EXPECT_EQ(page.box.right >> 26, index == 7 ? 8 : 30) << index;
    EXPECT_FALSE(page.from_above.has_media_box || page.from_above.rotate != 0) << index;
    const Freed<CPDFObj> resources = result_doc.table().value(&page.dict, "Resources");
    EXPECT_NE(result_doc.table().value(resources.as_dict(), "Font").as_dict(), nullptr) << index;
  }
}

// Strings in object streams are protected as parts of streams: where one of the two was in clear, both get the method
// of the other, which is also what readers can open that know only one.
TEST_F(Writer, ObjectStreamsHaveOneMethodForStringsAndStreams) {
  if (!has_program("qpdf"))
    GTEST_SKIP() << "qpdf is not installed";
  const std::string source = sample();
  for (const char* clear : {"StmF", "StrF"}) {
    CPDFStandardEncrypt::Settings settings;
    settings.algorithm = CPDFStandardEncrypt::Algorithm::kAES128;
    settings.user_password = "u";
    char id[] = "\1\2";
    const PDF_String first{2, id};
    CPDFStandardEncrypt made;
    ASSERT_TRUE(made.create(settings, first));
    made.encrypt_dict.set_item_name(clear, "Identity");
    CPDFStandardSecHand hand;
    hand.set_password("u");
    ASSERT_EQ(hand.authorize(&first, &made.encrypt_dict), 1);
    CPDFStandardEncrypt enc;
    ASSERT_TRUE(enc.continue_with(hand, made.encrypt_dict));
    const std::string file =
        written(source, options_of(PDF_OBJECT_STREAMS::kGenerate, PDF_STREAM_DATA::kCompress), &enc);
    EXPECT_EQ(file.find("Identity"), std::string::npos) << clear;
    EXPECT_EQ(contents(file, "u"), contents(source)) << clear;
    EXPECT_EQ(faults(file, "--password=u --check"), "") << clear;
  }
}

TEST_F(Writer, EqualFontsAreWrittenOnceAndUnusedResourcesNotAtAll) {
  PDF_WRITE_OPTIONS options;
  options.share_equals = true;
  const std::string source = sample();
  EXPECT_EQ(contents(written(source, options)), contents(source));
  EXPECT_EQ(result.joined, 1);  // object 4; the two forms differ
  options = {};
  options.remove_unused_resources = true;
  const std::string pruned = written(source, options);
  EXPECT_EQ(contents(pruned), contents(source));
  EXPECT_EQ(result.resources, 2);  // F2 and Y
  EXPECT_NE(pruned.find("/X 8 0 R"), std::string::npos);
  EXPECT_EQ(pruned.find("0 0 5 5 re f"), std::string::npos);
}

// Whoever can look a name up keeps it: an old form without resources, a glyph, a pattern, an appearance, a second page.
TEST_F(Writer, AResourceThatAnyContentUsesStays) {
  PdfBuilder builder;
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/AcroForm<</DR 20 0 R/Fields[]>>>>");
  builder.obj(2, "<</Type/Pages/Count 2/Kids[3 0 R 4 0 R]/MediaBox[0 0 9 9]>>");
  builder.obj(3, "<</Type/Page/Parent 2 0 R/Contents 5 0 R/Resources 6 0 R/Annots[7 0 R]>>");
  builder.obj(4, "<</Type/Page/Parent 2 0 R/Contents 8 0 R/Resources<</ExtGState 9 0 R/Font 20 0 R>>>>");
  builder.stream(5, "", "/P1 Do /Cs cs");
  builder.obj(6,
              "<</XObject<</P1 10 0 R/Old 11 0 R/Gone 11 0 R>>/ExtGState 9 0 R/ColorSpace<</Cs/DeviceRGB"
              "/DefaultRGB/DeviceRGB>>>>");
  builder.obj(7, "<</Type/Annot/Subtype/Stamp/Rect[0 0 1 1]/AP<</N 12 0 R>>>>");
  builder.stream(8, "", "/G1 gs");
  builder.obj(9, "<</G1<<>>/G2<<>>/G3<<>>>>");
  builder.stream(10, "/Subtype/Form/BBox[0 0 1 1]", "/Old Do");
  builder.stream(11, "/Subtype/Form/BBox[0 0 1 1]/Resources<<>>", "");
  builder.stream(12, "/Subtype/Form/BBox[0 0 1 1]/Resources<</ExtGState 9 0 R>>", "/G2 gs");
  builder.obj(20, "<</Unused null/Helv<</Type/Font>>>>");
  PDF_WRITE_OPTIONS options;
  options.remove_unused_resources = true;
  const std::string file = written(builder.classic().str(), options);
  for (const char* kept : {"/P1", "/Old", "/Cs/", "/DefaultRGB", "/G1", "/G2", "/Helv"})
    EXPECT_NE(file.find(kept), std::string::npos) << kept;
  EXPECT_EQ(file.find("/Gone"), std::string::npos);
  EXPECT_EQ(file.find("/G3"), std::string::npos);
}

TEST_F(Writer, StrippedPartsAreGoneAndWhatFollowsAScriptStays) {
  PDF_WRITE_OPTIONS options;
  options.strip = kStripJavaScript | kStripOutline;
  const std::string file = written(sample(), options);
  EXPECT_EQ(contents(file), contents(sample()));
  EXPECT_EQ(file.find("JavaScript"), std::string::npos);
  EXPECT_EQ(file.find("app.alert"), std::string::npos);
  EXPECT_EQ(file.find("(Top)"), std::string::npos);
  EXPECT_NE(file.find("/GoTo"), std::string::npos);
}

TEST_F(Writer, ImagesOfOneBitBecomeSmallerWithoutAChange) {
  const int width = 203;
  const int height = 160;
  std::string rows;
  for (int y = 0; y < height; ++y) {
    for (int byte = 0; byte < (width + 7) / 8; ++byte)
      rows += static_cast<char>(y % 20 < 3 ? 0x00 : (byte + y) % 9 == 0 ? 0x1C : y % 31 == 0 ? 0xAA : 0xFF);
  }
  const auto decoded = [&](std::string file) {
    CQVStreamMemFix in;
    in.Open(file.data(), static_cast<int>(file.size()));
    CPDFDoc doc;
    EXPECT_TRUE(doc.open(&in));
    const Freed<CPDFObj> image = doc.table().object(4);
    const std::unique_ptr<CPDFStream> decoder(doc.table().make_stream(image.as_stream()));
    std::string out(rows.size(), '\0');
    for (std::size_t at = 0; decoder != nullptr && at < out.size();) {
      const int got = decoder->read_block(out.data() + at, (width + 7) / 8);
      if (got <= 0)
        break;
      at += static_cast<std::size_t>(got);
    }
    for (std::size_t at = 25; at < out.size(); at += 26)  // after the last pixel of each row
      out[at] = static_cast<char>(out[at] & 0xE0);
    return out;
  };
  PdfBuilder builder;
  builder.pages(1).stream(
      4, "/Type/XObject/Subtype/Image/Width 203/Height 160/BitsPerComponent 1/ColorSpace/DeviceGray", rows);
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Image 4 0 R>>");
  const std::string source = builder.classic().str();
  PDF_WRITE_OPTIONS options;
  options.pack_bilevel_images = true;
  const std::string file = written(source, options);
  EXPECT_EQ(result.images, 1);
  EXPECT_LT(file.size(), source.size());
  EXPECT_EQ(decoded(file), decoded(source));
  EXPECT_NE(file.find("/JBIG2Decode"), std::string::npos);
}

// Filters give way only to what is smaller and decodes to the same bytes; damaged data stay.
TEST_F(Writer, StreamsKeepTheirBytesUnderOtherFilters) {
  const std::string text(500, 'a');
  std::string damaged = PdfBuilder::deflated(text + "some more");
  damaged.resize(damaged.size() / 2);
  PdfBuilder builder;
  builder.pages(1).obj(1, "<</Type/Catalog/Pages 2 0 R/A 4 0 R/B 5 0 R/C 6 0 R/D 7 0 R/E 8 0 R>>");
  builder.stream(4, "/Filter/ASCIIHexDecode", "6162636465666768696A6B6C6D6E6F70>");
  builder.stream(5, "", text);
  builder.stream(6, "/Filter/FlateDecode", damaged);
  builder.stream(7, "/Type/Metadata", text);
  builder.stream(8, "/Filter[/ASCIIHexDecode/DCTDecode]", "FFD8FFD9>");
  PDF_WRITE_OPTIONS options = options_of(PDF_OBJECT_STREAMS::kDisable, PDF_STREAM_DATA::kCompress);
  options.recompress = 9;
  const std::string file = written(builder.classic().str(), options);
  EXPECT_NE(file.find(damaged), std::string::npos);
  EXPECT_NE(file.find("/Type/Metadata>>\nstream\n" + text), std::string::npos) << file;
  EXPECT_NE(file.find("/Filter/DCTDecode/Length 4>>"), std::string::npos);
  EXPECT_EQ(file.find(text, file.find(text) + 1), std::string::npos);  // only the metadata are in clear
}

// The last row of predicted data is cut: readers differ in what they make of it, so that nothing is changed.
TEST_F(Writer, ACutRowStaysAsItIs) {
  const std::string rows = PdfBuilder::deflated(std::string("\2ab\2cd\2e", 8));
  PdfBuilder builder;
  builder.pages(1).obj(1, "<</Type/Catalog/Pages 2 0 R/A 4 0 R>>");
  builder.stream(4, "/Filter/FlateDecode/DecodeParms<</Predictor 12/Columns 2>>", rows);
  const PDF_WRITE_OPTIONS options = options_of(PDF_OBJECT_STREAMS::kDisable, PDF_STREAM_DATA::kUncompress);
  EXPECT_NE(written(builder.classic().str(), options).find(rows), std::string::npos);
}

TEST_F(Writer, AnEditedFileIsFixed) {
  PDF_WRITE_OPTIONS options = options_of(PDF_OBJECT_STREAMS::kDisable, PDF_STREAM_DATA::kUncompress);
  options.readable = true;
  std::string text = written(sample(2), options);
  const auto replace = [&text](const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    ASSERT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
  };
  const auto fixed = [](const std::string& edited, PDF_FIX_RESULT& fix) {
    CQVStreamMem out;
    fix_edited_file(reinterpret_cast<const unsigned char*>(edited.data()), edited.size(), out, fix);
    return bytes_of(out);
  };
  PDF_FIX_RESULT fix;
  EXPECT_EQ(contents(fixed(text, fix)), contents(sample(2)));
  EXPECT_EQ(fix.lengths, 0);
  replace("(Page 1) Tj", "% longer\n(Page one with more words) Tj");
  replace("\ntrailer", "\n99 0 obj\n<< /New true >>\nendobj\ntrailer");
  const std::string file = fixed(text, fix);
  EXPECT_EQ(fix.trouble, PDF_FIX_RESULT::kNone);
  EXPECT_EQ(fix.lengths, 1);
  EXPECT_NE(contents(file).find("(Pageonewithmorewords)Tj"), std::string::npos);
  EXPECT_NE(file.find("/Size 100"), std::string::npos);
  if (has_program("qpdf")) {
    EXPECT_EQ(faults(file), "");
  }
  for (std::size_t len = 0; len < text.size(); len += 37)  // whatever is cut off, it ends
    fixed(text.substr(0, len), fix);
}

}  // namespace
