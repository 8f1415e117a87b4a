// SQXA_PRINTF(f, a): marks a printf-style function so the compiler checks every
// call's format (argument f) against its arguments (from argument a on).
// MinGW-w64 builds use the C99-conforming stdio, whose format archetype is
// gnu_printf there; everywhere else it is printf.
#pragma once

#if defined(__MINGW32__)
#define SQXA_PRINTF(format_index, first_argument) \
  __attribute__((format(gnu_printf, format_index, first_argument)))
#else
#define SQXA_PRINTF(format_index, first_argument) \
  __attribute__((format(printf, format_index, first_argument)))
#endif
