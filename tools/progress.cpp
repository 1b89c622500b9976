#include "progress.h"

#include <fmt/format.h>

#include <cstdio>

#include "display_text.h"
#include "terminal.h"

namespace tool {

namespace {
constexpr std::chrono::milliseconds kPatience{500};
constexpr std::chrono::milliseconds kBetweenUpdates{100};
}  // namespace

Progress::Progress(const std::string& what, std::size_t steps, bool wanted)
    : what_(displayable(what)),
      steps_(steps),
      watched_(wanted && errors_go_to_a_terminal()),
      next_look_(std::chrono::steady_clock::now() + kPatience) {}

Progress::~Progress() {
    if (shown_) std::fputs("\r\x1b[K", stderr);
}

void Progress::look() {
    const auto now = std::chrono::steady_clock::now();
    if (now < next_look_) return;
    next_look_ = now + kBetweenUpdates;
    show_now();
}

void Progress::show_now() {
    if (!watched_) return;
    shown_ = true;
    const std::string share = steps_ == 0 ? "" : fmt::format(" {} %", done_ * 100 / steps_);
    std::fputs(fmt::format("\r\x1b[K{} ...{}", what_, share).c_str(), stderr);
}

}  // namespace tool
