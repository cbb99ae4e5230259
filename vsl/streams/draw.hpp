// One draw from a source that is not always ready.
#pragma once

#include <cstdint>

namespace ozk::vsl {

// Executes `source(word)` up to limit + 1 times until it succeeds; the word counts only when fewer than
// `limit` executions failed before it. So a limit of 0 fails always.
template <class Word, class Source>
[[gnu::always_inline]] inline bool draw(uint32_t limit, Word& word, Source source) {
    for (uint64_t failures = 0; failures <= limit; ++failures) {
        if (source(word)) return failures < limit;
    }
    return false;
}

}  // namespace ozk::vsl
