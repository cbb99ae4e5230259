// Numbers with their thousands grouped, as readers expect them in tables and charts, whatever the locale is.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

inline std::string grouped(double value, int decimals = 0) {
    std::string text = fmt::format("{:.{}f}", std::abs(value), decimals);
    const size_t whole = std::min(text.find('.'), text.size());
    for (size_t i = whole; i > 3; i -= 3) text.insert(i - 3, ",");
    return (value < 0 ? "-" : "") + text;
}
