#include <stdio.h>

#include "ozk.h"

int main(void) {
    const double x[2] = {0, 1};
    double y[2] = {7, 7};
    const ozk_status done = ozk_d_exp(2, x, y);
    const ozk_status refused = ozk_d_exp(2, NULL, y);
    printf("%d %.15f %.15f %d\n", done, y[0], y[1], ozk_status_code(refused) == kOzkCodeNull);
    return 0;
}
