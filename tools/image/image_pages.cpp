// Adds an image file as a page of its own size at the resolution that the file states.
#include "image/image_pages.h"

#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "image/bitmap_file.h"
#include "image/image_probe.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/base/wide_text.h"
#include "sheaf/neighbours/page/page.h"
#include "sheaf/object/array.h"
#include "support/inputs.h"
#include "support/tool_support.h"

namespace sheaf::tool {

namespace {

constexpr double kPointsPerInch = 72;
constexpr double kMostPoints = 14400;  // the largest page that readers are bound to show

struct PageImage {
  PDF_REF ref{0, 0};
  double width = 0;  // points, as shown
  double height = 0;
  int orientation = 1;
  double page_width = 0;
  double page_height = 0;
};

struct NamedSize {
  const char* name;
  double width;  // points
  double height;
};

constexpr NamedSize kNamedSizes[] = {{"A3", 842, 1191},    {"A4", 595, 842},     {"A5", 420, 595},
                                     {"letter", 612, 792}, {"legal", 612, 1008}, {"tabloid", 792, 1224}};

struct Unit {
  const char* name;
  double points;
};

constexpr Unit kUnits[] = {{"", 1}, {"pt", 1}, {"mm", 72 / 25.4}, {"cm", 72 / 2.54}, {"in", 72}};

// Changes an item of an image that was just made, if it was.
template <class Set>
void change_image(CPDFXRefTable& table, const PDF_REF& ref, const Set& set) {
  PDF_NEWOBJ* slot = ref.num != 0 ? table.get_xref2(ref.num, ref.gen) : nullptr;
  CPDFStreamRec* rec = slot != nullptr ? slot->obj.as_stream() : nullptr;
  if (rec != nullptr)
    set(rec->dict);
}

// Files with Adobe's marker hold their inks inverted, and nothing in them that a reader of the PDF
// looks at says so.
void invert_inks(CPDFDictionary& dict) {
  constexpr int kInks = 4;
  Cleared<CPDFArray> decode;
  for (int i = 0; i < kInks; ++i) {
    decode.append_int(1);
    decode.append_int(0);
  }
  dict.set_item_arr("Decode", &decode);
}

// A bare code stream has no colour space of its own.
void name_colour_space(CPDFDictionary& dict, int components) {
  if (components == 1 || components == 3 || components == 4)
    dict.set_item_name(CPDFDictionary::sm_tag_cs, components == 1   ? "DeviceGray"
                                                  : components == 3 ? "DeviceRGB"
                                                                    : "DeviceCMYK");
}

PDF_REF add_bitmap(CPDFXRefTable& table, const std::string& bytes, ImageFacts& facts) {
  BitmapFile file;
  if (!(facts.kind == ImageKind::kPng ? read_png(bytes, file) : read_pnm(bytes, file)))
    return {0, 0};
  facts.dots_x = file.dots_x;
  facts.dots_y = file.dots_y;
  CQVBmp32 bitmap;
  bitmap.pixels = file.pixels.data();
  bitmap.width = file.width;
  bitmap.height = file.height;
  bitmap.stride = file.width * 4;
  return table.new_image_flate(&bitmap, 0, file.has_alpha ? 1 : 0);
}

PDF_REF add_image(CPDFXRefTable& table, const std::string& path, const std::string& bytes, ImageFacts& facts) {
  PDF_REF ref{0, 0};
  switch (facts.kind) {
    case ImageKind::kJpeg:
      if (bytes.size() <= INT32_MAX)
        ref = table.new_image_jpeg_mem(reinterpret_cast<const unsigned char*>(bytes.data()),
                                       static_cast<int>(bytes.size()));
      if (facts.components == 4 && facts.has_adobe_marker)
        change_image(table, ref, invert_inks);
      break;
    case ImageKind::kJpx:
      ref = table.new_image_jpx(path.c_str());
      if (facts.is_bare)
        change_image(table, ref, [&facts](CPDFDictionary& dict) { name_colour_space(dict, facts.components); });
      break;
    case ImageKind::kPng:
    case ImageKind::kPnm:
      ref = add_bitmap(table, bytes, facts);
      break;
    case ImageKind::kUnknown:
      break;
  }
  return ref;
}

double usable_dots(double dots) {
  constexpr double kMost = 100000;
  return dots >= 1 && dots <= kMost ? dots : kPointsPerInch;
}

// The size of the image by its resolution.
void size_image(CPDFXRefTable& table, const ImageFacts& facts, const ImagePageOptions& options, PageImage& image) {
  Freed<CPDFObj> obj = table.object(image.ref);
  const CPDFDictionary& dict = *obj.as_dict_or_stream();
  const bool is_said = options.dots <= 0 && facts.dots_x > 0 && facts.dots_y > 0;
  const double dots_x = usable_dots(is_said ? facts.dots_x : options.dots);
  const double dots_y = usable_dots(is_said ? facts.dots_y : options.dots);
  image.width = dict.get_item(CPDFDictionary::sm_tag_width)->as_int() * kPointsPerInch / dots_x;
  image.height = dict.get_item(CPDFDictionary::sm_tag_height)->as_int() * kPointsPerInch / dots_y;
  image.orientation = facts.orientation;
  if (image.orientation >= 5)
    std::swap(image.width, image.height);
}

// The page, and the size of the image on it.
void lay_out(const ImagePageOptions& options, PageImage& image) {
  double width = kMostPoints;
  double height = kMostPoints;
  const bool has_size = read_page_size(options.page_size, width, height);
  const double fill =
      std::min((width - 2 * options.margin) / image.width, (height - 2 * options.margin) / image.height);
  const double scale = options.fit && has_size ? fill : std::min(1.0, fill);
  image.width *= scale;
  image.height *= scale;
  image.page_width = has_size ? width : image.width + 2 * options.margin;
  image.page_height = has_size ? height : image.height + 2 * options.margin;
}

// Where the unit square of the image goes, by its orientation: which of its sides is up, and whether
// it is mirrored.
std::string placement(const PageImage& image) {
  struct Corner {
    int a, b, c, d, e, f;  // in page widths and heights
  };
  constexpr Corner kCorners[] = {
      {1, 0, 0, 1, 0, 0},   {-1, 0, 0, 1, 1, 0}, {-1, 0, 0, -1, 1, 1}, {1, 0, 0, -1, 0, 1},
      {0, -1, -1, 0, 1, 1}, {0, -1, 1, 0, 0, 1}, {0, 1, 1, 0, 0, 0},   {0, 1, -1, 0, 1, 0},
  };
  const Corner& at = kCorners[image.orientation - 1];
  const double left = (image.page_width - image.width) / 2;
  const double below = (image.page_height - image.height) / 2;
  char text[160];
  std::snprintf(text, sizeof(text), "q %.4f %.4f %.4f %.4f %.4f %.4f cm /Im Do Q\n", at.a * image.width,
                at.b * image.height, at.c * image.width, at.d * image.height, left + at.e * image.width,
                below + at.f * image.height);
  return text;
}

QVFIX fix_of(double value) {
  return static_cast<QVFIX>(std::llround(value * static_cast<double>(kFixOne)));
}

PDF_REF make_page(CPDFXRefTable& table, const PageImage& image) {
  std::string content = placement(image);
  const PDF_REF contents =
      table.adv_new_stream_flate(reinterpret_cast<unsigned char*>(content.data()), static_cast<int>(content.size()));
  Cleared<CPDFDictionary> images;
  images.set_item_ref("Im", image.ref);
  Cleared<CPDFDictionary> resources;
  resources.set_item_dict(CPDFDictionary::sm_tag_xobj, &images);
  Cleared<CPDFDictionary> page;
  const _QVRECTF box{0, 0, fix_of(image.page_width), fix_of(image.page_height)};
  page.set_item_name(CPDFDictionary::sm_tag_type, "Page");
  page.set_item_rect("MediaBox", &box);
  page.set_item_dict(CPDFDictionary::sm_tag_res, &resources);
  page.set_item_ref("Contents", contents);
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.store_dict(ref, &page);
  return ref;
}

struct OutlineEntry {
  std::string title;
  PDF_REF page;
  QVFIX top;
};

PDF_REF add_entry(CPDFXRefTable& table, const OutlineEntry& entry, const PDF_REF& root, const PDF_REF& previous) {
  std::vector<wchar_t> title(entry.title.size() + 1);
  cvt_ltou(entry.title.c_str(), title.data(), static_cast<int>(title.size()));
  const PDF_REF ref = table.new_outline(title.data(), root, previous, {0, 0}, entry.page, entry.top);
  PDF_NEWOBJ* slot = previous.num != 0 ? table.get_xref2(previous.num, previous.gen) : nullptr;
  if (slot != nullptr && slot->obj.as_dict() != nullptr)
    slot->obj.as_dict()->set_item_ref(CPDFDictionary::sm_tag_next, ref);
  return ref;
}

void add_outline(CPDFXRefTable& table, const std::vector<OutlineEntry>& entries) {
  const PDF_REF root{table.alloc_obj_num(), 0};
  PDF_REF first{0, 0};
  PDF_REF last{0, 0};
  for (const OutlineEntry& entry : entries) {
    last = add_entry(table, entry, root, last);
    first = first.num != 0 ? first : last;
  }
  Cleared<CPDFDictionary> dict;
  dict.set_item_name(CPDFDictionary::sm_tag_type, "Outlines");
  dict.set_item_ref(CPDFDictionary::sm_tag_first, first);
  dict.set_item_ref("Last", last);
  dict.set_item_int(CPDFDictionary::sm_tag_count, static_cast<int>(entries.size()));
  table.store_dict(root, &dict);
  Freed<CPDFObj> catalog = table.catalog();
  if (catalog.as_dict() == nullptr)
    return;
  catalog.as_dict()->set_item_ref("Outlines", root);
  table.store_object(table.root.as_ref(), catalog);
}

// The number at the start of `text`, which loses it. False without one.
bool take_number(std::string& text, double& value) {
  char* end = nullptr;
  value = std::strtod(text.c_str(), &end);
  const auto used = static_cast<std::size_t>(end - text.c_str());
  if (used == 0 || text.find_first_not_of("0123456789.") < used)
    return false;
  text.erase(0, used);
  return true;
}

}  // namespace

bool read_page_size(const std::string& text, double& width, double& height) {
  for (const NamedSize& size : kNamedSizes) {
    if (strcasecmp(size.name, text.c_str()) == 0) {
      width = size.width;
      height = size.height;
      return true;
    }
  }
  std::string rest = text;
  double across = 0;
  double up = 0;
  if (!take_number(rest, across) || rest.empty() || rest[0] != 'x')
    return false;
  rest.erase(0, 1);
  if (!take_number(rest, up))
    return false;
  const auto* unit =
      std::find_if(std::begin(kUnits), std::end(kUnits), [&rest](const Unit& one) { return rest == one.name; });
  if (unit == std::end(kUnits) || std::min(across, up) * unit->points < 1 ||
      std::max(across, up) * unit->points > kMostPoints)
    return false;
  width = across * unit->points;
  height = up * unit->points;
  return true;
}

bool append_image_pages(CPDFDoc& doc, const ImagePageOptions& options) {
  CPDFXRefTable& table = doc.table();
  if (table.temp_stream.file == nullptr)
    doc.use_temp_file(nullptr);
  std::vector<OutlineEntry> entries;
  for (const std::string& file : options.files) {
    std::string path;
    std::string bytes;
    if (!input_path(file, path) || !read_input(file, bytes))
      return false;
    ImageFacts facts = probe_image(bytes);
    PageImage image;
    image.ref = add_image(table, path, bytes, facts);
    if (image.ref.num == 0) {
      complain(input_name(file), "is no JPEG, JPEG 2000, PNG or PNM image that can be read. Nothing was written");
      return false;
    }
    size_image(table, facts, options, image);
    lay_out(options, image);
    const PDF_REF page = make_page(table, image);
    if (!doc.insert_page(doc.page_count(), page)) {
      complain(input_name(file), "there is no memory for its page. Nothing was written");
      return false;
    }
    entries.push_back({file.substr(file.find_last_of('/') + 1), page, fix_of(image.page_height)});
  }
  if (!entries.empty())
    add_outline(table, entries);
  return true;
}

}  // namespace sheaf::tool
