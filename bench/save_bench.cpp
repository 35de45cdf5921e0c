// How the cost of saving, reading sections and recovering grows: with the new objects in front of a
// save, kept in memory or in a temporary file, with the sections of a file, and with the objects that
// a search of a file without sections finds. Times are to grow as the arguments do.
#include <benchmark/benchmark.h>

#include <string>

#include "../tests/support/pdf_builder.h"
#include "../tests/support/string_stream.h"
#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/xref/xref_table.h"

using namespace sheaf;

namespace {

constexpr int kFirstNew = 10;

PdfBuilder one_page() {
  PdfBuilder builder;
  builder.pages(1).classic();
  return builder;
}

// Every second new object is a stream of its own bytes, the others are dictionaries.
void make_objects(CPDFXRefTable& table, std::int64_t count) {
  const std::string body(200, 'x');
  for (std::int64_t i = 0; i < count; ++i) {
    const PDF_REF ref{table.alloc_obj_num(), 0};
    Cleared<CPDFStreamRec> rec;
    rec.dict.set_item_name(CPDFDictionary::sm_tag_type, "Item");
    rec.dict.set_item_int("Index", static_cast<int>(i));
    if (i % 2 == 0) {
      table.write_stream(ref, &rec, body.data(), static_cast<unsigned>(body.size()));
      table.store_stream(ref, rec);
    } else {
      table.store_dict(ref, &rec.dict);
    }
  }
}

// Arguments: new objects; whether there is a temporary file.
void save_new_objects(benchmark::State& state) {
  const PdfBuilder builder = one_page();
  for (auto _ : state) {
    StringStream file(builder.str());
    CPDFDoc doc;
    if (!doc.open(&file) || (state.range(1) != 0 && !doc.use_temp_file(nullptr)))
      state.SkipWithError("not opened");
    make_objects(doc.table(), state.range(0));
    if (doc.table().save(nullptr, nullptr) == 0)
      state.SkipWithError("not saved");
  }
  state.SetItemsProcessed(state.range(0) * state.iterations());
}

// Argument: sections, of one object each.
void read_sections(benchmark::State& state) {
  PdfBuilder builder = one_page();
  for (std::int64_t i = 1; i < state.range(0); ++i)
    builder.obj(kFirstNew + static_cast<int>(i % 100), std::to_string(i)).classic();
  StringStream file(builder.str());
  for (auto _ : state) {
    CPDFXRefTable table;
    table.stream = &file;
    table.XRefRead(static_cast<unsigned>(builder.last_section()));
    table.drain_pending();
    benchmark::DoNotOptimize(table.xref_count);
  }
  state.SetItemsProcessed(state.range(0) * state.iterations());
}

// Argument: objects in a file that has no section.
void search_objects(benchmark::State& state) {
  PdfBuilder builder;
  for (std::int64_t i = 1; i <= state.range(0); ++i)
    builder.obj(static_cast<int>(i), "<</Type/Item/Index " + std::to_string(i) + "/Label(Item of a list)>>");
  StringStream file(builder.str());
  for (auto _ : state) {
    CPDFXRefTable table;
    table.stream = &file;
    table.XRefCreate();
    benchmark::DoNotOptimize(table.xref_count);
  }
  state.SetItemsProcessed(state.range(0) * state.iterations());
}

}  // namespace

BENCHMARK(save_new_objects)->ArgsProduct({{10, 1000, 100000}, {0, 1}})->Unit(benchmark::kMicrosecond);
BENCHMARK(read_sections)->Arg(1)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(search_objects)->Arg(1000)->Arg(100000)->Unit(benchmark::kMicrosecond);
