// Progress of long work on standard error: a bar that is redrawn on a terminal, a line for each quarter of
// the work elsewhere, so that a log stays readable.
#pragma once

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>

class Progress {
  public:
    Progress(std::string what, int64_t total) : what_(std::move(what)), total_(std::max<int64_t>(total, 1)) {
        draw();
    }
    ~Progress() {
        if (terminal_) fmt::print(stderr, "\n");
    }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Any thread.
    void advance(int64_t amount) {
        const std::lock_guard lock(mutex_);
        done_ = std::min(done_ + amount, total_);
        draw();
    }

  private:
    static constexpr int kWidth = 40;

    void draw() {
        const int steps = terminal_ ? 100 : 4;
        const int step = static_cast<int>(done_ * steps / total_);
        if (step == drawn_) return;
        drawn_ = step;
        const int percent = step * (100 / steps);
        if (terminal_)
            fmt::print(stderr, "\r{} [{:<{}}] {:3}%", what_, std::string(kWidth * percent / 100, '='), kWidth,
                       percent);
        else if (step > 0)
            fmt::print(stderr, "{}: {}%\n", what_, percent);
        std::fflush(stderr);
    }

    std::string what_;
    int64_t total_, done_ = 0;
    int drawn_ = -1;
    bool terminal_ = isatty(STDERR_FILENO) != 0;
    std::mutex mutex_;
};
