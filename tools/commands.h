// The commands of the tool. Each returns the exit code: 0 done and clean, 1 done with problems
// reported, 2 could not be done. Data go to standard output, messages to standard error.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

enum ExitCode : int { kExitClean = 0, kExitProblems = 1, kExitFailed = 2 };

/// How a document's password is given; at most one of the two.
struct PasswordOptions {
  std::string password;
  std::string password_file;  ///< "-" for standard input.
};

struct InfoOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_info(const InfoOptions& options);

struct ShowOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;  ///< 0: the trailer values.
  std::int32_t gen = 0;
};
int run_show(const ShowOptions& options);

struct StreamOptions {
  std::string file;
  PasswordOptions password;
  std::int32_t num = 0;
  bool raw = false;
  std::string output;  ///< Empty: standard output.
};
int run_stream(const StreamOptions& options);

struct PagesOptions {
  std::string file;
  PasswordOptions password;
  bool json = false;
};
int run_pages(const PagesOptions& options);

struct CheckOptions {
  std::vector<std::string> files;
  PasswordOptions password;
  bool json = false;
};
int run_check(const CheckOptions& options);
