#!/usr/bin/env python3
"""Prints the vectors of Md5Test.cpp: length of the message and digest, where byte i of a message is i % 251.

Written from RFC 1321 and the ways in which the library's digest differs from it. The same code without these is compared
with hashlib first.
"""
import hashlib
import math
import struct

OWN_STATE = struct.unpack("<4I", bytes.fromhex("3a91c4075ed218b6a04f7ce9216b95d3"))
RFC_STATE = struct.unpack("<4I", bytes.fromhex("0123456789abcdeffedcba9876543210"))
SHIFTS = [[7, 12, 17, 22], [5, 9, 14, 20], [4, 11, 16, 23], [6, 10, 15, 21]]
MASK = 0xFFFFFFFF


def transform(state, block):
    words = struct.unpack("<16I", block)
    a, b, c, d = state
    for i in range(64):
        f, k = [
            ((b & c) | (~b & d), i),
            ((b & d) | (c & ~d), 5 * i + 1),
            (b ^ c ^ d, 3 * i + 5),
            (c ^ (b | (~d & MASK)), 7 * i),
        ][i // 16]
        total = (a + f + words[k % 16] + int(abs(math.sin(i + 1)) * 2**32)) & MASK
        shift = SHIFTS[i // 16][i % 4]
        a, b, c, d = d, (b + (total << shift | total >> (32 - shift))) & MASK, b, c
    return [(x + y) & MASK for x, y in zip(state, (a, b, c, d))]


def digest(state, message, bits, is_rfc=False):
    if is_rfc or len(message) % 64 != 56:  # ours adds nothing to 56 bytes
        message += b"\x80" + b"\0" * ((55 - len(message)) % 64)
    message += struct.pack("<Q", bits)
    for at in range(0, len(message), 64):
        state = transform(state, message[at : at + 64])
    return state


def text(state):
    return struct.pack("<4I", *state).hex()


for length in [0, 55, 56, 57, 64, 120, 1000]:
    message = bytes(i % 251 for i in range(length))
    assert text(digest(RFC_STATE, message, 8 * length, True)) == hashlib.md5(message).hexdigest()
    print(f'{{{length}, "{text(digest(OWN_STATE, message, 8 * length))}"}},')

# Three bytes, finalized, and the same again: the 8 bytes of the length are counted as input.
first = digest(OWN_STATE, b"\0\1\2", 24)
print("finalized twice:", text(digest(first, b"\0\1\2", 24 + 64 + 24)))
