// Pages, and the list of them.
#include "sheaf/layer/pages.h"

#include <algorithm>
#include <vector>

#include "sheaf/layer/core_internal.h"

namespace sheaf {

namespace {

constexpr int kMostLevels = 64;  // of a page tree; loops end there
constexpr Rect kLetter{0, 0, 612, 792};

Object array_of(const Rect& box) {
  return Object::array(box.left, box.bottom, box.right, box.top);
}

}  // namespace

namespace layer {

void keep_core(Core* core) {
  core->keep();
}

void drop_core(Core* core) {
  core->drop();
}

}  // namespace layer

// ---- a page ----

Value Page::inherited(const char* key) const {
  Value node = object_;
  for (int level = 0; level < kMostLevels && node.is_dictionary(); ++level) {
    if (Value found = node[key])
      return found;
    node = node["Parent"];
  }
  return {};
}

Rect Page::box(const char* key, const Rect& otherwise) const {
  const Value found = inherited(key);
  if (found.size() != 4 || !found.is_array())
    return otherwise;
  const double x[] = {found.get<double>(0), found.get<double>(2)};
  const double y[] = {found.get<double>(1), found.get<double>(3)};
  return {std::min(x[0], x[1]), std::min(y[0], y[1]), std::max(x[0], x[1]), std::max(y[0], y[1])};
}

Rect Page::media_box() const {
  return box("MediaBox", kLetter);
}

Rect Page::crop_box() const {
  return box("CropBox", media_box());
}

int Page::rotation() const {
  const int degrees = inherited("Rotate").as<int>() % 360;
  return degrees < 0 ? degrees + 360 : degrees;
}

bool Page::rotate(int degrees) {
  if (degrees % 90 != 0)
    return core_->note(Code::kBadValue, "a page turns by a multiple of 90 degrees", number());
  return object_.set("Rotate", ((rotation() + degrees % 360) % 360 + 360) % 360);
}

bool Page::set_box(const char* key, const Rect& box) {
  return object_.set(key, array_of(box));
}

Expected<Data> Page::content_data() const {
  const Value contents = object_["Contents"];
  if (contents.is_stream())
    return contents.decoded();
  std::string all;
  for (const Value& part : contents.elements()) {
    const Expected<Data> data = part.decoded();
    if (!data)
      return data.error();
    all.append(data->text()) += '\n';
  }
  auto* const block = static_cast<std::uint8_t*>(QVAlloc(all.size()));
  if (block == nullptr)
    return layer::error_of(Code::kNoMemory, "there is no memory for the content of the page", number());
  std::copy(all.begin(), all.end(), block);
  return Data(block, all.size());
}

Expected<Content> Page::content() const {
  Expected<Data> data = content_data();
  if (!data)
    return data.error();
  return Content(std::move(*data));
}

bool Page::set_content(std::string_view data) {
  if (!*this)
    return core_.get() != nullptr && core_->note(Code::kNotFound, "there is no such page");
  // A stream that other pages may share stays as it is.
  Value fresh = core_->add(Object::dictionary());
  return fresh.write(data) && object_.set("Contents", fresh);
}

bool Page::add_content(std::string_view data) {
  if (!*this)
    return core_.get() != nullptr && core_->note(Code::kNotFound, "there is no such page");
  Object parts = Object::array();
  const auto add_stream = [this, &parts](std::string_view text) {
    Value stream = core_->add(Object::dictionary());
    const bool done = stream.write(text);
    parts.append(Object::reference(stream.number()));
    return done;
  };
  const Value old = object_["Contents"];
  bool done = add_stream("q\n");
  if (old.is_stream())
    parts.append(Object::reference(old.number()));
  for (std::int32_t i = 0; old.is_array() && i < old.size(); ++i)
    parts.append(Object::reference(old.reference(i)));
  std::string drawn("\nQ\n");
  drawn.append(data);
  done = done && add_stream(drawn);
  return done && object_.set("Contents", std::move(parts));
}

// The resources of the page alone: what it inherits is copied first, since other pages use it too.
Value Page::own_resources() {
  const Value present = resources();
  if (object_.reference("Resources") != 0 || !object_.has("Resources"))
    object_.set("Resources", present.is_dictionary() ? Object(present) : Object::dictionary());
  return object_["Resources"];
}

std::string Page::add_resource(const char* category, const Value& resource) {
  Value own = own_resources();
  if (own.reference(category) != 0)
    own.set(category, Object(own[category]));
  else if (!own.has(category))
    own.set(category, Object::dictionary());
  Value list = own[category];
  std::string name;
  for (int i = list.size();; ++i) {
    name.assign(1, category[0]).append(std::to_string(i));
    if (!list.has(name))
      break;
  }
  return list.set(name, resource) ? name : std::string();
}

// ---- the list ----

Pages::Pages(layer::CoreRef core, std::int32_t first, std::int32_t end) : core_(std::move(core)) {
  const std::int32_t all = Pages(core_).size();
  first_ = std::clamp(first, 0, all);
  end_ = std::clamp(end, first_, all);
}

std::int32_t Pages::size() const {
  if (end_ >= 0)
    return end_ - first_;
  return core_->is_open() ? core_->below().page_count() : 0;
}

Page Pages::at(std::int32_t index) const {
  if (index < 0 || index >= size() || !core_->is_open())
    return {};
  return {core_, core_->object(core_->updated_doc().page_ref(first_ + index).num)};
}

Pages Pages::slice(std::int32_t first, std::int32_t end) const {
  return {core_, first_ + std::max(first, 0), first_ + std::min(std::max(end, 0), size())};
}

bool Pages::append(const Pages& pages, std::string_view title) {
  if (!core_->is_open() || !pages.core_->is_open())
    return core_->note(Code::kClosed, "the document is closed");
  if (pages.core_.get() == core_.get())
    return core_->note(Code::kOtherDocument, "pages are appended from another document; open the file a second time");
  std::vector<std::int32_t> wanted;
  wanted.reserve(static_cast<std::size_t>(pages.size()));
  for (std::int32_t i = 0; i < pages.size(); ++i)
    wanted.push_back(pages.first_ + i);
  layer::Task task(*core_, "merge");
  const std::string name(title);
  const auto count = static_cast<std::int32_t>(wanted.size());
  CPDFDoc& source = pages.core_->finished();
  const std::int32_t done = core_->merge().append(source, wanted.data(), count, name.empty() ? nullptr : name.c_str());
  if (task.is_stopped())
    return core_->note(Code::kCancelled, "the merge was stopped; the document is good for closing only");
  core_->refresh_touched();
  return done == count || core_->note(Code::kDamaged, "not all pages could be appended");
}

bool Pages::insert(std::int32_t index, const Pages& pages) {
  const std::int32_t count = pages.size();
  const std::int32_t all = Pages(core_).size();
  if (index < 0 || first_ + index > all)
    return core_->note(Code::kNotFound, "the list of pages has no such place");
  if (!append(pages))
    return false;
  for (std::int32_t i = 0; i < count; ++i) {
    if (!core_->finished().move_page(all + i, first_ + index + i))
      return core_->note(Code::kNoMemory, "the pages could not be moved to their place");
  }
  return true;
}

Page Pages::add(double width, double height) {
  const Value page = core_->add(Object::dictionary("Type", Name("Page"), "MediaBox", array_of({0, 0, width, height}),
                                                   "Resources", Object::dictionary()));
  CPDFDoc& doc = core_->finished();
  if (!doc.insert_page(doc.page_count(), {page.number(), 0})) {
    core_->note(Code::kNoMemory, "the page could not be put into the document");
    return {};
  }
  return {core_, page};
}

bool Pages::remove(std::int32_t index) {
  if (index < 0 || index >= size() || !core_->finished().remove_page(first_ + index))
    return core_->note(Code::kNotFound, "there is no such page");
  return true;
}

bool Pages::move(std::int32_t from, std::int32_t to) {
  const std::int32_t count = size();
  if (from < 0 || from >= count || to < 0 || to >= count || !core_->finished().move_page(first_ + from, first_ + to))
    return core_->note(Code::kNotFound, "there is no such page");
  return true;
}

}  // namespace sheaf
