// Numbers from a seed, the same on every machine.
#pragma once

#include <cstdint>
#include <string>

namespace oracle {

class Chance {
public:
  explicit Chance(std::uint64_t seed) : state_(seed) {}

  /// Below `count`; 0 when that is 0.
  std::uint32_t next(std::uint32_t count) {
    state_ += 0x9E3779B97F4A7C15;
    std::uint64_t x = state_;
    x = (x ^ (x >> 30)) * 0xBF58476D1CE4E5B9;
    x = (x ^ (x >> 27)) * 0x94D049BB133111EB;
    return count != 0 ? static_cast<std::uint32_t>((x ^ (x >> 31)) >> 16) % count : 0;
  }
  bool one_in(std::uint32_t count) { return next(count) == 0; }
  std::string bytes(std::size_t size) {
    std::string out(size, '\0');
    for (char& c : out)
      c = static_cast<char>(next(256));
    return out;
  }
  /// A size around the blocks that files are copied in, up to 5 MB and mostly small.
  std::size_t size() {
    static constexpr std::uint32_t kEdges[] = {0, 1, 16, 4096, 16384, 32768, 65536, 131072, 262144};
    if (one_in(60))
      return next(5'000'000);
    if (one_in(3))
      return kEdges[next(9)] + next(40);
    return next(400);
  }

private:
  std::uint64_t state_;
};

}  // namespace oracle
