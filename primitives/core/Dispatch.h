#ifndef DORNIMAGE_PRIMITIVES_CORE_DISPATCH_H
#define DORNIMAGE_PRIMITIVES_CORE_DISPATCH_H

// How a call of an entry point reaches the variant in force.
//
// An entry point `ippiThing` is a class template with one static member function, declared where both sides
// see it:
//
//     template <int variant>
//     struct Thing {
//         static IppStatus run(const Ipp8u* src, ...);
//     };
//
// The level source defines `template <> IppStatus Thing<kVariant>::run(...)`, once per variant; an explicit
// specialisation is an ordinary symbol, named by its level. The entry point itself, in a source compiled
// for every processor, is
//
//     IppStatus ippiThing(const Ipp8u* src, ...) { return dispatch<Thing>(src, ...); }
//
// which compiles to one load, one address and one jump. An entry point that gains nothing from a variant
// defines `run` once, as a member of the template in its own source.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "primitives/core/Frame.h"

namespace primitives {

// 0 to 7, the variant in force; -1 before the choice. Relaxed order is enough: the tables are constant, and
// threads that make their first calls at once store the same value. Hidden, so that an entry point reads it
// without a table of addresses in between.
[[gnu::visibility("hidden")]] extern std::atomic<std::int32_t> ippVariantIndex;
static_assert(std::atomic<std::int32_t>::is_always_lock_free);

template <template <int> class Entry, typename Function>
struct ippVariantTable;

template <template <int> class Entry, typename Result, typename... Arguments>
struct ippVariantTable<Entry, Result (*)(Arguments...)> {
    using Function = Result (*)(Arguments...);

    // Stands in the slot before variant 0, where the index points before the choice, so that an entry point
    // needs no test. It has the arguments of the entry point, hence hands all of them on untouched.
    static Result firstCall(Arguments... arguments) {
        ippInit();
        return current()(arguments...);
    }

    static Function current() {
        const std::ptrdiff_t index = ippVariantIndex.load(std::memory_order_relaxed);
        return slots[index + 1];
    }

#if defined(DORN_PORTABLE_PRIMITIVES)
    static constexpr Function slots[1 + IPP_VARIANT_COUNT] = {&firstCall,     &Entry<0>::run, &Entry<0>::run,
                                                              &Entry<0>::run, &Entry<0>::run, &Entry<0>::run,
                                                              &Entry<0>::run, &Entry<0>::run, &Entry<0>::run};
#else
    static constexpr Function slots[1 + IPP_VARIANT_COUNT] = {&firstCall,     &Entry<0>::run, &Entry<1>::run,
                                                              &Entry<2>::run, &Entry<3>::run, &Entry<4>::run,
                                                              &Entry<5>::run, &Entry<6>::run, &Entry<7>::run};
#endif
};

// Calls the variant in force of an entry point.
template <template <int> class Entry, typename... Arguments>
inline auto dispatch(Arguments... arguments) {
    return ippVariantTable<Entry, decltype(&Entry<0>::run)>::current()(arguments...);
}

} // namespace primitives

#endif
