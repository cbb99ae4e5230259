// Powers by squaring and multiplying (Knuth, The Art of Computer Programming, volume 2, section 4.6.3,
// algorithm A).
#pragma once

#include <cstdint>

namespace ozk::vsl {

// a^e, with the arithmetic's multiply(x, y) on its Word.
template <class Arithmetic>
typename Arithmetic::Word power(typename Arithmetic::Word a, uint64_t e, const Arithmetic& arithmetic = {}) {
    typename Arithmetic::Word result = 1;
    for (; e != 0; e >>= 1) {
        if (e & 1) result = arithmetic.multiply(result, a);
        a = arithmetic.multiply(a, a);
    }
    return result;
}

}  // namespace ozk::vsl
