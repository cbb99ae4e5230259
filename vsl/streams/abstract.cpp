// Abstract streams: the numbers of a caller's buffer, which a callback refills.

#include <algorithm>
#include <cstring>

#include "vsl/streams/generator.hpp"

namespace ozk::vsl {
namespace {

// The states are what new_abstract_stream passes: pointers to length, buffer, bounds and callback.

struct IntegerAbstract {
    using Element = uint32_t;
    struct State {
        int32_t filled;  // numbers that the buffer holds
        int32_t index;   // of the next one to hand out
        int32_t length;  // room in the buffer
        uint32_t* buffer;
        OzkVslIntegerRefill refill;
    };
    static State seed(const void* const* params) {
        const int32_t length = *static_cast<const int32_t*>(params[0]);
        return {length, 0, length, static_cast<uint32_t*>(const_cast<void*>(params[1])),
                reinterpret_cast<OzkVslIntegerRefill>(const_cast<void*>(params[2]))};
    }
    static int32_t refill(OzkVslStream* stream, const State& s, int32_t least) {
        return s.refill(stream, s.buffer, least, s.length);
    }
};

template <class Real, class Refill>
struct RealAbstract {
    using Element = Real;
    struct State {
        int32_t filled, index, length;
        Real* buffer;
        Real a, b;
        Refill refill;
    };
    static State seed(const void* const* params) {
        const int32_t length = *static_cast<const int32_t*>(params[0]);
        return {length,
                0,
                length,
                static_cast<Real*>(const_cast<void*>(params[1])),
                *static_cast<const Real*>(params[2]),
                *static_cast<const Real*>(params[3]),
                reinterpret_cast<Refill>(const_cast<void*>(params[4]))};
    }
    static int32_t refill(OzkVslStream* stream, const State& s, int32_t least) {
        return s.refill(stream, s.buffer, least, s.length, s.a, s.b);
    }
};
using DoubleAbstract = RealAbstract<double, OzkVslDoubleRefill>;
using SingleAbstract = RealAbstract<float, OzkVslSingleRefill>;

static_assert(sizeof(IntegerAbstract::State) == 32 && sizeof(DoubleAbstract::State) == 48 &&
              sizeof(SingleAbstract::State) == 40);

template <class Abstract>
int32_t initialise(uint32_t method, OzkVslStream* stream, const void* params) {
    if (method != kOzkVslInitSeed) return refuse_method(method);
    state_of<typename Abstract::State>(stream) = Abstract::seed(static_cast<const void* const*>(params));
    return kOzkVslSuccess;
}

// Hands out n numbers: use(elements, count, results) for each stretch of the buffer.
template <class Abstract, class Result, class Use>
int32_t generate(OzkVslStream* stream, int32_t n, Result* r, Use use) {
    auto& state = state_of<typename Abstract::State>(stream);
    while (n > 0) {
        if (state.index >= state.filled) {
            // While the callback runs, and when it fails, the stream has no numbers.
            state.filled = state.index = 0;
            const int32_t wanted = std::min(n, state.length);
            const int32_t given = Abstract::refill(stream, state, wanted);
            if (given > state.length) return kOzkVslErrorBadRefill;
            state.filled = std::max(given, 0);
            if (given < wanted) return kOzkVslErrorBadRefill;
        }
        const int32_t count = std::min(n, state.filled - state.index);
        use(state.buffer + state.index, count, r);
        state.index += count;
        n -= count;
        r += count;
    }
    return kOzkVslSuccess;
}

template <class Real>
int32_t integers_as_reals(OzkVslStream* stream, int32_t n, Real* r, double a, double b) {
    const Uniform<Real> output{(b - a) * kWordUnit, a};
    return generate<IntegerAbstract>(stream, n, r, [&](const uint32_t* x, int32_t count, Real* out) {
        convert(x, static_cast<uint32_t>(count), out, output);
    });
}

// The element as a number on [0, 1).
template <class Abstract>
auto unit_of(const OzkVslStream* stream) {
    const auto& state = state_of<typename Abstract::State>(const_cast<OzkVslStream*>(stream));
    const double a = state.a, width = double{state.b} - a;
    return [=](double x) { return (x - a) / width; };
}

// A caller's interval equal to the stream's own gives the elements as they are.
template <class Abstract, class Real>
int32_t reals_as_reals(OzkVslStream* stream, int32_t n, Real* r, Real a, Real b) {
    using Element = typename Abstract::Element;
    const auto& state = state_of<typename Abstract::State>(stream);
    const auto unit = unit_of<Abstract>(stream);
    const bool same = a == state.a && b == state.b;
    const double low = a, width = double{b} - low;
    return generate<Abstract>(stream, n, r, [&](const Element* x, int32_t count, Real* out) {
        for (int32_t i = 0; i < count; ++i) {
            out[i] = static_cast<Real>(same ? x[i] : unit(x[i]) * width + low);
        }
    });
}

template <class Abstract>
int32_t reals_as_integers(OzkVslStream* stream, int32_t n, uint32_t* r) {
    using Element = typename Abstract::Element;
    const auto unit = unit_of<Abstract>(stream);
    return generate<Abstract>(stream, n, r, [&](const Element* x, int32_t count, uint32_t* out) {
        for (int32_t i = 0; i < count; ++i) {
            // Written so that a number outside its interval, or none, becomes a word as well.
            const double word = unit(x[i]) * 0x1p32;
            out[i] = word >= 0x1p32 ? UINT32_MAX : word > 0 ? static_cast<uint32_t>(word) : 0;
        }
    });
}

}  // namespace
}  // namespace ozk::vsl

extern "C" {

using namespace ozk::vsl;

int32_t __vslBRngiAbstractInitStream(uint32_t method, OzkVslStream* stream, int32_t, const void* params) {
    return initialise<IntegerAbstract>(method, stream, params);
}
int32_t __vsliBRngiAbstract(OzkVslStream* stream, int32_t n, void* r) {
    return generate<IntegerAbstract>(stream, n, static_cast<uint32_t*>(r),
                                     [](const uint32_t* x, int32_t count, uint32_t* out) {
                                         std::memcpy(out, x, static_cast<size_t>(count) * sizeof *x);
                                     });
}
int32_t __vslsBRngiAbstract(OzkVslStream* stream, int32_t n, float* r, float a, float b) {
    return integers_as_reals(stream, n, r, a, b);
}
int32_t __vsldBRngiAbstract(OzkVslStream* stream, int32_t n, double* r, double a, double b) {
    return integers_as_reals(stream, n, r, a, b);
}

}  // extern "C"

#define OZK_REAL_ABSTRACT(Name, Abstract)                                                                 \
    extern "C" int32_t __vslBRng##Name##InitStream(uint32_t method, OzkVslStream* stream, int32_t,        \
                                                   const void* params) {                                  \
        return initialise<Abstract>(method, stream, params);                                              \
    }                                                                                                     \
    extern "C" int32_t __vsliBRng##Name(OzkVslStream* stream, int32_t n, void* r) {                       \
        return reals_as_integers<Abstract>(stream, n, static_cast<uint32_t*>(r));                         \
    }                                                                                                     \
    extern "C" int32_t __vslsBRng##Name(OzkVslStream* stream, int32_t n, float* r, float a, float b) {    \
        return reals_as_reals<Abstract>(stream, n, r, a, b);                                              \
    }                                                                                                     \
    extern "C" int32_t __vsldBRng##Name(OzkVslStream* stream, int32_t n, double* r, double a, double b) { \
        return reals_as_reals<Abstract>(stream, n, r, a, b);                                              \
    }

OZK_REAL_ABSTRACT(dAbstract, DoubleAbstract)
OZK_REAL_ABSTRACT(sAbstract, SingleAbstract)
