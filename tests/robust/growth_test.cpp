// The law of growth: what a file of n bytes costs is in proportion to n, however it is made and whatever is
// done with it. Each shape is made at three sizes; what is counted is deterministic. No time is measured.
#include <gtest/gtest.h>

#include "robust/growth_shapes.h"
#include "sheaf/document/doc.h"
#include "sheaf/document/forms/form_data.h"
#include "sheaf/document/images/image.h"
#include "sheaf/document/merge/doc_merge.h"
#include "sheaf/neighbours/security/encrypter.h"
#include "support/counting_stream.h"
#include "support/sanitizer.h"
#include "support/string_stream.h"
#include "support/work_meter.h"

namespace {

constexpr std::int64_t kMiB = 1 << 20;

void save(CPDFDoc& doc, CPDFEncrypt* enc = nullptr) {
  StringStream out("");
  CPDFXRefTable target;
  target.stream = &out;
  doc.save_complete(target, enc);
}

// Calls `use` with each object in turn.
template <class Use>
void for_each_object(CPDFXRefTable& table, const Use& use) {
  table.drain_pending();
  for (std::uint32_t num = 1; num < table.xref_count; ++num) {
    Freed<CPDFObj> obj;
    table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
    use(obj, PDF_REF{static_cast<std::int32_t>(num), 0});
  }
}

// The journeys give the bytes that were decoded beside what the library read and allocated.

std::int64_t check(CPDFDoc& doc) {
  std::int64_t decoded = 0;
  const int pages = doc.page_count();
  for (int i = 0; i < pages; ++i) {
    CPDFPage page;
    doc.load_page_alone(i, page);
  }
  for_each_object(doc.table(), [&](const CPDFObj& obj, const PDF_REF&) { decoded += decoding_cost(doc.table(), obj); });
  return decoded;
}

std::int64_t rewrite(CPDFDoc& doc) {
  save(doc);
  return 0;
}

std::int64_t encrypt(CPDFDoc& doc) {
  CPDFStandardEncrypt enc;
  CPDFStandardEncrypt::Settings settings;
  settings.user_password = "user";
  const PDF_String no_id{};
  EXPECT_TRUE(enc.create(settings, no_id));
  save(doc, &enc);
  return 0;
}

std::int64_t update(CPDFDoc& doc) {
  doc.set_info("Title", "A new title");
  doc.save_update(PDF_SAVE_FORM::kAsFile, nullptr);
  return 0;
}

std::int64_t annotations(CPDFDoc& doc) {
  doc.table().export_depth = 32;
  for_each_object(doc.table(), [&](const CPDFObj& obj, const PDF_REF& ref) {
    Cleared<CPDFDictionary> flat;
    if (obj.as_dict() != nullptr && obj.as_dict()->get_item("Rect") != nullptr)
      doc.table().export_annot(flat, ref);
  });
  return 0;
}

std::int64_t fields(CPDFDoc& doc) {
  CPDFFormData data;
  data.read_form(doc);
  StringStream out("");
  data.write_fdf(out, nullptr);
  return 0;
}

std::int64_t images(CPDFDoc& doc) {
  std::int64_t encoded = 0;
  for_each_object(doc.table(), [&](const CPDFObj& obj, const PDF_REF&) {
    CPDFImage image;
    std::int32_t len = 0;
    if (obj.as_stream() == nullptr || !image.load(doc.table(), obj))
      return;
    QVFree(image.load_encoded(len));
    encoded += len;
  });
  return encoded;
}

// Appends the pages from `first` on to a new document; all of them `times` times.
void append(CPDFDoc& doc, int first, int count, int times, CPDFMergeIndex* index = nullptr) {
  StringStream file("");
  CPDFDoc into;
  into.create(&file);
  std::vector<std::int32_t> pages;
  for (int i = 0; i < count; ++i)
    pages.push_back(first + i);
  CPDFDocMerge merge(into);
  PDF_MERGE_OPTIONS options;
  options.index = index;
  merge.set_options(options);
  for (int i = 0; i < times; ++i)
    merge.append(doc, pages.data(), count, "source");
  merge.finish();
  save(into);
}

std::int64_t merge(CPDFDoc& doc) {
  append(doc, 0, doc.page_count(), 2);
  return 0;
}

std::int64_t split(CPDFDoc& doc) {
  constexpr int kParts = 8;
  const int pages = doc.page_count();
  const int size = (pages + kParts - 1) / kParts;
  for (int first = 0; first < pages; first += size)
    append(doc, first, std::min(size, pages - first), 1);
  return 0;
}

std::int64_t split_by_page(CPDFDoc& doc) {
  CPDFMergeIndex index;
  for (int page = 0; page < doc.page_count(); ++page)
    append(doc, page, 1, 1, &index);
  return 0;
}

struct Journey {
  const char* name;
  std::int64_t (*take)(CPDFDoc& doc);
};

constexpr Journey kJourneys[] = {
    {"check", check},   {"rewrite", rewrite}, {"encrypt", encrypt}, {"update", update}, {"annotations", annotations},
    {"fields", fields}, {"images", images},   {"merge", merge},     {"split", split}};

struct Cost {
  std::int64_t work = 0;
  std::int64_t peak = 0;
};

Cost cost_of(const Journey& journey, const std::string& bytes) {
  StringStream file(bytes);
  CountingStream counting(file);
  CountedHeap heap;
  Cost cost;
  {
    CPDFDoc doc;
    if (doc.open(&counting))
      cost.work = journey.take(doc);
  }
  cost.work += counting.bytes + heap.asked;
  cost.peak = heap.peak;
  EXPECT_EQ(heap.held, 0);
  return cost;
}

// The same with no section that could be believed.
std::string without_sections(std::string bytes) {
  for (std::size_t at = bytes.find("startxref"); at != std::string::npos; at = bytes.find("startxref", at))
    bytes.replace(at, 9, "gone     ");
  return bytes;
}

void expect_proportion(const GrowthShape& shape, const Journey& journey, bool is_damaged) {
  constexpr double kMoreThanInProportion = 1.1;
  constexpr double kFixed = 600'000;  // what any file may cost
  double least = 0;
  for (const int times : {1, 4, 16}) {
    if (kUnderSanitizer && times == 16)  // what is counted is the same there, and takes minutes
      break;
    std::string bytes = shape.make(shape.least * times);
    if (is_damaged)
      bytes = without_sections(bytes);
    const Cost cost = cost_of(journey, bytes);
    const auto size = static_cast<double>(bytes.size());
    if (times == 1)
      least = (static_cast<double>(cost.work) + kFixed) / size;
    EXPECT_LE(static_cast<double>(cost.work), least * kMoreThanInProportion * size)
        << shape.name << ", " << journey.name << (is_damaged ? " after a repair" : "") << ": " << bytes.size()
        << " bytes, work " << cost.work;
    EXPECT_LE(cost.peak, 64 * kMiB + 8 * static_cast<std::int64_t>(bytes.size())) << shape.name << ", " << journey.name;
  }
}

TEST(Growth, WorkFollowsTheLengthOfTheFile) {
  for (const GrowthShape& shape : growth_shapes()) {
    for (const Journey& journey : kJourneys)
      expect_proportion(shape, journey, false);
    expect_proportion(shape, kJourneys[0], true);
    expect_proportion(shape, kJourneys[1], true);
  }
}

TEST(Growth, ManyPartsFollowTheLengthOfTheFile) {
  for (const GrowthShape& shape : growth_shapes()) {
    if (std::string(shape.name) == "as many pages as names")
      expect_proportion(shape, {"split by page", split_by_page}, false);
  }
}

}  // namespace
