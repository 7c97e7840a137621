// Marks the functions that run on the real-time audio thread.
#pragma once

// Stands behind the parameter list of a function that must not allocate, lock, wait or call the
// system in its steady state. Under clang's real-time sanitizer such a function traps when it does;
// other compilers see nothing.
#if defined(__has_feature)
#if __has_feature(realtime_sanitizer)
#define QUORVEL_REAL_TIME [[clang::nonblocking]]
#endif
#endif
#ifndef QUORVEL_REAL_TIME
#define QUORVEL_REAL_TIME
#endif
