#include "bench/driver.hpp"

#include <fmt/format.h>
#include <sched.h>

#include <algorithm>
#include <cmath>
#include <ctime>

#include "tools/accuracy/report.hpp"

namespace ozk::bench {
namespace {

// The thread's own time: what other programs take from the core is not counted.
double now() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

// Keeps the calling thread on the core where it is, for as long as this lives.
class Pinned {
  public:
    Pinned() {
        sched_getaffinity(0, sizeof before_, &before_);
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(sched_getcpu(), &one);
        sched_setaffinity(0, sizeof one, &one);
    }
    ~Pinned() { sched_setaffinity(0, sizeof before_, &before_); }
    Pinned(const Pinned&) = delete;
    Pinned& operator=(const Pinned&) = delete;

  private:
    cpu_set_t before_;
};

double seconds(const std::function<void()>& run, int64_t times) {
    const double start = now();
    for (int64_t i = 0; i < times; ++i) run();
    return now() - start;
}

double median(std::vector<double>& v) {
    const auto middle = v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2);
    std::nth_element(v.begin(), middle, v.end());
    return *middle;
}

std::string shown(double nanoseconds) {
    return fmt::format("{:.{}f}", nanoseconds, nanoseconds < 100 ? 2 : 0);
}

}  // namespace

std::vector<Timing> time(const Case& c) {
    // A sample is long against the clock's resolution and short against the scheduler's time slices, so that
    // an interruption spoils few of them.
    constexpr double kSample = 50e-6, kWarmUp = 2e-3, kBudget = 30e-3;
    constexpr int kFewest = 5, kMost = 301;
    const Pinned pinned;
    std::vector<const Contender*> all;
    for (const Contender& x : c.ours) all.push_back(&x);
    for (const Contender& x : c.peers) all.push_back(&x);
    std::vector<int64_t> times;
    std::vector<std::vector<double>> samples(all.size());
    double slowest = 0;
    for (const Contender* x : all) {
        double once = seconds(x->run, 1);  // the least of them: an interrupted run says nothing
        for (double spent = once; spent < kWarmUp;) {
            const double next = seconds(x->run, 1);
            spent += next;
            once = std::min(once, next);
        }
        times.push_back(std::max<int64_t>(1, std::llround(kSample / once)));
        slowest = std::max(slowest, once * static_cast<double>(times.back()));
    }
    const int turns = std::clamp(static_cast<int>(kBudget / slowest), kFewest, kMost);
    for (int turn = 0; turn < turns; ++turn)
        for (size_t i = 0; i < all.size(); ++i)
            samples[i].push_back(seconds(all[i]->run, times[i]) / static_cast<double>(times[i]));
    std::vector<Timing> timings;
    for (size_t i = 0; i < all.size(); ++i)
        timings.push_back({all[i]->name, median(samples[i]) * 1e9 / c.work});
    return timings;
}

std::string comparison(const std::vector<Case>& cases, const std::string& unit) {
    accuracy::Table table(
        {"case", ">ours, ns/" + unit, "fastest peer", ">its ns/" + unit, ">ratio", "other peers"});
    for (size_t i = 0; i < cases.size(); ++i) {
        accuracy::show_progress(cases[i].name, static_cast<double>(i) / static_cast<double>(cases.size()));
        std::vector<Timing> timings = time(cases[i]);
        const bool have_ours = !cases[i].ours.empty();
        const double ours = have_ours ? timings[0].nanoseconds : 0;
        if (have_ours) timings.erase(timings.begin());
        std::sort(timings.begin(), timings.end(),
                  [](auto& x, auto& y) { return x.nanoseconds < y.nanoseconds; });
        std::string others;
        for (size_t k = 1; k < timings.size(); ++k)
            others +=
                fmt::format("{}{} {}", k > 1 ? ", " : "", timings[k].name, shown(timings[k].nanoseconds));
        table.row({cases[i].name, have_ours ? shown(ours) : "-", timings.empty() ? "-" : timings[0].name,
                   timings.empty() ? "-" : shown(timings[0].nanoseconds),
                   timings.empty() || !have_ours ? "-" : fmt::format("{:.2f}", timings[0].nanoseconds / ours),
                   others});
    }
    accuracy::end_progress();
    return table.text();
}

std::vector<Case> matching(std::vector<Case> cases, const std::string& filter, bool planned) {
    std::erase_if(cases, [&](const Case& c) {
        return c.name.find(filter) == std::string::npos || (c.ours.empty() && !planned);
    });
    return cases;
}

}  // namespace ozk::bench
