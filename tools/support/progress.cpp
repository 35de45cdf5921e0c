// At most a hundred lines on a terminal, ten elsewhere.
#include "support/progress.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "support/messages.h"

namespace sheaf::tool {

namespace {

constexpr std::int64_t kStepOfUnknown = 8;
constexpr const char* kEraseLine = "\r\033[K";

bool has_cursor() {
  const char* const kind = std::getenv("TERM");
  return isatty(STDERR_FILENO) != 0 && kind != nullptr && kind[0] != '\0' && std::string_view(kind) != "dumb";
}

}  // namespace

Progress::Progress(const char* what, std::int64_t total)
    : what_(what), total_(total), wanted_(false), on_terminal_(has_cursor()) {
  const ProgressWhen when = manner().progress;
  wanted_ = !manner().quiet && (when == ProgressWhen::kAlways || (when == ProgressWhen::kAuto && on_terminal_));
  const std::int64_t parts = on_terminal_ ? 100 : 10;
  step_ = total > 0 ? (total + parts - 1) / parts : kStepOfUnknown;
  next_ = step_;
}

Progress::~Progress() {
  if (has_line_)
    std::fputs(kEraseLine, stderr);
}

void Progress::show(std::int64_t done) {
  if (!wanted_ || done < next_)
    return;
  next_ = done + step_;
  char text[96];
  if (total_ > 0)
    std::snprintf(text, sizeof(text), "%lld of %lld %s", static_cast<long long>(done), static_cast<long long>(total_),
                  what_);
  else
    std::snprintf(text, sizeof(text), "%lld %s", static_cast<long long>(done), what_);
  if (!on_terminal_) {
    std::fprintf(stderr, "%s\n", text);
    return;
  }
  std::fprintf(stderr, "\r%s", text);
  has_line_ = true;
}

}  // namespace sheaf::tool
