// The pages of a document.
//
//   for (sheaf::Page page : doc.pages())
//     print(page.media_box().width(), page.rotation());
//   doc.pages().append(other.pages(2, 5));
//   doc.pages()[3].rotate(90);
#pragma once

#include <cstdint>
#include <string_view>

#include "sheaf/layer/content.h"
#include "sheaf/layer/core_ref.h"
#include "sheaf/layer/value.h"

namespace sheaf {

/// A rectangle in points, its corners in order.
struct Rect {
  double left = 0;
  double bottom = 0;
  double right = 0;
  double top = 0;
  double width() const { return right - left; }
  double height() const { return top - bottom; }
  friend bool operator==(const Rect&, const Rect&) = default;
};

/// One page. It borrows as a value does, and stays the same page wherever that is moved.
class Page {
public:
  Page() = default;
  Page(layer::CoreRef core, Value object) : core_(std::move(core)), object_(std::move(object)) {}

  /// Whether there is such a page.
  explicit operator bool() const { return object_.is_dictionary(); }
  /// The page's own dictionary.
  const Value& object() const { return object_; }
  Value& object() { return object_; }
  /// Number of the page's object.
  std::int32_t number() const { return object_.number(); }
  /// What the page has, or inherits from the nodes of the page tree above it, under `key`.
  Value inherited(const char* key) const;
  Value resources() const { return inherited("Resources"); }

  Rect media_box() const;
  /// What is shown: the media box where the page has no crop box.
  Rect crop_box() const;
  /// Degrees clockwise: 0, 90, 180 or 270.
  int rotation() const;
  /// Turns the page clockwise by a multiple of 90 degrees.
  bool rotate(int degrees);
  bool set_media_box(const Rect& box) { return set_box("MediaBox", box); }
  bool set_crop_box(const Rect& box) { return set_box("CropBox", box); }

  /// The decoded content streams of the page, one after the other.
  Expected<Data> content_data() const;
  /// The operators of the page's content. It keeps the data; the page may change meanwhile.
  Expected<Content> content() const;
  /// Replaces all content of the page.
  bool set_content(std::string_view data);
  bool set_content(const ContentAppender& content) { return set_content(content.data()); }
  /// Draws after what is there, in the page's own coordinates, whatever state that leaves behind.
  bool add_content(std::string_view data);
  /// Gives the page a resource of `category`, such as "Font" or "XObject", under a name that is free; that name.
  std::string add_resource(const char* category, const Value& resource);

private:
  Rect box(const char* key, const Rect& otherwise) const;
  bool set_box(const char* key, const Rect& box);
  Value own_resources();

  layer::CoreRef core_;
  Value object_;
};

/// All pages of a document, or some that follow one another.
class Pages {
public:
  using iterator = layer::Counting<Pages, Page>;

  /// All pages; the count follows changes.
  explicit Pages(layer::CoreRef core) : core_(std::move(core)) {}
  Pages(layer::CoreRef core, std::int32_t first, std::int32_t end);

  std::int32_t size() const;
  bool empty() const { return size() == 0; }
  /// Page `index`, from 0; an empty one, which is false, beyond the last.
  Page operator[](std::int32_t index) const { return at(index); }
  Page at(std::int32_t index) const;
  /// The pages from `first` up to, but not with, `end`.
  Pages slice(std::int32_t first, std::int32_t end) const;
  iterator begin() const { return {this, 0}; }
  iterator end() const { return {this, size()}; }

  /// Changes are those of the whole document; indices count in this list. False, with the failure kept by the
  /// document, where they are impossible.
  bool append(const Pages& pages, std::string_view title = {});
  bool insert(std::int32_t index, const Pages& pages);
  /// A new page without content, after the last one.
  Page add(double width, double height);
  bool remove(std::int32_t index);
  /// Moves page `from` so that it becomes page `to`.
  bool move(std::int32_t from, std::int32_t to);

private:
  layer::CoreRef core_;
  std::int32_t first_ = 0;
  std::int32_t end_ = -1;  // -1: after the last page
};

}  // namespace sheaf
