#ifndef DORNIMAGE_PRIMITIVES_RESIZE_LANCZOSWEIGHTS_H
#define DORNIMAGE_PRIMITIVES_RESIZE_LANCZOSWEIGHTS_H

namespace primitives {

// Writes the 2 * lobes weights for a position `fraction` behind a source pixel, normalised: the kernel
// sinc(x) sinc(x / lobes), with sinc(x) = sin(pi x) / (pi x), by linear interpolation in a table. For 2 and 3
// lobes.
template <int lobes>
void lanczosWeights(float fraction, float* weights);

} // namespace primitives

#endif
