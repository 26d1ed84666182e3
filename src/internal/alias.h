// Aliases: exported functions under a second symbol name.
#pragma once

#if defined(__has_attribute)
#if __has_attribute(copy)
#define TALVERA_COPY_ATTRIBUTES(target) __attribute__((copy(target)))
#endif
#endif
#ifndef TALVERA_COPY_ATTRIBUTES
#define TALVERA_COPY_ATTRIBUTES(target)
#endif

// Use at namespace scope after the definition of `target`, in the same source file.
#define TALVERA_ALIAS(name, target) \
  extern "C" decltype(target) name __attribute__((alias(#target))) TALVERA_COPY_ATTRIBUTES(target)
