// A made document through a sequence of operations that the input spells: the first two bytes choose the
// document, the next ones an operation each. What it must be then is compared with what the library finds
// in hand and in the file reopened. Everything stays in memory.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "oracle/run.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kMostOperations = 24;
  constexpr std::size_t kOperationSize = 5;
  if (size < 2)
    return 0;
  const oracle::Source source = oracle::make_source(data[0] * 256u + data[1]);
  std::vector<oracle::Operation> operations;
  for (std::size_t at = 2; at + kOperationSize <= size && operations.size() < kMostOperations; at += kOperationSize)
    operations.push_back({data[at], data[at + 1], data[at + 2] * 256u + data[at + 3], data[at + 4]});
  const std::string what = oracle::run(source, operations, {false, false, ""});
  if (what.empty())
    return 0;
  std::fprintf(stderr, "%s\n%s\n", oracle::described(operations).c_str(), what.c_str());
  std::abort();
}
