// Prints what a user reads when the core stands alone.
#include <cstdio>

#include "ozk/ozk.hpp"

int main() {
    try {
        ozk::exp(std::vector<double>{0, 1});
    } catch (const ozk::error& error) {
        std::printf("%d %d %s\n", static_cast<int>(error.family()), error.code(), error.what());
    }
    try {
        ozk::stream stream("MCG59");
    } catch (const ozk::error& error) {
        std::printf("%d %d %s\n", static_cast<int>(error.family()), error.code(), error.what());
    }
}
