// A command over many files: what a service runs on each of its machines.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "batch/worker.h"

namespace sheaf::tool {

class Command;

struct BatchOptions {
  std::vector<std::string> files;  ///< Files and folders.
  std::string list;                ///< A file of names, "-" for standard input.
  std::string done;                ///< The lines of JSON of an earlier run.
  int jobs = 1;                    ///< Processes at a time.
  WorkerLimits limits;
};

/// Adds FILE..., --files-from, --jobs (which `jobs` describes), --limit-time, --limit-memory and --skip-done.
void add_batch(Command& command, BatchOptions& batch, const char* jobs = "Files at a time");

/// Whether there can be more than one file, so that what is printed has to name each.
bool is_many(const BatchOptions& batch);

/// Runs `one` for each file and gives the worst of the codes. Files that are only named are looked at in this process,
/// one after the other. With a folder, a list, jobs or limits each has a process of its own, and its output comes whole
/// as soon as it is done; with `json` a file of which nothing could be said has a line too, with the members "error"
/// and "code".
int run_batch(const BatchOptions& batch, bool json, const FileRun& one);

}  // namespace sheaf::tool
