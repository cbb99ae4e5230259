// Numbers with their thousands grouped, as readers expect them in tables and charts, whatever the locale is.
#pragma once

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>

inline std::string grouped(double value, int decimals = 0) {
    const std::string digits = fmt::format("{:.{}f}", std::abs(value), decimals);
    const size_t whole = std::min(digits.find('.'), digits.size());
    std::string text(value < 0 ? 1 : 0, '-');
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && i < whole && (whole - i) % 3 == 0) text += ',';
        text += digits[i];
    }
    return text;
}
