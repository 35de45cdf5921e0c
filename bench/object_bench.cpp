// Object syntax, in bytes of syntax a second unless noted: parsing, printing, deep copies
// and lookups, over the objects that documents are made of.
#include <benchmark/benchmark.h>

#include <string>

#include "../tests/support/test_table.h"
#include "sheaf/object/array.h"
#include "sheaf/object/dictionary.h"

using namespace sheaf;

namespace {

// An object that fills most of a buffer or more, made of many like the pages, fonts and
// annotations of real files.
std::string page_objects(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i) {
    const std::string num = std::to_string(i + 100);
    text += "<</Type/Page/Parent " + num + " 0 R/MediaBox[0 0 612 792]/Contents " + num +
            " 0 R/Resources<</Font<</F1 12 0 R/F2 13 0 R>>/ProcSet[/PDF/Text/ImageC]>>/Rotate 0/Annots[" + num +
            " 0 R]/Title(A page of a book)/ID<0011223344556677>/UserUnit 1.5>>\n";
  }
  return text + "]";
}

std::string numbers(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i)
    text += std::to_string(i * 7919 % 100003) + (i % 2 == 0 ? " " : "." + std::to_string(i % 1000) + "\n");
  return text + "]";
}

std::string references(int count) {
  std::string text = "[";
  for (int i = 1; i <= count; ++i)
    text += std::to_string(i) + " 0 R ";
  return text + "]";
}

std::string strings(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i)
    text += i % 2 == 0 ? "(The quick brown fox, jumped \\(over\\) the lazy dog)\n"
                       : "<FEFF005400680065002000710075006900630068002000620072006F0077006E>\n";
  return text + "]";
}

std::string names(int count) {
  std::string text = "[";
  for (int i = 0; i < count; ++i)
    text += "/DeviceRGB /Helvetica-Bold /A#20name /N" + std::to_string(i) + "\n";
  return text + "]";
}

// In files, so that the buffers slide as they do over documents.
void parse(benchmark::State& state, const std::string& text) {
  MemStream file(text);
  for (auto _ : state) {
    file.SetPos(CQVStream::STR_SEEK_SET, 0);
    CPDFBufBase buf;
    buf.buf_init(&file);
    Freed<CPDFObj> value;
    value.read(&buf, nullptr);
    benchmark::DoNotOptimize(value.tag);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

void print(benchmark::State& state, const std::string& text) {
  Freed<CPDFObj> value;
  read_value(value, text);
  CQVStreamMem out;
  for (auto _ : state) {
    out.SetPos(CQVStream::STR_SEEK_SET, 0);
    value.write(&out, nullptr);
  }
  state.SetBytesProcessed(out.GetLen() * state.iterations());
}

void copy(benchmark::State& state, const std::string& text) {
  Freed<CPDFObj> value;
  read_value(value, text);
  for (auto _ : state) {
    Freed<CPDFObj> other;
    other.copy_from(&value);
    benchmark::DoNotOptimize(other.tag);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

// One small indirect object after the other, each read from its place: how documents are walked.
void BM_ReadSmallObjects(benchmark::State& state) {
  std::string text;
  std::vector<long long> places;
  for (int i = 1; i <= 1000; ++i) {
    places.push_back(static_cast<long long>(text.size()));
    text += std::to_string(i) +
            " 0 obj\n<</Type/Annot/Subtype/Link/Rect[10 20 30.5 40]/A<</S/URI/URI(http://a.b/)>>>>\n" + "endobj\n";
  }
  MemStream file(text);
  for (auto _ : state) {
    for (const long long place : places) {
      file.SetPos(CQVStream::STR_SEEK_SET, place);
      CPDFBufBase buf;
      buf.buf_init(&file);
      Freed<CPDFObj> value;
      value.read(&buf, nullptr);
      benchmark::DoNotOptimize(value.tag);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(places.size()));
}

// Keys a second, in a dictionary of the given size.
void BM_Lookup(benchmark::State& state) {
  Cleared<CPDFDictionary> dict;
  std::vector<std::string> keys;
  for (int i = 0; i < state.range(0); ++i) {
    keys.push_back("Key" + std::to_string(i * 37));
    dict.set_item_int(keys.back().c_str(), i);
  }
  for (auto _ : state) {
    for (const std::string& key : keys)
      benchmark::DoNotOptimize(dict.get_item(key.c_str()));
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

// Raw data of a stream whose end has to be searched.
void BM_RawStreamSearch(benchmark::State& state, const std::string& pattern) {
  std::string text;
  while (text.size() < 4'000'000)
    text += pattern;
  MemStream file(text + "\nendstream\nendobj\n");
  for (auto _ : state) {
    file.SetPos(CQVStream::STR_SEEK_SET, 0);
    int len = 0;
    const HeapBlock<char> block(CPDFXRefTable::read_stream_raw_data(&file, len));
    benchmark::DoNotOptimize(block.get());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * state.iterations());
}

BENCHMARK_CAPTURE(parse, pages, page_objects(500));
BENCHMARK_CAPTURE(parse, numbers, numbers(20000));
BENCHMARK_CAPTURE(parse, references, references(20000));
BENCHMARK_CAPTURE(parse, strings, strings(4000));
BENCHMARK_CAPTURE(parse, names, names(5000));
BENCHMARK(BM_ReadSmallObjects);
BENCHMARK_CAPTURE(print, pages, page_objects(500));
BENCHMARK_CAPTURE(print, numbers, numbers(20000));
BENCHMARK_CAPTURE(print, references, references(20000));
BENCHMARK_CAPTURE(print, strings, strings(4000));
BENCHMARK_CAPTURE(print, names, names(5000));
BENCHMARK_CAPTURE(copy, pages, page_objects(500));
BENCHMARK_CAPTURE(copy, strings, strings(4000));
BENCHMARK(BM_Lookup)->Arg(8)->Arg(1000);
BENCHMARK_CAPTURE(BM_RawStreamSearch, text, "BT /F1 12 Tf 72 720 Td (here be letters) Tj ET\n");
BENCHMARK_CAPTURE(BM_RawStreamSearch, binary, "\x01\x8F\xE3\x99\x13\x7A\x42\xD0\x65\xF0\x08\x81");

}  // namespace
