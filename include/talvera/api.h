/** @file
 *  Declaration helpers that every public header uses.
 */
#ifndef TALVERA_API_H
#define TALVERA_API_H

#if !defined(__GNUC__)
#error "talvera needs a compiler with GNU attributes (GCC or Clang)"
#endif

/** Marks what the shared library exports; all else is hidden. */
#define TALVERA_API __attribute__((visibility("default")))

/** Lets the compiler check a printf-style format at argument @p format (counted from 1) against
 *  the arguments from @p first on. */
#define TALVERA_PRINTF(format_index, first) __attribute__((format(printf, format_index, first)))

/** The named pointer arguments (counted from 1; none named: all of them) must not be null. */
#define TALVERA_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))

/** Ignoring the result would leak or hide a failure. */
#define TALVERA_MUST_USE __attribute__((warn_unused_result))

/** @def TALVERA_BEGIN_DECLS
 *  Opens the declarations of a header, which are C in C++ too. */

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
