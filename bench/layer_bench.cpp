// What the C++ layer costs beside the classes below it: every object of a document is read and looked into, once
// through the table and once through values. SHEAF_BENCH_FILE names a document in place of the one that is made here,
// of 1,000,000 objects. One round is the whole document; compare the processor times.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "sheaf/base/scope_guard.h"
#include "sheaf/document/doc.h"
#include "sheaf/sheaf.hpp"

namespace {

constexpr int kObjects = 1'000'000;

std::string made_document() {
  std::string text = "%PDF-1.7\n";
  std::vector<std::size_t> offsets{0};
  const auto add = [&](const std::string& body) {
    offsets.push_back(text.size());
    text += std::to_string(offsets.size() - 1) + " 0 obj\n" + body + "\nendobj\n";
  };
  add("<</Type/Catalog/Pages 2 0 R>>");
  add("<</Type/Pages/Count 0/Kids[]>>");
  while (offsets.size() <= kObjects)
    add("<</Type/Thing/Number " + std::to_string(offsets.size()) + "/Next " + std::to_string(offsets.size() - 1) +
        " 0 R/Box[0 0 595 842]/Text(a text to be read)/Inner<</A 1/B 2.5>>>>");
  const std::size_t start = text.size();
  text += "xref\n0 " + std::to_string(offsets.size()) + "\n0000000000 65535 f \n";
  for (std::size_t i = 1; i < offsets.size(); ++i) {
    char line[24];
    std::snprintf(line, sizeof(line), "%010zu 00000 n \n", offsets[i]);
    text += line;
  }
  return text + "trailer\n<</Size " + std::to_string(offsets.size()) + "/Root 1 0 R>>\nstartxref\n" +
         std::to_string(start) + "\n%%EOF\n";
}

// The path of the document.
const std::string& document_path() {
  static const std::string path = [] {
    if (const char* const given = std::getenv("SHEAF_BENCH_FILE"))
      return std::string(given);
    std::string name = "/tmp/sheaf_layer_bench.pdf";
    std::FILE* const file = std::fopen(name.c_str(), "wb");
    const std::string text = made_document();
    std::fwrite(text.data(), 1, text.size(), file);
    std::fclose(file);
    return name;
  }();
  return path;
}

void BM_WalkBelow(benchmark::State& state) {
  CPDFDoc doc;
  doc.open(document_path().c_str());
  CPDFXRefTable& table = doc.table();
  table.drain_pending();
  for (auto _ : state) {
    long long sum = 0;
    for (std::uint32_t num = 1; num < table.xref_count; ++num) {
      sheaf::Freed<CPDFObj> object;
      table.get_entity(object, {static_cast<std::int32_t>(num), 0});
      const CPDFDictionary* const dict = object.as_dict_or_stream();
      if (dict == nullptr)
        continue;
      const CPDFObj* const number = dict->get_item("Number");
      const CPDFObj* const box = dict->get_item("Box");
      const CPDFObj* const inner = dict->get_item("Inner");
      sum += number != nullptr ? number->to_int() : 0;
      sum += box != nullptr && box->as_array() != nullptr ? box->as_array()->get(2)->to_int() : 0;
      sum += inner != nullptr && inner->as_dict() != nullptr ? inner->as_dict()->get_item("A")->to_int() : 0;
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(BM_WalkBelow)->Unit(benchmark::kMillisecond)->MinTime(3);

void BM_WalkLayer(benchmark::State& state) {
  auto doc = sheaf::Document::open(document_path());
  for (auto _ : state) {
    long long sum = 0;
    for (const sheaf::Value object : doc->objects()) {
      sum += object["Number"].as<int>();
      sum += object["Box"][2].as<int>();
      sum += object["Inner"]["A"].as<int>();
    }
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(BM_WalkLayer)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
