#!/usr/bin/env python3
"""How near the hats of Poisson's rejection methods (vsl/distributions/poisson.cpp) come to the probabilities.

    tools/random/poisson_hats.py

prints for each method the largest P(X = K) / hat over all K and over means from 27 on, which must not be above 1, and
where it is. What is accepted without a comparison is tested alike. Takes some minutes; needs SciPy.
"""
import numpy as np
from scipy.stats import poisson

MEANS = np.concatenate([np.arange(27, 300, 0.01), np.arange(27, 1200) + 0.9999, np.geomspace(300, 1e7, 300)])


def values(mean):
    deviation = np.sqrt(mean)
    k = np.arange(max(0, np.floor(mean - 12 * deviation)), np.ceil(mean + 14 * deviation))
    return k if mean < 1e5 else k[:: len(k) // 4000]


def ptpe(mean):
    mode = np.floor(mean)
    p1 = float(np.trunc(np.float32(2.195) * np.sqrt(np.float32(mode)) - np.float32(2.2)))
    centre, half = mode + 0.5, p1 + 0.5
    left, right, c = centre - half, centre + half, 0.133 + 8.56 / (6.83 + mode)
    left_step, right_step = (mean - left) / mean, (right - mean) / right
    left_rate, right_rate = left_step * (1 + left_step / 2), right_step * (1 + right_step / 2)
    left_height = 0.109 + 8.25 / (10.86 + mode)

    def hat(x):
        tail = np.where(x < left, left_height * np.exp(left_rate * np.minimum(x - left, 0)),
                        c * np.exp(-right_rate * np.maximum(x - right, 0)))
        return np.where((x < left) | (x > right), tail, 1 - abs(x - centre) / half + c)

    k = values(mean)
    f = np.exp(poisson.logpmf(k, mean) - poisson.logpmf(mode, mean))
    least = np.minimum(hat(k), hat(k + 1 - 1e-9))  # both ends are whole numbers, too
    triangle = np.maximum(1 - abs(k - centre) / half, 1 - abs(k + 1 - centre) / half)
    triangle = np.where(k == mode, 1, triangle)
    return max((f / least).max(), (triangle / f)[triangle > 0].max())


def ratio_of_uniforms(mean):
    k = values(mean)
    f = np.exp((poisson.logpmf(k, mean) - poisson.logpmf(np.floor(mean), mean)) / 2)
    width = 1.7155277699214135 * np.sqrt(mean + 0.5) + 0.8989161620588988
    return (f * np.maximum(abs(k - mean - 0.5), abs(k + 0.5 - mean))).max() / (width / 2)


POINTS = np.linspace(-0.5 + 1e-7, 0.5 - 1e-7, 4001)


def transformed_rejection(mean, hat=1.1312, sure=0.9195):
    b = 0.931 + 2.53 * np.sqrt(mean)
    a = -0.059 + 0.02483 * b
    end = 0.5 - abs(POINTS)
    k = np.floor((2 * a / end + b) * POINTS + mean + 0.43)
    f = np.where(k >= 0, poisson.pmf(np.maximum(k, 0), mean), 0) * (a / end**2 + b)
    f /= hat + 1.1328 / (b - 3.4)
    return max(f.max(), (sure - 3.6224 / (b - 2)) / f[end >= 0.07].min())


def published(mean):
    return transformed_rejection(mean, 1.1239, 0.9277)


for method in ptpe, ratio_of_uniforms, transformed_rejection, published:
    largest = [method(mean) for mean in MEANS]
    print(f"{method.__name__:22} {max(largest):.5f} at {MEANS[np.argmax(largest)]:.4f}")
