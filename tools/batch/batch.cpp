// Keeps as many workers busy as there are jobs.
#include "batch/batch.h"

#include <poll.h>

#include <algorithm>
#include <cstdio>
#include <memory>

#include "batch/file_queue.h"
#include "support/command_line.h"
#include "support/jobs.h"
#include "support/json_values.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

constexpr int kTick = 50;  // milliseconds between two looks at the clock

bool needs_processes(const BatchOptions& batch) {
  return !batch.list.empty() || !batch.done.empty() || batch.jobs > 1 || batch.limits.seconds > 0 ||
         batch.limits.memory != 0 || std::any_of(batch.files.begin(), batch.files.end(), is_folder);
}

std::string without_line_end(std::string text) {
  while (!text.empty() && text.back() == '\n')
    text.pop_back();
  return text;
}

class Pool {
public:
  Pool(const BatchOptions& batch, bool json, const FileRun& one) : batch_(batch), json_(json), one_(one) {
    for (int i = 0; i < batch.jobs; ++i)
      workers_.push_back(std::make_unique<Worker>());
  }

  int run(FileQueue& queue) {
    bool more = true;
    for (;;) {
      for (const auto& worker : workers_) {
        std::string file;
        if (more && !worker->is_busy() && (more = queue.next(file)) && !worker->start(file, one_, batch_.limits)) {
          complain(file, "the system gives no process for it; give fewer --jobs");
          return kExitFailed;
        }
      }
      // Without a reader nothing more is worth looking at.
      if (!wait() || std::ferror(stdout) != 0)
        return worst_;
    }
  }

private:
  // Until something is printed or a moment is over. False when no worker is busy.
  bool wait() {
    std::vector<pollfd> handles;
    for (const auto& worker : workers_) {
      for (const int handle : {worker->output(), worker->errors()}) {
        if (worker->is_busy() && handle >= 0)
          handles.push_back({handle, POLLIN, 0});
      }
    }
    const auto is_busy = [](const auto& worker) { return worker->is_busy(); };
    if (std::none_of(workers_.begin(), workers_.end(), is_busy))
      return false;
    poll(handles.data(), handles.size(), kTick);
    for (const auto& worker : workers_) {
      worker->keep_time();
      if (worker->is_busy() && worker->collect())
        finish(*worker);
    }
    return true;
  }

  void finish(const Worker& worker) {
    std::fputs(worker.complaints().c_str(), stderr);
    const std::string& trouble = worker.trouble();
    if (!trouble.empty())
      complain(input_name(worker.file()), trouble);
    if (trouble.empty())
      std::fputs(worker.printed().c_str(), stdout);
    if (json_ && (!trouble.empty() || worker.printed().empty())) {
      JsonWriter line;
      begin_report(line, worker.file());
      line.key("error").text(trouble.empty() ? without_line_end(worker.complaints()) : trouble);
      line.key("code").number(worker.code()).end_object();
      std::printf("%s\n", line.str().c_str());
    }
    std::fflush(stdout);  // who takes up the run later needs every line
    worst_ = std::max(worst_, worker.code());
  }

  const BatchOptions& batch_;
  const bool json_;
  const FileRun& one_;
  std::vector<std::unique_ptr<Worker>> workers_;
  int worst_ = kExitClean;
};

}  // namespace

void add_batch(Command& command, BatchOptions& batch, const char* jobs) {
  command.add_option("FILE", batch.files, "The documents, or folders of them");
  command.add_option("--files-from", batch.list, "A file with a name on each line, - for standard input");
  command.add_option("--jobs", batch.jobs, jobs)->check(Range{1, kMostJobs});
  command.add_option("--limit-time", batch.limits.seconds, "The most seconds for a file")->check(Range{0.0, 1e6});
  command.add_size("--limit-memory", batch.limits.memory, {1U << 20, UINT64_MAX / 2},
                   "The most memory for a file, such as 256MiB");
  command.add_option("--skip-done", batch.done, "Leave out the files that this output of an earlier --json lists");
}

bool is_many(const BatchOptions& batch) {
  return batch.files.size() > 1 || needs_processes(batch);
}

int run_batch(const BatchOptions& batch, bool json, const FileRun& one) {
  if (batch.files.empty() && batch.list.empty()) {
    complain("FILE", "is missing; name documents, a folder, or a list with --files-from");
    return kExitFailed;
  }
  if (!needs_processes(batch)) {
    int worst = kExitClean;
    for (const std::string& file : batch.files)
      worst = std::max(worst, one(file));
    return worst;
  }
  FileQueue queue;
  if (!queue.skip(batch.done) || !queue.open(batch.files, batch.list))
    return kExitFailed;
  return Pool(batch, json, one).run(queue);
}

}  // namespace sheaf::tool
