#include "tools/accuracy/arguments.hpp"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <stdexcept>
#include <type_traits>

namespace ozk::accuracy {
namespace {

constexpr uint64_t kGolden = 0x9e3779b97f4a7c15;

// Uniform in [0, 1).
double unit(uint64_t random) { return static_cast<double>(random >> 11) * 0x1p-53; }

template <class T>
void with_neighbours(std::vector<T>& list, T x, int each_side) {
    constexpr T kInf = std::numeric_limits<T>::infinity();
    list.push_back(x);
    if (std::isnan(x)) return;
    for (T direction : {-kInf, kInf}) {
        T y = x;
        for (int i = 0; i < each_side; ++i) list.push_back(y = std::nextafter(y, direction));
    }
}

template <class T>
void special_numbers(std::vector<T>& list, int each_side) {
    using limits = std::numeric_limits<T>;
    for (T x :
         {T(0), limits::denorm_min(), limits::min(), T(0.5), T(1), T(2), limits::max(), limits::infinity()}) {
        with_neighbours(list, x, each_side);
        with_neighbours(list, -x, each_side);
    }
    list.push_back(limits::quiet_NaN());
}

template <class T>
std::vector<T> listed_arguments(const Oracle& oracle, const std::string& hard_cases_directory) {
    constexpr int kNeighbours = 32;
    constexpr double kMostSteps = 4096;
    std::vector<T> list;
    special_numbers(list, kNeighbours);
    for (double x : oracle.points) {
        with_neighbours(list, static_cast<T>(x), kNeighbours);
        with_neighbours(list, static_cast<T>(-x), kNeighbours);
    }
    if (oracle.step > 0) {
        const double first = std::ceil(oracle.usual.low / oracle.step),
                     last = std::floor(oracle.usual.high / oracle.step);
        const double stride = std::max(1., std::ceil((last - first) / kMostSteps));
        for (double k = first; k <= last; k += stride)
            with_neighbours(list, static_cast<T>(k * oracle.step), 1);
    }
    for (double x : hard_cases(hard_cases_directory, oracle.function)) list.push_back(static_cast<T>(x));
    return list;
}

}  // namespace

std::vector<double> hard_cases(const std::string& directory, std::string_view function) {
    std::string name(function);
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    const std::string path = directory + "/" + name + ".txt";
    std::ifstream file(path);
    std::vector<double> cases;
    for (std::string line; std::getline(file, line);) {
        line.resize(std::min(line.find('#'), line.size()));
        if (line.find_first_not_of(" \t\r") == std::string::npos) continue;
        char* end;
        cases.push_back(std::strtod(line.c_str(), &end));
        if (std::string_view(end).find_first_not_of(" \t\r") != std::string_view::npos)
            throw std::runtime_error(path + ": not a number: " + line);
    }
    return cases;
}

template <class T>
Arguments<T>::Arguments(const Oracle& oracle, int64_t samples, uint64_t seed,
                        const std::string& hard_cases_directory)
    : oracle_(&oracle), seed_(mix(seed + kGolden)) {
    using limits = std::numeric_limits<T>;
    constexpr int kSubnormals = limits::min_exponent - 2, kTop = limits::max_exponent - 1;
    const Interval d = oracle.domain;
    const double nearest = d.low > 0 ? d.low : d.high < 0 ? -d.high : 0;
    const double farthest = std::max(std::fabs(d.low), std::fabs(d.high));
    const int low = nearest == 0 ? kSubnormals : std::max(kSubnormals, std::ilogb(nearest));
    const int high = std::isinf(farthest) ? kTop : std::min(kTop, std::ilogb(farthest));
    const auto clip = [&](int e) { return std::clamp(e, low, high); };
    all_ = {low, high - low + 1};
    dense_ = {clip(oracle.dense_low), clip(oracle.dense_high) - clip(oracle.dense_low) + 1};
    if (takes_two_vectors(oracle.shape)) {
        special_numbers(listed_, 1);
        for (double x : {3., 1. / 3, 2. / 3, 10., -0.5, -3.}) listed_.push_back(static_cast<T>(x));
    } else {
        listed_ = listed_arguments<T>(oracle, hard_cases_directory);
    }
    random_ = samples / oracle.cost / (oracle.shape == Shape::kScalar ? kScalars : 1);
    const auto listed = static_cast<int64_t>(listed_.size());
    size_ = random_ + (takes_two_vectors(oracle.shape) ? listed * listed : listed);
}

template <class T>
Arguments<T> Arguments<T>::usual(const Oracle& oracle, int64_t samples, uint64_t seed) {
    Arguments some(oracle);
    some.usual_only_ = true;
    some.seed_ = mix(seed + kGolden);
    some.random_ = samples / oracle.cost / (oracle.shape == Shape::kScalar ? kScalars : 1);
    some.size_ = some.random_;
    return some;
}

template <class T>
Arguments<T> Arguments<T>::exhaustive(const Oracle& oracle) {
    if (sizeof(T) != 4 || (oracle.shape != Shape::kUnary && oracle.shape != Shape::kTwoResults))
        throw std::invalid_argument("an exhaustive run needs a function of one single-precision argument");
    Arguments all(oracle);
    all.every_number_ = true;
    all.size_ = int64_t{1} << 32;
    return all;
}

// Sample `index` of `count`: the binades take turns, and within a binade the samples are one to a stratum.
// Positive and negative numbers alternate where the domain has both.
template <class T>
T Arguments<T>::in_binades(Binades binades, int64_t index, int64_t count, uint64_t random) const {
    const Interval d = oracle_->domain;
    const int signs = d.low < 0 && d.high > 0 ? 2 : 1;
    const int64_t kinds = int64_t{binades.count} * signs, per_binade = count / kinds + 1;
    const int64_t kind = index % kinds, stratum = index / kinds;
    const int exponent = binades.first + static_cast<int>(kind / signs);
    const bool negative = signs == 2 ? kind % 2 == 1 : d.high <= 0;
    const double place = (static_cast<double>(stratum) + unit(random)) / static_cast<double>(per_binade);
    constexpr int kLowest =
        std::numeric_limits<T>::min_exponent - 1;  // below it: the subnormals, spread evenly
    const T magnitude = exponent < kLowest ? std::ldexp(static_cast<T>(place), kLowest)
                                           : std::ldexp(static_cast<T>(1 + place), exponent);
    return negative ? -magnitude : magnitude;
}

template <class T>
void Arguments<T>::one(int64_t index, T& a) const {
    const auto listed = static_cast<int64_t>(listed_.size());
    if (index < listed) {
        a = listed_[static_cast<size_t>(index)];
        return;
    }
    index -= listed;
    const uint64_t random = mix(seed_ + static_cast<uint64_t>(index) * kGolden);
    const int64_t dense = usual_only_ ? 0 : random_ / 2, all = usual_only_ ? 0 : random_ / 4;
    if (index < dense) {
        a = in_binades(dense_, index, dense, random);
    } else if (index < dense + all) {
        a = in_binades(all_, index - dense, all, random);
    } else {
        const Interval u = oracle_->usual;
        a = static_cast<T>(u.low + (u.high - u.low) * unit(random));
    }
}

template <class T>
void Arguments<T>::two(int64_t index, T& a, T& b) const {
    using limits = std::numeric_limits<T>;
    const auto first = static_cast<int64_t>(listed_.size());
    if (index < first * first) {
        a = listed_[static_cast<size_t>(index / first)];
        b = listed_[static_cast<size_t>(index % first)];
        return;
    }
    index -= first * first;
    const uint64_t random = mix(seed_ + static_cast<uint64_t>(index) * kGolden),
                   second = mix(random + kGolden);
    const Interval u = oracle_->usual, v = oracle_->usual_second;
    const int64_t third = usual_only_ ? 0 : random_ / 3;
    constexpr Binades kEveryBinade{limits::min_exponent - 2, limits::max_exponent - limits::min_exponent + 2};
    const T sign = second & 1 ? T(1) : T(-1);
    if (index < third) {
        a = in_binades(all_, index, third, random);
        const auto place = static_cast<int64_t>(second % static_cast<uint64_t>(third));
        b = in_binades(kEveryBinade, place, third, mix(second)) * sign;
    } else if (index < 2 * third && oracle_->pairing == Pairing::kNear) {
        a = in_binades(all_, index - third, third, random);
        const int shift = static_cast<int>((second >> 32) % 129) - 64;
        b = std::ldexp(static_cast<T>(1 + unit(mix(second))) * sign, std::ilogb(a == 0 ? T(1) : a) + shift);
    } else if (index < 2 * third && oracle_->pairing == Pairing::kPower) {
        // b over 2^-20 .. 2^20, a = 2^(t / b) for t over the exponents of the format.
        b = static_cast<T>(std::exp2(40 * unit(second) - 20)) * sign;
        const double lowest = limits::min_exponent - limits::digits - 1, highest = limits::max_exponent + 1;
        const double t = lowest + (highest - lowest) * unit(random);
        a = static_cast<T>(std::exp2(t / static_cast<double>(b)));
    } else {
        a = static_cast<T>(u.low + (u.high - u.low) * unit(random));
        b = static_cast<T>(v.low + (v.high - v.low) * unit(second));
    }
}

template <class T>
int64_t Arguments<T>::blocks() const {
    return (size_ + kBlock - 1) / kBlock * (oracle_->shape == Shape::kScalar ? kScalars : 1);
}

template <class T>
int Arguments<T>::fill(int64_t block, T* a, T* b) const {
    const bool scalar = oracle_->shape == Shape::kScalar;
    const int64_t begin = (scalar ? block / kScalars : block) * kBlock;
    const int n = static_cast<int>(std::min<int64_t>(kBlock, size_ - begin));
    for (int i = 0; i < n; ++i) {
        if constexpr (sizeof(T) == 4) {
            if (every_number_) {
                a[i] = std::bit_cast<float>(static_cast<uint32_t>(begin + i));
                continue;
            }
        }
        if (takes_two_vectors(oracle_->shape))
            two(begin + i, a[i], b[i]);
        else
            one(begin + i, a[i]);
    }
    if (scalar) {
        constexpr double kExponents[kScalars] = {0,      1,   2,    3,   -1, 0.5, -0.5, 1. / 3,
                                                 2. / 3, 1.5, -2.5, 0.1, 10, -20, 100,  1e-3};
        const int64_t which = block % kScalars;
        std::fill_n(b, n,
                    static_cast<T>(oracle_->pairing == Pairing::kOrder ? static_cast<double>(which)
                                                                       : kExponents[which]));
    }
    return n;
}

template class Arguments<float>;
template class Arguments<double>;

}  // namespace ozk::accuracy
