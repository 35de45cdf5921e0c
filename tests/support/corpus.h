// The folder of real files that SHEAF_CORPUS names, and what its expected.tsv says of them.
#pragma once

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/external_tool.h"

using namespace sheaf;

struct CorpusExpected {
  int openable = 0;
  int pages = -1;
  std::string password;
};

inline std::vector<std::string> tsv_fields(const std::string& line) {
  std::vector<std::string> fields;
  std::stringstream in(line);
  for (std::string field; std::getline(in, field, '\t');)
    fields.push_back(field);
  fields.resize(6);
  return fields;
}

inline std::map<std::string, CorpusExpected> corpus_expectations(const std::filesystem::path& folder) {
  std::map<std::string, CorpusExpected> all;
  std::ifstream in(folder / "expected.tsv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    const std::vector<std::string> fields = tsv_fields(line);
    CorpusExpected& expected = all[fields[0]];
    expected.openable = std::atoi(fields[1].c_str());
    expected.pages = fields[2].empty() ? -1 : std::atoi(fields[2].c_str());
    expected.password = fields[4].substr(0, fields[4].find('|'));
  }
  return all;
}

struct CorpusFile {
  std::string path;
  std::string name;
  CorpusExpected expected;
};

/// The PDFs of the folder; none without one.
inline std::vector<CorpusFile> corpus_files() {
  std::vector<CorpusFile> files;
  const char* folder = std::getenv("SHEAF_CORPUS");
  if (folder == nullptr)
    return files;
  const std::map<std::string, CorpusExpected> expected = corpus_expectations(folder);
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (entry.path().extension() != ".pdf")
      continue;
    const auto found = expected.find(name);
    files.push_back({entry.path().string(), name, found != expected.end() ? found->second : CorpusExpected{}});
  }
  return files;
}
