// The JPEG and JPEG 2000 streams of the folder that SHEAF_CORPUS names, beside independent decoders.
#include <gtest/gtest.h>

#include <memory>

#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/images/image.h"
#include "sheaf/filters/stream_filter.h"
#include "sheaf/neighbours/decoders/row_decoder.h"
#include "support/corpus.h"
#include "support/netpbm.h"

using namespace sheaf;

namespace {

struct CorpusImage {
  std::string name;
  std::string encoded;
  std::string samples;
  int width = 0;
  int height = 0;
  int components = 0;
};

CorpusImage image_of(const CPDFImage& image, const std::string& name) {
  CorpusImage result{name, "", "", 0, 0, 0};
  std::int32_t len = 0;
  const HeapBlock<std::uint8_t> encoded(image.load_encoded(len));
  if (encoded)
    result.encoded.assign(reinterpret_cast<const char*>(encoded.get()), static_cast<std::size_t>(len));
  const std::unique_ptr<CPDFStream> decoder(image.open_samples());
  if (decoder == nullptr)
    return result;
  std::string block(1 << 16, '\0');
  for (int got = decoder->read_block(block.data(), 1 << 16); got > 0; got = decoder->read_block(block.data(), 1 << 16))
    result.samples.append(block, 0, static_cast<std::size_t>(got));
  const auto* rows = static_cast<const CPDFRowDecoder*>(decoder.get());
  result.width = rows->width();
  result.height = rows->height();
  result.components = rows->components();
  return result;
}

// Calls `visit` for every image of the folder with that filter.
template <class Visit>
int for_each_image(const std::string& filter, const Visit& visit) {
  int count = 0;
  for (const CorpusFile& file : corpus_files()) {
    CPDFDoc doc;
    doc.set_password(file.expected.password.c_str());
    if (!doc.open(file.path.c_str()) || !doc.is_readable())
      continue;
    doc.table().drain_pending();
    for (std::uint32_t num = 1; num < doc.table().xref_count; ++num) {
      Freed<CPDFObj> obj;
      CPDFImage image;
      doc.table().get_entity(obj, {static_cast<std::int32_t>(num), 0});
      if (!image.load(doc.table(), obj) || image.filter != filter)
        continue;
      ++count;
      visit(image_of(image, file.name + " object " + std::to_string(num)));
    }
  }
  return count;
}

// What djpeg makes of four inks.
std::string rgb_of_inks(const std::string& inks) {
  std::string rgb;
  for (std::size_t i = 0; i + 3 < inks.size(); i += 4) {
    for (std::size_t c = 0; c < 3; ++c)
      rgb += static_cast<char>(
          (static_cast<unsigned char>(inks[i + c]) * static_cast<unsigned char>(inks[i + 3]) + 127) / 255);
  }
  return rgb;
}

void compare(const CorpusImage& image, const Netpbm& expected) {
  SCOPED_TRACE(image.name);
  const std::string samples =
      image.components == 4 && expected.components == 3 ? rgb_of_inks(image.samples) : image.samples;
  EXPECT_EQ(image.width, expected.width);
  EXPECT_EQ(image.height, expected.height);
  ASSERT_EQ(samples.size(), expected.samples.size());
  EXPECT_LE(greatest_difference(samples, expected.samples), 2);
}

}  // namespace

TEST(ImageCorpus, DctStreamsDecodeAsByDjpeg) {
  if (corpus_files().empty() || !has_program("djpeg"))
    GTEST_SKIP() << "needs SHEAF_CORPUS and djpeg";
  const TestFolder folder;
  const int count = for_each_image("DCTDecode", [&folder](const CorpusImage& image) {
    write_file(folder / "in.jpg", image.encoded);
    const RunResult run = run_command("djpeg -pnm " + (folder / "in.jpg") + " 2>/dev/null");
    if (!run.output.empty())
      compare(image, Netpbm::parse(run.output));
    else
      std::printf("djpeg gives nothing for %s; decoded here: %zu bytes\n", image.name.c_str(), image.samples.size());
  });
  EXPECT_GT(count, 0);
  std::printf("%d DCT streams\n", count);
}

TEST(ImageCorpus, JpxStreamsDecodeAsByOpjDecompress) {
  if (corpus_files().empty() || !has_program("opj_decompress"))
    GTEST_SKIP() << "needs SHEAF_CORPUS and opj_decompress";
  const TestFolder folder;
  const int count = for_each_image("JPXDecode", [&folder](const CorpusImage& image) {
    const bool is_bare = image.encoded.compare(0, 2, "\xFF\x4F") == 0;
    const std::string in = folder / (is_bare ? "in.j2k" : "in.jp2");
    const std::string out = folder / (image.components == 1 ? "out.pgm" : "out.ppm");
    write_file(in, image.encoded);
    write_file(out, "");
    run_command("opj_decompress -i " + in + " -o " + out + " >/dev/null 2>&1");
    const std::string decoded = read_file(out);
    if (!decoded.empty())
      compare(image, Netpbm::parse(decoded));
    else
      std::printf("opj_decompress gives nothing for %s; decoded here: %zu bytes\n", image.name.c_str(),
                  image.samples.size());
  });
  EXPECT_GT(count, 0);
  std::printf("%d JPX streams\n", count);
}
