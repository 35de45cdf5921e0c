// All parts are started, then all are read until the last one has ended.
#include "batch/parts.h"

#include <poll.h>

#include <cstdio>
#include <memory>

#include "batch/worker.h"
#include "support/messages.h"

namespace sheaf::tool {

namespace {

using Workers = std::vector<std::unique_ptr<Worker>>;

// False when no part is under way any more.
bool wait(const Workers& workers) {
  std::vector<pollfd> handles;
  for (const auto& worker : workers) {
    for (const int handle : {worker->output(), worker->errors()}) {
      if (worker->is_busy() && handle >= 0)
        handles.push_back({handle, POLLIN, 0});
    }
  }
  if (!handles.empty())
    poll(handles.data(), handles.size(), -1);
  bool busy = false;
  for (const auto& worker : workers)
    busy = (worker->is_busy() && !worker->collect()) || busy;
  return busy;
}

}  // namespace

bool run_parts(const std::string& file, int count, const std::function<int(int part)>& run,
               std::vector<PartResult>& results) {
  Workers workers;
  for (int part = 0; part < count; ++part) {
    workers.push_back(std::make_unique<Worker>());
    if (!workers.back()->start(file, [&run, part](const std::string&) { return run(part); }, {})) {
      complain(input_name(file), "the system gives no process for a part of it; give fewer --jobs");
      return false;
    }
  }
  while (wait(workers)) {
  }
  bool whole = true;
  for (const auto& worker : workers) {
    std::fputs(worker->complaints().c_str(), stderr);
    if (!worker->trouble().empty())
      complain(input_name(file), worker->trouble());
    whole = whole && worker->trouble().empty();
    results.push_back({worker->printed(), worker->code()});
  }
  return whole;
}

}  // namespace sheaf::tool
