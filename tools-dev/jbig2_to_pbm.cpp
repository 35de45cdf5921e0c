// jbig2_to_pbm FILE [GLOBALS]: the first page of a JBIG2 file or embedded stream as a PBM on
// standard output, and how long decoding took on standard error.
#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <vector>

#include "sheaf/neighbours/decoders/jbig2/jb2_bitmap.h"

using namespace sheaf;

namespace {

std::vector<unsigned char> read_file(const char* path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

int decode(CQVJBIG2& decoder, const char* path) {
  std::vector<unsigned char> data = read_file(path);
  return decoder.init() ? decoder.dec_data(data.data(), static_cast<int>(data.size())) : 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: jbig2_to_pbm FILE [GLOBALS] > PAGE.pbm\n");
    return 2;
  }
  const auto start = std::chrono::steady_clock::now();
  CQVJBIG2 globals;
  CQVJBIG2 page;
  if (argc > 2) {
    decode(globals, argv[2]);
    page.parent = &globals;
  }
  if (decode(page, argv[1]) == 0) {
    std::fprintf(stderr, "%s: no page in it\n", argv[1]);
    return 1;
  }
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  std::fprintf(stderr, "%.2f ms\n", took.count());
  const QVJB2_Bitmap& bitmap = *page.pages[0].bitmap;
  jb2::bitmap_clear_padding(bitmap);
  std::printf("P4\n%d %d\n", bitmap.width, bitmap.height);
  const auto size = static_cast<std::size_t>(bitmap.stride) * static_cast<std::size_t>(bitmap.height);
  return std::fwrite(bitmap.data, 1, size, stdout) == size ? 0 : 1;
}
