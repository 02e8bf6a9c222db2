// Loops that are compiled twice: once for every x86-64 processor, once for a vector unit that nearly all of them have.
// Compilers may use that unit only where they are told to; at run time the processor decides.
//
// The loop is a function marked HALCONCPP_INLINE. Where HALCONCPP_TWICE is 1, a second function marked
// HALCONCPP_FOR("unit") calls it, which compiles it for that unit; HALCONCPP_HAS("unit") asks the processor for it.
#ifndef HALCONCPP_CORE_VECTOR_UNITS_H
#define HALCONCPP_CORE_VECTOR_UNITS_H

#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__)
#define HALCONCPP_TWICE 1
#define HALCONCPP_INLINE [[gnu::always_inline]] inline
#define HALCONCPP_FOR(unit) [[gnu::target(unit)]]
#define HALCONCPP_HAS(unit) (__builtin_cpu_supports(unit) != 0)
#else
#define HALCONCPP_TWICE 0
#define HALCONCPP_INLINE inline
#endif

// On Windows compilers put values of 32 bytes on a stack that is aligned for 16 only.
#if HALCONCPP_TWICE && !defined(_WIN32)
#define HALCONCPP_TWICE_WIDE 1
#else
#define HALCONCPP_TWICE_WIDE 0
#endif

#endif
