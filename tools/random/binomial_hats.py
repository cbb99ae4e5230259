#!/usr/bin/env python3
"""How near the hats of the binomial and hypergeometric rejection methods (vsl/distributions) come to the probabilities.

    tools/random/binomial_hats.py

prints the largest P(X = k) / hat over all k and over parameters with means from 64 on, and the largest share of what
is accepted without a comparison that should not be; neither must be above 1. Needs SciPy.
"""
import numpy as np
from scipy.special import gammaln

MEANS = np.concatenate([np.arange(64, 128, 0.05), np.geomspace(128, 1e6, 150)])


def ratios_to_mode(mode, deviation, largest, rising, falling):
    """f(k) / f(mode) for 1 / f(k) the product of the factorials (x + k)!, (x - k)!."""
    k = np.arange(max(0, int(mode - 12 * deviation) - 5), min(largest, int(mode + 12 * deviation) + 5) + 1.0)
    ln_f = sum(gammaln(x + mode + 1) - gammaln(x + k + 1) for x in rising)
    return k, ln_f + sum(gammaln(x - mode + 1) - gammaln(x - k + 1) for x in falling)


def transformed_rejection(mean, p):
    trials = int(np.ceil(mean / p))
    p = mean / trials
    deviation, mode = np.sqrt(mean * (1 - p)), np.floor((trials + 1) * p)
    k, ln_f = ratios_to_mode(mode, deviation, trials, [0], [trials])
    f = np.exp(ln_f + (k - mode) * np.log(p / (1 - p)))
    b = 1.15 + 2.53 * deviation
    a, c, sure = -0.0873 + 0.0248 * b + 0.01 * p, mean + 0.5, 0.92 - 4.2 / b
    f /= (2.83 + 5.1 / b) * deviation

    def place(edge):  # |u| with (2 a / (1/2 - |u|) + b) u = edge - c
        y = abs(edge - c)
        half = b / 2 + 2 * a + y
        return (half - np.sqrt(half * half - 2 * b * y)) / (2 * b)

    ends = place(k), place(k + 1)
    far, near = np.maximum(*ends), np.where((k <= c) & (k + 1 >= c), 0, np.minimum(*ends))
    squeezed = near <= 0.43
    hat = (f * (a / (0.5 - far) ** 2 + b)).max()
    return max(hat, sure / (f * (a / (0.5 - near) ** 2 + b))[squeezed].min())


def ratio_of_uniforms(mean, share):
    """`share` of the lot is marked, and as many are drawn as the mean wants."""
    size = int(np.ceil(max(mean / share / 0.4, 2 * mean / share)))
    marked, drawn = int(size * share), int(mean / share)
    rest = size - marked - drawn
    mean = marked * drawn / size
    variance = mean * (size - marked) / size * (size - drawn) / (size - 1)
    mode = (marked + 1) * (drawn + 1) // (size + 2)
    k, ln_f = ratios_to_mode(mode, np.sqrt(variance), min(marked, drawn), [0, rest], [marked, drawn])
    half = np.sqrt(2 / np.e * (variance + 0.5)) + 1.5 - np.sqrt(3 / np.e)
    return (np.exp(ln_f / 2) * np.maximum(abs(k - mean - 0.5), abs(k + 0.5 - mean))).max() / half


for method in transformed_rejection, ratio_of_uniforms:
    for p in 0.001, 0.01, 0.1, 0.2, 0.3, 0.4, 0.5:
        largest = [method(mean, p) for mean in MEANS]
        print(f"{method.__name__:22} {p:5} {max(largest):.5f} at {MEANS[np.argmax(largest)]:.4f}")
