// One pass over a file for everything that can be found without its cross-reference sections: the
// headers of its objects, the object and cross-reference streams among them, and the trailers. Stream
// data are passed over. The time is in proportion to the file, whatever is in it.
#pragma once

#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"
#include "sheaf/base/scope_guard.h"

struct CPDFObj;
class CQVStream;

namespace sheaf {

class ObjectScan : public QVHeapObject<ObjectScan> {
public:
  enum class Kind : std::uint32_t { kOther, kObjectStream, kXRefStream };
  struct Object {
    std::int32_t num;
    std::uint32_t pos;  ///< Of the header.
    std::uint32_t end;  ///< Of "stream" or "endobj", or of what follows where both are missing.
    Kind kind;
    std::uint32_t stop;  ///< Where the data of a stream end, or what follows the object begins.
  };

  explicit ObjectScan(CQVStream& stream) : stream_(stream) {}

  /// Looks at the whole file. False when there was no memory for all that is in it.
  bool run();
  /// In the order of the file.
  const GrowArray<Object>& objects() const { return objects_; }
  /// Where the dictionaries after "trailer" begin, and those that are in no object.
  const GrowArray<std::uint32_t>& trailers() const { return trailers_; }
  /// Where the last cross-reference section begins, or 0.
  std::uint32_t last_section() const { return last_section_; }
  bool has_object_streams() const { return has_object_streams_; }
  /// The place of object `num`: beside `stated` where there is one, else the last in the file.
  bool find(std::int32_t num, std::uint32_t stated, std::uint32_t& place) const;
  /// Where the stream data end that begin at `data`. False when they are those of no object.
  bool find_data_end(std::uint32_t data, std::uint32_t& end) const;
  /// The value after a header up to the object's end; of a stream the dictionary.
  void read_value(CPDFObj& out, const Object& object) const;

private:
  bool load(long long at);
  void scan_to(long long limit);
  void skip_data_to(long long limit);
  bool look_at(long long at);
  void take_header(long long at);
  void take_trailer(long long at);
  void add_trailer(long long at);
  bool take_stream(long long at);
  void leave_object(long long at);
  void stop_object(long long at);
  bool ends_at(long long at);
  const char* text(long long at) const { return window_.get() + (at - start_); }
  void sort();

  CQVStream& stream_;
  HeapBlock<char> window_;
  long long start_ = 0;  // place in the file of what the window holds
  long long stop_ = 0;
  long long size_ = 0;
  long long next_ = 0;         // where the scan goes on
  long long data_ = 0;         // where the data of the present stream begin
  bool is_open_ = false;       // after a header
  bool in_data_ = false;       // in stream data whose end is not known
  bool no_ends_left_ = false;  // the rest of the file has neither "endstream" nor "endobj"
  bool all_granted_ = true;
  bool has_object_streams_ = false;
  bool expects_trailer_ = false;  // after an object, before a dictionary without one
  std::uint32_t last_section_ = 0;
  GrowArray<Object> objects_;
  GrowArray<std::uint32_t> trailers_;
  GrowArray<std::uint32_t> by_number_;  // indexes into objects_, by number and place
};

}  // namespace sheaf
