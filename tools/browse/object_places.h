// Where a file has each of its objects: the one that counts, and the versions of it that later saves replaced.
#pragma once

#include <cstdint>
#include <vector>

#include "map/file_map.h"
#include "sheaf/base/visited_set.h"

namespace sheaf::tool {

/// One place of an object.
struct ObjectPlace {
  std::int32_t num = 0;
  std::int32_t part = -1;  ///< Index into FileScan::parts: of the object, or of the object stream with it; -1: unknown.
  std::int32_t index = -1;      ///< Within that object stream; -1: it has bytes of its own.
  std::uint32_t size : 31 = 0;  ///< Bytes, decoded within an object stream; 0: unknown.
  bool is_current : 1 = false;  ///< The table leads here.
};

class ObjectPlaces {
public:
  /// Both are borrowed and must outlive the places. Kept are those of the first `most` objects in the order of their
  /// numbers; where there are far more versions than objects, some earlier ones are left out.
  ObjectPlaces(CPDFDoc& doc, const FileMap& map, std::size_t most);

  /// The places by number; of each number the current one first, then the others from the newest on.
  const std::vector<ObjectPlace>& all() const { return places_; }
  /// How many objects there are behind those kept.
  std::int64_t left_out() const { return left_out_; }
  /// No object with a greater number is kept.
  std::int32_t last_num() const { return last_num_; }
  /// Reads the object as it is at `place`, strings decrypted. The null object when it cannot be read.
  void read(const ObjectPlace& place, CPDFObj& out);
  /// The save that wrote it, from 0 on.
  int revision(const ObjectPlace& place) const;

private:
  static constexpr std::uint32_t kMostSize = INT32_MAX;
  void find_last_num(std::size_t most);
  void add(const ObjectPlace& place);
  void add_members(std::int32_t part);
  void add_missing();
  void find_streams(std::size_t first);
  bool is_current(std::int32_t num, std::int32_t part, std::int32_t index) const;
  std::uint32_t place_in_stream(std::int32_t part) const;

  CPDFDoc& doc_;
  CPDFXRefTable& table_;
  const FileMap& map_;
  std::vector<ObjectPlace> places_;
  std::size_t most_places_;
  std::int32_t last_num_ = INT32_MAX;
  std::int64_t left_out_ = 0;
  VisitedSet behind_;  // the objects that are left out
};

}  // namespace sheaf::tool
