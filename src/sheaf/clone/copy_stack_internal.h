// The stack that both copy walks run on. A copy goes depth first: an object gets its number when it
// is first met, and is stored when everything below it has been. So objects wait half copied while
// the walk is below them; they wait here, and not on the C stack, which no object graph can exhaust.
#pragma once

#include "sheaf/base/grow_array.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

namespace sheaf {

/// An object whose copy is under way.
struct CopiedObject {
  CPDFObj obj;          ///< Owned; rewritten in place.
  PDF_REF ref;          ///< The copy's reference.
  unsigned char* data;  ///< Owned stream bytes, decrypted; null for other objects.
  int len;              ///< Their count.
  void discard() {
    obj.free();
    QVFree(data);
    data = nullptr;
  }
};

/// `Policy` says what a copy is, by six operations:
///   bool has_result(PDF_REF& source, bool from_item, PDF_REF& result)
///       true with the result when `source` need not be copied; may put another source in its place
///   bool begin(const PDF_REF& source, CopiedObject& object)
///       gives the copy its number and reads the object; false: it cannot be copied
///   void finish(CopiedObject& object)
///       stores the copy, and takes over what the object owns
///   std::int32_t first_item(const CPDFArray& array)
///       where the walk of an array begins
///   bool fails_on_null_reference()
///       whether a reference to object 0 makes the copy of what holds it fail
template <class Policy>
class CopyStack {
public:
  explicit CopyStack(Policy& policy) : policy_(policy) {}
  CopyStack(const CopyStack&) = delete;
  CopyStack& operator=(const CopyStack&) = delete;

  /// The reference of the copy, or {0, 0}.
  PDF_REF copy_ref(const PDF_REF& ref) {
    PDF_REF result{0, 0};
    if (enter(ref, false, result))
      return result;
    run();
    return result_;
  }

  /// Rewrites a container, one of the two, so that its references name copies. 0 on failure.
  int copy_container(CPDFArray* array, CPDFDictionary* dict) {
    if (!open(array, dict, false))
      return 0;
    run();
    return good_ ? 1 : 0;
  }

private:
  // A container that is being walked; its count is read once. Borrowed.
  struct Frame {
    CPDFArray* array;
    CPDFDictionary* dict;
    std::int32_t next;
    std::int32_t count;
    bool is_object;  // the last of objects_ hangs on it

    CPDFObj& item(std::int32_t index) const {
      if (array != nullptr)
        return array->items[index];
      return *dict->items[index];
    }
  };

  // False when there is neither, or no memory.
  bool open(CPDFArray* array, CPDFDictionary* dict, bool is_object) {
    if (array != nullptr)
      return frames_.push({array, nullptr, policy_.first_item(*array), array->count, is_object});
    return dict != nullptr && frames_.push({nullptr, dict, 0, dict->count, is_object});
  }

  // True when the result is known at once; false when the object's container was opened.
  bool enter(PDF_REF source, bool from_item, PDF_REF& result) {
    if (policy_.has_result(source, from_item, result))
      return true;
    CopiedObject object{};
    result = {0, 0};
    if (!policy_.begin(source, object)) {
      object.discard();
      return true;
    }
    if (object.obj.tag != kTagArray && object.obj.tag != kTagDict && object.obj.tag != kTagStream) {
      result = object.ref;
      policy_.finish(object);
      return true;
    }
    if (!objects_.push(object)) {
      object.discard();
      return true;
    }
    if (open(object.obj.as_array(), object.obj.as_dict_or_stream(), true))
      return false;
    objects_.back().discard();
    objects_.pop();
    return true;
  }

  void run() {
    while (!frames_.empty()) {
      Frame& frame = frames_.back();
      if (frame.next >= frame.count) {
        leave(true);
        continue;
      }
      CPDFObj& item = frame.item(frame.next++);
      if (item.tag == kTagArray || item.tag == kTagDict) {
        if (!open(item.as_array(), item.as_dict(), false))
          leave(false);
      } else if (item.tag == kTagRef) {
        visit(item);
      }
    }
  }

  void visit(CPDFObj& item) {
    PDF_REF result{0, 0};
    if (item.as_ref().num == 0) {
      if (policy_.fails_on_null_reference())
        leave(false);
      return;
    }
    if (enter(item.as_ref(), true, result))
      item.set_ref(result);
  }

  // Ends the last container. A failure ends the containers above it too, up to their object.
  void leave(bool good) {
    while (true) {
      const Frame frame = frames_.back();
      frames_.pop();
      if (frame.is_object) {
        deliver(good);
        return;
      }
      if (good && !frames_.empty())
        return;
      if (frames_.empty()) {
        good_ = good;
        return;
      }
    }
  }

  // Ends the last object, and puts its reference where the walk had met it.
  void deliver(bool good) {
    CopiedObject object = objects_.back();
    objects_.pop();
    result_ = good ? object.ref : PDF_REF{0, 0};
    if (good)
      policy_.finish(object);
    else
      object.discard();
    if (!frames_.empty())
      frames_.back().item(frames_.back().next - 1).set_ref(result_);
  }

  Policy& policy_;
  GrowArray<Frame> frames_;
  GrowArray<CopiedObject> objects_;
  PDF_REF result_{0, 0};
  bool good_ = true;
};

}  // namespace sheaf
