// Where the table asks for objects of a damaged file. The table itself searches forward from an
// entry's offset; a layer above that has looked at the whole file once knows better.
#pragma once

#include <cstdint>

namespace sheaf {

class ObjectFinder {
public:
  ObjectFinder() = default;
  ObjectFinder(const ObjectFinder&) = delete;
  ObjectFinder& operator=(const ObjectFinder&) = delete;
  virtual ~ObjectFinder() = default;

  /// The place of the header of object `num`, which is not at `stated`. False: not found.
  virtual bool find_header(std::int32_t num, std::uint32_t stated, std::uint32_t& place) = 0;
  /// The end of the stream data that begin at `data`, where no "endstream" says so. False: not known.
  virtual bool find_data_end(std::uint32_t data, std::uint32_t& end) = 0;
  /// Gives every object that no section lists, not as free either, an entry: sections could not be read,
  /// or lines of theirs are gone.
  virtual void enter_missing() = 0;
  /// Whether a reference of the document is known to lead to `num`, a number that no object has: an object
  /// made under it would be what that reference then means.
  virtual bool is_named(std::uint32_t num) = 0;
};

}  // namespace sheaf
