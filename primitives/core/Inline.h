#ifndef DORNIMAGE_PRIMITIVES_CORE_INLINE_H
#define DORNIMAGE_PRIMITIVES_CORE_INLINE_H

// For a helper of level sources. It leaves no function behind: a shared copy might be kept from a level that
// the processor at hand can't run.
#define DORN_INLINE static inline __attribute__((always_inline))

#endif
