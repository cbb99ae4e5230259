// Speed of the radix sorts beside peers: std::sort, std::stable_sort, a hybrid of radix and comparison sorts
// (Boost.Sort spreadsort), and a vectorised quicksort (Highway) compiled for 128-bit vectors, all on one
// core. Prints a Markdown table: nanoseconds a key, medians, and the ratio of the fastest peer's time to ours
// (above 1 we are faster). Options are those of Google Benchmark.

#include <benchmark/benchmark.h>
#include <sched.h>

#include <algorithm>
#include <boost/sort/spreadsort/spreadsort.hpp>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#define HWY_DISABLE_PCLMUL_AES  // else the SSE4 target wants them too
#define HWY_COMPILE_ONLY_STATIC
#include <hwy/contrib/sort/vqsort-inl.h>

#include "ozk_primitives.h"

namespace {

static_assert(HWY_TARGET == HWY_SSE4);

template <class T>
struct Contender {
    const char* name;
    void (*sort)(T* data, T* work, int32_t n);
};

template <class T>
void vector_quicksort(T* data, T*, int32_t n) {
    namespace hn = hwy::HWY_NAMESPACE;
    using Ascending = hn::detail::SharedTraits<hn::detail::TraitsLane<hn::detail::OrderAscending<T>>>;
    hn::Sort(hn::SortTag<T>(), Ascending(), data, size_t(n), static_cast<T*>(nullptr));
}

template <class T, auto kSort>
std::vector<Contender<T>> contenders() {
    std::vector<Contender<T>> all{
        {"radix", [](T* data, T* work, int32_t n) { kSort(data, work, n); }},
        {"std::sort", [](T* data, T*, int32_t n) { std::sort(data, data + n); }},
        {"stable_sort", [](T* data, T*, int32_t n) { std::stable_sort(data, data + n); }},
    };
    if constexpr (sizeof(T) >= 4)
        all.push_back({"spreadsort",
                       [](T* data, T*, int32_t n) { boost::sort::spreadsort::spreadsort(data, data + n); }});
    if constexpr (sizeof(T) >= 2) all.push_back({"vqsort", vector_quicksort<T>});
    return all;
}

enum class Data { kRandom, kSorted, kReversed, kConstant };
const char* const kDataNames[] = {"random", "sorted", "reversed", "constant"};

// `arrays` arrays of n keys: uniform integers, standard normal floating-point values.
template <class T>
std::vector<T> make(Data data, size_t n, size_t arrays) {
    std::mt19937_64 random(n);
    std::normal_distribution<double> normal;
    std::vector<T> keys(n * arrays);
    for (T& key : keys) key = std::is_floating_point_v<T> ? T(normal(random)) : T(random());
    for (size_t a = 0; a < arrays; ++a) {
        const auto begin = keys.begin() + ptrdiff_t(a * n), end = begin + ptrdiff_t(n);
        if (data == Data::kConstant) std::fill(begin, end, *begin);
        if (data == Data::kSorted || data == Data::kReversed) std::sort(begin, end);
        if (data == Data::kReversed) std::reverse(begin, end);
    }
    return keys;
}

// Short arrays are sorted many at a time, all different, so that neither the clock nor learnt branches
// decide.
template <class T>
void run(benchmark::State& state, Data data, size_t n, void (*sort)(T*, T*, int32_t)) {
    const size_t arrays = std::max<size_t>(1, std::min<size_t>(200000 / n, 10000));
    const std::vector<T> keys = make<T>(data, n, arrays);
    std::vector<T> sorted(keys.size()), work(n);
    for (auto _ : state) {
        std::copy(keys.begin(), keys.end(), sorted.begin());
        const auto begin = std::chrono::steady_clock::now();
        for (size_t a = 0; a < arrays; ++a) sort(&sorted[a * n], work.data(), int32_t(n));
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        state.SetIterationTime(seconds.count() / double(keys.size()));
    }
}

template <class T, auto kSort>
void add(const std::string& type) {
    const auto add_case = [&](Data data, size_t n) {
        char length[16];
        std::snprintf(length, sizeof length, "%8zu", n);
        for (const Contender<T>& contender : contenders<T, kSort>())
            benchmark::RegisterBenchmark(
                (type + "/" + kDataNames[int(data)] + "/" + length + "/" + contender.name).c_str(),
                [=, sort = contender.sort](benchmark::State& state) { run<T>(state, data, n, sort); })
                ->UseManualTime()
                ->Iterations(n < 1000000 ? 3 : 1)
                ->Repetitions(11)
                ->ReportAggregatesOnly();
    };
    for (const size_t n : {1, 2, 3, 4, 6, 8, 12, 16, 24, 32, 48, 64, 100, 130, 200, 300, 500, 1000, 3000})
        add_case(Data::kRandom, n);
    for (const size_t n : {10000, 100000, 1000000, 10000000}) add_case(Data::kRandom, n);
    for (const Data data : {Data::kSorted, Data::kReversed, Data::kConstant})
        for (const size_t n : {10, 100, 10000, 1000000}) add_case(data, n);
}

class TableReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override {
        GetOutputStream()
            << "| type | data | length | radix | std::sort | stable_sort | spreadsort | vqsort | fastest "
               "peer / radix | std::sort / radix |\n|---|---|--:|--:|--:|--:|--:|--:|--:|--:|\n";
        return true;
    }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.aggregate_name != "median") continue;
            const std::string& name = run.run_name.function_name;
            const size_t split = name.rfind('/');
            rows_[name.substr(0, split)][name.substr(split + 1)] =
                run.real_accumulated_time / double(run.iterations) * 1e9;
        }
    }

    void Finalize() override {
        for (const auto& [name, times] : rows_) {
            std::string cells = name;
            std::replace(cells.begin(), cells.end(), '/', '|');
            double fastest = 1e99;
            char text[32];
            for (const char* contender : {"radix", "std::sort", "stable_sort", "spreadsort", "vqsort"}) {
                const auto time = times.find(contender);
                if (time != times.end() && time != times.find("radix"))
                    fastest = std::min(fastest, time->second);
                std::snprintf(text, sizeof text, time == times.end() ? "|" : "| %.2f ",
                              time == times.end() ? 0 : time->second);
                cells += text;
            }
            std::snprintf(text, sizeof text, "| %.2f | %.2f |", fastest / times.at("radix"),
                          times.at("std::sort") / times.at("radix"));
            GetOutputStream() << "|" << cells << text << "\n";
        }
    }

  private:
    std::map<std::string, std::map<std::string, double>> rows_;
};

void stay_on_this_core() {
    cpu_set_t core;
    CPU_ZERO(&core);
    CPU_SET(sched_getcpu(), &core);
    sched_setaffinity(0, sizeof core, &core);
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    stay_on_this_core();
    add<uint8_t, ozk_dft_mc3_qrvsSortRadixAscend_8u_I>("8u");
    add<uint16_t, ozk_dft_mc3_qrvsSortRadixAscend_16u_I>("16u");
    add<int32_t, ozk_dft_mc3_qrvsSortRadixAscend_32s_I>("32s");
    add<float, ozk_dft_mc3_qrvsSortRadixAscend_32f_I>("32f");
    add<double, ozk_dft_mc3_qrvsSortRadixAscend_64f_I>("64f");
    TableReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
}
