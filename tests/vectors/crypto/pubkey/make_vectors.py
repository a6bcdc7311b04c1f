#!/usr/bin/env python3
"""Makes the vector files of foundation/crypto/{bignum,rsa,dsa,ecc} with Python's own integers.

An implementation of its own from RFC 8017, FIPS 186-4 and SEC 1: it shares nothing with the library
but the standards. The seed is fixed, so that a run gives the same files. Run it in this folder.
"""
import hashlib
import random
import subprocess

rnd = random.Random(20240229)
HASHES = {  # identifier: (name for hashlib, OID octets, digest size)
    1: ("sha1", "2b0e03021a", 20),
    2: ("sha384", "608648016503040202", 48),
    3: ("sha512", "608648016503040203", 64),
    4: (None, "2a864886f70d0202", 16),
    5: ("md5", "2a864886f70d0205", 16),
    7: ("sha256", "608648016503040201", 32),
    9: (None, "2b24030202", 16),
    10: ("ripemd160", "2b24030201", 20),
}


def is_prime(n):
    if n < 2 or any(n % q == 0 for q in (2, 3, 5, 7, 11, 13, 17, 19, 23, 29, 31, 37) if n != q):
        return False
    d, s = n - 1, 0
    while d % 2 == 0:
        d, s = d // 2, s + 1
    for _ in range(24):
        x = pow(rnd.randrange(2, n - 1), d, n)
        if x in (1, n - 1):
            continue
        for _ in range(s - 1):
            x = x * x % n
            if x == n - 1:
                break
        else:
            return False
    return True


def prime(bits):
    while True:
        n = rnd.getrandbits(bits) | 1 | 1 << (bits - 1)
        if is_prime(n):
            return n


def hexed(number, width=None):
    width = width or max(1, (number.bit_length() + 7) // 8)
    return number.to_bytes(width, "big").hex()


class File:
    def __init__(self, path, about):
        self.file = open(path, "w", encoding="ascii")
        self.file.write(f"# {about}\n# Made by tests/vectors/crypto/pubkey/make_vectors.py.\n")

    def section(self, name):
        self.file.write(f"\n[{name}]\n")
        self.first = True

    def case(self, **values):
        if not self.first:
            self.file.write("\n")
        self.first = False
        for key, value in values.items():
            self.file.write(f"{key} = {value}\n")


def bignum():
    out = File("../bignum/modular.vec", "Powers and inverses modulo odd numbers.")
    out.section("power")
    sizes = [8, 64, 65, 127, 512, 1000, 1023, 1024, 1025, 1088, 1536, 2046, 2048, 2100, 3071, 3072,
             3100, 4094, 4095, 4096, 4160, 8192]
    for bits in sizes:
        moduli = [rnd.getrandbits(bits) | 1 | 1 << (bits - 1)]
        if bits % 1024 == 0:
            moduli += [(1 << bits) - 1, (1 << (bits - 1)) + 1]
        for n in moduli:
            for x, e in ((rnd.randrange(n), 65537), (n - 1, 3), (1, 5), (0, 3),
                         (rnd.randrange(n), rnd.getrandbits(64) | 1), (rnd.randrange(n), 6)):
                out.case(N=hexed(n), X=hexed(x), E=hexed(e), Z=hexed(pow(x, e, n)))
    out.section("inverse")
    for bits in (2, 61, 62, 63, 64, 65, 124, 160, 192, 255, 256, 257, 384, 511, 512, 521, 575, 576):
        n = rnd.getrandbits(bits) | 1 | 1 << (bits - 1)
        for x in {1, 2, n - 1, n - 2, n // 2, rnd.randrange(1, n), 1 << (bits - 1)}:
            if 0 < x < n:
                try:
                    out.case(N=hexed(n), X=hexed(x), Z=hexed(pow(x, -1, n)))
                except ValueError:
                    out.case(N=hexed(n), X=hexed(x), Z="none")
    for n, x in ((2**192 - 2**64 - 1, 0x580874cd92e36a8d62dd95b8af3b672e9cb6b06301e45df0),
                 (2**256 - 2**224 + 2**192 + 2**96 - 1,
                  0x6f8ca3f99d2771c0e8efaf77afb51ae14c8d22c7d59186c0d32a60bf02db49f0)):
        out.case(N=hexed(n), X=hexed(x), Z=hexed(pow(x, -1, n)))
    n = 3 * 5 * 7 * ((1 << 200) + 1)
    for x in (3, 35, n // 3, n // 5):
        out.case(N=hexed(n), X=hexed(x), Z="none")


def rsa_key(bits, e):
    while True:
        p, q = prime((bits + 1) // 2), prime(bits - (bits + 1) // 2 + (bits % 2 == 1))
        n, phi = p * q, (p - 1) * (q - 1)
        if n.bit_length() == bits and phi % e != 0:
            try:
                return n, e, pow(e, -1, phi)
            except ValueError:
                pass


def digest_info(hash_id, digest, null=True, more=b""):
    oid = bytes.fromhex(HASHES[hash_id][1])
    algorithm = bytes([6, len(oid)]) + oid + (b"\5\0" if null else b"") + more
    algorithm = bytes([0x30, len(algorithm)]) + algorithm
    content = algorithm + bytes([4, len(digest)]) + digest
    return bytes([0x30, len(content)]) + content


def pkcs1(size, content, start=b"\0\1", fill=b"\xff", end=b"\0"):
    return start + fill * (size - 2 - len(end) - len(content)) + end + content


def mgf1(name, seed, size):
    mask = b""
    while len(mask) < size:
        mask += hashlib.new(name, seed + (len(mask) // hashlib.new(name).digest_size)
                            .to_bytes(4, "big")).digest()
    return mask[:size]


def pss(bits, hash_id, mgf_id, digest, salt, trailer=0xBC, one=1, fill=0, top=False):
    name, size = HASHES[hash_id][0], HASHES[hash_id][2]
    width = (bits - 1 + 7) // 8
    h = hashlib.new(name, bytes(8) + digest + salt).digest()
    padding = width - size - 2 - len(salt)
    assert padding >= 0
    block = bytes([fill]) * padding + bytes([one]) + salt
    masked = bytearray(a ^ b for a, b in zip(block, mgf1(HASHES[mgf_id][0], h, len(block))))
    clear = 0xFF >> (8 * width - (bits - 1))
    masked[0] &= clear
    if top:
        masked[0] |= 0x80
    block = bytes(masked) + h + bytes([trailer])
    return bytes((bits + 7) // 8 - width) + block


def rsa():
    out = File("rsa.vec", "RSA signatures, good and bad. Result: valid, invalid (the right key), "
               "wrong-key.")

    def put(key, block, hash_id, digest, padding, result, about, mgf=None):
        n, e, d = key
        size = (n.bit_length() + 7) // 8
        value = int.from_bytes(block, "big")
        out.case(About=about, N=hexed(n), E=hexed(e), Padding=padding, Hash=hash_id,
                 Mgf=mgf or hash_id, Digest=digest.hex(),
                 Signature=hexed(pow(value, d, n), size), Result=result)

    def digest_of(hash_id):
        return rnd.getrandbits(8 * HASHES[hash_id][2]).to_bytes(HASHES[hash_id][2], "big")

    out.section("pkcs1")
    keys = [rsa_key(512, 3), rsa_key(1023, 65537), rsa_key(1024, 3), rsa_key(1025, 17),
            rsa_key(2048, 65537), rsa_key(2056, (1 << 64) + 13), rsa_key(768, 65537)]
    for index, hash_id in enumerate(HASHES):
        key = keys[2 + index % 4]
        size = (key[0].bit_length() + 7) // 8
        digest = digest_of(hash_id)
        put(key, pkcs1(size, digest_info(hash_id, digest)), hash_id, digest, 1, "valid", "plain")
        put(key, pkcs1(size, digest_info(hash_id, digest, False)), hash_id, digest, 1, "valid",
            "no NULL")
        other = 7 if hash_id == 1 else 1
        put(key, pkcs1(size, digest_info(hash_id, digest)[:-1] + b"\0"), hash_id,
            digest[:-1] + b"\1", 1, "invalid", "another hash")
        put(key, pkcs1(size, digest_info(other, digest)), hash_id, digest, 1, "invalid",
            "another algorithm")
    for key in keys:
        bits = key[0].bit_length()
        size = (bits + 7) // 8
        digest = digest_of(7)
        good = digest_info(7, digest)
        put(key, pkcs1(size, good), 7, digest, 1, "valid", f"{bits} bits")
        bad = {
            "garbage behind the hash": (pkcs1(size, good + b"\1"), "invalid"),
            "garbage, fill of eight": (b"\0\1" + b"\xff" * 8 + b"\0" + good + bytes(size), "invalid"),
            "parameters that are not NULL": (pkcs1(size, digest_info(7, digest, False, b"\4\0")),
                                             "invalid"),
            "NULL and more": (pkcs1(size, digest_info(7, digest, True, b"\5\0")), "invalid"),
            "long form of a length": (pkcs1(size, b"\x30\x81" + good[1:]), "invalid"),
            "the bare hash": (pkcs1(size, digest), "invalid"),
            "no content": (pkcs1(size, b""), "invalid"),
            "fill of seven": (b"\0\1" + b"\xff" * 7 + b"\0" + good + bytes(size), "wrong-key"),
            "block type 2": (pkcs1(size, good, b"\0\2"), "wrong-key"),
            "block type 0": (pkcs1(size, good, b"\0\0", b"\0"), "wrong-key"),
            "fill of 00": (pkcs1(size, good, fill=b"\0"), "wrong-key"),
            "fill not closed": (pkcs1(size, b"", end=b""), "wrong-key"),
            "fill closed by FE": (pkcs1(size, good, end=b"\xfe"), "wrong-key"),
            "random": (b"\0" + rnd.getrandbits(8 * size - 8).to_bytes(size - 1, "big"), "wrong-key"),
        }
        if bits % 8 == 0:
            bad["leading byte 01"] = (pkcs1(size, good, b"\1\1"), "wrong-key")
        for about, (block, result) in bad.items():
            if size >= 75:
                put(key, block[:size], 7, digest, 1, result, f"{bits} bits, {about}")

    out.section("pss")
    for key in keys:
        bits = key[0].bit_length()
        for hash_id in (1, 7, 2, 3, 10, 5):
            size = HASHES[hash_id][2]
            longest = (bits - 1 + 7) // 8 - size - 2
            digest = digest_of(hash_id)
            for length in sorted({0, 1, size, longest}):
                if 0 <= length <= longest:
                    salt = bytes(rnd.randrange(256) for _ in range(length))
                    put(key, pss(bits, hash_id, hash_id, digest, salt), hash_id, digest, 3, "valid",
                        f"{bits} bits, salt of {length}")
        digest = digest_of(7)
        salt = bytes(range(20))
        if bits < 1023:
            continue
        put(key, pss(bits, 7, 1, digest, salt), 7, digest, 3, "valid", "another hash of MGF1", 1)
        put(key, pss(bits, 7, 1, digest, salt), 7, digest, 3, "wrong-key", "MGF1 hash mistaken")
        put(key, pss(bits, 7, 7, digest[::-1], salt), 7, digest, 3, "invalid", "another hash")
        put(key, pss(bits, 7, 7, digest, salt, trailer=0xBD), 7, digest, 3, "wrong-key", "trailer")
        put(key, pss(bits, 7, 7, digest, salt, trailer=0xCC), 7, digest, 3, "wrong-key",
            "trailer of ISO 9796-2")
        put(key, pss(bits, 7, 7, digest, salt, one=2), 7, digest, 3, "wrong-key", "no 01")
        put(key, pss(bits, 7, 7, digest, bytes(20), one=0), 7, digest, 3, "wrong-key", "all zero")
        put(key, pss(bits, 7, 7, digest, salt, fill=0x80), 7, digest, 3, "wrong-key", "fill of 80")


def dsa_domain(bits, order_bits):
    q = prime(order_bits)
    while True:
        p = rnd.getrandbits(bits) | 1 << (bits - 1)
        p = p - p % (2 * q) + 1
        if p.bit_length() == bits and is_prime(p):
            break
    h = 2
    while pow(h, (p - 1) // q, p) == 1:
        h += 1
    return p, q, pow(h, (p - 1) // q, p)


def hash_number(digest, order):
    number = int.from_bytes(digest, "big")
    excess = 8 * len(digest) - order.bit_length()
    return number >> excess if excess > 0 else number


def der(r, s):
    def integer(x):
        raw = x.to_bytes(x.bit_length() // 8 + 1, "big")
        return bytes([2, len(raw)]) + raw
    content = integer(r) + integer(s)
    return (bytes([0x30]) + (b"\x81" if len(content) > 127 else b"") + bytes([len(content)])
            + content)


def dsa():
    out = File("dsa.vec", "DSA signatures (FIPS 186-4, 4.6). Every case is valid as it stands.")
    out.section("signatures")
    for bits, order_bits in ((512, 160), (1000, 160), (1024, 160), (2048, 224), (2048, 256),
                             (3072, 256), (1024, 161)):
        p, q, g = dsa_domain(bits, order_bits)
        x = rnd.randrange(1, q)
        y = pow(g, x, p)
        width = (order_bits + 7) // 8
        for size in (20, 32, 64, 1):
            digest = bytes(rnd.randrange(256) for _ in range(size))
            k = rnd.randrange(1, q)
            r = pow(g, k, p) % q
            s = pow(k, -1, q) * (hash_number(digest, q) + x * r) % q
            out.case(P=hexed(p), Q=hexed(q), G=hexed(g), Y=hexed(y), Digest=digest.hex(),
                     Raw=hexed(r, width) + hexed(s, width), Der=der(r, s).hex())


class Curve:
    def __init__(self, name, values):
        self.name = name
        self.p, self.a, self.b, self.gx, self.gy, self.n = values
        self.g = (self.gx, self.gy)

    def add(self, u, v):
        if u is None or v is None:
            return u or v
        if u[0] == v[0]:
            if (u[1] + v[1]) % self.p == 0:
                return None
            slope = (3 * u[0] * u[0] + self.a) * pow(2 * u[1], -1, self.p)
        else:
            slope = (v[1] - u[1]) * pow(v[0] - u[0], -1, self.p)
        x = (slope * slope - u[0] - v[0]) % self.p
        return x, (slope * (u[0] - x) - u[1]) % self.p

    def multiply(self, k, u):
        result = None
        for bit in bin(k)[2:]:
            result = self.add(result, result)
            if bit == "1":
                result = self.add(result, u)
        return result

    def lift(self, x):
        right = (x ** 3 + self.a * x + self.b) % self.p
        if self.p % 4 != 3 or pow(right, (self.p - 1) // 2, self.p) != 1:
            return None
        return x, pow(right, (self.p + 1) // 4, self.p)


def curves():
    names = {"P-192": "prime192v1", "P-224": "secp224r1", "P-256": "prime256v1",
             "P-384": "secp384r1", "P-521": "secp521r1", "secp256k1": "secp256k1",
             "brainpoolP256r1": "brainpoolP256r1", "brainpoolP384r1": "brainpoolP384r1",
             "brainpoolP512r1": "brainpoolP512r1"}
    for name, theirs in names.items():
        raw = subprocess.run(["openssl", "ecparam", "-name", theirs, "-param_enc", "explicit",
                              "-outform", "DER", "-conv_form", "uncompressed"],
                             check=True, capture_output=True).stdout

        def read(data):
            length, at = data[1], 2
            if length & 0x80:
                at += length & 0x7F
                length = int.from_bytes(data[2:at], "big")
            return data[at:at + length], data[at + length:]
        body, _ = read(raw)
        _, rest = read(body)  # version
        field, rest = read(rest)
        curve, rest = read(rest)
        point, rest = read(rest)
        order, _ = read(rest)
        _, p = read(field)
        a, b = read(curve)
        b, _ = read(b)
        width = len(point) // 2
        numbers = [read(p)[0], a, b, point[1:1 + width], point[1 + width:], order]
        yield Curve(name, [int.from_bytes(x, "big") for x in numbers])


def ecc():
    out = File("ecc.vec", "Points, sums of two multiples and ECDSA signatures on all curves.")
    all_curves = list(curves())
    out.section("sums")
    for c in all_curves:
        def put(about, u1, u2, q):
            total = c.add(c.multiply(u1, c.g), c.multiply(u2, q))
            out.case(About=about, Curve=c.name, U1=hexed(u1), U2=hexed(u2), X=hexed(q[0]),
                     Y=hexed(q[1]), R="none" if total is None else hexed(total[0] % c.n))
        n = c.n
        minus_g = (c.gx, c.p - c.gy)
        q = c.multiply(rnd.randrange(1, n), c.g)
        put("random", rnd.randrange(n), rnd.randrange(n), q)
        put("random", rnd.randrange(n), rnd.randrange(n), c.multiply(rnd.randrange(1, n), c.g))
        put("G alone", rnd.randrange(n), 0, q)
        put("Q alone", 0, rnd.randrange(n), q)
        put("ones", 1, 1, q)
        put("nothing", 0, 0, q)
        put("Q is G", 5, 5, c.g)
        put("Q is G, doubling at the end", 1, 1, c.g)
        put("Q is -G, cancelling", 7, 7, minus_g)
        put("cancelling, large", 12345, n - 12345, c.g)
        put("cancelling but one", 12346, n - 12345, c.g)
        put("largest scalars", n - 1, n - 1, q)
        put("all ones", (1 << (n.bit_length() - 1)) - 1, (1 << (n.bit_length() - 1)) - 1, q)
        put("one bit each", 1 << (n.bit_length() - 1), 1 << (n.bit_length() // 2), q)
        put("alternating", int("a" * (n.bit_length() // 4 - 1), 16),
            int("5" * (n.bit_length() // 4 - 1), 16), q)
        half = 1 << (n.bit_length() // 2)
        put("halves", half - 1, half + 1, q)
        put("Q is 2G", rnd.randrange(n), rnd.randrange(n), c.add(c.g, c.g))
        if c.n < c.p:
            x = c.n
            while c.lift(x) is None and x < c.p and c.p % 4 == 3:
                x += 1
            point = c.lift(x) if x < c.p else None
            if point:
                put("x above the order", 0, 1, point)
    out.section("compressed")
    for c in all_curves:
        width = (c.p.bit_length() + 7) // 8
        for _ in range(3):
            x, y = c.multiply(rnd.randrange(1, c.n), c.g)
            out.case(Curve=c.name, Compressed=f"0{2 + y % 2}" + hexed(x, width),
                     Uncompressed="04" + hexed(x, width) + hexed(y, width))
    out.section("not on the curve")
    for c in all_curves:
        width = (c.p.bit_length() + 7) // 8
        found = 0
        while found < 3:
            x = rnd.randrange(c.p)
            right = (x ** 3 + c.a * x + c.b) % c.p
            if pow(right, (c.p - 1) // 2, c.p) == c.p - 1:
                out.case(Curve=c.name, Point="02" + hexed(x, width))
                out.case(Curve=c.name, Point="04" + hexed(x, width) + hexed(1, width))
                found += 1
    out.section("signatures")
    for c in all_curves:
        d = rnd.randrange(1, c.n)
        q = c.multiply(d, c.g)
        width = (c.p.bit_length() + 7) // 8
        order_width = (c.n.bit_length() + 7) // 8
        for size in (20, 32, 48, 64, 1):
            digest = bytes(rnd.randrange(256) for _ in range(size))
            k = rnd.randrange(1, c.n)
            r = c.multiply(k, c.g)[0] % c.n
            s = pow(k, -1, c.n) * (hash_number(digest, c.n) + r * d) % c.n
            out.case(Curve=c.name, Point="04" + hexed(q[0], width) + hexed(q[1], width),
                     Digest=digest.hex(), Raw=hexed(r, order_width) + hexed(s, order_width),
                     Der=der(r, s).hex())


bignum()
rsa()
dsa()
ecc()
