// Nodes: read when a value is asked for, shared by all values of one object, stored when they were changed, compared
// with the table after others changed that.
#include "sheaf/layer/core_internal.h"

#include <algorithm>
#include <new>
#include <utility>

#include "sheaf/base/heap_watch.h"
#include "sheaf/layer/same_value_internal.h"

namespace sheaf::layer {

namespace {

constexpr std::size_t kMostSpareNodes = 32;
constexpr std::size_t kFirstSlots = 32;
constexpr std::size_t kLeastLogged = 64;  // of slots asked for, however few nodes there are

}  // namespace

Error error_of(Code code, std::string message, std::int32_t object, std::int64_t offset) {
  return {code, object, offset, std::move(message)};
}

void release_node(NodeHead* node) {
  node->core->release(static_cast<Node*>(node));
}

void refresh_nodes(Core& core) {
  core.refresh_touched();
}

// ---- live nodes, by number ----

Node* Core::LiveNodes::find(std::int32_t num) const {
  if (slots_.empty())
    return nullptr;
  std::size_t place = place_of(num);
  while (slots_[place] != nullptr && slots_[place]->num != num)
    place = (place + 1) & mask();
  return slots_[place];
}

bool Core::LiveNodes::add(Node* node) {
  if (2 * count_ >= slots_.size() && !grow())
    return false;
  std::size_t place = place_of(node->num);
  while (slots_[place] != nullptr)
    place = (place + 1) & mask();
  slots_[place] = node;
  ++count_;
  return true;
}

bool Core::LiveNodes::grow() {
  GrowArray<Node*> old;
  old.swap(slots_);
  if (!slots_.resize(old.empty() ? kFirstSlots : 2 * old.size())) {
    old.swap(slots_);
    return false;
  }
  count_ = 0;
  for (Node* const node : old) {
    if (node != nullptr)
      add(node);
  }
  return true;
}

// Removing an entry leaves a gap in the probe sequence; a later entry that could no longer be found moves into it.
void Core::LiveNodes::remove(std::int32_t num) {
  if (find(num) == nullptr)
    return;
  std::size_t free_place = place_of(num);
  while (slots_[free_place]->num != num)
    free_place = (free_place + 1) & mask();
  for (std::size_t next = (free_place + 1) & mask(); slots_[next] != nullptr; next = (next + 1) & mask()) {
    const std::size_t home = place_of(slots_[next]->num);
    if (((next - home) & mask()) >= ((next - free_place) & mask())) {
      slots_[free_place] = slots_[next];
      free_place = next;
    }
  }
  slots_[free_place] = nullptr;
  --count_;
}

// ---- the core ----

Core::Core() {
  changes = &doc_.table().change_count;
  doc_.set_save_safety(PDF_SAVE_SAFETY::kAppend);
}

void Core::drop() {
  if (--owners_ == 0) {
    for (Node* const node : spare_)
      delete node;
    delete this;
  }
}

void Core::set_open() {
  open_ = true;
  note_seen();
}

void Core::close() {
  open_ = false;
  filler_.reset();
  merge_.reset();
  for (std::size_t i = 0; i < changed_.size(); ++i) {
    changed_[i]->changed = false;
    if (--changed_[i]->users == 0)
      free_node(changed_[i]);
  }
  changed_.clear();
  doc_.close();
  seen = doc_.table().change_count;
  storage.reset();
  memory.reset();
}

bool Core::note(Error error) {
  if (failure_.code == Code::kNone)
    failure_ = std::move(error);
  return false;
}

bool Core::note(Code code, const char* message, std::int32_t object) {
  return note(error_of(code, message, object));
}

void Core::note_partial(std::int32_t object) {
  if (!WorkWatch::is_stopping())
    note(Code::kNoMemory, "there is no memory for an object", object);
}

Error Core::trouble() const {
  if (!open_)
    return error_of(Code::kClosed, "the document is closed");
  return failure_;
}

Node* Core::new_node(std::int32_t num, Node::Owner owner) {
  Node* node = nullptr;
  if (!spare_.empty()) {
    node = spare_.back();
    spare_.pop();
  } else {
    node = new (std::nothrow) Node;
  }
  if (node == nullptr)
    return nullptr;
  node->state = this;
  node->core = this;
  node->num = num;
  node->owner = owner;
  node->epoch = 0;
  if (num != 0 && !live_.add(node)) {
    delete node;
    return nullptr;
  }
  if (num == 0)
    trailer_nodes_[owner == Node::kInfo ? 1 : 0] = node;
  keep();
  return node;
}

void Core::free_node(Node* node) {
  if (node->num != 0)
    live_.remove(node->num);
  else
    trailer_nodes_[node->owner == Node::kInfo ? 1 : 0] = nullptr;
  node->obj.free();
  for (CPDFObj& value : node->buried)
    value.free();
  node->buried.clear();
  for (CPDFDictItem* const item : node->buried_items) {
    item->free();
    QVFree(item);
  }
  node->buried_items.clear();
  if (spare_.size() >= kMostSpareNodes || !spare_.push(node))
    delete node;
  drop();
}

void Core::release(Node* node) {
  if (!node->changed)
    free_node(node);
}

Value Core::object(std::int32_t num) {
  if (!open_ || num <= 0)
    return {};
  if (*changes != seen)
    refresh_touched();
  if (Node* const node = live_.find(num))
    return {node, &node->obj, -1};
  Node* const node = new_node(num, Node::kObject);
  if (node == nullptr) {
    note(Code::kNoMemory, "there is no memory for an object", num);
    return {};
  }
  // An object of which a part is missing would be stored like that with its first change.
  const HeapWatch watch;
  doc_.table().get_entity(node->obj, {num, 0});
  Value value(node, &node->obj, -1);
  if (watch.all_granted())
    return value;
  note_partial(num);
  return {};
}

Value Core::trailer_value(CPDFObj& holder, Node::Owner owner) {
  if (holder.tag == kTagRef || !open_)
    return object(holder.as_ref().num);
  Node* node = trailer_nodes_[owner == Node::kInfo ? 1 : 0];
  if (node == nullptr) {
    const HeapWatch watch;
    node = new_node(0, owner);
    if (node == nullptr) {
      note_partial(0);
      return {};
    }
    node->obj.copy_from(&holder);
    Value value(node, &node->obj, -1);
    if (watch.all_granted())
      return value;
    note_partial(0);
    return {};
  }
  return {node, &node->obj, -1};
}

Value Core::info(bool make) {
  if (make && table().info.is_null()) {
    const Value made = add(Object::dictionary());
    table().info.set_ref({made.number(), 0});
  }
  return trailer_value(table().info, Node::kInfo);
}

Value Core::add(Object value) {
  if (!open_) {
    note(Code::kClosed, "the document is closed");
    return {};
  }
  if (!value.is_whole()) {
    note(Code::kNoMemory, "there is no memory for a new object");
    return {};
  }
  const PDF_REF ref{updated_doc().table().alloc_obj_num(), 0};
  CPDFObj content = std::exchange(value.raw(), CPDFObj{});
  const bool done = table().store_object(ref, content);
  refresh_touched();
  if (done)
    return object(ref.num);
  note(Code::kNoMemory, "there is no memory for a new object");
  return {};
}

// ---- between nodes and table ----

void Core::note_change(Node& node) {
  if (node.changed)
    return;
  if (!changed_.push(&node)) {
    note(Code::kNoMemory, "there is no memory for a change", node.num);
    return;
  }
  node.changed = true;
  ++node.users;
}

// The content of a node goes into the table: as a copy while values point into it.
void Core::store(Node& node, bool keep_content) {
  const HeapWatch watch;
  CPDFXRefTable& target = doc_.table();
  CPDFObj content{};
  if (keep_content)
    content.copy_from(&node.obj);
  else
    content = std::exchange(node.obj, CPDFObj{});
  if (node.num == 0) {
    const PDF_REF ref{target.alloc_obj_num(), 0};
    trailer_nodes_[node.owner == Node::kInfo ? 1 : 0] = nullptr;
    node.num = ref.num;
    if (!live_.add(&node))
      note_heap_refusal();
    (node.owner == Node::kInfo ? target.info : target.root).set_ref(ref);
  }
  if (!target.store_object(doc_.reference_to(node.num), content) || !watch.all_granted())
    note(Code::kNoMemory, "there is no memory for a changed object", node.num);
}

CPDFDoc& Core::updated_doc() {
  if (*changes != seen)
    refresh_touched();
  for (std::size_t i = 0; i < changed_.size(); ++i) {
    Node* const node = changed_[i];
    const bool is_used = node->users > 1;
    store(*node, is_used);
    node->changed = false;
    if (--node->users == 0)
      free_node(node);
  }
  changed_.clear();
  note_seen();
  return doc_;
}

CPDFDoc& Core::finished() {
  updated_doc();
  finish_form();
  finish_merge();
  return doc_;
}

// Nodes are as the table now is. More numbers than there are nodes need not be known one by one.
void Core::note_seen() {
  seen = *changes;
  table().slots_asked.begin(std::max(kLeastLogged, live_.count()));
}

void Core::refresh() {
  note_seen();
  live_.each([this](Node& node) { refresh_node(node); });
}

void Core::refresh_touched() {
  const SlotLog& log = table().slots_asked;
  if (log.overran())
    return refresh();
  for (const std::int32_t num : log.numbers()) {
    if (Node* const node = live_.find(num))
      refresh_node(*node);
  }
  note_seen();
}

// An object that was changed by an operation below is read anew; values within it are then of the past.
void Core::refresh_node(Node& node) {
  const PDF_XREF* const entry = doc_.table().entry(node.num);
  if (node.changed || entry == nullptr || !entry->is_in_memory())
    return;
  const PDF_NEWOBJ* const slot = doc_.table().slot_of(object_index(node.num));
  if (slot == nullptr || same_value(slot->obj, node.obj))
    return;
  const HeapWatch watch;
  if (node.buried.push(node.obj)) {
    node.obj = CPDFObj{};
    node.obj.copy_from(&slot->obj);
    ++node.epoch;
  }
  if (!watch.all_granted())
    note_partial(node.num);
}

void Core::renew_streams() {
  note_seen();
  live_.each([this](Node& node) {
    if (node.obj.tag != kTagStream || node.changed)
      return;
    const HeapWatch watch;
    if (node.buried.push(node.obj)) {
      node.obj = CPDFObj{};
      doc_.table().get_entity(node.obj, {node.num, 0});
      ++node.epoch;
    }
    if (!watch.all_granted())
      note_partial(node.num);
  });
}

// ---- work under way ----

CPDFFormFiller* Core::filler() {
  updated_doc();
  finish_merge();
  if (filler_ != nullptr && filler_state_ != *changes)
    finish_form();
  if (filler_ == nullptr) {
    auto fresh = std::make_unique<CPDFFormFiller>(doc_);
    if (!fresh->load())
      return nullptr;
    filler_ = std::move(fresh);
  }
  return filler_.get();
}

void Core::finish_form() {
  if (filler_ != nullptr && !filler_->finish())
    note(Code::kNoMemory, "there is no memory for all appearances of the form");
  filler_.reset();
}

CPDFDocMerge& Core::merge() {
  updated_doc();
  finish_form();
  if (merge_ == nullptr)
    merge_ = std::make_unique<CPDFDocMerge>(doc_);
  return *merge_;
}

void Core::finish_merge() {
  if (merge_ == nullptr)
    return;
  if (!merge_->finish())
    note(Code::kNoMemory, "there is no memory for all that the merge brought");
  merge_.reset();
  refresh();  // it goes over all that is new
}

// ---- progress ----

Task::Task(Core& core, const char* what, bool may_stop) : Task(core.progress, what) {
  may_stop_ = may_stop;
}

Task::Task(const ProgressFunction& function, const char* what) : function_(function) {
  state_.what = what;
  if (function_)
    watch_.emplace(&Task::ask, this);
}

bool Task::ask(void* context) {
  Task& task = *static_cast<Task*>(context);
  if (task.watch_) {
    task.state_.done = task.watch_->done();
    task.state_.total = task.watch_->total();
  }
  return task.function_(task.state_) || !task.may_stop_;
}

}  // namespace sheaf::layer
