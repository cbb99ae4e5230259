// The period of a twister of degree 2203: full when the characteristic polynomial of its twist is irreducible, as
// 2^2203 - 1 is prime. The polynomial by its published affine form (Matsumoto and Nishimura, 1998).
#pragma once

#include <NTL/GF2XFactoring.h>

#include "mt2203.hpp"

namespace twister {

inline NTL::GF2X characteristic_polynomial(std::uint32_t a) {
    constexpr int kLowerBits = kWordBits * kWords - kDegree;
    const auto two_terms = [](long n, long m) {
        NTL::GF2X p;
        NTL::SetCoeff(p, n);
        NTL::SetCoeff(p, m);
        return p;
    };
    const NTL::GF2X upper = two_terms(kWords, kMiddle), lower = two_terms(kWords - 1, kMiddle - 1);
    NTL::GF2X p(1);
    for (int i = 0; i < kWordBits; ++i) {
        p = p * (i < kLowerBits ? lower : upper) + NTL::GF2X(static_cast<long>(a >> i & 1U));
    }
    return p;
}

inline bool irreducible(std::uint32_t a) {
    const NTL::GF2X p = characteristic_polynomial(a);
    return NTL::deg(p) == kDegree && NTL::IterIrredTest(p) != 0;
}

// False when the polynomial has a factor of a degree up to 100: one of degree k divides t^(2^k) + t.
inline bool may_be_irreducible(std::uint32_t a) {
    const NTL::GF2X p = characteristic_polynomial(a);
    if (NTL::deg(p) != kDegree || NTL::IsZero(NTL::ConstTerm(p)) || NTL::weight(p) % 2 == 0) return false;
    const NTL::GF2XModulus modulus(p);
    const NTL::GF2X t(1, 1);
    NTL::GF2X power = t;
    int k = 0;
    for (const int bound : {12, 24, 48, 100}) {
        // A factor of degree d divides t^(2^k) + t for each multiple k of d, so the upper half of a batch will do.
        NTL::GF2X product(1);
        for (; k < bound;) {
            NTL::SqrMod(power, power, modulus);
            if (++k > bound / 2) NTL::MulMod(product, product, power + t, modulus);
        }
        if (!NTL::IsOne(NTL::GCD(product, p))) return false;
    }
    return true;
}

}  // namespace twister
