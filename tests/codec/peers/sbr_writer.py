#!/usr/bin/env python3
"""Gives an AAC LC stream in ADTS a high band that draws every field of the syntax at random.

sbr_writer.py CORE.aac OUT.aac SEED. The high band goes with every channel element of a core of one or two channels. All
frame classes, resolutions, headers and coding directions occur, within what ISO/IEC 14496-3, 4.6.18 allows.
"""
import csv
import math
import os
import random
import sys

TABLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "..", "tools", "tables", "sbr")
RATES = (96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000)
SLOTS = 16


def rows(name):
    with open(os.path.join(TABLES, name), newline="") as file:
        return list(csv.DictReader(file))


BOOKS = {}
for entry in rows("sbr_huffman.csv"):
    book = BOOKS.setdefault(entry["book"], {})
    book[int(entry["delta"])] = format(int(entry["code"], 16), f"0{entry['length']}b")
LIMITS = {int(row["fs_sbr_hz"]): row for row in rows("sbr_limits.csv")}


def nint(x):
    return math.floor(x + 0.5)


def steps(low, high, bands):
    borders = [nint(low * (high / low) ** (i / bands)) for i in range(bands + 1)]
    return sorted(b - a for a, b in zip(borders, borders[1:]))


class Header:
    """A header that the rate allows, with the numbers of bands that it leads to."""

    def __init__(self, rng, rate):
        while True:
            self.coarse, self.start, self.stop = rng.randrange(2), rng.randrange(16), rng.randrange(16)
            self.xover, self.scale, self.alter, self.noise = (rng.randrange(n) for n in (8, 4, 2, 4))
            self.extra1 = rng.randrange(4) > 0
            if not self.extra1:
                self.scale, self.alter, self.noise = 2, 1, 2
            self.limiter = [rng.randrange(n) for n in (4, 4, 2, 2)]
            if self.count_bands(LIMITS[rate]):
                return

    def count_bands(self, limits):
        k0 = int(limits[f"k0_{self.start}"])
        k2 = int(limits[f"k2_{self.stop}"]) if self.stop < 14 else min(64, (self.stop - 12) * k0)
        if not 0 < k2 - k0 <= int(limits["max_subbands"]):
            return False
        if self.scale == 0:
            bands = 2 * ((k2 - k0) // 2) if self.alter == 0 else 2 * nint((k2 - k0) / 4)
            widths = [1 + self.alter] * bands
            left = k2 - k0 - sum(widths)
            for i in range(abs(left)):
                widths[-1 - i if left > 0 else i] += 1 if left > 0 else -1
        else:
            octave = 14 - 2 * self.scale
            k1 = 2 * k0 if k2 / k0 > 2.2449 else k2
            bands = 2 * nint(octave * math.log2(k1 / k0) / 2)
            if bands == 0:
                return False
            widths = steps(k0, k1, bands)
            if k1 < k2:
                bands = 2 * nint(octave * math.log2(k2 / k1) / (2 * (1.3 if self.alter else 1)))
                if bands == 0:
                    return False
                upper = steps(k1, k2, bands)
                if upper[0] < widths[-1]:
                    change = min(widths[-1] - upper[0], (upper[-1] - upper[0]) // 2)
                    upper[0] += change
                    upper[-1] -= change
                widths += sorted(upper)
        kx = k0 + sum(widths[:self.xover])
        self.high = len(widths) - self.xover
        self.low = self.high - self.high // 2
        if min(widths) < 1 or self.high < 1 or kx > 32 or self.high > 48:
            return False
        self.floors = max(1, nint(self.noise * math.log2(k2 / kx)))
        master = [k0 + sum(widths[:i]) for i in range(len(widths) + 1)]
        return self.floors <= min(5, self.low) and self.patched(k0, kx, master, int(limits["goal_sb"]))

    def patched(self, k0, kx, master, goal):
        """Whether patches reach the top: where a last one of one or two sub-bands is left out, decoders differ."""
        done, source, k, count = kx, k0, len(master) - 1, 0
        if goal < master[-1]:
            k = next(i for i, border in enumerate(master) if border >= goal)
        for _ in range(9):
            top = max(b for b in master[:k + 1] if b <= k0 - 1 + source - (b - 2 + k0) % 2)
            source = top if top > done else kx
            count, done = (top - done, top) if top > done else (count, done)
            if top == master[-1]:
                return count >= 3 or done - count == kx
            if master[k] - top < 3:
                k = len(master) - 1
        return False

    def bits(self):
        fields = [(self.coarse, 1), (self.start, 4), (self.stop, 4), (self.xover, 3), (0, 2), (self.extra1, 1), (1, 1)]
        if self.extra1:
            fields += [(self.scale, 2), (self.alter, 1), (self.noise, 2)]
        fields += list(zip(self.limiter, (2, 2, 1, 1)))
        return put(*fields)


def put(*fields):
    return "".join(format(int(value), f"0{width}b") for value, width in fields)


class Grid:
    def __init__(self, rng, lead, coarse):
        kind = rng.randrange(4) if lead == 0 else rng.randrange(2, 4)
        self.coarse = coarse
        out = put((kind, 2))
        if kind == 0:
            exponent = rng.randrange(3)
            self.envelopes, res = 1 << exponent, rng.randrange(2)
            self.res, self.end = [res] * self.envelopes, 0
            self.coarse = coarse and self.envelopes > 1
            self.bits = out + put((exponent, 2), (res, 1))
            return
        while True:
            self.end = rng.randrange(4) if kind != 2 else 0
            ups = [rng.randrange(4) for _ in range(rng.randrange(4))] if kind != 1 else []
            downs = [rng.randrange(4) for _ in range(rng.randrange(4))] if kind != 2 else []
            used = sum(2 * r + 2 for r in ups + downs)
            if len(ups) + len(downs) < 5 and lead + used < SLOTS + self.end:
                break
        self.envelopes = len(ups) + len(downs) + 1
        if kind != 1:
            out += put((lead, 2))
        if kind != 2:
            out += put((self.end, 2))
        if kind != 1:
            out += put((len(ups), 2))
        if kind != 2:
            out += put((len(downs), 2))
        width = math.ceil(math.log2(self.envelopes + 1))
        pointer = rng.randrange(min(1 << width, self.envelopes + 2))
        self.res = [rng.randrange(2) for _ in range(self.envelopes)]
        self.bits = out + put(*((r, 2) for r in ups + downs), (pointer, width),
                              *((r, 1) for r in (self.res[::-1] if kind == 1 else self.res)))


class Writer:
    def __init__(self, seed, rate, channels):
        self.rng, self.rate, self.channels = random.Random(seed), rate, channels
        self.header, self.ends, self.before, self.coupled = None, [0, 0], [None, None], False

    def payload(self):
        """One frame's fill element data as a string of bits, a multiple of eight."""
        rng, body = self.rng, ""
        new = self.header is None or rng.randrange(12) == 0
        if new:
            self.header = Header(rng, self.rate)
            self.before = [None, None]
        elif rng.randrange(5) == 0:
            # Smoothing goes on as it is: where it sets in, decoders differ on what lies before.
            self.header.limiter[:3] = [rng.randrange(n) for n in (4, 4, 2)]
            new = True
        body += put((new, 1)) + (self.header.bits() if new else "")
        extra = rng.randrange(2)
        body += put((extra, 1)) + (put((rng.randrange(16 ** self.channels), 4 * self.channels)) if extra else "")
        body += self.element()
        size = rng.choice((0, 3, 17))
        if rng.randrange(4) == 0 and size:  # an extension that nobody knows
            head = put((1, 1), (min(size, 15), 4)) + (put((size - 15, 8)) if size >= 15 else "")
            body += head + put((rng.choice((0, 1, 3)), 2), (rng.getrandbits(8 * size - 2), 8 * size - 2))
        else:
            body += "0"
        with_crc = rng.randrange(2)
        body += "0" * (-(len(body) + 4 + 10 * with_crc) % 8)
        return (put((14, 4), (crc10(body), 10)) if with_crc else put((13, 4))) + body

    def element(self):
        rng, header = self.rng, self.header
        out, coupled = "", False
        if self.channels == 2:
            # Coupling asks for one grid, so for one leading border.
            coupled = rng.randrange(2) and self.ends[0] == self.ends[1]
            out += put((coupled, 1))
        if coupled != self.coupled:
            self.before = [None, None]
        self.coupled = coupled
        grids = [Grid(rng, self.ends[ch], header.coarse) for ch in range(1 if coupled else self.channels)]
        out += "".join(grid.bits for grid in grids)
        grids = (grids * 2)[:self.channels]
        self.ends = [grid.end for grid in grids] + [0] * (2 - self.channels)
        times = []
        for ch, grid in enumerate(grids):
            noises = 1 if grid.envelopes == 1 else 2
            known = self.before[ch] is not None
            times.append([[rng.randrange(2) if known or i > 0 else 0 for i in range(n)] for n in (grid.envelopes, noises)])
            out += put(*((t, 1) for part in times[ch] for t in part))
        for _ in grids[:1] if coupled else grids:
            out += put(*((rng.randrange(4), 2) for _ in range(header.floors)))
        parts = [[], []]
        for ch, grid in enumerate(grids):
            level, noise = self.before[ch] or (None, None)
            parts[ch] = [self.envelopes(grid, times[ch][0], coupled and ch, level), self.noise(times[ch][1], coupled and ch, noise)]
            self.before[ch] = (parts[ch][0][1], parts[ch][1][1])
        order = [(0, 0), (0, 1), (1, 0), (1, 1)] if coupled else [(0, 0), (1, 0), (0, 1), (1, 1)]
        out += "".join(parts[ch][i][0] for ch, i in order if ch < self.channels)
        for _ in grids:
            some = rng.randrange(3) == 0
            out += put((some, 1)) + (put(*((rng.randrange(8) == 0, 1) for _ in range(header.high))) if some else "")
        return out

    def code(self, books, base, allowed, first_bits):
        """One row of values with the bits for it: `base` is what it differs from in time, or nothing."""
        out, values = "", []
        for i in range(len(base) if isinstance(base, list) else base):
            if isinstance(base, list):
                code, from_value = BOOKS["t_huffman_" + books[0]], base[i]
            elif i == 0:
                values.append(self.rng.choice(allowed))
                out += put((values[0], first_bits))
                continue
            else:
                code, from_value = BOOKS["f_huffman_" + books[1]], values[-1]
            spread = self.rng.choice((2, 4, 30))
            choices = [d for d in code if abs(d) <= spread and from_value + d in allowed]
            delta = self.rng.choice(choices or [min(code, key=lambda d: abs(from_value + d - allowed[len(allowed) // 2]))])
            values.append(from_value + delta)
            out += code[delta]
        return out, values

    def envelopes(self, grid, times, balance, before):
        """Bits, and (resolution, values) of the last envelope. Values of balances are not doubled."""
        step = "3_0dB" if grid.coarse else "1_5dB"
        name = ("env_bal_" if balance else "env_") + step
        allowed = range(0, 13 if grid.coarse else 25) if balance else range(4, 17) if grid.coarse else range(8, 35)
        out, odd = "", self.header.high % 2
        for res, time in zip(grid.res, times):
            count = self.header.high if res else self.header.low
            base = count
            if time:
                old_res, old = before
                if res == old_res:
                    base = old
                elif res:
                    base = [old[(i + odd) // 2] for i in range(count)]
                else:
                    base = [old[2 * i - odd if i else 0] for i in range(count)]
            bits, values = self.code((name, name), base, allowed, 7 - bool(grid.coarse) - bool(balance))
            out += bits
            before = (res, values)
        return out, before

    def noise(self, times, balance, before):
        name = "_bal_3_0dB" if balance else "_3_0dB"
        out = ""
        for time in times:
            base = before if time else self.header.floors
            bits, before = self.code(("noise" + name, "env" + name), base, range(0, 13) if balance else range(0, 25), 5)
            out += bits
        return out, before


def crc10(bits):
    crc = 0
    for bit in bits:
        crc = crc << 1 ^ ((int(bit) ^ crc >> 9 & 1) * 0x633)
        crc &= 0x3FF
    return crc


def add_high_band(stream, seed):
    """The bytes of an ADTS stream of one or two channels, with a fill element before the end of every block."""
    out, writer, at = bytearray(), None, 0
    while at + 7 <= len(stream):
        assert stream[at] == 0xFF and stream[at + 1] & 0xF0 == 0xF0
        no_crc = stream[at + 1] & 1
        length = (stream[at + 3] & 3) << 11 | stream[at + 4] << 3 | stream[at + 5] >> 5
        if writer is None:
            channels = (stream[at + 2] & 1) << 2 | stream[at + 3] >> 6
            writer = Writer(seed, 2 * RATES[stream[at + 2] >> 2 & 15], channels)
        block = stream[at + (7 if no_crc else 9):at + length]
        bits = "".join(format(byte, "08b") for byte in block).rstrip("0")
        assert bits.endswith("111")
        payload = writer.payload()
        count = len(payload) // 8
        bits = bits[:-3] + put((6, 3), (min(count, 15), 4)) + (put((count - 14, 8)) if count >= 15 else "") + payload + "111"
        bits += "0" * (-len(bits) % 8)
        frame = bytearray(stream[at:at + 7]) + int(bits, 2).to_bytes(len(bits) // 8, "big")
        frame[1] |= 1
        frame[3] = frame[3] & 0xFC | len(frame) >> 11
        frame[4] = len(frame) >> 3 & 0xFF
        frame[5] = (len(frame) & 7) << 5 | frame[5] & 0x1F
        out += frame
        at += length
    return bytes(out)


if __name__ == "__main__":
    with open(sys.argv[1], "rb") as source, open(sys.argv[2], "wb") as target:
        target.write(add_high_band(source.read(), int(sys.argv[3])))
