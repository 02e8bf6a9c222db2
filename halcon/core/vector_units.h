// Loops that are compiled twice: once for every x86-64 processor, once for a vector unit that nearly all of them have.
// Compilers may use that unit only where they are told to; at run time the processor decides.
//
// A loop is a function marked HALCONCPP_INLINE. HALCONCPP_FOR("...") marks the function that calls it for a unit, where
// HALCONCPP_TWICE says that there is such a thing, and HALCONCPP_HAS("...") asks the processor.
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
