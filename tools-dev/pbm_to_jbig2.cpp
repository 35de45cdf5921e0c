// pbm_to_jbig2 generic|symbols PAGE.pbm > PAGE.jb2: an embedded JBIG2 stream of a page, without
// loss. `symbols` codes connected black shapes once each and places them, as scanners do.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <map>

#include "support/jbig2_encoder.h"

using namespace sheaf;

namespace {

using namespace jb2_test;

Picture read_pbm(const char* path) {
  std::ifstream in(path, std::ios::binary);
  std::string magic;
  int width = 0;
  int height = 0;
  in >> magic >> width >> height;
  in.get();
  if (magic != "P4" || width <= 0 || height <= 0)
    return {};
  Picture picture(width, height);
  const std::string rows{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  const int stride = (width + 7) / 8;
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x)
      picture.set(x, y, static_cast<unsigned>(rows[static_cast<std::size_t>(y * stride + x / 8)] >> (7 - x % 8)) & 1);
  return picture;
}

struct Shape {
  Picture picture;
  int x;
  int y;
};

// Takes the shape that (x, y) belongs to off the page.
Shape take_shape(Picture& page, int x, int y) {
  std::vector<Place> shape = {{x, y}};
  page.set(x, y, 0);
  int left = x, right = x, top = y, bottom = y;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const Place at = shape[i];
    left = std::min(left, at.dx);
    right = std::max(right, at.dx);
    top = std::min(top, at.dy);
    bottom = std::max(bottom, at.dy);
    for (int k = 0; k < 9; ++k) {
      const Place next = {at.dx + k % 3 - 1, at.dy + k / 3 - 1};
      if (page.get(next.dx, next.dy) == 0)
        continue;
      page.set(next.dx, next.dy, 0);
      shape.push_back(next);
    }
  }
  Shape out = {Picture(right - left + 1, bottom - top + 1), left, top};
  for (const Place& at : shape)
    out.picture.set(at.dx - left, at.dy - top, 1);
  return out;
}

std::string symbol_segments(Picture page) {
  const Picture size(page.width, page.height);
  std::map<std::pair<std::pair<int, int>, std::vector<std::uint8_t>>, std::vector<Place>> shapes;
  for (int y = 0; y < page.height; ++y) {
    for (int x = 0; x < page.width; ++x) {
      if (page.get(x, y) == 0)
        continue;
      const Shape shape = take_shape(page, x, y);
      shapes[{{shape.picture.height, shape.picture.width}, shape.picture.pixels}].push_back({shape.x, shape.y});
    }
  }
  std::vector<Picture> symbols;
  std::vector<Instance> instances;
  for (const auto& [key, places] : shapes) {
    Picture symbol(key.first.second, key.first.first);
    symbol.pixels = key.second;
    for (const Place& place : places)
      instances.push_back({static_cast<unsigned>(symbols.size()), place.dx, place.dy});
    symbols.push_back(symbol);
  }
  TextLayout layout;
  layout.corner = 0;
  layout.strip_bits = 3;
  const auto strip = [&](const Instance& i) { return (i.y + symbols[i.id].height - 1) / 8; };
  std::sort(instances.begin(), instances.end(),
            [&](const Instance& a, const Instance& b) { return std::pair(strip(a), a.x) < std::pair(strip(b), b.x); });
  std::fprintf(stderr, "%zu symbols, %zu instances\n", symbols.size(), instances.size());
  return segment(1, 0, {}, dictionary_body(symbols)) + segment(2, 6, {1}, text_body(symbols, instances, size, layout));
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc == 3 ? argv[1] : "";
  const Picture page = mode.empty() ? Picture() : read_pbm(argv[2]);
  if (page.width == 0 || (mode != "generic" && mode != "symbols")) {
    std::fprintf(stderr, "usage: pbm_to_jbig2 generic|symbols PAGE.pbm > PAGE.jb2\n");
    return 2;
  }
  const std::string info = page_info(static_cast<std::uint32_t>(page.width), static_cast<std::uint32_t>(page.height));
  const std::string body = mode == "symbols" ? symbol_segments(page) : segment(1, 38, {}, generic_body(page));
  const std::string out = segment(0, 48, {}, info) + body + segment(3, 49, {}, "");
  return std::fwrite(out.data(), 1, out.size(), stdout) == out.size() ? 0 : 1;
}
