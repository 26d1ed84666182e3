/** @defgroup talvera_api Declaration helpers
 *  Macros that the public headers use in their declarations.
 *  @{ */
#ifndef TALVERA_API_H
#define TALVERA_API_H

#if !defined(__GNUC__)
#error "talvera needs a compiler with GNU attributes (GCC or Clang)"
#endif

/** Exports a symbol from the shared library; all other symbols are hidden. */
#define TALVERA_API __attribute__((visibility("default")))

/** Lets the compiler check a printf-style format, argument @p format_index (counted from 1),
 *  against the arguments from @p first on. */
#define TALVERA_PRINTF(format_index, first) __attribute__((format(printf, format_index, first)))

/** Declares that the listed pointer arguments (counted from 1; an empty list means all) must not be
 *  null. */
#define TALVERA_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))

/** Makes the compiler warn when the result is ignored, which leaks memory or hides a failure. */
#define TALVERA_MUST_USE __attribute__((warn_unused_result))

/** @def TALVERA_BEGIN_DECLS
 *  Opens the declarations of a header; in C++ they get C linkage. */

/** @def TALVERA_END_DECLS
 *  Closes what TALVERA_BEGIN_DECLS opens. */

#ifdef __cplusplus
#define TALVERA_BEGIN_DECLS extern "C" {
#define TALVERA_END_DECLS }
#else
#define TALVERA_BEGIN_DECLS
#define TALVERA_END_DECLS
#endif

#endif
/** @} */
