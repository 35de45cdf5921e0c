// What exports of annotations learn of objects that many annotations lead to: the page that a link names, the
// parent of a field's widgets. Without it each annotation would read and flatten these anew. The table owns it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sheaf/base/grow_array.h"
#include "sheaf/base/heap.h"
#include "sheaf/object/object.h"

namespace sheaf {

class ExportMemory : public QVHeapObject<ExportMemory> {
public:
  /// The flattened copy of an object, whole.
  struct Kept {
    std::int32_t num;      ///< Object number.
    bool is_made;          ///< Whether `value` is there yet: objects that one export alone meets are not worth it.
    std::uint32_t levels;  ///< Containers that stand in one another in it, itself included.
    std::uint32_t values;  ///< Values in it.
    CPDFObj value;
  };

  ExportMemory() = default;
  ExportMemory(const ExportMemory&) = delete;
  ExportMemory& operator=(const ExportMemory&) = delete;
  ~ExportMemory() { reset(); }

  /// To be called before an export: forgets what was read before a change, or under another key.
  void begin(std::uint64_t changes, const void* key) {
    if (changes != changes_ || key != key_)
      reset();
    changes_ = changes;
    key_ = key;
  }
  void reset() {
    for (Kept& kept : kept_)
      kept.value.free();
    kept_.reset();
    marks_.reset();
    values_ = 0;
  }

  /// Whether the object `num` is being flattened, so that what leads to it leads back.
  bool is_on_way(std::int32_t num) const { return has(num, kOnWay); }
  /// False without memory.
  bool set_on_way(std::int32_t num, bool on) { return set(num, kOnWay, on); }
  /// Whether the object is a dictionary or a stream, for which lists have no place.
  bool is_left_out(std::int32_t num) const { return has(num, kLeftOut); }
  void leave_out(std::int32_t num) { set(num, kLeftOut, true); }

  /// The copy of object `num`, or null. Valid until the next call that keeps one.
  const Kept* find(std::int32_t num) const {
    const Kept* const kept = kept_.empty() ? nullptr : &kept_[place_of(num)];
    return kept != nullptr && kept->num == num && kept->is_made ? kept : nullptr;
  }
  /// Keeps a copy of `value`, when it was met before.
  void keep(std::int32_t num, const CPDFObj& value, std::uint32_t levels, std::uint32_t values) {
    if (kept_.empty() && !kept_.resize(kPlaces))
      return;
    Kept& kept = kept_[place_of(num)];
    const bool was_met = kept.num == num && !kept.is_made;
    if (kept.is_made)
      values_ -= kept.values;
    kept.value.free();
    kept = {num, false, levels, values, CPDFObj{}};
    if (!was_met || values > kMostValues - values_)
      return;
    kept.value.copy_from(&value);
    kept.is_made = true;
    values_ += values;
  }

private:
  static constexpr std::size_t kPlaces = 256;
  static constexpr std::uint32_t kMostValues = 100'000;  // of all copies together
  static constexpr std::uint8_t kOnWay = 1;
  static constexpr std::uint8_t kLeftOut = 2;

  static std::size_t place_of(std::int32_t num) { return object_index(num) % kPlaces; }
  bool has(std::int32_t num, std::uint8_t mark) const {
    const auto index = object_index(num);
    return index < marks_.size() && (marks_[index] & mark) != 0;
  }
  bool set(std::int32_t num, std::uint8_t mark, bool on) {
    const std::size_t index = object_index(num);
    if (index >= marks_.size() && (!on || !marks_.resize(std::max(index + 1, 2 * marks_.size()))))
      return !on;
    marks_[index] = static_cast<std::uint8_t>(on ? marks_[index] | mark : marks_[index] & ~mark);
    return true;
  }

  std::uint64_t changes_ = 0;
  const void* key_ = nullptr;
  GrowArray<std::uint8_t> marks_;  // by object number
  GrowArray<Kept> kept_;           // kPlaces of them, by the number's remainder
  std::uint32_t values_ = 0;
};

}  // namespace sheaf
