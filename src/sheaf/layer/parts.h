// Parts of a document by subject: information, attachments, form, images.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sheaf/layer/core_ref.h"
#include "sheaf/layer/result.h"
#include "sheaf/layer/value.h"

class CPDFImage;

namespace sheaf {

/// The document information, and the metadata that follow it. Texts are UTF-8; "" for what is not there.
class Info {
public:
  explicit Info(layer::CoreRef core) : core_(std::move(core)) {}
  std::string title() const { return get("Title"); }
  std::string author() const { return get("Author"); }
  std::string subject() const { return get("Subject"); }
  std::string keywords() const { return get("Keywords"); }
  std::string creator() const { return get("Creator"); }
  std::string producer() const { return get("Producer"); }
  std::string get(const char* key) const;
  bool title(std::string_view text) { return set("Title", text); }
  bool author(std::string_view text) { return set("Author", text); }
  bool subject(std::string_view text) { return set("Subject", text); }
  bool keywords(std::string_view text) { return set("Keywords", text); }
  /// Sets a text and the date of change.
  bool set(const char* key, std::string_view text);

private:
  layer::CoreRef core_;
};

/// An embedded file.
class Attachment {
public:
  /// The name in the document's list; of a file that is in no list the name of the file.
  const std::string& name() const { return name_; }
  /// The name of the file, without folders.
  std::string file_name() const;
  const std::string& description() const { return description_; }
  /// "text/plain" and the like; "" when it is not said.
  const std::string& mime_type() const { return mime_type_; }
  /// Dates as PDF writes them; "" when they are not said.
  const std::string& created() const { return created_; }
  const std::string& modified() const { return modified_; }
  /// The index of the page whose annotation holds the file; -1: the document.
  std::int32_t page() const { return page_; }
  /// The stream of the file; null when the document only names it.
  const Value& stream() const { return stream_; }
  /// The file specification; null when it is written directly into what refers to it.
  const Value& spec() const { return spec_; }
  Expected<Data> data() const { return stream_.decoded(); }
  /// Writes the file to `path`, which is replaced when the file is complete.
  Expected<void> save(const std::string& path) const;

private:
  friend class Attachments;

  std::string name_;
  std::string path_;
  std::string description_;
  std::string mime_type_;
  std::string created_;
  std::string modified_;
  std::int32_t page_ = -1;
  Value stream_;
  Value spec_;
};

/// The files that a document carries: those of its list, in the order of their names, those associated with it and
/// those of annotations.
class Attachments {
public:
  explicit Attachments(layer::CoreRef core);
  auto begin() const { return files_.begin(); }
  auto end() const { return files_.end(); }
  std::size_t size() const { return files_.size(); }
  /// The file of that name, or null.
  const Attachment* find(std::string_view name) const;
  /// Embeds the file at `path` under its base name, or bytes under `name`.
  Expected<void> add(const std::string& path);
  Expected<void> add(std::string_view name, std::span<const std::uint8_t> bytes, std::string_view mime_type = {});
  /// Takes the file of that name out of all places where the document has it.
  Expected<void> remove(std::string_view name);

private:
  void collect();

  layer::CoreRef core_;
  std::vector<Attachment> files_;
};

/// What a field of the form is and has.
struct FieldState {
  std::string kind;  ///< "text", "check box", "radio group", "combo box", "list box", "push button", "signature" or "".
  std::vector<std::string> values;
  std::vector<std::string> offers;  ///< Values of options, or names of states.
  bool read_only = false;
  bool required = false;
  bool locked = false;          ///< By a signature or a certification.
  std::int32_t max_length = 0;  ///< Most characters of a text; 0: no limit.
};

/// A field by its full name.
class Field {
public:
  Field(layer::CoreRef core, std::string name) : core_(std::move(core)), name_(std::move(name)) {}
  const std::string& name() const { return name_; }
  /// Code::kNotFound when the form has no such field.
  Expected<FieldState> state() const;
  /// The first value; "" without one.
  std::string value() const;
  /// Sets the value, and makes the appearances that show it. Why it may not be set is the error.
  Expected<void> set(const std::string& value);
  Expected<void> set(const std::vector<std::string>& values);

private:
  layer::CoreRef core_;
  std::string name_;
};

/// The interactive form.
class Form {
public:
  explicit Form(layer::CoreRef core) : core_(std::move(core)) {}
  /// Whether the document has a form with fields.
  explicit operator bool() const { return !fields().empty(); }
  /// All fields that have no fields below them, in the order of the form.
  std::vector<Field> fields() const;
  Field field(std::string name) const { return {core_, std::move(name)}; }

private:
  layer::CoreRef core_;
};

/// An image as rows of samples: grey or red, green, blue, of 8 or 16 bits, or of 1, 2 or 4 bits where the image has
/// greys of so many. 16-bit samples begin with their high byte. A row begins with a byte of its own.
struct Pixels {
  std::int32_t width = 0;
  std::int32_t height = 0;
  int components = 1;
  int bits = 8;
  std::size_t row_bytes = 0;
  Data rows;
  bool is_whole = true;               ///< False: the data ended early, and the rest of the rows is empty.
  std::vector<std::uint8_t> palette;  ///< Red, green and blue of each index; empty: samples are greys or colours.
  std::vector<std::uint8_t> profile;  ///< The ICC profile; empty: the image has none.
  Data opacity;                       ///< A byte a pixel where the data have opacity of their own ("SMaskInData").
};

/// An image of a document. Moves and does not copy.
class Image {
public:
  Image();
  Image(Image&&) noexcept;
  Image& operator=(Image&&) noexcept;
  ~Image();

  Value object() const { return object_; }
  std::int32_t number() const { return object_.number(); }
  std::int32_t width() const;
  std::int32_t height() const;
  /// Bits of a component; 0 where the data say it.
  int bits() const;
  bool is_mask() const;
  /// The filter that the image data are coded with, such as "DCTDecode"; "" for none.
  std::string filter() const;
  /// What a file of the encoded data would end in: "jpg", "jp2", "j2k", or "png" where pixels are written.
  std::string extension() const;
  /// The data with all filters but the last one taken off: a JPEG file for "DCTDecode".
  Expected<Data> encoded() const;
  Expected<Pixels> pixels() const;
  /// Writes "image-NUMBER.EXTENSION" into `folder`: JPEG and JPEG 2000 byte for byte, all others as PNG. The path.
  Expected<std::string> save(const std::string& folder) const;

private:
  friend class Images;
  bool load(const layer::CoreRef& core, std::int32_t num);

  layer::CoreRef core_;
  Value object_;
  std::unique_ptr<CPDFImage> image_;
};

/// All images of a document by object number, each read when it is its turn.
class Images {
public:
  class iterator {
  public:
    using value_type = Image;
    using difference_type = std::ptrdiff_t;
    using reference = const Image&;
    using pointer = const Image*;
    using iterator_category = std::input_iterator_tag;
    explicit iterator(Images* images) : images_(images) { ++*this; }
    const Image& operator*() const { return images_->present_; }
    const Image* operator->() const { return &images_->present_; }
    iterator& operator++() {
      if (!images_->advance())
        images_ = nullptr;
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const iterator& a, std::default_sentinel_t) { return a.images_ == nullptr; }

  private:
    Images* images_;
  };

  explicit Images(layer::CoreRef core) : core_(std::move(core)) {}
  /// From the first image on.
  iterator begin() {
    next_ = 1;
    return iterator(this);
  }
  std::default_sentinel_t end() const { return {}; }
  /// The image that the walk is at, taken out of it.
  Image take() { return std::move(present_); }

private:
  bool advance();

  layer::CoreRef core_;
  std::int32_t next_ = 1;
  Image present_;
};

}  // namespace sheaf
