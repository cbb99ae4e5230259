// A registered generator that hands out the numbers of a script, for results that no real generator gives on
// demand.
#pragma once

#include <cstring>
#include <vector>

#include "ozk_vsl.h"

namespace scripted_generator {

struct Script {
    std::vector<double> numbers;  // given in turn as they are, whatever the interval
    size_t position = 0;
    std::vector<int32_t> calls = {};  // how many each call asked for
    int32_t failing_call = -1;        // the call that returns kFailure
};

inline constexpr int32_t kFailure = -1131;

struct State {
    OzkVslStream header;
    Script* script;
};

inline Script& script_of(OzkVslStream* stream) { return *reinterpret_cast<State*>(stream)->script; }

template <class Real>
int32_t fill(OzkVslStream* stream, int32_t n, Real* r) {
    volatile long double third = 1;
    third = third / 3;  // raises an x87 flag
    Script& script = script_of(stream);
    script.calls.push_back(n);
    if (script.failing_call == static_cast<int32_t>(script.calls.size()) - 1) return kFailure;
    for (int32_t i = 0; i < n; ++i) {
        r[i] = static_cast<Real>(script.numbers[script.position++ % script.numbers.size()]);
    }
    return 0;
}

using Seed = uint32_t[2];  // holds the address of the script

// A stream that follows the script, to be deleted by the caller.
inline OzkVslStream* make_stream(Script& script) {
    static const OzkVslBrngProperties row = {
        sizeof(State),
        2,
        1,
        4,
        32,
        [](uint32_t, OzkVslStream* stream, int32_t, const void* params) {
            std::memcpy(&reinterpret_cast<State*>(stream)->script, params, sizeof(Seed));
            return 0;
        },
        [](OzkVslStream* stream, int32_t n, float* r, float, float) { return fill(stream, n, r); },
        [](OzkVslStream* stream, int32_t n, double* r, double, double) { return fill(stream, n, r); },
        [](OzkVslStream* stream, int32_t n, void* r) { return fill(stream, n, static_cast<uint32_t*>(r)); }};
    static const int32_t identifier = __vslRegisterBrng(&row);
    Script* const address = &script;
    Seed seed;
    std::memcpy(seed, &address, sizeof seed);
    OzkVslStream* stream = nullptr;
    __vslNewStreamEx(&stream, static_cast<uint32_t>(identifier), 2, seed);
    return stream;
}

}  // namespace scripted_generator
