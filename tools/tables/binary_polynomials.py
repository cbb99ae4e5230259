"""Polynomials over GF(2) as integers: bit i is the coefficient of x^i."""


def degree(p):
    return p.bit_length() - 1


def remainder(a, p):
    while degree(a) >= degree(p):
        a ^= p << (degree(a) - degree(p))
    return a


def multiply(a, b, p):
    """a b modulo p."""
    product = 0
    while b:
        if b & 1:
            product ^= a
        a, b = a << 1, b >> 1
    return remainder(product, p)


def power(a, exponent, p):
    result = remainder(1, p)
    while exponent:
        if exponent & 1:
            result = multiply(result, a, p)
        a, exponent = multiply(a, a, p), exponent >> 1
    return result


def is_irreducible(p):
    """By division by everything that may divide it."""
    return degree(p) >= 1 and all(remainder(p, q) for q in range(2, 1 << (degree(p) // 2 + 1)))


def is_primitive(p):
    """Irreducible, and the powers of x run through everything but 0."""
    order = (1 << degree(p)) - 1
    primes = [q for q in range(2, order + 1) if order % q == 0 and all(q % k for k in range(2, q))]
    return is_irreducible(p) and p & 1 == 1 and power(2, order, p) == remainder(1, p) and all(
        power(2, order // q, p) != remainder(1, p) for q in primes)
