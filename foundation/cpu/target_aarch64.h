// SPDX-License-Identifier: MIT
#ifndef FOUNDATION_CPU_TARGET_AARCH64_H
#define FOUNDATION_CPU_TARGET_AARCH64_H

// Let one function use an extension of AArch64: the instructions of SHA-1 and SHA-256, those of
// SHA-512 (a part of the extension for SHA-3), those of CRC-32. The compilers name them
// differently; gcc 12 has the first only together with AES, the second only with ARMv8.2, which
// processors that have it are. NEON needs none: it belongs to the architecture.
// VANTREL_ARM_EXTENSIONS is not defined where a compiler can do none of it: clang before 16 has the
// functions only when the whole file is compiled for them.
#if defined(__aarch64__) && defined(__clang__) && __clang_major__ >= 16
#define VANTREL_ARM_EXTENSIONS 1
#define VANTREL_TARGET_ARM_SHA __attribute__((target("sha2")))
#define VANTREL_TARGET_ARM_SHA512 __attribute__((target("sha3")))
#define VANTREL_TARGET_ARM_CRC32 __attribute__((target("crc")))
#elif defined(__aarch64__) && !defined(__clang__)
#define VANTREL_ARM_EXTENSIONS 1
#define VANTREL_TARGET_ARM_SHA __attribute__((target("+crypto")))
#define VANTREL_TARGET_ARM_SHA512 __attribute__((target("arch=armv8.2-a+sha3")))
#define VANTREL_TARGET_ARM_CRC32 __attribute__((target("+crc")))
#endif

#endif
