// What a document of the layer owns: the document below, its storage, the nodes that values point into, and the work
// that waits for a save (changed nodes, a form being filled, a merge).
//
// Values and operations below see one another's changes: nodes that were changed go into the table before anything
// below runs (`updated_doc`), and nodes are compared with the table after it (`refresh`).
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sheaf/base/work_watch.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/form_filler.h"
#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/layer/node_internal.h"
#include "sheaf/layer/result.h"
#include "sheaf/layer/storage_internal.h"
#include "sheaf/layer/value.h"

namespace sheaf::layer {

/// An error without a place.
Error error_of(Code code, std::string message, std::int32_t object = 0, std::int64_t offset = -1);

class Core : public TableState {
public:
  Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  /// One owner more or less; the last one deletes the core.
  void keep() { ++owners_; }
  void drop();
  /// Closes the document. Values that are left keep what was read.
  void close();
  bool is_open() const { return open_; }
  void set_open();

  /// The document below, with all changes of values in it.
  CPDFDoc& updated_doc();
  /// The same, and a form and a merge under way finished.
  CPDFDoc& finished();
  /// The document below as it is, for reading what values cannot have changed.
  CPDFDoc& below() { return doc_; }
  CPDFXRefTable& table() { return doc_.table(); }

  /// The value of object `num`.
  Value object(std::int32_t num);
  Value root() { return trailer_value(table().root, Node::kRoot); }
  /// The document information, made if it is missing and `make` is set.
  Value info(bool make);
  /// Gives `value` a number of its own.
  Value add(Object value);

  /// Compares all nodes with the table.
  void refresh();
  /// Compares those whose numbers were asked of the table for a change: enough unless an operation below went over
  /// all that is in memory.
  void refresh_touched();
  /// Reads all streams that values point into anew, after a sealed save brought their data into the file.
  void renew_streams();
  void note_change(Node& node);
  void release(Node* node);
  /// Keeps the first failure, which saves then report. False.
  bool note(Error error);
  bool note(Code code, const char* message, std::int32_t object = 0);
  /// The same for an object that is known in part only. Work that the application stopped is no failure.
  void note_partial(std::int32_t object);
  const Error& failure() const { return failure_; }
  /// Says why nothing can be done; Code::kNone when it can.
  Error trouble() const;

  /// The form being filled; null when the document has none or there is no memory.
  CPDFFormFiller* filler();
  /// To be called after the filler was used.
  void filler_done() { filler_state_ = table().change_count; }
  /// The merge into this document; appending may go on until `finished`.
  CPDFDocMerge& merge();

  std::string path;                        ///< Of a document opened by path.
  std::unique_ptr<StorageStream> storage;  ///< Of one over the application's own storage,
  std::unique_ptr<CQVStream> memory;       ///< over memory, or new.
  std::vector<std::uint8_t> bytes;         ///< Memory that the document owns.
  ProgressFunction progress;

private:
  class LiveNodes {
  public:
    Node* find(std::int32_t num) const;
    bool add(Node* node);
    void remove(std::int32_t num);
    std::size_t count() const { return count_; }
    template <class Visit>
    void each(const Visit& visit) {
      for (Node* const node : slots_) {
        if (node != nullptr)
          visit(*node);
      }
    }

  private:
    std::size_t place_of(std::int32_t num) const { return object_index(num) * 2654435769u & mask(); }
    std::size_t mask() const { return slots_.size() - 1; }
    bool grow();

    GrowArray<Node*> slots_;  // a power of two
    std::size_t count_ = 0;
  };

  ~Core() = default;
  Node* new_node(std::int32_t num, Node::Owner owner);
  void free_node(Node* node);
  void store(Node& node, bool keep_content);
  void refresh_node(Node& node);
  void note_seen();
  Value trailer_value(CPDFObj& holder, Node::Owner owner);
  void finish_form();
  void finish_merge();

  CPDFDoc doc_;
  LiveNodes live_;
  GrowArray<Node*> changed_;
  GrowArray<Node*> spare_;
  Node* trailer_nodes_[2]{};  // of a catalogue and information in the trailer itself
  std::int32_t owners_ = 0;
  bool open_ = false;
  Error failure_;
  std::unique_ptr<CPDFFormFiller> filler_;
  std::uint64_t filler_state_ = 0;
  std::unique_ptr<CPDFDocMerge> merge_;
};

/// Watches one operation for the progress function of a document.
class Task {
public:
  Task(Core& core, const char* what, bool may_stop = true);
  Task(const ProgressFunction& function, const char* what);
  bool is_stopped() const { return watch_ && watch_->is_stopped(); }

private:
  static bool ask(void* context);

  const ProgressFunction& function_;
  Progress state_;
  bool may_stop_ = true;
  std::optional<WorkWatch> watch_;
};

}  // namespace sheaf::layer
