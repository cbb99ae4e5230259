// Measures contenders beside each other in one process: pinned to one core, warmed up, in turns, medians. In
// turns, because a ratio is then hardly disturbed by what else the machine does and by its changing clock;
// that, the accuracy classes and tables of ratios are why this is a driver of its own rather than a general
// framework.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace ozk::bench {

struct Contender {
    std::string name;
    std::function<void()> run;
};

// What is compared: `work` units (elements, numbers, bytes ...) are done by one run of each contender.
struct Case {
    std::string name;  // such as "vml/Exp/d/HA": the filter is matched against it
    double work;
    std::vector<Contender> ours;  // none when the library does not have it yet, else one
    std::vector<Contender> peers;
};

struct Timing {
    std::string name;
    double nanoseconds;  // a unit of work, median
};

// In the order ours, peers.
std::vector<Timing> time(const Case& c);

// One measured text of the page docs/speed.md.
struct Section {
    std::string name;
    std::string text;
};

// Times every case and shows ours, the fastest peer, and the ratio of its time to ours: above 1 we are
// faster.
std::string comparison(const std::vector<Case>& cases, const std::string& unit);

// Cases whose name contains `filter`.
struct Family {
    std::string name;
    std::vector<std::string> (*list)();
    std::vector<Section> (*run)(const std::string& filter);
};

Family vml_family();

// Keeps the compiler from dropping a computation whose result is at p.
inline void keep(const void* p) {
    asm volatile("" : : "r"(p) : "memory");
}

}  // namespace ozk::bench
