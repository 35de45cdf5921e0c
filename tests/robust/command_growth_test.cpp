// The law of growth for commands of the tool, run in this process: those that have work of their own beyond what the
// library does for them. What is counted is what they ask of the heap and of operator new, read and write.
#ifdef SHEAF_HAS_TOOL
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <fstream>

#include "robust/growth_shapes.h"
#include "support/command_line.h"
#include "support/external_tool.h"
#include "support/refused_new.h"
#include "support/sanitizer.h"
#include "support/work_meter.h"

namespace {

// Standard output and standard error go nowhere meanwhile.
class Silence {
public:
  Silence() {
    flush();
    const int nowhere = open("/dev/null", O_WRONLY);
    for (int i = 0; i < 2; ++i) {
      kept_[i] = dup(i + 1);
      dup2(nowhere, i + 1);
    }
    close(nowhere);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;
  ~Silence() {
    flush();
    for (int i = 0; i < 2; ++i) {
      dup2(kept_[i], i + 1);
      close(kept_[i]);
    }
  }

private:
  static void flush() {
    std::fflush(stdout);
    std::fflush(stderr);
  }
  int kept_[2];
};

// Bytes that this process has read and written by now.
std::int64_t bytes_moved() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  std::int64_t value = 0;
  std::int64_t sum = 0;
  while (counters >> name >> value) {
    if (name == "rchar:" || name == "wchar:")
      sum += value;
  }
  return sum;
}

int run_here(const std::vector<std::string>& words) {
  int code = -1;
  CLI::App app("sheaf");
  sheaf::tool::add_commands(app, words.front(), code);
  app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  return code;
}

std::int64_t cost_of(std::vector<std::string> words, const std::string& file, const std::string& out) {
  for (std::string& word : words)
    word = word == "IN" ? file : word == "OUT" ? out : word;
  const Silence silence;
  CountedHeap heap;
  const std::int64_t moved = bytes_moved();
  const std::int64_t taken = bytes_taken_by_new();
  EXPECT_GE(run_here(words), 0);
  return heap.asked + bytes_moved() - moved + bytes_taken_by_new() - taken;
}

const std::vector<std::vector<std::string>> kCommands = {{"check", "IN"},
                                                         {"fonts", "--json", "IN"},
                                                         {"map", "IN", "-o", "OUT"},
                                                         {"json", "IN"},
                                                         {"diff", "IN", "IN", "--objects"},
                                                         {"browse", "IN", "-o", "OUT"},
                                                         {"pages", "--all", "IN"},
                                                         {"signatures", "--json", "IN"},
                                                         {"annots", "--json", "IN"},
                                                         {"fields", "IN"},
                                                         {"images", "IN"},
                                                         {"outline", "--json", "IN"}};

TEST(Growth, CommandsFollowTheLengthOfTheFile) {
  constexpr double kMoreThanInProportion = 1.1;
  constexpr double kFixed = 3'000'000;  // what any file may cost
  const TestFolder folder;
  for (const GrowthShape& shape : growth_shapes()) {
    std::vector<double> least(kCommands.size());
    for (const int times : {1, kUnderSanitizer ? 2 : 10}) {
      const std::string bytes = shape.make(shape.least * times);
      const auto size = static_cast<double>(bytes.size());
      write_file(folder / "in.pdf", bytes);
      for (std::size_t i = 0; i < kCommands.size(); ++i) {
        const auto work = static_cast<double>(cost_of(kCommands[i], folder / "in.pdf", folder / "out"));
        if (times == 1)
          least[i] = (work + kFixed) / size;
        EXPECT_LE(work, least[i] * kMoreThanInProportion * size)
            << shape.name << ", " << kCommands[i].front() << ": " << bytes.size() << " bytes";
      }
    }
  }
}

}  // namespace
#endif
