// A line on standard error that says how far long work has come.
#ifndef UVEK_TOOLS_COMMANDS_PROGRESS_H
#define UVEK_TOOLS_COMMANDS_PROGRESS_H

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace uvek::tool {

// Silent for the first second, and where standard error is no terminal.
class ProgressLine {
public:
    explicit ProgressLine(std::string what) : what_(std::move(what)) {}
    ~ProgressLine()
    {
        if (shown_ >= 0)
            std::fprintf(stderr, "\r\033[K");
    }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void operator()(double done)
    {
        const int percent = (int)(100 * done);
        if (!terminal_ || percent == shown_ || std::chrono::steady_clock::now() - begin_ < std::chrono::seconds(1))
            return;
        shown_ = percent;
        std::fprintf(stderr, "\r%s %d %%", what_.c_str(), percent);
        std::fflush(stderr);
    }

private:
    std::string what_;
    bool terminal_ = isatty(STDERR_FILENO) != 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    int shown_ = -1;
};

}  // namespace uvek::tool

#endif
