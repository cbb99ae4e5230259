// One line to standard error, from any thread.
#pragma once

#include <string_view>

namespace ozk::core {

// Writes `line`, which ends in a newline, in one piece: lines of several threads do not mix. Keeps errno, so
// that an error may set errno first and print afterwards.
void write_line(std::string_view line);

}  // namespace ozk::core
