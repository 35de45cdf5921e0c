// Running other programs from tests: the tool itself, and the independent checkers.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/tool_command.h"

struct RunResult {
  int code = -1;
  std::string output;  ///< Standard output; standard error too when the command says so.
};

inline RunResult run_command(const std::string& command) {
  RunResult result;
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr)
    return result;
  std::array<char, 4096> block;
  for (std::size_t got = fread(block.data(), 1, block.size(), pipe); got != 0;
       got = fread(block.data(), 1, block.size(), pipe))
    result.output.append(block.data(), got);
  const int status = pclose(pipe);
  result.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

inline bool has_program(const std::string& name) {
  return run_command("command -v " + name + " 2>/dev/null").code == 0;
}

inline std::string read_file(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void write_file(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

/// A folder of a test's own, which goes with it.
class TestFolder {
public:
  TestFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "sheaf_test_XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~TestFolder() { std::filesystem::remove_all(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;
  std::string str() const { return path_.string(); }
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};
