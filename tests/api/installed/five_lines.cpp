#include <cstdio>

#include "ozk/ozk.hpp"

int main() {
    const std::vector<double> y = ozk::exp(std::vector<double>{0, 1});
    std::printf("%.15f %.15f\n", y[0], y[1]);
}
