# Speed against peers (bench/) and error in ulp against MPFR (tools/accuracy/).
