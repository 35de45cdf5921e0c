// sheaf_oracle: random sequences of operations on documents, and after each save a comparison of what
// they must be with what the library and another program find in them.
//
//   sheaf_oracle [--seconds N] [--seed N]              made documents, one seed after the other
//   sheaf_oracle --seed N --operations TEXT             one sequence again
//   sheaf_oracle [--password P] [--sequences N] FILE... real files: every stream changed and saved in
//                                                       every way, then N random sequences
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "oracle/independent.h"
#include "oracle/run.h"
#include "support/external_tool.h"

namespace {

using namespace oracle;

struct Options {
  double seconds = 10;
  std::uint64_t seed = 1;
  std::string operations;
  std::string password;
  std::uint64_t sequences = 0;
  std::vector<std::string> files;
};

bool read_options(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string name = argv[i];
    const bool takes_value = name == "--seconds" || name == "--seed" || name == "--operations" ||
                             name == "--password" || name == "--sequences";
    if (!takes_value) {
      options.files.push_back(name);
      continue;
    }
    if (++i == argc)
      return false;
    const char* const value = argv[i];
    if (name == "--seconds")
      options.seconds = std::atof(value);
    else if (name == "--seed")
      options.seed = std::strtoull(value, nullptr, 10);
    else if (name == "--operations")
      options.operations = value;
    else if (name == "--password")
      options.password = value;
    else
      options.sequences = std::strtoull(value, nullptr, 10);
  }
  return true;
}

// The settings go with the seed, so that a seed alone says everything.
Setting setting_of(std::uint64_t seed, const TestFolder& folder) {
  Setting setting;
  setting.in_file = seed % 3 != 0;
  setting.independent = has_independent_reader();
  setting.folder = folder / "";
  setting.folder.pop_back();
  return setting;
}

bool holds(const std::string& name, const Source& source, const std::vector<Operation>& operations,
           const Setting& setting) {
  std::string what = run(source, operations, setting);
  if (what.empty())
    return true;
  const std::vector<Operation> fewest = shortest(source, operations, setting);
  what = run(source, fewest, setting);
  std::printf("%s (%s, %s)\n%s%s\n  again with: --operations %s\n", name.c_str(), source.form.c_str(),
              setting.in_file ? "in a file" : "in memory", described(fewest).c_str(), what.c_str(),
              to_text(fewest).c_str());
  std::fflush(stdout);
  return false;
}

// A linearized form of the source, as another program makes it; its objects have other numbers.
void linearize(Source& source, const TestFolder& folder) {
  write_file(folder / "plain.pdf", source.bytes);
  const std::string made = folder / "linear.pdf";
  run_command("qpdf --linearize " + (folder / "plain.pdf") + " " + made + " 2>&1");
  Source linear;
  if (!source_from_file(made, "", linear))
    return;
  linear.form = "linearized";
  linear.model.pages = source.model.pages;
  linear.model.info = source.model.info;
  source = linear;
}

bool run_seed(std::uint64_t seed, const std::string& operations) {
  const TestFolder folder;
  Source source = make_source(seed);
  const Setting setting = setting_of(seed, folder);
  if (setting.independent && seed % 7 == 0 && !source.model.is_for_library_only)
    linearize(source, folder);
  if (setting.independent && source.model.warnings.empty()) {
    Snapshot found;  // lengths that lie and damage have their complaints from the beginning
    write_file(folder / "source.pdf", source.bytes);
    read_independently(folder / "source.pdf", "", found, source.model.warnings);
  }
  return holds("seed " + std::to_string(seed), source,
               operations.empty() ? make_operations(seed, 4 + seed % 30) : from_text(operations), setting);
}

int run_seeds(const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  const auto spent = [start] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  std::uint64_t seed = options.seed;
  int failed = 0;
  for (; spent() < options.seconds; ++seed)
    failed += run_seed(seed, "") ? 0 : 1;
  std::printf("%llu sequences, %d failed%s\n", static_cast<unsigned long long>(seed - options.seed), failed,
              has_independent_reader() ? "" : "; qpdf is not installed, so that the library alone was asked");
  return failed == 0 ? 0 : 1;
}

// 0 held, 1 did not, 2 the readers do not agree on the file.
int run_file(const std::string& path, const Options& options) {
  Source source;
  if (!source_from_file(path, options.password, source)) {
    std::printf("%s: left out; one of the readers cannot read it\n", path.c_str());
    return 2;
  }
  const TestFolder folder;
  int failed = 0;
  std::vector<std::vector<Operation>> all = every_stream_and_every_save();
  for (std::uint64_t i = 0; i < options.sequences; ++i)
    all.push_back(make_operations(options.seed + i, 12));
  for (std::size_t i = 0; i < all.size(); ++i)
    failed += holds(path, source, all[i], setting_of(i + 1, folder)) ? 0 : 1;
  std::printf("%s: %zu sequences, %d failed, %zu objects of which the readers differ\n", path.c_str(), all.size(),
              failed, source.model.loose.size());
  return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!read_options(argc, argv, options)) {
    std::fprintf(stderr, "sheaf_oracle: an option needs its value\n");
    return 2;
  }
  if (!options.files.empty()) {
    int failed = 0;
    for (const std::string& path : options.files)
      failed += run_file(path, options) == 1 ? 1 : 0;
    return failed == 0 ? 0 : 1;
  }
  if (!options.operations.empty())
    return run_seed(options.seed, options.operations) ? 0 : 1;
  return run_seeds(options);
}
