// Tables in plain text: the first column flush left, the others flush right.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <vector>

class TextTable {
  public:
    explicit TextTable(std::vector<std::string> header) { add(std::move(header)); }

    // A row may be shorter than the header.
    void add(std::vector<std::string> cells) {
        widths_.resize(std::max(widths_.size(), cells.size()));
        for (size_t c = 0; c < cells.size(); ++c) widths_[c] = std::max(widths_[c], cells[c].size());
        rows_.push_back(std::move(cells));
    }

    std::string text() const {
        std::string text;
        for (size_t r = 0; r < rows_.size(); ++r) {
            for (size_t c = 0; c < rows_[r].size(); ++c)
                text += c == 0 ? fmt::format("  {:<{}}", rows_[r][c], widths_[c])
                               : fmt::format("  {:>{}}", rows_[r][c], widths_[c]);
            text += '\n';
            if (r == 0) {
                for (size_t width : widths_) text += fmt::format("  {:-<{}}", "", width);
                text += '\n';
            }
        }
        return text;
    }

  private:
    std::vector<std::vector<std::string>> rows_;
    std::vector<size_t> widths_;
};
