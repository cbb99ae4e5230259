// Tables of numbers in CSV files: a header of column names, then rows of as many finite numbers. Nothing is
// guessed or skipped: every departure is an error that names the file, the line, what is wrong and what was
// expected.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace csv {

struct Error : std::runtime_error {
    using runtime_error::runtime_error;
};

// A table by columns. The header is line 1 and no line is skipped, so row r stands in line r + 2.
class Table {
  public:
    Table(std::string file, std::vector<std::string> names)
        : file_(std::move(file)), names_(std::move(names)), columns_(names_.size()) {}

    size_t rows() const { return columns_.empty() ? 0 : columns_.front().size(); }
    const std::vector<double>& operator[](std::string_view name) const { return columns_.at(index(name)); }
    void append(const std::vector<double>& row) {
        for (size_t c = 0; c < columns_.size(); ++c) columns_[c].push_back(row[c]);
    }

    // Requires the columns, and at least `least` rows.
    void require(const std::vector<std::string_view>& names, size_t least) const {
        for (std::string_view name : names)
            if (index(name) == names_.size()) fail(1, fmt::format("there is no column \"{}\"", name));
        if (rows() < least)
            fail(rows() + 1,
                 fmt::format("the file ends after {} rows, at least {} are needed", rows(), least));
    }

    // For what a caller finds wrong with the values of a row.
    [[noreturn]] void fail_at_row(size_t row, const std::string& what) const { fail(row + 2, what); }

  private:
    size_t index(std::string_view name) const {
        return static_cast<size_t>(std::find(names_.begin(), names_.end(), name) - names_.begin());
    }
    [[noreturn]] void fail(size_t line, const std::string& what) const {
        throw Error(fmt::format("{}:{}: {}", file_, line, what));
    }

    std::string file_;
    std::vector<std::string> names_;
    std::vector<std::vector<double>> columns_;
};

namespace detail {

// Far beyond any table of economic series; keeps a device or a wrong file from filling the memory.
constexpr size_t kLargestFile = size_t{16} << 20;
constexpr size_t kLongestQuote = 24;

// A field as it may be shown in a message: cut, and without characters that a terminal would obey.
inline std::string shown(std::string_view field) {
    std::string text;
    for (unsigned char c : field.substr(0, kLongestQuote))
        text += c >= ' ' && c < 0x7f ? std::string(1, static_cast<char>(c)) : fmt::format("\\x{:02x}", c);
    return '"' + text + (field.size() > kLongestQuote ? "...\"" : "\"");
}

inline std::string read_file(const std::string& file) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(file.c_str(), "rb"), std::fclose);
    if (!in) throw Error(fmt::format("{}: cannot be read: {}", file, std::strerror(errno)));
    std::string text;
    char block[65536];
    for (size_t got; (got = std::fread(block, 1, sizeof block, in.get())) > 0;) {
        text.append(block, got);
        if (text.size() > kLargestFile)
            throw Error(
                fmt::format("{}: is larger than {} MiB, a table was expected", file, kLargestFile >> 20));
    }
    if (std::ferror(in.get())) throw Error(fmt::format("{}: cannot be read: {}", file, std::strerror(errno)));
    return text;
}

// Cuts one field off the front of a line, without its quotes (RFC 4180; a field holds no line break). `more`
// tells whether a comma followed.
inline std::string take_field(std::string_view& line, bool& more) {
    std::string field;
    if (line.starts_with('"')) {
        for (line.remove_prefix(1);; line.remove_prefix(1)) {
            if (line.empty()) throw Error("a quote is not closed");
            if (line.front() == '"') {
                line.remove_prefix(1);
                if (!line.starts_with('"')) break;
            }
            field += line.front();
        }
        if (!line.empty() && line.front() != ',')
            throw Error(
                fmt::format("{} follows a closed quote, a comma was expected", shown(line.substr(0, 1))));
    } else {
        field = line.substr(0, line.find(','));
        if (field.find('"') != field.npos)
            throw Error(
                fmt::format("there is a quote inside of {}, quotes enclose whole fields", shown(field)));
        line.remove_prefix(field.size());
    }
    more = !line.empty();
    if (more) line.remove_prefix(1);
    return field;
}

inline std::vector<std::string> take_header(std::string_view line) {
    std::vector<std::string> names;
    for (bool more = true; more;) {
        names.push_back(take_field(line, more));
        if (names.back().empty()) throw Error(fmt::format("the name of column {} is empty", names.size()));
    }
    auto sorted = names;
    std::sort(sorted.begin(), sorted.end());
    if (const auto twice = std::adjacent_find(sorted.begin(), sorted.end()); twice != sorted.end())
        throw Error(fmt::format("there are two columns {}", shown(*twice)));
    return names;
}

inline double number(std::string_view field) {
    double value = 0;
    const auto [end, error] = std::from_chars(field.data(), field.data() + field.size(), value);
    if (error == std::errc::result_out_of_range)
        throw Error(shown(field) + " is beyond the range of a double");
    if (error != std::errc{} || end != field.data() + field.size() || !std::isfinite(value))
        throw Error(shown(field) + " is not a number");
    return value;
}

inline void take_row(std::string_view line, const std::vector<std::string>& names, std::vector<double>& row) {
    row.clear();
    if (line.empty()) throw Error(fmt::format("the line is empty, {} numbers were expected", names.size()));
    size_t fields = 0;
    for (bool more = true; more; ++fields) {
        const std::string field = take_field(line, more);
        if (fields >= names.size()) continue;  // counted for the message below
        try {
            if (field.empty()) throw Error("the field is empty");
            row.push_back(number(field));
        } catch (const Error& error) {
            throw Error(
                fmt::format("column {}: {}, a number was expected", shown(names[fields]), error.what()));
        }
    }
    if (fields != names.size())
        throw Error(fmt::format("the row has {} fields, the header has {}", fields, names.size()));
}

}  // namespace detail

// Reads a file with LF or CRLF line ends. Throws Error with one line that begins "file:line: ", or "file: "
// where the file as a whole cannot be read.
inline Table read(const std::string& file) {
    const std::string text = detail::read_file(file);
    std::string_view rest = text;
    size_t line_number = 0;
    const auto take_line = [&] {
        ++line_number;
        std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (line.ends_with('\r')) line.remove_suffix(1);
        return line;
    };
    try {
        if (text.empty())
            throw Error(fmt::format("{}:1: the file is empty, column names were expected", file));
        const std::vector<std::string> names = detail::take_header(take_line());
        Table table(file, names);
        std::vector<double> row;
        while (!rest.empty()) {
            detail::take_row(take_line(), names, row);
            table.append(row);
        }
        return table;
    } catch (const Error& error) {
        if (line_number == 0) throw;
        throw Error(fmt::format("{}:{}: {}", file, line_number, error.what()));
    }
}

}  // namespace csv
