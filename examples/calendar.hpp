// Quarters and months. A month is the number 12 year + 0 for January to 11 for December, so that months can
// be subtracted, interpolated and drawn.
#pragma once

#include <fmt/format.h>

#include <array>
#include <string>

namespace calendar {

struct Quarter {
    int year = 0;
    int number = 1;  // 1 to 4

    bool operator==(const Quarter&) const = default;
    Quarter operator+(int quarters) const {
        const int since_year_0 = 4 * year + number - 1 + quarters;
        return {since_year_0 / 4, since_year_0 % 4 + 1};
    }
};

// An average over a quarter says most about its middle month.
inline int middle_month(Quarter q) { return 12 * q.year + 3 * (q.number - 1) + 1; }

inline Quarter quarter_of(int month) { return {month / 12, month % 12 / 3 + 1}; }

inline std::string name(Quarter q) { return fmt::format("{}Q{}", q.year, q.number); }

inline std::string month_name(int month) {
    constexpr std::array kNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return fmt::format("{} {}", kNames[static_cast<size_t>(month % 12)], month / 12);
}

}  // namespace calendar
