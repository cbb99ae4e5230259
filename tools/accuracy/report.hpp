// How figures are shown: Markdown tables, pages that contain them, progress.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ozk::accuracy {

class Table {
  public:
    // A heading that starts with '>' makes its column right-aligned.
    explicit Table(std::vector<std::string> headings);
    void row(std::vector<std::string> cells);
    bool empty() const { return rows_.empty(); }
    // The table, its columns padded so that it also reads well as text.
    std::string text() const;

  private:
    std::vector<std::string> headings_;
    std::vector<bool> right_;
    std::vector<std::vector<std::string>> rows_;
};

// Replaces what stands between the lines "<!-- begin NAME -->" and "<!-- end NAME -->" of the file. Returns
// an error message, empty when all went well; the file is replaced whole or left as it was.
std::string update_page(const std::string& path, std::string_view name, std::string_view text);

// The processor, the compiler and the C library that figures were measured with, in one line.
std::string machine();

// A bar of the part done on standard error when that is a terminal; `what` is what is being done.
void show_progress(std::string_view what, double part);
void end_progress();

}  // namespace ozk::accuracy
