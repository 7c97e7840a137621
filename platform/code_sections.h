// The sections of the library file that hold what the real-time thread touches, apart from ordinary
// code and data, so that an installer or a loader can keep them in memory.
#pragma once

// A function in it must be defined out of line: an inline one beside it would be given the same
// section with another type.
#define QUORVEL_RT_CODE __attribute__((section("RT_CODE")))
#define QUORVEL_RT_DATA __attribute__((section("RT_DATA")))    // writable
#define QUORVEL_RT_CONST __attribute__((section("RT_CONST")))  // read-only; for `extern const`
