#include "tools/accuracy/report.hpp"

#include <fmt/format.h>
#include <gnu/libc-version.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace ozk::accuracy {

Table::Table(std::vector<std::string> headings) : headings_(std::move(headings)) {
    for (std::string& heading : headings_) {
        right_.push_back(heading.starts_with('>'));
        if (right_.back()) heading.erase(0, 1);
    }
}

void Table::row(std::vector<std::string> cells) {
    cells.resize(headings_.size());
    rows_.push_back(std::move(cells));
}

std::string Table::text() const {
    std::vector<size_t> widths;
    for (size_t c = 0; c < headings_.size(); ++c) {
        widths.push_back(std::max<size_t>(3, headings_[c].size()));
        for (const auto& row : rows_) widths[c] = std::max(widths[c], row[c].size());
    }
    std::string text;
    const auto line = [&](const std::vector<std::string>& cells) {
        for (size_t c = 0; c < cells.size(); ++c)
            text += right_[c] ? fmt::format("| {:>{}} ", cells[c], widths[c])
                              : fmt::format("| {:<{}} ", cells[c], widths[c]);
        text += "|\n";
    };
    line(headings_);
    for (size_t c = 0; c < widths.size(); ++c)
        text += fmt::format("|{:-<{}}{}", right_[c] ? "-" : ":", widths[c] + 1, right_[c] ? ":" : "-");
    text += "|\n";
    for (const auto& row : rows_) line(row);
    return text;
}

std::string update_page(const std::string& path, std::string_view name, std::string_view text) {
    const std::string begin = fmt::format("<!-- begin {} -->\n", name),
                      end = fmt::format("<!-- end {} -->", name);
    std::ifstream in(path);
    if (!in) return fmt::format("{}: cannot be read", path);
    const std::string page = (std::ostringstream() << in.rdbuf()).str();
    const size_t first = page.find(begin), last = page.find(end);
    if (first == std::string::npos || last == std::string::npos || last < first)
        return fmt::format("{}: no lines \"<!-- begin {} -->\" and \"<!-- end {} -->\" in this order", path,
                           name, name);
    const std::string draft = path + ".new";
    std::ofstream out(draft);
    out << page.substr(0, first + begin.size()) << '\n' << text << '\n' << page.substr(last);
    out.close();
    if (!out) return fmt::format("{}: cannot be written", draft);
    std::error_code error;
    std::filesystem::rename(draft, path, error);
    return error ? fmt::format("{}: {}", path, error.message()) : "";
}

std::string machine() {
    std::string processor = "unknown processor";
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (!line.starts_with("model name")) continue;
        processor = line.substr(line.find(':') + 2);
        break;
    }
    return fmt::format("{}, GCC {}, glibc {}", processor, __VERSION__, gnu_get_libc_version());
}

void show_progress(std::string_view what, double part) {
    static const bool terminal = isatty(STDERR_FILENO);
    static int shown = -1;
    const int percent = static_cast<int>(part * 100);
    if (!terminal || percent == shown) return;
    shown = percent;
    fmt::print(stderr, "\r{:<24} [{:<20}] {:3d}%", what, std::string(static_cast<size_t>(percent / 5), '#'),
               percent);
    std::fflush(stderr);
}

void end_progress() {
    if (isatty(STDERR_FILENO)) fmt::print(stderr, "\r{:60}\r", "");
}

}  // namespace ozk::accuracy
