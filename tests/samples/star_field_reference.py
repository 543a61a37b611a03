#!/usr/bin/python3
"""The star field once more, pixel by pixel, to hold the program's against.

usage: star_field_reference.py COLUMNS ROWS SEED OUTPUT

Every pixel is worked out by itself from the description below; nothing is
painted. Numbers are whole; a fraction has 16 bits, and so does every product.

- draw(salt, index): the index-th random number of 32 bits of a salt.
- noise: a lattice of random fractions, joined by 6 t^5 - 15 t^4 + 10 t^3.
- nebula: gas, filaments and dust, seen through noise that bends the plane.
  It is known at every fourth pixel and joined by straight lines.
- stars: brightness by a power law, Moffat profile; a halo and four spikes on
  the bright ones; each in a square that its brightness gives.
- hot columns: from some row to the last.
"""

import struct
import sys
from fractions import Fraction
from math import floor, trunc

UNIT = 1 << 16
WORD = (1 << 32) - 1


def mix(number):
    number ^= number >> 16
    number = number * 0x7FEB352D & WORD
    number ^= number >> 15
    number = number * 0x846CA68B & WORD
    return number ^ number >> 16


def times(*factors):
    product = factors[0]
    for factor in factors[1:]:
        product = floor(Fraction(product * factor, UNIT))
    return product


def ease(t):
    inner = times(t, 6 * t - 15 * UNIT) + 10 * UNIT
    return times(times(t, t, t), inner)


class Sky:
    def __init__(self, columns, rows, seed):
        self.columns, self.rows, self.seed = columns, rows, seed
        self.size = min(columns, rows)
        self.known = {}
        self.stars = [self.star(i) for i in range(columns * rows // 500)]
        self.hot = [
            (self.draw(7, 3 * i) % columns, self.draw(7, 3 * i + 1) % rows,
             40 + self.draw(7, 3 * i + 2) % 200)
            for i in range(1 + columns // 512)
        ]

    def draw(self, salt, index):
        return mix((mix((mix(self.seed) + salt) & WORD) + index) & WORD)

    def star(self, i):
        peak = (30 << 24) // ((self.draw(6, 4 * i + 2) >> 8) + 1)
        if peak > 25000:
            peak = 25000 + self.draw(6, 4 * i + 3) % 13000
        return (self.draw(6, 4 * i) % (16 * self.columns),
                self.draw(6, 4 * i + 1) % (16 * self.rows), peak)

    @staticmethod
    def noise(key, u, v):
        def corner(i, j):
            return mix((mix((key + (u // UNIT + i)) & WORD) + v // UNIT + j) & WORD) >> 16

        su, sv = ease(u % UNIT), ease(v % UNIT)
        top = corner(0, 0) + times(corner(1, 0) - corner(0, 0), su)
        bottom = corner(0, 1) + times(corner(1, 1) - corner(0, 1), su)
        return top + times(bottom - top, sv)

    def octaves(self, salt, u, v, count):
        key = self.draw(salt, 0)
        return sum(self.noise(mix((key + k) & WORD), u << k, v << k) // 2 ** (k + 1)
                   for k in range(count))

    def nebula(self, x, y):
        if (x, y) not in self.known:
            self.known[x, y] = self.nebula_at(x, y)
        return self.known[x, y]

    def nebula_at(self, x, y):
        dx = trunc(Fraction((2 * x - self.columns) * UNIT, 2 * self.size))
        dy = trunc(Fraction((2 * y - self.rows) * UNIT, 2 * self.size))
        along = dx + trunc(Fraction(dy, 3))
        across = dy - trunc(Fraction(dx, 3))
        inside = UNIT - 4 * times(along, along) - 8 * times(across, across)
        if inside <= 0:
            return 0
        u, v = 5 * UNIT * x // self.size, 5 * UNIT * y // self.size
        bend_x = self.octaves(1, u, v, 4) - UNIT // 2
        bend_y = self.octaves(2, u, v, 4) - UNIT // 2
        u += trunc(Fraction(3 * bend_x, 2))
        v += trunc(Fraction(3 * bend_y, 2))
        gas = self.octaves(3, u, v, 6)
        ridge = abs(2 * self.octaves(4, u + bend_y, v - bend_x, 5) - UNIT)
        filament = UNIT - min(UNIT, 3 * ridge)
        filament = times(filament, filament, filament)
        dust = self.octaves(5, trunc(Fraction(3 * u, 2)), trunc(Fraction(3 * v, 2)), 5)
        clear = UNIT - min(max(4 * (dust - UNIT // 2), 0), UNIT * 7 // 8)
        glow = 1400 * times(gas, gas, inside) + 500 * times(filament, gas, inside)
        return times(glow, inside, clear) // 4096

    def sky(self, x, y):
        i, j, fx, fy = x // 4 * 4, y // 4 * 4, x % 4, y % 4
        nebula = sum(self.nebula(i + a, j + b) * (fx if a else 4 - fx) * (fy if b else 4 - fy)
                     for a in (0, 4) for b in (0, 4))
        return 360 + 60 * x // self.columns + 40 * y // self.rows + nebula // 256

    @staticmethod
    def star_counts(peak, dx, dy):
        def fall(square, scale):
            return UNIT * UNIT // (UNIT + square * UNIT // scale)

        core = fall(dx * dx + dy * dy, 1664)
        counts = times(peak, times(core, times(core, core)))
        if peak >= 6000:
            halo = fall(dx * dx + dy * dy, 50000)
            counts += times(peak // 300, times(halo, halo))
            first = trunc(Fraction(12 * dx + 5 * dy, 13))
            second = trunc(Fraction(12 * dy - 5 * dx, 13))
            for along, across in ((first, second), (second, first)):
                width = fall(across ** 2, 260)
                shape = times(fall(along ** 2, 12000), times(width, times(width, width)))
                counts += times(peak // 30, shape)
        return counts

    def pixel(self, x, y):
        counts = self.sky(x, y)
        for x16, y16, peak in self.stars:
            reach = 5 if peak < 200 else 14 if peak < 6000 else 40 + peak // 350
            if abs(x - x16 // 16) <= reach and abs(y - y16 // 16) <= reach:
                counts += self.star_counts(peak, 16 * x - x16, 16 * y - y16)
        counts += sum(extra for column, first, extra in self.hot if x == column and y >= first)
        return min(counts, 65535)


def main():
    columns, rows, seed = (int(word) for word in sys.argv[1:4])
    sky = Sky(columns, rows, seed)
    pixels = [sky.pixel(x, y) for y in range(rows) for x in range(columns)]
    with open(sys.argv[4], "wb") as stream:
        stream.write(struct.pack(f"<{len(pixels)}H", *pixels))


if __name__ == "__main__":
    main()
