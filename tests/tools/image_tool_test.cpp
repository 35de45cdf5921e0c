// The tool and images: pages made of files, and images written as files.
#include <gtest/gtest.h>

#include "support/external_tool.h"
#include "support/fax_encoder.h"
#include "support/jp2_maker.h"
#include "support/jpeg_maker.h"
#include "support/netpbm.h"
#include "support/pdf_builder.h"

using namespace std::string_literals;

namespace {

std::string big_endian(std::size_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::string png_chunk(const std::string& type, const std::string& data) {
  const std::string body = type + data;
  const auto crc = crc32(0, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()));
  return big_endian(data.size()) + body + big_endian(crc);
}

// A PNG file of `kind` 0 (grey), 2 (colour) or 6 (colour and alpha), 8 bits, 300 dots an inch.
std::string make_png(const std::string& samples, int width, int height, int kind) {
  const std::size_t row = samples.size() / static_cast<std::size_t>(height);
  std::string rows;
  for (std::size_t at = 0; at < samples.size(); at += row)
    rows += '\0' + samples.substr(at, row);
  const std::string size = big_endian(static_cast<std::size_t>(width)) + big_endian(static_cast<std::size_t>(height));
  return "\x89PNG\r\n\x1A\n" + png_chunk("IHDR", size + "\x08" + static_cast<char>(kind) + "\0\0\0"s) +
         png_chunk("pHYs", big_endian(11811) + big_endian(11811) + "\x01") +
         png_chunk("IDAT", PdfBuilder::deflated(rows)) + png_chunk("IEND", "");
}

struct ImageTool : testing::Test {
  RunResult sheaf(const std::string& arguments) {
    return run_command(std::string(SHEAF_TOOL) + " " + arguments + " 2>&1");
  }
  std::string file(const std::string& name, const std::string& bytes) {
    write_file(folder / name, bytes);
    return folder / name;
  }
  static bool contains(const RunResult& result, const std::string& text) {
    return result.output.find(text) != std::string::npos;
  }

  TestFolder folder;
  std::string out = folder / "out.pdf";
};

TEST_F(ImageTool, PagesHaveTheSizeThatTheResolutionGives) {
  const std::string samples = smooth_picture(60, 30, 3);
  // Exif: turned by a quarter
  const std::string jpeg = make_jpeg(samples, 60, 30, {.density = 144});
  const std::string exif = "Exif\0\0MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0"s;
  const std::string turned =
      jpeg.substr(0, 2) + "\xFF\xE1"s + '\0' + static_cast<char>(exif.size() + 2) + exif + jpeg.substr(2);
  const std::string images = file("a.jpg", jpeg) + " " + file("b.jpg", turned) + " " +
                             file("c.png", make_png(samples, 60, 30, 2)) + " " +
                             file("d.ppm", "P6 60 30 255\n" + samples);
  EXPECT_EQ(sheaf("new " + out + " --image " + images).code, 0);
  const RunResult pages = sheaf("pages --json " + out);
  EXPECT_TRUE(contains(pages, "\"width\":30,\"height\":15,")) << pages.output;
  EXPECT_TRUE(contains(pages, "\"width\":15,\"height\":30,")) << pages.output;
  EXPECT_TRUE(contains(pages, "\"width\":14.4")) << pages.output;
  EXPECT_TRUE(contains(pages, "\"width\":60,\"height\":30,")) << pages.output;
  if (has_program("mutool")) {
    const RunResult outline = run_command("mutool show " + out + " outline");
    EXPECT_TRUE(contains(outline, "\"a.jpg\"\t#page=1") && contains(outline, "\"d.ppm\"\t#page=4")) << outline.output;
  }
  if (has_program("qpdf")) {
    EXPECT_EQ(run_command("qpdf --check " + out + " 2>&1 >/dev/null").output, "");
  }
}

TEST_F(ImageTool, AdobeInksAreInvertedByDecode) {
  const JpegKind inks{.components = 4, .given = JCS_CMYK, .stored = JCS_CMYK};
  JpegKind marked = inks;
  marked.adobe_marker = true;
  const std::string picture = smooth_picture(20, 10, 4);
  ASSERT_EQ(sheaf("new " + out + " --image " + file("a.jpg", make_jpeg(picture, 20, 10, marked)) + " " +
                  file("b.jpg", make_jpeg(picture, 20, 10, inks)))
                .code,
            0);
  EXPECT_TRUE(contains(sheaf("show " + out + " 3"), "/Decode[1 0 1 0 1 0 1 0]"));
  EXPECT_FALSE(contains(sheaf("show " + out + " 6"), "Decode[")) << sheaf("show " + out + " 6").output;
}

// Every form of netpbm gives the same pixels as the picture that it holds.
TEST_F(ImageTool, PlainPicturesComeBackPixelByPixel) {
  struct Case {
    std::string name;
    std::string bytes;
    std::string pixels;  // as red, green and blue
  };
  const std::string rgb = smooth_picture(9, 5, 3);
  std::string rgba;
  for (std::size_t i = 0; i < rgb.size(); i += 3)
    rgba += rgb.substr(i, 3) + static_cast<char>(i);
  const std::string two = "\0\0\0\xFF\xFF\xFF"s;
  const Case cases[] = {
      {"a.png", make_png(rgb, 9, 5, 2), rgb},
      {"b.png", make_png(rgba, 9, 5, 6), rgb},
      {"c.png", make_png("\x20\xA0"s, 2, 1, 0), "\x20\x20\x20\xA0\xA0\xA0"},
      {"d.pbm", "P1\n# black, white\n2 1\n10\n", two},
      {"e.pbm", "P4 2 1\n\x80", two},
      {"f.pgm", "P2 2 1 15 0 15", two},
      {"g.pgm", "P5 2 1 65535\n\0\0\xFF\xFF"s, two},
      {"h.ppm", "P3 2 1 1 0 0 0 1 1 1", two},
      {"i.ppm", "P6 9 5 255\n" + rgb, rgb},
      {"j.pam", "P7\nWIDTH 9\nHEIGHT 5\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" + rgba, rgb},
  };
  for (const Case& c : cases) {
    const bool has_alpha = c.name[0] == 'b' || c.name[0] == 'j';
    ASSERT_EQ(sheaf("new " + out + " --image " + file(c.name, c.bytes)).code, 0) << c.name;
    EXPECT_EQ(sheaf("stream " + out + (has_alpha ? " 4" : " 3")).output, c.pixels) << c.name;
    if (has_alpha) {
      const std::string alpha = sheaf("stream " + out + " 3").output;
      ASSERT_EQ(alpha.size(), 45u);
      EXPECT_EQ(alpha[7], rgba[31]);
    }
    if (has_program("pdfimages") && !has_alpha) {
      run_command("pdfimages " + out + " " + (folder / "x"));
      EXPECT_EQ(Netpbm::parse(read_file(folder / "x-000.ppm")).samples, c.pixels) << c.name;
    }
  }
}

TEST_F(ImageTool, UnreadableFilesEndTheCommand) {
  const std::string good = file("good.ppm", "P6 1 1 255\nabc");
  const std::string png = make_png("abc", 1, 1, 2);
  const std::string bad[] = {"",
                             "text",
                             "\xFF\xD8\xFF\xE0",
                             png.substr(0, png.size() / 2),
                             "P6 2 2 255\nabc",
                             "P5 100000 100000 255\n",
                             "P7\nWIDTH 1\n",
                             "P2 1 1 0 0",
                             "\xFF\x4F\xFF\x51"};
  for (const std::string& bytes : bad) {
    const RunResult run = sheaf("new " + out + " --image " + good + " " + file("bad", bytes));
    EXPECT_EQ(run.code, 2);
    EXPECT_TRUE(contains(run, "bad: is no")) << run.output;
    EXPECT_FALSE(std::filesystem::exists(out));
  }
  EXPECT_EQ(sheaf("new " + out + " --image " + (folder / "absent")).code, 2);
}

TEST_F(ImageTool, ImagesAreListedAndWritten) {
  const std::string jpeg = make_jpeg(smooth_picture(20, 10, 3), 20, 10, {});
  const std::string jp2 = make_jp2(20, 10, {}, [](int, int x, int y) { return x + y; });
  PdfBuilder pdf;
  pdf.pages(1)
      .stream(4, "/Subtype/Image/Width 20/Height 10/ColorSpace/DeviceRGB/BitsPerComponent 8/Filter[/Fl/DCT]",
              PdfBuilder::deflated(jpeg))
      .stream(5, "/Subtype/Image/Width 20/Height 10/Filter/JPXDecode", jp2)
      .stream(6, "/Subtype/Image/Width 3/Height 1/ColorSpace[/Indexed/DeviceRGB 1<0A141E646E78>]/BitsPerComponent 1",
              "\x40")
      .stream(7, "/Subtype/Image/Width 2/Height 1/ColorSpace/DeviceCMYK/BitsPerComponent 8/Decode[1 0 1 0 1 0 1 0]",
              "\xFF\xFF\xFF\xFF\xFF\x00\x00\xFF"s)
      .stream(8, "/Subtype/Image/Width 1/Height 1/ColorSpace[/DeviceN[/a/b]/DeviceRGB 3 0 R]/BitsPerComponent 8", "ab")
      .stream(9, "/Subtype/Image/Width 4/Height 2/ImageMask true", "\x50")
      .stream(10, "/Subtype/Image/Width 1/Height 1/ColorSpace/DeviceGray/BitsPerComponent 16", "\x12\x34")
      .stream(11, "/Subtype/Image/Width 67/Height 45/SMaskInData 1/Filter/JPXDecode", make_grey_with_opacity())
      .classic();
  const std::string in = file("in.pdf", pdf.str());
  const RunResult list = sheaf("images --json " + in);
  EXPECT_EQ(list.code, 0);
  EXPECT_TRUE(contains(list,
                       "{\"object\":4,\"width\":20,\"height\":10,\"bits\":8,\"colours\":\"DeviceRGB\","
                       "\"filter\":\"DCTDecode\",\"bytes\":"))
      << list.output;
  EXPECT_TRUE(contains(list, "\"colours\":\"Indexed DeviceRGB\""));
  EXPECT_TRUE(contains(list, "\"colours\":\"DeviceN 2\""));

  const RunResult written = sheaf("images " + in + " -d " + (folder / "images"));
  EXPECT_EQ(written.code, 1);
  EXPECT_TRUE(contains(written, "object 8: its colour space cannot be shown")) << written.output;
  EXPECT_TRUE(contains(written, "object 9: its data end early")) << written.output;
  EXPECT_TRUE(read_file(folder / "images/image-4.jpg") == jpeg);
  EXPECT_TRUE(read_file(folder / "images/image-5.jp2") == jp2);
  EXPECT_TRUE(read_file(folder / "images/image-11.jp2") == make_grey_with_opacity());

  struct Picture {
    int num;
    std::string pixels;
  };
  const Picture pictures[] = {
      {6, "\x0A\x14\x1E\x64\x6E\x78\x0A\x14\x1E"},
      {7, "\xFF\xFF\xFF\xFF\x00\x00"s},
      {10, "\x12\x12\x12"},
      {11, std::string(67 * 45 * 3, '\x60')},
  };
  for (const Picture& picture : pictures) {
    const std::string png =
        folder / ("images/image-" + std::to_string(picture.num) + (picture.num == 11 ? "-opacity.png" : ".png"));
    ASSERT_EQ(sheaf("new " + out + " --image " + png).code, 0);
    EXPECT_EQ(sheaf("stream " + out + " 3").output, picture.pixels) << picture.num;
  }
}

// What a PNG file says of itself: depth, colour type, and the bytes of a chunk.
struct PngFacts {
  int depth;
  int colour_type;
  std::string bytes;

  explicit PngFacts(const std::string& path) : bytes(read_file(path)) {
    depth = bytes.size() > 25 ? bytes[24] : -1;
    colour_type = bytes.size() > 25 ? bytes[25] : -1;
  }
  std::string chunk(const std::string& type) const {
    const std::size_t at = bytes.find(type);
    if (at == std::string::npos)
      return "";
    std::size_t size = 0;
    for (std::size_t i = at - 4; i < at; ++i)
      size = size << 8 | static_cast<unsigned char>(bytes[i]);
    return bytes.substr(at + 4, size);
  }
};

TEST_F(ImageTool, PicturesKeepDepthPaletteProfileAndResolution) {
  // The header of a profile and no tags; libpng looks at no more.
  std::string profile(132, '\0');
  profile.replace(0, 4, big_endian(132));
  profile.replace(8, 4, "\2\x10\0\0"s);
  profile.replace(12, 12, "mntrRGB XYZ ");
  profile.replace(36, 4, "acsp");
  profile.replace(68, 12, "\0\0\xF6\xD6\0\1\0\0\0\0\xD3\x2D"s);
  const std::string content =
      "/Im4 Do q 0 144 -72 0 9 9 cm /Im5 Do Q % 1 0 0 1 0 0 cm\n(a\\)) Tj q 7.2 0 0 7.2 0 0 cm /F Do Q";
  PdfBuilder pdf;
  pdf.pages(1)
      .obj(3,
           "<</Type/Page/Parent 2 0 R/Contents[11 0 R 12 0 R]/Resources<</XObject<</Im4 4 0 R/Im5 5 0 R/F 13 0 R>>>>>>")
      .stream(4, "/Subtype/Image/Width 9/Height 2/ImageMask true/Decode[1 0]", "\xAA\x80\x55\x00"s)
      .stream(5, "/Subtype/Image/Width 40/Height 20/ColorSpace[/ICCBased 10 0 R]/BitsPerComponent 8",
              smooth_picture(40, 20, 3))
      .stream(6,
              "/Subtype/Image/Width 3/Height 1/ColorSpace[/Indexed/DeviceRGB 2<0A141E646E78FF0000>]/BitsPerComponent 2",
              "\x1B")
      .stream(7, "/Subtype/Image/Width 4/Height 1/ColorSpace/DeviceGray/BitsPerComponent 4", "\x0F\x5A")
      .stream(8, "/Subtype/Image/Width 2/Height 1/ColorSpace/DeviceGray/BitsPerComponent 4/Decode[0 .5]", "\x0F")
      .stream(10, "/N 3", profile)
      .stream(11, "", "72 0 0 72 0 0 cm 1 0 0")
      .stream(12, "", "1 0 0 cm " + content)
      .stream(13, "/Subtype/Form/Matrix[10 0 0 10 0 0]/Resources<</XObject<</X 7 0 R>>>>", "BI /W 1 ID \1\2 EI /X Do")
      .classic();
  const std::string dir = folder / "images";
  EXPECT_EQ(sheaf("images " + file("in.pdf", pdf.str()) + " -d " + dir).code, 0);
  const auto facts = [&](int num) { return PngFacts(dir + "/image-" + std::to_string(num) + ".png"); };
  const auto metres = [](double dots) { return big_endian(static_cast<std::size_t>(dots / 0.0254 + 0.5)); };
  EXPECT_EQ(facts(4).depth, 1);
  EXPECT_EQ(facts(4).colour_type, 0);
  EXPECT_EQ(facts(4).chunk("pHYs"), metres(9) + metres(2) + "\1");
  EXPECT_EQ(facts(5).colour_type, 2);
  EXPECT_EQ(facts(5).chunk("iCCP").substr(0, 12), "ICC profile\0"s);
  EXPECT_EQ(facts(5).chunk("pHYs"), metres(40.0 / 144) + metres(20.0 / 72) + "\1") << "inside the first cm";
  EXPECT_EQ(facts(6).depth, 2);
  EXPECT_EQ(facts(6).colour_type, 3);
  EXPECT_EQ(facts(6).chunk("PLTE"), "\x0A\x14\x1E\x64\x6E\x78\xFF\0\0\xFF\0\0"s);
  EXPECT_EQ(facts(6).chunk("pHYs"), "") << "no page shows it";
  EXPECT_EQ(facts(7).depth, 4);
  EXPECT_EQ(facts(7).chunk("pHYs"), metres(4.0 / 72) + metres(1.0 / 72) + "\1");
  EXPECT_EQ(facts(8).depth, 8) << "half the greys";
  const std::pair<int, std::string> pixels[] = {
      {4, "\0\xFF\0\xFF\0\xFF\0\xFF\0\xFF\0\xFF\0\xFF\0\xFF\0\xFF"s},
      {5, smooth_picture(40, 20, 3)},
      {6, "\x0A\x14\x1E\x64\x6E\x78\xFF\0\0"s},
      {7, "\0\0\0\xFF\xFF\xFF\x55\x55\x55\xAA\xAA\xAA"s},
      {8, "\0\0\0\x80\x80\x80"s},
  };
  for (const auto& [num, expected] : pixels) {
    ASSERT_EQ(sheaf("new " + out + " --image " + dir + "/image-" + std::to_string(num) + ".png").code, 0) << num;
    std::string samples = sheaf("stream " + out + " 3").output;
    if (num == 4) {  // a byte of each pixel is enough
      std::string greys;
      for (std::size_t i = 0; i < samples.size(); i += 3)
        greys += samples[i];
      samples = greys;
    }
    EXPECT_TRUE(samples == expected) << num;
  }
}

TEST_F(ImageTool, PicturesOutOfProportionAreNotWritten) {
  PdfBuilder pdf;
  pdf.pages(1)
      .stream(4, "/Subtype/Image/Width 100000/Height 100000/BitsPerComponent 8/ColorSpace/DeviceRGB/Filter/FlateDecode",
              PdfBuilder::deflated(std::string(1 << 20, 'x')))
      .stream(5,
              "/Subtype/Image/Width 4000000/Height 2000000/ImageMask true/Filter/CCITTFaxDecode"
              "/DecodeParms<</K -1/Columns 4000000>>",
              "\x80")
      .classic();
  const RunResult run = sheaf("images " + file("in.pdf", pdf.str()) + " -d " + (folder / "images"));
  EXPECT_EQ(run.code, 1);
  EXPECT_TRUE(contains(run, "object 4: its size is out of all proportion")) << run.output;
  EXPECT_TRUE(contains(run, "object 5: its size is out of all proportion")) << run.output;
  EXPECT_TRUE(std::filesystem::is_empty(folder / "images"));
}

TEST_F(ImageTool, CcittDataGoIntoTiffFilesAsTheyAre) {
  const std::vector<fax_test::Row> rows = fax_test::dithered_ramp(200, 16);
  fax_test::FaxEncoder t6;
  fax_test::FaxEncoder t4;
  fax_test::FaxEncoder mixed;
  fax_test::FaxEncoder bytes;
  std::string pixels;
  fax_test::Row above(200);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    t6.t6_row(rows[i], above);
    t4.plain_row(rows[i]);
    i % 4 == 0 ? mixed.tagged_row(rows[i]) : mixed.tagged_row(rows[i], above);
    bytes.align();
    bytes.one_dimensional(rows[i]);
    above = rows[i];
    pixels += fax_test::packed(rows[i]);
  }
  t6.end_of_block();
  PdfBuilder pdf;
  const std::string image = "/Subtype/Image/Width 200/Height 16/BitsPerComponent 1/ColorSpace/DeviceGray";
  const std::string parms = "/Filter/CCITTFaxDecode/DecodeParms<</Columns 200";
  pdf.pages(1)
      .stream(4, image + parms + "/K -1>>", t6.bytes())
      .stream(5, image + parms + "/K 0/EndOfLine true>>", t4.bytes())
      .stream(6, image + parms + "/K 4/EndOfLine true>>", mixed.bytes())
      .stream(7, image + parms + "/EncodedByteAlign true>>", bytes.bytes())
      .stream(8, image + parms + "/K -1/BlackIs1 true>>", t6.bytes())
      .stream(9, image + parms + "/K -1/EncodedByteAlign true>>", t6.bytes())
      .classic();
  const std::string dir = folder / "images";
  EXPECT_EQ(sheaf("images --tiff " + file("in.pdf", pdf.str()) + " -d " + dir).code, 0);
  EXPECT_TRUE(std::filesystem::exists(dir + "/image-9.png")) << "TIFF has no T.6 lines on whole bytes";
  EXPECT_NE(read_file(dir + "/image-4.tif").find(t6.bytes()), std::string::npos);
  if (!has_program("tiffcp"))
    GTEST_SKIP() << "libtiff's tools are not installed; the files were written";
  for (const int num : {4, 5, 6, 7, 8}) {
    const std::string name = dir + "/image-" + std::to_string(num) + ".tif";
    EXPECT_EQ(run_command("tiffcp -c none " + name + " " + (folder / "plain.tif") + " 2>&1").output, "") << num;
    EXPECT_NE(read_file(folder / "plain.tif").find(pixels), std::string::npos) << num;
    const std::string info = run_command("tiffinfo " + name + " 2>&1").output;
    EXPECT_NE(info.find(num == 8 ? "min-is-black" : "min-is-white"), std::string::npos) << info;
  }
}

TEST_F(ImageTool, ColourSpacesOfAnyShapeAreNamed) {
  struct Case {
    std::string space;
    std::string name;
  };
  const Case cases[] = {
      {"/ICCBased", "ICCBased"},
      {"[/ICCBased 4 0 R]", "ICCBased 3"},
      {"[/ICCBased]", "ICCBased 0"},
      {"[/Indexed[/ICCBased 4 0 R]0<414243>]", "Indexed ICCBased 3"},
      {"[/Indexed 5 0 R 0<414243>]", "Indexed -"},        // its base holds the space itself
      {"[/Indexed 6 0 R 0<414243>]", "Indexed Indexed"},  // its base is the space itself
      {"[/Indexed]", "Indexed -"},
      {"[/Separation/Spot/DeviceGray 3 0 R]", "Separation Spot"},
      {"[/Separation]", "Separation"},
      {"[/DeviceN]", "DeviceN"},
      {"[]", "-"},
  };
  PdfBuilder pdf;
  pdf.pages(1).stream(4, "/N 3", "").obj(5, "[[/Indexed 5 0 R]]").obj(6, "[/Indexed 6 0 R 0<414243>]");
  int num = 7;
  for (const Case& c : cases)
    pdf.stream(num++, "/Subtype/Image/Width 1/Height 1/BitsPerComponent 8/ColorSpace" + c.space, "a");
  const RunResult list = sheaf("images --json " + file("in.pdf", pdf.classic().str()));
  EXPECT_EQ(list.code, 0);
  num = 7;
  for (const Case& c : cases) {
    const std::string line =
        "{\"object\":" + std::to_string(num++) + ",\"width\":1,\"height\":1,\"bits\":8,\"colours\":\"" + c.name + "\"";
    EXPECT_TRUE(contains(list, line)) << c.space << list.output;
  }
}

}  // namespace
