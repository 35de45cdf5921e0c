// What is left of a save that was cut short: a file whose update section ends at any byte, one whose
// section was gone over up to any byte, and what the tool leaves when it is killed. All must open
// with a complete state, older or newer, and nothing in between.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <random>
#include <set>
#include <thread>

#include "sheaf/document/doc.h"
#include "support/external_tool.h"
#include "support/pdf_builder.h"
#include "support/string_stream.h"
#include "support/test_table.h"

using namespace sheaf;

namespace {

// The state of a document in one line: three objects that each save changes together.
std::string state_of(const std::string& bytes) {
  StringStream file(bytes);
  CPDFDoc doc;
  if (!doc.open(&file))
    return "cannot be opened";
  std::string text = std::to_string(doc.page_count()) + " pages";
  Freed<CPDFObj> value;
  doc.table().resolve(value, &doc.table().info);
  const CPDFObj* title = value.as_dict() != nullptr ? value.as_dict()->get_item("Title") : nullptr;
  text += title != nullptr ? " " + TestTable::syntax(*title) : "";
  for (int num = 4; num <= 5; ++num) {
    doc.table().get_entity(value, {num, 0});
    text += " " + TestTable::syntax(value);
  }
  return text;
}

std::string sample(bool with_streams) {
  PdfBuilder builder;
  builder.pages(1).obj(4, "(old 4)").obj(5, "(old 5)");
  if (with_streams)
    return builder.xref_stream(6).str();
  return builder.classic().str();
}

void change(CPDFDoc& doc, const std::string& word, int padding) {
  Freed<CPDFObj> value;
  doc.set_info("Title", word.c_str());
  for (int num = 4; num <= 5; ++num) {
    const std::string text = word + " " + std::to_string(num) + std::string(static_cast<std::size_t>(padding), '.');
    value.set_string(text.data(), static_cast<int>(text.size()));
    doc.table().store_object({num, 0}, value);
  }
}

struct Form {
  bool streams;
  PDF_SAVE_FORM form;
};
const Form kForms[] = {{false, PDF_SAVE_FORM::kClassic},
                       {false, PDF_SAVE_FORM::kStream},
                       {true, PDF_SAVE_FORM::kStream},
                       {true, PDF_SAVE_FORM::kClassic}};

// A stream that stops taking bytes after so many, as if its writer had died there.
class DyingStream : public StringStream {
public:
  DyingStream(const std::string& content, long long life) : StringStream(content), life_(life) {}
  unsigned int Write(const void* src, unsigned int size) override {
    const auto part = static_cast<unsigned>(std::min<long long>(size, std::max(life_, 0LL)));
    life_ -= size;
    StringStream::Write(src, part);
    return size;
  }
  bool has_died() const { return life_ < 0; }

private:
  long long life_;
};

TEST(Crash, AnUpdateSectionCutAnywhereLeavesOneOfTheTwoStates) {
  for (const Form& form : kForms) {
    const std::string old = sample(form.streams);
    StringStream file(old);
    CPDFDoc doc;
    ASSERT_TRUE(doc.open(&file));
    change(doc, "new", 30);
    ASSERT_TRUE(doc.save_update(form.form, nullptr));
    const std::set<std::string> allowed{state_of(old), state_of(file.bytes)};
    ASSERT_EQ(allowed.size(), 2u);
    for (std::size_t size = old.size(); size <= file.bytes.size(); ++size)
      ASSERT_EQ(allowed.count(state_of(file.bytes.substr(0, size))), 1u)
          << size - old.size() << " bytes of the section: " << state_of(file.bytes.substr(0, size));
    constexpr std::size_t kMark = 15;  // most of "startxref" and all after it
    EXPECT_EQ(state_of(file.bytes.substr(0, file.bytes.size() - kMark)), state_of(file.bytes));
  }
}

// Two plain saves, the second of which dies after so many bytes.
struct TwoSaves {
  TwoSaves(const Form& form, int second_padding, long long life) : old(sample(form.streams)) {
    StringStream file(old);
    CPDFDoc doc;
    doc.open(&file);
    change(doc, "first", 30);
    doc.save_update(form.form, nullptr);
    first = file.bytes;
    DyingStream dying(first, life);
    doc.table().stream = &dying;
    change(doc, "second", second_padding);
    doc.save_update(form.form, nullptr);
    has_died = dying.has_died();
    second = dying.bytes;
    doc.table().stream = &file;
  }
  std::string old;
  std::string first;
  std::string second;
  bool has_died;
};

TEST(Crash, ASectionGoneOverUpToAnyByteLeavesOldOrNewObjects) {
  for (const Form& form : kForms) {
    for (const int second_padding : {80, 30, 3}) {  // longer, as long, and shorter than the first time
      const TwoSaves whole(form, second_padding, INT32_MAX);
      std::set<std::string> allowed{state_of(whole.old), state_of(whole.first), state_of(whole.second)};
      ASSERT_EQ(allowed.size(), 3u);
      // A cut inside the identifier costs the trailer, and with it the way to the title.
      std::string untitled = state_of(whole.second);
      untitled.erase(untitled.find(" (second)"), std::string(" (second)").size());
      allowed.insert(untitled);
      bool has_died = true;
      // One of the three byte by byte; the others meet the same code at other places.
      const int step = second_padding == 30 ? 1 : 17;
      for (long long life = 0; has_died; life += step) {
        const TwoSaves cut(form, second_padding, life);
        has_died = cut.has_died;
        ASSERT_EQ(allowed.count(state_of(cut.second)), 1u) << "after " << life << " bytes: " << state_of(cut.second);
      }
    }
  }
}

#ifdef SHEAF_TOOL
// Runs the tool and kills it after a while. True when it had come to its end by itself.
bool run_and_kill(const std::vector<std::string>& arguments, std::chrono::microseconds after) {
  std::vector<char*> list;
  for (const std::string& argument : arguments)
    list.push_back(const_cast<char*>(argument.c_str()));
  list.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    const int null = ::open("/dev/null", 1);
    dup2(null, 1);
    dup2(null, 2);
    execv(list[0], list.data());
    _exit(127);
  }
  int status = 0;
  const auto end = std::chrono::steady_clock::now() + after;
  while (std::chrono::steady_clock::now() < end) {
    if (waitpid(child, &status, WNOHANG) == child)
      return true;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return WIFEXITED(status);
}

// The target is what it was, or what the command makes of it.
TEST(Crash, AToolThatIsKilledLeavesTheOldOrTheNewFile) {
  const TestFolder folder;
  PdfBuilder builder;
  builder.pages(1).obj(4, "(old 4)").obj(5, "(old 5)");
  for (int num = 10; num < 1500; ++num)
    builder.obj(num, "[(" + std::string(300, 'x') + ") " + std::to_string(num + 1) + " 0 R]");
  builder.obj(1, "<</Type/Catalog/Pages 2 0 R/Items[4 0 R 5 0 R 10 0 R]>>").classic();
  const std::string old = builder.str();
  const std::string in = folder / "in.pdf";
  const std::string out = folder / "out.pdf";
  write_file(folder / "attached", std::string(2'000'000, 'a'));
  const std::vector<std::vector<std::string>> commands{
      {SHEAF_TOOL, "update", in, "--in-place", "--set", "Title=new", "--attach", folder / "attached"},
      {SHEAF_TOOL, "update", in, "-o", out, "--set", "Title=new", "--attach", folder / "attached"},
      {SHEAF_TOOL, "rewrite", in, out},
      {SHEAF_TOOL, "merge", out, in, in},
  };
  std::mt19937 chance(7);
  const std::string before = state_of(old);
  for (const auto& command : commands) {
    const bool in_place = command[3] == "--in-place";
    const std::string& target = in_place ? in : out;
    int killed = 0;
    std::chrono::microseconds longest(0);
    std::set<std::string> allowed{before};
    for (int round = 0; round < 15; ++round) {
      write_file(in, old);
      write_file(out, old);
      if (round == 0) {
        const auto start = std::chrono::steady_clock::now();
        ASSERT_TRUE(run_and_kill(command, std::chrono::seconds(60)));
        longest = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - start);
        allowed.insert(state_of(read_file(target)));
        continue;
      }
      const auto after = std::chrono::microseconds(chance() % static_cast<unsigned>(longest.count() + 1));
      if (run_and_kill(command, after))
        longest = after;  // the first run can have been slow
      else
        ++killed;
      EXPECT_EQ(read_file(in).substr(0, old.size()), old);
      EXPECT_EQ(allowed.count(state_of(read_file(target))), 1u) << command[1] << ": " << state_of(read_file(target));
    }
    EXPECT_GT(killed, 0) << command[1];
  }
}
#endif

}  // namespace
