// Reads the size, coding and tile-part segments, and estimates from them what OpenJPEG would allocate.
#include "sheaf/neighbours/decoders/jpx/jpx_header.h"

#include <algorithm>

#include "sheaf/neighbours/decoders/jp2_boxes.h"

namespace sheaf {

namespace {

constexpr std::uint32_t kSocSiz = 0xFF4FFF51;  // start of code stream, and the size segment it must have next
constexpr std::uint32_t kCod = 0xFF52;
constexpr std::uint32_t kCoc = 0xFF53;
constexpr std::uint32_t kSot = 0xFF90;
constexpr std::uint32_t kSod = 0xFF93;
constexpr std::size_t kSizHead = 42;  // from the start of the code stream to the components
constexpr std::size_t kSizComponent = 3;

// What OpenJPEG takes, measured on the structures of its release 2.5 and rounded up.
constexpr std::int64_t kTileBytes = 6 * 1024;
constexpr std::int64_t kTileComponentBytes = 1200;
constexpr std::int64_t kSampleBytes = 8;
constexpr std::int64_t kCodeBlockBytes = 1000;
constexpr std::int64_t kPrecinctBytes = 1000;

constexpr std::int64_t kMostTiles = 65535;                        // A.4.2
constexpr std::uint64_t kEnoughSamples = std::uint64_t{1} << 40;  // of a component; 65,535 of them fit 63 bits

constexpr std::int64_t kFreeBytes = 256LL << 20;
constexpr std::int64_t kBytesPerByte = 1024;

// Bytes from the data, big-endian; 0 where there are none.
struct Bytes {
  const std::uint8_t* data;
  std::size_t len;

  std::uint32_t at(std::size_t pos, std::size_t count) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < count; ++i)
      value = value << 8 | (pos + i < len ? data[pos + i] : 0u);
    return value;
  }
};

// Where the code stream of a JP2 file starts; `len` without one.
std::size_t find_code_stream(const Bytes& bytes) {
  Jp2Boxes boxes(bytes.data, bytes.len);
  return boxes.find(jp2_box_type("jp2c")) ? static_cast<std::size_t>(boxes.content - bytes.data) : bytes.len;
}

struct Grid {
  std::int64_t width;
  std::int64_t height;
  std::int64_t tiles;
  std::int64_t samples;  // of all components
  std::int64_t components;
};

std::int64_t divided_up(std::int64_t value, std::int64_t by) {
  return (value + by - 1) / by;
}

// The size segment (A.5.1). False when it makes no image.
bool read_grid(const Bytes& bytes, std::size_t start, Grid& grid) {
  const auto word = [&](std::size_t index) { return std::int64_t{bytes.at(start + 8 + 4 * index, 4)}; };
  const std::int64_t right = word(0);
  const std::int64_t bottom = word(1);
  const std::int64_t left = word(2);
  const std::int64_t top = word(3);
  const std::int64_t tile_width = word(4);
  const std::int64_t tile_height = word(5);
  const std::int64_t tile_left = word(6);
  const std::int64_t tile_top = word(7);
  grid.components = bytes.at(start + kSizHead - 2, 2);
  if (right <= left || bottom <= top || tile_width < 1 || tile_height < 1 || tile_left > left || tile_top > top ||
      grid.components < 1)
    return false;
  if (start + kSizHead + static_cast<std::size_t>(grid.components) * kSizComponent > bytes.len)
    return false;
  grid.width = right - left;
  grid.height = bottom - top;
  const std::int64_t across = divided_up(right - tile_left, tile_width);
  const std::int64_t down = divided_up(bottom - tile_top, tile_height);
  if (across > kMostTiles || down > kMostTiles / across)
    return false;
  grid.tiles = across * down;
  grid.samples = 0;
  for (std::int64_t i = 0; i < grid.components; ++i) {
    const std::size_t at = start + kSizHead + static_cast<std::size_t>(i) * kSizComponent;
    const std::int64_t dx = bytes.at(at + 1, 1);
    const std::int64_t dy = bytes.at(at + 2, 1);
    if (dx == 0 || dy == 0)
      return false;
    // Each side has 32 bits, so that the product fits unsigned.
    const std::uint64_t samples = static_cast<std::uint64_t>(divided_up(grid.width, dx)) *
                                  static_cast<std::uint64_t>(divided_up(grid.height, dy));
    grid.samples += static_cast<std::int64_t>(std::min(samples, kEnoughSamples));
  }
  return true;
}

// The smallest code-block and precinct, as powers of two of their area, that a coding segment asks for.
struct Partition {
  std::uint32_t code_block = 12;
  std::uint32_t precinct = 30;
};

// The parameters that COD and COC share (A.6.1): levels, code-block, style, transformation, precincts.
void read_partition(const Bytes& bytes, std::size_t pos, std::size_t end, bool has_precincts, Partition& smallest) {
  const std::uint32_t levels = bytes.at(pos, 1);
  const std::uint32_t area = (bytes.at(pos + 1, 1) & 0xF) + (bytes.at(pos + 2, 1) & 0xF) + 4;
  smallest.code_block = std::min(smallest.code_block, area);
  for (std::uint32_t i = 0; has_precincts && i <= levels && pos + 5 + i < end; ++i) {
    const std::uint32_t size = bytes.at(pos + 5 + i, 1);
    // The lowest resolutions have few samples, so that small precincts do no harm there: what counts
    // is how many there are once each level has a quarter of the next one's samples.
    const std::uint32_t precinct = (size & 0xF) + (size >> 4) + 2 * (levels - i);
    smallest.precinct = std::min(smallest.precinct, precinct);
    smallest.code_block = std::min(smallest.code_block, std::max(precinct, 2u) - 2);
  }
}

// Passes over the segments of a header from `pos` on, up to `limit` at most; where it ends.
std::size_t scan_header(const Bytes& bytes, std::size_t pos, std::size_t limit, std::int64_t components,
                        Partition& smallest) {
  constexpr std::uint32_t kFirstMarker = 0xFF00;
  while (pos + 4 <= limit) {
    const std::uint32_t marker = bytes.at(pos, 2);
    const std::size_t size = bytes.at(pos + 2, 2);
    if (marker < kFirstMarker || marker == kSot || marker == kSod || size < 2)
      break;
    const std::size_t end = pos + 2 + size;
    const std::size_t index = components < 257 ? 1 : 2;
    if (marker == kCod)
      read_partition(bytes, pos + 9, end, (bytes.at(pos + 4, 1) & 1) != 0, smallest);
    if (marker == kCoc)
      read_partition(bytes, pos + 5 + index, end, (bytes.at(pos + 4 + index, 1) & 1) != 0, smallest);
    pos = end;
  }
  return pos;
}

// The partition over the main header and the headers of all tile-parts. A part that claims more than
// there is is the last.
Partition smallest_partition(const Bytes& bytes, std::size_t start, std::int64_t components, std::size_t& overlong) {
  constexpr std::size_t kSotLen = 12;
  constexpr std::size_t kPartLen = 6;  // offset of its length in a tile-part
  Partition smallest;
  std::size_t pos = scan_header(bytes, start + 2, bytes.len, components, smallest);
  while (pos + kSotLen <= bytes.len && bytes.at(pos, 2) == kSot) {
    const std::size_t part = bytes.at(pos + kPartLen, 4);  // 0: to the end
    const std::size_t end = part == 0 ? bytes.len : std::min(pos + part, bytes.len);
    scan_header(bytes, pos + kSotLen, end, components, smallest);
    if (part > bytes.len - pos)
      overlong = pos + kPartLen;
    if (part <= kSotLen)
      break;
    pos += part;
  }
  return smallest;
}

}  // namespace

bool find_jpx(const std::uint8_t* data, std::size_t len, JpxHeader& header) {
  const Bytes bytes{data, len};
  header = {};
  header.is_bare = bytes.at(0, 2) == kSocSiz >> 16;
  header.start = header.is_bare ? 0 : find_code_stream(bytes);
  Grid grid{};
  if (bytes.at(header.start, 4) != kSocSiz || !read_grid(bytes, header.start, grid))
    return false;
  header.header_bytes = grid.tiles * (kTileBytes + grid.components * kTileComponentBytes);
  const Partition part = smallest_partition(bytes, header.start, grid.components, header.overlong_part);
  const std::int64_t tile_samples = std::max<std::int64_t>(grid.samples / grid.tiles, 1);
  header.decode_bytes = header.header_bytes + grid.samples * kSampleBytes +
                        (tile_samples >> part.code_block) * kCodeBlockBytes +
                        (tile_samples >> part.precinct) * kPrecinctBytes;
  return true;
}

bool jpx_can_cost(std::int64_t cost, std::size_t len) {
  return cost <= kFreeBytes + static_cast<std::int64_t>(len) * kBytesPerByte;
}

}  // namespace sheaf
