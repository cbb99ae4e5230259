// The translated biweight, the weight function of the robust covariance:
//
//   w(d) = 1 up to M, (1 - ((d - M) / c)^2)^2 up to M + c, 0 beyond;  psi(d) = d w(d), rho its integral.
//
// Rocke, "Robustness properties of S-estimators of multivariate location and shape in high dimension", Annals of
// Statistics 24 (1996).
#pragma once

#include <cmath>
#include <cstdint>

namespace ozk::stats {

struct TranslatedBiweight {
    double full;       // M
    double width;      // c
    double breakdown;  // the share of rho(infinity) that the mean of rho is held at

    double limit() const { return full + width; }
    // rho(infinity)
    double ceiling() const { return full * full / 2 + width * (8 * full / 15 + width / 6); }

    double weight(double d) const {
        if (!(d < limit())) return 0;
        if (d <= full) return 1;
        const double u = (d - full) / width, v = 1 - u * u;
        return v * v;
    }
    double rho(double d) const {
        if (d <= full) return d * d / 2;
        if (!(d < limit())) return ceiling();
        const double u = (d - full) / width, s = u * u, v = 1 - s;
        return full * full / 2 +
               width * (full * u * (1 - s * (2.0 / 3 - s / 5)) + width * (1 - v * v * v) / 6);
    }
};

// The function for p dimensions whose mean rho at the normal distribution is `breakdown` of its ceiling and which
// rejects a share `rejection` of normal observations. Where both cannot be had, the breakdown point holds: in few
// dimensions M = 0 and more is rejected, in many c = 0 and less.
TranslatedBiweight translated_biweight(int64_t p, double breakdown, double rejection);

}  // namespace ozk::stats
