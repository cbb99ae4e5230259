// Copy, zero and set beside the C library's block operations, which choose their instructions by the processor and are
// not held to 128 bits.

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

#include "bench/driver.hpp"
#include "ozk_primitives.h"

namespace ozk::bench {
namespace {

// Arrays from one block store to far beyond the caches, in bytes.
constexpr size_t kSizes[] = {16, 64, 256, 1024, 4096, 32768, 1048576, 67108864};

// Each run does enough calls that the clock's own cost vanishes.
size_t calls_of(size_t bytes) { return std::clamp<size_t>((size_t(1) << 20) / bytes, 1, 16384); }

struct Arrays {
    std::vector<char> from, to;
    explicit Arrays(size_t bytes) : from(bytes, 1), to(bytes) {}
};

template <class F>
Contender contender(const char* name, size_t bytes, const std::shared_ptr<std::unique_ptr<Arrays>>& arrays,
                    F&& call) {
    return {name, [=] {
                // Made by the first contender that runs: the list of names needs none.
                if (!*arrays) *arrays = std::make_unique<Arrays>(bytes);
                for (size_t i = 0; i < calls_of(bytes); ++i) {
                    call((*arrays)->from.data(), (*arrays)->to.data());
                    keep((*arrays)->to.data());
                }
            }};
}

template <class T>
Case set_case(const char* type, T value, size_t bytes) {
    const auto arrays = std::make_shared<std::unique_ptr<Arrays>>();
    const auto length = static_cast<int32_t>(bytes / sizeof(T));
    Case c{fmt::format("fill/set {}/{} bytes", type, bytes), static_cast<double>(calls_of(bytes)), {}, {}};
    const std::string name = fmt::format("ozk_dft_mc3_qrvsSet_{}", type);
    if (auto* const ours = kernel<int32_t(T*, int32_t, T)>(name.c_str())) {
        c.ours = {contender("ours", bytes, arrays,
                            [=](char*, char* to) { ours(reinterpret_cast<T*>(to), length, value); })};
    }
    c.peers = {
        contender("memset of a byte", bytes, arrays, [=](char*, char* to) { std::memset(to, 1, bytes); }),
        contender("std::fill", bytes, arrays,
                  [=](char*, char* to) { std::fill_n(reinterpret_cast<T*>(to), length, value); })};
    return c;
}

Case copy_case(size_t bytes) {
    const auto arrays = std::make_shared<std::unique_ptr<Arrays>>();
    const auto length = static_cast<int32_t>(bytes / sizeof(double));
    Case c{fmt::format("fill/copy 64f/{} bytes", bytes), static_cast<double>(calls_of(bytes)), {}, {}};
    if (auto* const ours = kernel<int32_t(const double*, double*, int32_t)>("ozk_dft_mc3_qrvsCopy_64f")) {
        c.ours = {contender("ours", bytes, arrays, [=](char* from, char* to) {
            ours(reinterpret_cast<double*>(from), reinterpret_cast<double*>(to), length);
        })};
    }
    c.peers = {
        contender("memcpy", bytes, arrays, [=](char* from, char* to) { std::memcpy(to, from, bytes); })};
    return c;
}

std::vector<Case> cases() {
    std::vector<Case> all;
    for (const size_t bytes : kSizes) all.push_back(copy_case(bytes));
    for (const size_t bytes : kSizes) all.push_back(set_case<int16_t>("16s", 0x1234, bytes));
    for (const size_t bytes : kSizes) all.push_back(set_case<float>("32f", 0.1F, bytes));
    for (const size_t bytes : kSizes) all.push_back(set_case<double>("64f", 0.1, bytes));
    for (const size_t bytes : kSizes) {
        all.push_back(set_case<Ozk64fc>("64fc", Ozk64fc{0.1, 0.2}, bytes));
    }
    return all;
}

std::vector<Section> run(const std::string& filter, bool planned) {
    return {{"fill", comparison(matching(cases(), filter, planned), "call")}};
}

}  // namespace

Family fill_family() { return {"fill", names_of<cases>, run}; }

}  // namespace ozk::bench
