// The law of growth: what a file of n bytes costs is in proportion to n, however it is made. Each row
// makes a file of one shape at three sizes; what is counted is deterministic: bytes read, bytes asked
// of the heap, bytes decoded. No time is measured.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>

#include "sheaf/document/doc.h"
#include "sheaf/filters/stream_filter.h"
#include "support/counting_stream.h"
#include "support/jbig2_encoder.h"
#include "support/pdf_builder.h"
#include "support/string_stream.h"

namespace {

constexpr std::int64_t kMiB = 1 << 20;

// Behind the heap family: what was asked for in all. A block grown in place costs what it grew by,
// for which its size stands in front of it.
class CountedHeap {
public:
  CountedHeap() {
    const QVHeapHooks hooks{alloc, realloc, free, this};
    set_heap_hooks(&hooks);
  }
  CountedHeap(const CountedHeap&) = delete;
  CountedHeap& operator=(const CountedHeap&) = delete;
  ~CountedHeap() { set_heap_hooks(nullptr); }

  std::int64_t asked = 0;
  std::int64_t held = 0;
  std::int64_t peak = 0;

private:
  static constexpr std::size_t kFront = alignof(std::max_align_t);

  void count(std::size_t size, std::size_t before) {
    asked += size > before ? static_cast<std::int64_t>(size - before) : 0;
    held += static_cast<std::int64_t>(size) - static_cast<std::int64_t>(before);
    peak = std::max(peak, held);
  }
  static void* put(void* block, std::size_t size) {
    if (block == nullptr)
      return nullptr;
    *static_cast<std::size_t*>(block) = size;
    return static_cast<char*>(block) + kFront;
  }
  static void* alloc(void* context, std::size_t size) {
    static_cast<CountedHeap*>(context)->count(size, 0);
    return put(std::malloc(size + kFront), size);
  }
  static void* realloc(void* context, void* block, std::size_t size) {
    if (block == nullptr)
      return alloc(context, size);
    char* const front = static_cast<char*>(block) - kFront;
    static_cast<CountedHeap*>(context)->count(size, *reinterpret_cast<std::size_t*>(front));
    return put(std::realloc(front, size + kFront), size);
  }
  static void free(void* context, void* block) {
    if (block == nullptr)
      return;
    char* const front = static_cast<char*>(block) - kFront;
    static_cast<CountedHeap*>(context)->count(0, *reinterpret_cast<std::size_t*>(front));
    std::free(front);
  }
};

std::int64_t decode(CPDFXRefTable& table, const CPDFObj& obj) {
  constexpr std::int64_t kMost = 64 * kMiB;
  const std::unique_ptr<CPDFStream> stream(obj.as_stream() != nullptr ? table.make_stream(obj.as_stream()) : nullptr);
  std::vector<unsigned char> piece(16 * 1024);
  std::int64_t total = 0;
  for (int got = 1; stream != nullptr && got > 0 && total < kMost; total += got)
    got = stream->filter_type == kFilterCCITTFax ? 0 : stream->read_block(piece.data(), static_cast<int>(piece.size()));
  return total;
}

struct Cost {
  std::int64_t work = 0;
  std::int64_t peak = 0;
};

// Opens the file, goes through its pages, objects, streams and annotations, and writes it anew.
Cost cost_of(const std::string& bytes) {
  StringStream file(bytes);
  CountingStream counting(file);
  CountedHeap heap;
  Cost cost;
  {
    CPDFDoc doc;
    if (doc.open(&counting)) {
      CPDFXRefTable& table = doc.table();
      table.export_depth = 32;
      table.drain_pending();
      const int pages = doc.page_count();
      for (int i = 0; i < pages; ++i) {
        CPDFPage page;
        doc.load_page(i, page);
      }
      for (std::uint32_t num = 1; num < table.xref_count; ++num) {
        Freed<CPDFObj> obj;
        table.get_entity(obj, {static_cast<std::int32_t>(num), 0});
        cost.work += decode(table, obj);
        if (obj.as_dict() == nullptr || obj.as_dict()->get_item("Rect") == nullptr)
          continue;
        Cleared<CPDFDictionary> flat;
        table.export_annot(flat, {static_cast<std::int32_t>(num), 0});
      }
      StringStream out("");
      CPDFXRefTable target;
      target.stream = &out;
      doc.save_complete(target, nullptr);
    }
  }
  cost.work += counting.bytes + heap.asked;
  cost.peak = heap.peak;
  EXPECT_EQ(heap.held, 0);
  return cost;
}

std::string repeated(int count, const std::function<std::string(int)>& part) {
  std::string all;
  for (int i = 0; i < count; ++i)
    all += part(i);
  return all;
}

std::string ref(int num) {
  return std::to_string(num) + " 0 R ";
}

// One page and the objects from 4 on.
PdfBuilder one_page() {
  PdfBuilder pdf;
  pdf.pages(1);
  return pdf;
}

std::string with_objects(int count, const std::function<std::string(int)>& body) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count; ++i)
    pdf.obj(4 + i, body(4 + i));
  return pdf.classic().str();
}

struct Shape {
  const char* name;
  std::function<std::string(int)> make;
};

std::string kids_of(int count, const std::function<std::string(int)>& kid) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  pdf.obj(2, "<</Type/Pages/Count 1/Kids[" + repeated(count, kid) + "]/MediaBox[0 0 9 9]>>");
  return pdf.obj(3, "<</Type/Page/Parent 2 0 R>>").classic().str();
}

std::string chain_of_nodes(int count) {
  PdfBuilder pdf;
  pdf.obj(1, "<</Type/Catalog/Pages 2 0 R>>");
  for (int i = 2; i < count + 2; ++i)
    pdf.obj(i, "<</Type/Pages/Count 1/Kids[" + ref(i + 1) + "]/Parent " + ref(i - 1) + ">>");
  return pdf.obj(count + 2, "<</Type/Page/Parent " + ref(count + 1) + "/MediaBox[0 0 9 9]>>").classic().str();
}

std::string nested_fields(int count) {
  return with_objects(count, [](int num) {
    return "<</Subtype/Widget/Rect[0 0 1 1]/T(" + std::to_string(num) + ")/Parent " + ref(num + 1) + ">>";
  });
}

std::string object_streams(int count) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count / 10; ++i) {
    std::vector<std::pair<int, std::string>> members;
    for (int k = 0; k < 10; ++k)
      members.push_back({1000 + 11 * i + k, "<</A " + ref(4 + i) + "/B[1 2 3]>>"});
    pdf.object_stream(1010 + 11 * i, members);
  }
  return pdf.xref_stream(999).str();
}

std::string image_filter_streams(int count) {
  PdfBuilder pdf = one_page();
  for (int i = 0; i < count / 10; ++i)
    pdf.stream(4 + i, "/Type/ObjStm/N 1/First 4/Filter/CCITTFaxDecode", "\1");
  return pdf.classic().str();
}

std::string jbig2_regions(int count) {
  using namespace jb2_test;
  const Picture page(2000, 2000);
  std::string data = segment(0, 48, {}, page_info(2000, 2000));
  const std::string body = region_info(page) + u8(0) + places_bytes(nominal_adaptive(0)) + "\1\2\3";
  for (int i = 1; i <= count; ++i)
    data += segment(static_cast<std::uint32_t>(i), 38, {}, body);
  PdfBuilder pdf = one_page();
  return pdf.stream(4, "/Subtype/Image/Width 2000/Height 2000/Filter/JBIG2Decode", data).classic().str();
}

const Shape kShapes[] = {
    {"sound objects",
     [](int n) { return with_objects(n, [](int num) { return "<</A[1 2 " + ref(num) + "]/B(text)>>"; }); }},
    {"sound streams",
     [](int n) {
       PdfBuilder pdf = one_page();
       for (int i = 0; i < n; ++i)
         pdf.stream(4 + i, "/Filter/FlateDecode", PdfBuilder::deflated("text " + std::to_string(i)));
       return pdf.classic().str();
     }},
    {"pages",
     [](int n) {
       PdfBuilder pdf;
       return pdf.pages(n).classic().str();
     }},
    {"object streams", object_streams},
    {"one long string",
     [](int n) { return with_objects(1, [n](int) { return "(" + std::string(std::size_t(n) * 40, 's') + ")"; }); }},
    {"one long comment",
     [](int n) { return with_objects(1, [n](int) { return "%" + std::string(std::size_t(n) * 40, 'c') + "\n1"; }); }},
    {"one deep array",
     [](int n) { return with_objects(1, [n](int) { return repeated(n, [](int) { return "["; }); }); }},
    {"one dictionary, keys descending",
     [](int n) {
       return with_objects(1, [n](int) {
         return "<<" + repeated(n, [n](int i) { return "/K" + std::to_string(1000000 + n - i) + " 1"; }) + ">>";
       });
     }},
    {"one dictionary, keys equal",
     [](int n) {
       return with_objects(1, [n](int) { return "<<" + repeated(n, [](int) { return "/Key 1"; }) + ">>"; });
     }},
    {"a chain of references", [](int n) { return with_objects(n, [](int num) { return ref(num + 1); }); }},
    {"hexadecimal strings without end", [](int n) { return with_objects(n, [](int) { return "<414"; }); }},
    {"strings without end", [](int n) { return with_objects(n, [](int) { return "(abc"; }); }},
    {"kids that are their own node", [](int n) { return kids_of(n, [](int) { return ref(2); }); }},
    {"kids that are one page", [](int n) { return kids_of(n, [](int) { return ref(3); }); }},
    {"kids that are no page", [](int n) { return kids_of(n, [](int i) { return ref(i == 0 ? 3 : 1); }); }},
    {"a chain of page tree nodes", chain_of_nodes},
    {"fields nested as deep as there are", nested_fields},
    {"object streams behind image filters", image_filter_streams},
    {"JBIG2 regions over one another", jbig2_regions},
    {"junk behind the end",
     [](int n) { return with_objects(1, [](int) { return "1"; }) + std::string(std::size_t(n) * 30, 'j'); }},
};

TEST(Growth, WorkFollowsTheLengthOfTheFile) {
  constexpr int kBase = 150;
  constexpr double kMoreThanInProportion = 1.1;
  constexpr double kFixed = 600'000;  // what any file may cost
  for (const Shape& shape : kShapes) {
    double least = 0;
    for (const int times : {1, 4, 16}) {
      const std::string bytes = shape.make(kBase * times);
      const Cost cost = cost_of(bytes);
      const auto size = static_cast<double>(bytes.size());
      const auto work = static_cast<double>(cost.work);
      if (times == 1)
        least = (work + kFixed) / size;
      EXPECT_LE(work, least * kMoreThanInProportion * size)
          << shape.name << ": " << bytes.size() << " bytes, work " << cost.work;
      EXPECT_LE(cost.peak, 64 * kMiB + 8 * static_cast<std::int64_t>(bytes.size())) << shape.name;
    }
  }
}

}  // namespace
