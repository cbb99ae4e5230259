// Measures contenders beside each other in one process: pinned to one core, warmed up, in turns, medians. In
// turns, because a ratio is then hardly disturbed by what else the machine does and by its changing clock;
// that, the accuracy classes and tables of ratios are why this is a driver of its own rather than a general
// framework.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tools/accuracy/kernels.hpp"

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

// The cases whose name contains `filter`.
std::vector<Case> matching(std::vector<Case> cases, const std::string& filter, bool planned);

// Cases that the library lacks yet are left out unless `planned`.
struct Family {
    std::string name;
    std::vector<std::string> (*list)(bool planned);
    std::vector<Section> (*run)(const std::string& filter, bool planned);
};

Family vml_family();
Family complex_family();
Family random_family();
Family stats_family();
Family splines_family();
Family sort_family();
Family fill_family();

// The list of a family whose cases are cheap to make.
template <std::vector<Case> (*kCases)()>
std::vector<std::string> names_of(bool planned) {
    std::vector<std::string> names;
    for (const Case& c : kCases())
        if (planned || !c.ours.empty()) names.push_back(c.name);
    return names;
}

// What the kernel library exports under this name, typed as its header declares it; null when it has no such
// name.
template <class F>
F* kernel(const char* name) {
    return reinterpret_cast<F*>(accuracy::exported(name));
}

// Keeps the compiler from dropping a computation whose result is at p.
inline void keep(const void* p) { asm volatile("" : : "r"(p) : "memory"); }

}  // namespace ozk::bench
