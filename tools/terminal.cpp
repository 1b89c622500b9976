#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace tool {

std::size_t terminal_width() {
    constexpr std::size_t kUsual = 80;
    if (::isatty(STDOUT_FILENO) == 0) return 0;
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : kUsual;
}

bool errors_go_to_a_terminal() { return ::isatty(STDERR_FILENO) != 0; }

bool colour_wanted() {
    const char* refused = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) != 0 && !(refused && *refused) && kind && std::string_view(kind) != "dumb";
}

}  // namespace tool
