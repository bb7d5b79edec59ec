#ifndef DORNIMAGE_PRIMITIVES_CORE_VARIANTPROBE_H
#define DORNIMAGE_PRIMITIVES_CORE_VARIANTPROBE_H

namespace primitives {

// Gives the index of the variant that its code was compiled for.
template <int variant>
struct VariantProbe {
    static int run();
};

} // namespace primitives

#endif
