// Vectors of complex numbers, over the vectors of their parts.
//
// complex<V> keeps real and imaginary parts in a vector each, which is what arithmetic wants; interleaved<V> keeps
// them side by side as memory has them, for operations that treat all components alike and so need no shuffles.
#pragma once

#include "ozk_vml.h"
#include "simd/wide.hpp"

namespace ozk::simd {

template <class V>
struct complex {
    V re, im;
    static constexpr int kLanes = V::kLanes;
};
using c64x2 = complex<f64x2>;
using c32x4 = complex<f32x4>;

template <class V>
struct interleaved {
    V v;
    static constexpr int kLanes = V::kLanes / 2;
};

// The vector that holds K of a vector's kind: parts of a complex one are wide, not its elements.
template <class V, int K>
struct WideOf {
    using type = wide<V, K>;
};
template <class V, int K>
struct WideOf<complex<V>, K> {
    using type = complex<wide<V, K>>;
};

// ---- Where the lanes of a vector lie in memory, in elements -------------------------------------------

struct UnitPlace {
    static constexpr bool kContiguous = true;
    OZK_SIMD int64_t operator()(int lane) const { return lane; }
};
struct StridedPlace {
    static constexpr bool kContiguous = false;
    int64_t step;
    OZK_SIMD int64_t operator()(int lane) const { return lane * step; }
};
struct FirstPlace {  // the last element stands in the lanes above it
    static constexpr bool kContiguous = false;
    int64_t step;
    int last;
    OZK_SIMD int64_t operator()(int lane) const { return (lane < last ? lane : last) * step; }
};

// ---- Loads --------------------------------------------------------------------------------------------

// The element of a lane; the elements of a lane and the next one.
template <class Place>
OZK_SIMD f64x2 load_element(const OzkComplex16* p, Place place, int lane) {
    return {_mm_loadu_pd(&p[place(lane)].re)};
}
template <class Place>
OZK_SIMD f32x4 load_elements(const OzkComplex8* p, Place place, int lane) {
    if constexpr (Place::kContiguous) {
        return {_mm_loadu_ps(&p[lane].re)};
    } else {
        const __m128d low = _mm_load_sd(reinterpret_cast<const double*>(p + place(lane)));
        return {_mm_castpd_ps(_mm_loadh_pd(low, reinterpret_cast<const double*>(p + place(lane + 1))))};
    }
}

template <class V>
struct LoadComplex;
template <>
struct LoadComplex<interleaved<f64x2>> {
    template <class Place>
    OZK_SIMD static interleaved<f64x2> from(const OzkComplex16* p, Place place, int lane) {
        return {load_element(p, place, lane)};
    }
};
template <>
struct LoadComplex<interleaved<f64x4>> {
    template <class Place>
    OZK_SIMD static interleaved<f64x4> from(const OzkComplex16* p, Place place, int lane) {
        return {{load_element(p, place, lane), load_element(p, place, lane + 1)}};
    }
};
template <>
struct LoadComplex<interleaved<f32x4>> {
    template <class Place>
    OZK_SIMD static interleaved<f32x4> from(const OzkComplex8* p, Place place, int lane) {
        return {load_elements(p, place, lane)};
    }
};
template <>
struct LoadComplex<c64x2> {
    template <class Place>
    OZK_SIMD static c64x2 from(const OzkComplex16* p, Place place, int lane) {
        const f64x2 first = load_element(p, place, lane), second = load_element(p, place, lane + 1);
        return {interleave_low(first, second), interleave_high(first, second)};
    }
};
template <>
struct LoadComplex<c32x4> {
    template <class Place>
    OZK_SIMD static c32x4 from(const OzkComplex8* p, Place place, int lane) {
        const f32x4 low = load_elements(p, place, lane), high = load_elements(p, place, lane + 2);
        return {even_lanes(low, high), odd_lanes(low, high)};
    }
};
template <class V, int K>
struct LoadComplex<complex<wide<V, K>>> {
    template <class T, class Place>
    OZK_SIMD static complex<wide<V, K>> from(const T* p, Place place, int lane) {
        complex<wide<V, K>> z;
#pragma GCC unroll 8
        for (int k = 0; k < K; ++k) {
            const complex<V> part = LoadComplex<complex<V>>::from(p, place, lane + k * V::kLanes);
            z.re.v[k] = part.re;
            z.im.v[k] = part.im;
        }
        return z;
    }
};

template <class V>
concept ComplexVector = requires {
    sizeof(LoadComplex<V>);
};
template <ComplexVector V, class T>
OZK_SIMD V load_as(const T* p) {
    return LoadComplex<V>::from(p, UnitPlace{}, 0);
}
template <ComplexVector V, class T>
OZK_SIMD V load_strided_as(const T* p, int64_t step) {
    return LoadComplex<V>::from(p, StridedPlace{step}, 0);
}
template <ComplexVector V, class T>
OZK_SIMD V load_first_as(const T* p, int64_t step, int count) {
    return LoadComplex<V>::from(p, FirstPlace{step, count - 1}, 0);
}

OZK_SIMD c64x2 broadcast(OzkComplex16 z) { return {broadcast(z.re), broadcast(z.im)}; }
OZK_SIMD c32x4 broadcast(OzkComplex8 z) { return {broadcast(z.re), broadcast(z.im)}; }

// ---- Stores of the lanes below `count` ----------------------------------------------------------------

template <class Place>
OZK_SIMD void store_lanes(OzkComplex16* p, Place place, int, int, interleaved<f64x2> a) {
    store(&p[place(0)].re, a.v);
}
template <class Place>
OZK_SIMD void store_lanes(OzkComplex16* p, Place place, int, int, const interleaved<f64x4>& a) {
    store(&p[place(0)].re, a.v.v[0]);
    store(&p[place(1)].re, a.v.v[1]);
}
template <class Place>
OZK_SIMD void store_lanes(OzkComplex16* p, Place place, int lane, int count, const c64x2& a) {
    store(&p[place(lane)].re, interleave_low(a.re, a.im));
    if (lane + 1 < count) store(&p[place(lane + 1)].re, interleave_high(a.re, a.im));
}
template <class Place>
OZK_SIMD void store_lanes(OzkComplex8* p, Place place, int lane, int count, interleaved<f32x4> a) {
    if constexpr (Place::kContiguous) {
        store(&p[lane].re, a.v);
    } else {
        _mm_storel_pi(reinterpret_cast<__m64*>(p + place(lane)), a.v.v);
        if (lane + 1 < count) _mm_storeh_pi(reinterpret_cast<__m64*>(p + place(lane + 1)), a.v.v);
    }
}
template <class Place>
OZK_SIMD void store_lanes(OzkComplex8* p, Place place, int lane, int count, const c32x4& a) {
    store_lanes(p, place, lane, count, interleaved<f32x4>{interleave_low(a.re, a.im)});
    if (lane + 2 < count) {
        store_lanes(p, place, lane + 2, count, interleaved<f32x4>{interleave_high(a.re, a.im)});
    }
}
template <class T, class Place, class V, int K>
OZK_SIMD void store_lanes(T* p, Place place, int, int count, const complex<wide<V, K>>& a) {
#pragma GCC unroll 8
    for (int k = 0; k < K; ++k) {
        store_lanes(p, place, k * V::kLanes, count, complex<V>{a.re.v[k], a.im.v[k]});
    }
}

template <class T, ComplexVector V>
OZK_SIMD void store(T* p, const V& a) {
    store_lanes(p, UnitPlace{}, 0, V::kLanes, a);
}
template <class T, ComplexVector V>
OZK_SIMD void store_strided(T* p, int64_t step, const V& a) {
    store_lanes(p, StridedPlace{step}, 0, V::kLanes, a);
}
template <class T, ComplexVector V>
OZK_SIMD void store_first(T* p, int64_t step, int count, const V& a) {
    store_lanes(p, StridedPlace{step}, 0, count, a);
}

template <class Mask, class V>
OZK_SIMD complex<V> select(Mask mask, const complex<V>& a, const complex<V>& b) {
    return {select(mask, a.re, b.re), select(mask, a.im, b.im)};
}

}  // namespace ozk::simd
