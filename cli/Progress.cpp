// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include "Progress.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>

namespace velmar_cli {

namespace {

// Without the last column, in which some terminals begin a new line.
size_t width() {
    winsize size = {};
    const bool isKnown = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return std::min<size_t>(isKnown ? size.ws_col : 80, 80) - 1;
}

}  // namespace

Progress::Progress()
    : _isTerminal(isatty(STDERR_FILENO) == 1), _next(Clock::now() + std::chrono::seconds(2)) {}

Progress::~Progress() {
    if (_isShown) {
        clear();
    }
}

void Progress::clear() {
    if (isatty(STDERR_FILENO) == 1) {
        fmt::print(stderr, "{:{}}\r", "", width());
    }
}

void Progress::show(size_t done, size_t all, const std::string& what, const std::string& name) {
    const Clock::time_point now = Clock::now();
    if (!_isTerminal || now < _next) {
        return;
    }
    _next = now + std::chrono::milliseconds(100);
    _isShown = true;
    std::string text = fmt::format("{} of {} {}: {}", done, all, what, name);
    // A column each, whatever a server calls its classes.
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c > 0x7E; }, '?');
    // Back at the line's begin, so that what another process says overwrites it.
    fmt::print(stderr, "{:<{}.{}}\r", text, width(), width());
    fflush(stderr);
}

}  // namespace velmar_cli
