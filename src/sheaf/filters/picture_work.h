// What the pictures of one file may take beyond what their own data justify, all of them together. A few bytes can
// make a large picture, and such a one is sound; a thousand of them in a small file are an attack.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sheaf/base/number_map.h"

namespace sheaf {

/// Work is counted in units of some nanoseconds, as decoders count it.
class PictureWork {
public:
  /// The picture whose data are at `place` of a file that justifies `units` of work is decoded from here on. What it
  /// has taken before it takes again without a price, so that a file can be read as often as one likes.
  void begin(std::uint32_t place, std::int64_t units) {
    key_ = key_of(place);
    credit_ = taken_.get(key_);
    limit_ = units / kStep;
  }

  /// False, with nothing taken, when the file does not justify `units` more.
  [[nodiscard]] bool take(std::int64_t units) {
    const std::int64_t steps = (std::max<std::int64_t>(units, 0) + kStep - 1) / kStep;
    const std::int64_t more = std::max<std::int64_t>(steps - credit_, 0);
    if (more > limit_ - spent_)
      return false;
    credit_ -= steps - more;
    spent_ += more;
    if (more > 0)
      taken_.set(key_, static_cast<std::int32_t>(std::min<std::int64_t>(taken_.get(key_) + more, INT32_MAX)));
    return true;
  }

  /// Whether shared data at `place` justify work for the picture: they do for the first one that asks.
  [[nodiscard]] bool owns(std::uint32_t place) {
    const std::int32_t owner = owners_.get(key_of(place));
    if (owner == 0)
      owners_.set(key_of(place), key_);
    return owner == 0 || owner == key_;
  }

  void reset() {
    taken_.reset();
    owners_.reset();
    spent_ = 0;
  }

private:
  static constexpr std::int64_t kStep = 4096;
  static constexpr std::uint32_t kApart = 32;  // bytes that the data of two streams are apart at least
  static constexpr std::int32_t key_of(std::uint32_t place) { return static_cast<std::int32_t>(place / kApart) + 1; }

  NumberMap taken_;   // steps, by the key of a picture
  NumberMap owners_;  // the key of a picture, by that of the data
  std::int32_t key_ = 1;
  std::int64_t credit_ = 0;
  std::int64_t limit_ = 0;
  std::int64_t spent_ = 0;
};

}  // namespace sheaf
