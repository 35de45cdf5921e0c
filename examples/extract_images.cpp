// Lists the images of a document, and writes those that are JPEG files as such files. Of the others
// it prints how many bytes of samples they decode to.
//
//   extract_images FILE.pdf
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/images/image.h"
#include "sheaf/filters/stream_filter.h"

namespace {

// The stored data of a DCTDecode image are a JPEG file.
bool write_jpeg(const CPDFImage& image, int num) {
  std::int32_t len = 0;
  const sheaf::HeapBlock<std::uint8_t> data(image.load_encoded(len));
  if (!data)
    return false;
  std::ofstream out("image_" + std::to_string(num) + ".jpg", std::ios::binary);
  out.write(reinterpret_cast<const char*>(data.get()), len);
  return out.good();
}

// Decodes in pieces: the samples of a large image need not be in memory at once.
long long count_samples(const CPDFImage& image) {
  const std::unique_ptr<CPDFStream> samples(image.open_samples());
  unsigned char piece[4096];
  long long total = 0;
  for (int got = 1; samples != nullptr && got > 0; total += got)
    got = samples->read_block(piece, sizeof(piece));
  return total;
}

}  // namespace

int main(int argc, char** argv) {
  CPDFDoc doc;
  if (argc != 2 || !doc.open(argv[1]) || !doc.is_readable()) {
    std::fprintf(stderr, "usage: extract_images FILE.pdf\n");
    return 2;
  }
  CPDFXRefTable& table = doc.table();
  table.drain_pending();  // so that all objects are known
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    sheaf::Freed<CPDFObj> obj;
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    CPDFImage image;
    if (!image.load(table, obj))
      continue;
    std::printf("object %u: %d x %d, %d bits, %s\n", num, image.width, image.height, image.bits, image.filter);
    if (std::strcmp(image.filter, "DCTDecode") == 0) {
      if (!write_jpeg(image, static_cast<int>(num)))
        return 2;
    } else {
      std::printf("  %lld bytes of samples\n", count_samples(image));
    }
  }
  return 0;
}
