// Vector math: every function of the catalogue and level against the peers of its accuracy class, 1,024
// elements in the first-level cache, arguments uniform in the function's usual interval.

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <thread>

#include "bench/driver.hpp"
#include "bench/peers.hpp"
#include "tools/accuracy/kernels.hpp"
#include "tools/accuracy/report.hpp"

namespace ozk::bench {
namespace {

constexpr int kElements = 1024;

const std::vector<Peer>& peers() {
    static const std::vector<Peer> all = [] {
        std::vector<Peer> rows;
        for (const auto& library :
             {sleef_peers(), libmvec_peers(), highway_peers(), xsimd_peers(), eigen_peers(), libm_peers()})
            rows.insert(rows.end(), library.begin(), library.end());
        return rows;
    }();
    return all;
}

template <class T>
std::vector<accuracy::Subject<T>> peers_of(std::string_view function) {
    std::vector<accuracy::Subject<T>> found;
    for (const Peer& peer : peers()) {
        Routine<T> routine;
        if constexpr (sizeof(T) == 4)
            routine = peer.single_routine;
        else
            routine = peer.double_routine;
        if (peer.function == function && routine) found.push_back({std::string(peer.library), routine});
    }
    return found;
}

template <class T>
std::string case_name(const accuracy::Oracle& oracle, const std::string& level) {
    return fmt::format("vml/{}/{}/{}", oracle.function, sizeof(T) == 4 ? "s" : "d", level);
}

// The same arguments for every contender.
template <class T>
struct Vectors {
    alignas(64) T a[kElements], b[kElements];
    explicit Vectors(const accuracy::Oracle& oracle) {
        constexpr uint64_t kStep = 0x9e3779b97f4a7c15;
        const auto uniform = [](accuracy::Interval u, uint64_t i) {
            return static_cast<T>(u.low + (u.high - u.low) *
                                              (static_cast<double>(accuracy::mix(i * kStep) >> 11) + 0.5) *
                                              0x1p-53);
        };
        for (int i = 0; i < kElements; ++i) {
            a[i] = uniform(oracle.usual, static_cast<uint64_t>(i) + 1);
            b[i] = uniform(oracle.usual_second, static_cast<uint64_t>(i + kElements) + 1);
        }
    }
};

template <class T>
Contender contender(const accuracy::Subject<T>& subject, const std::shared_ptr<const Vectors<T>>& in) {
    struct Results {
        alignas(64) T r[kElements], r2[kElements];
    };
    return {subject.name, [call = subject.call, in, out = std::make_shared<Results>()] {
                call(kElements, in->a, in->b, out->r, out->r2);
                keep(out->r);
            }};
}

// A peer's largest error in ulp over the usual interval alone, which decides its class, and over the whole
// domain.
struct Quality {
    double usual, everywhere;
};

template <class T>
std::vector<Quality> qualities(const accuracy::Oracle& oracle,
                               const std::vector<accuracy::Subject<T>>& subjects) {
    constexpr int64_t kSamples = 200000;
    constexpr uint64_t kSeed = 1;
    const int threads = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const auto usual = accuracy::measure(oracle, accuracy::Arguments<T>::usual(oracle, kSamples, kSeed),
                                         subjects, threads, {});
    const auto everywhere = accuracy::measure(
        oracle, accuracy::Arguments<T>(oracle, kSamples, kSeed, OZK_HARD_CASES), subjects, threads, {});
    std::vector<Quality> found;
    for (size_t i = 0; i < subjects.size(); ++i)
        found.push_back({usual[i].worst.ulp, everywhere[i].worst.ulp});
    return found;
}

// The best level whose limit the error keeps; none: "-".
template <class T>
std::string class_of(double ulp) {
    for (const char* level : {"HA", "LA", "EP"})
        if (ulp <= accuracy::limit_of<T>(level)) return level;
    return "-";
}

std::string shown_ulp(double ulp) {
    return ulp < 1e4 ? fmt::format("{:.3f}", ulp) : fmt::format("{:.2e}", ulp);
}

struct Tables {
    std::vector<Case> cases;
    accuracy::Table peers{
        {"function", "type", "peer", ">ns/element", ">ulp, usual", ">ulp, everywhere", "class"}};
};

template <class T>
void add_function(const accuracy::Oracle& oracle, const std::string& filter, Tables& tables) {
    std::vector<std::string> wanted;
    for (const char* level : accuracy::kLevels)
        if (case_name<T>(oracle, level).find(filter) != std::string::npos) wanted.emplace_back(level);
    const auto rivals = peers_of<T>(oracle.function);
    const auto kernels = accuracy::kernels<T>(oracle);
    if (wanted.empty() || (rivals.empty() && kernels.empty())) return;
    accuracy::show_progress(fmt::format("{}: accuracy of peers", oracle.function), 0);
    const auto quality = qualities(oracle, rivals);
    const auto in = std::make_shared<const Vectors<T>>(oracle);
    Case alone{case_name<T>(oracle, ""), kElements, {}, {}};
    for (const auto& rival : rivals) alone.peers.push_back(contender(rival, in));
    const auto timings = time(alone);
    for (size_t i = 0; i < rivals.size(); ++i)
        tables.peers.row({std::string(oracle.function), sizeof(T) == 4 ? "single" : "double", rivals[i].name,
                          fmt::format("{:.2f}", timings[i].nanoseconds), shown_ulp(quality[i].usual),
                          shown_ulp(quality[i].everywhere), class_of<T>(quality[i].usual)});
    for (const auto& kernel : kernels) {
        if (std::find(wanted.begin(), wanted.end(), kernel.name) == wanted.end()) continue;
        Case c{case_name<T>(oracle, kernel.name), kElements, {contender(kernel, in)}, {}};
        for (size_t i = 0; i < rivals.size(); ++i)
            if (quality[i].usual <= accuracy::limit_of<T>(kernel.name))
                c.peers.push_back(contender(rivals[i], in));
        tables.cases.push_back(std::move(c));
    }
}

std::vector<std::string> list() {
    std::vector<std::string> names;
    for (const auto& oracle : accuracy::oracles())
        for (const char* level : accuracy::kLevels) {
            if (!accuracy::kernels<double>(oracle).empty() || !peers_of<double>(oracle.function).empty())
                names.push_back(case_name<double>(oracle, level)),
                    names.push_back(case_name<float>(oracle, level));
        }
    return names;
}

std::vector<Section> run(const std::string& filter) {
    Tables tables;
    for (const auto& oracle : accuracy::oracles()) {
        add_function<double>(oracle, filter, tables);
        add_function<float>(oracle, filter, tables);
    }
    accuracy::end_progress();
    return {{"vml", comparison(tables.cases, "element")}, {"vml-peers", tables.peers.text()}};
}

}  // namespace

Family vml_family() {
    return {"vml", list, run};
}

}  // namespace ozk::bench
