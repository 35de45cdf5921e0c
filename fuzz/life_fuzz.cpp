// The whole life of a document: opened, walked, changed, saved in all three ways and opened again.
// The first bytes choose the changes. A title that was set must come back from every file that was
// written, with the pages that the document had when it was saved, and in front of an update the
// old bytes must stand as they were.
#include <cstring>

#include "document_walk.h"
#include "sheaf/object/array.h"

using namespace sheaf;

namespace {

constexpr std::size_t kChoices = 16;
constexpr std::size_t kMostBytes = 1 << 16;
constexpr char kTitle[] = "A new title";

struct Life {
  Life(const std::uint8_t* data, std::size_t size) : file(data, size) {
    doc.set_password("user");
    // Without a page there is nothing by which the next reader could tell that it has found the tree.
    is_open = doc.open(&file) && doc.is_readable() && walked_count(doc) > 0;
    doc.table().decoded_ceiling = kMostDecoded;
  }
  CopiedFile file;
  CPDFDoc doc;
  bool is_open;
};

// A new stream, referred to from the document information.
void add_stream(CPDFXRefTable& table, int seed) {
  std::string data;
  for (int i = 0; i < 40 * seed; ++i)
    data += static_cast<char>(i * seed);
  CPDFStreamRec rec{};
  const PDF_REF ref{table.alloc_obj_num(), 0};
  table.write_stream(ref, &rec, data.data(), static_cast<unsigned>(data.size()));
  table.store_stream(ref, rec);
  Freed<CPDFObj> back;
  table.get_entity(back, ref);
  expect(back.as_stream() != nullptr);
}

void copy_object(CPDFXRefTable& table, int num) {
  CPDFCloneMap map{};
  table.clone_obj(map, {num, 0});
  QVFree(map.entries);
  Cleared<CPDFDictionary> flat;
  table.export_annot(flat, {num, 0});
  table.clone_annot({num, 0});
}

void change(CPDFDoc& doc, Choices& choices) {
  const int count = std::min(walked_count(doc), kMostPages);
  switch (choices.next(6)) {
    case 0:
      break;
    case 1:
      doc.remove_page(static_cast<int>(choices.next(4)));
      break;
    case 2:
      doc.move_page(static_cast<int>(choices.next(4)), static_cast<int>(choices.next(4)));
      break;
    case 3:
      doc.insert_page(static_cast<int>(choices.next(4)), doc.page_ref(count - 1));
      break;
    case 4:
      add_stream(doc.table(), choices.next_number());
      break;
    default:
      copy_object(doc.table(), choices.next_number());
      break;
  }
}

void expect_title(CPDFDoc& doc) {
  Freed<CPDFObj> info;
  doc.table().resolve(info, &doc.table().info);
  const CPDFDictionary* dict = info.as_dict();
  const CPDFObj* title = dict != nullptr ? dict->get_item("Title") : nullptr;
  expect(title != nullptr && title->as_text() != nullptr && std::strcmp(title->as_text(), kTitle) == 0);
}

void expect_reopens(CQVStream& file, int pages) {
  CPDFDoc again;
  again.set_password("user");
  expect(again.open(&file) && again.is_readable());
  expect_title(again);
  // No page is lost. There can be more: what led nowhere leads to a new object when that gets its number.
  expect(walked_count(again) >= pages);
  again.table().decoded_ceiling = kMostDecoded;
  read_objects(again.table());
}

// Old bytes may only turn into spaces, in front of objects of a linearized file.
void expect_kept(const CQVStreamMem& file, const std::uint8_t* data, std::size_t size) {
  expect(file.len >= size);
  for (std::size_t i = 0; i < size; ++i)
    expect(file.data[i] == data[i] || file.data[i] == ' ');
}

void update(const std::uint8_t* data, std::size_t size, Choices choices) {
  Life life(data, size);
  if (!life.is_open)
    return;
  walk_pages(life.doc);
  const PDF_SAVE_FORM form = choices.next(2) != 0 ? PDF_SAVE_FORM::kClassic : PDF_SAVE_FORM::kStream;
  const unsigned saves = 1 + choices.next(3);
  for (unsigned i = 0; i < saves; ++i) {
    change(life.doc, choices);
    if (!life.doc.set_info("Title", kTitle))
      return;
    PDF_SIGN_DATA sign;
    const bool sealed = choices.next(2) != 0;
    const bool saved = life.doc.save_update(form, sealed ? &sign : nullptr);
    sign.dict.clear();
    if (!saved)
      return;
    expect_kept(life.file, data, size);
  }
  const int pages = walked_count(life.doc);
  life.doc.close();
  expect_reopens(life.file, pages);
}

void rewrite(const std::uint8_t* data, std::size_t size, Choices choices) {
  Life life(data, size);
  if (!life.is_open)
    return;
  read_objects(life.doc.table());
  change(life.doc, choices);
  if (!life.doc.set_info("Title", kTitle))
    return;
  CQVStreamMem out;
  CPDFXRefTable target;
  target.stream = &out;
  life.doc.save_complete(target, nullptr);
  expect_reopens(out, walked_count(life.doc));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < kChoices || size > kMostBytes)
    return 0;
  const Choices choices(data, kChoices);
  update(data + kChoices, size - kChoices, choices);
  rewrite(data + kChoices, size - kChoices, choices);
  return 0;
}
