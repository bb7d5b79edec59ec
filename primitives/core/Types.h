#ifndef DORNIMAGE_PRIMITIVES_CORE_TYPES_H
#define DORNIMAGE_PRIMITIVES_CORE_TYPES_H

/* Records, status codes and numeric codes that all primitives share. Valid in C. */

#include <stdint.h>

/* On a function: its result has to be looked at. */
#if defined(__cplusplus)
#define IPP_NODISCARD [[nodiscard]]
#else
#define IPP_NODISCARD
#endif

#if defined(__cplusplus)
extern "C" {
#endif

/* 0 success, positive warning (the call worked), negative error (the destination is untouched). */
typedef int32_t IppStatus;

/* One 8-bit unsigned sample. */
typedef uint8_t Ipp8u;

/* A size in pixels. */
typedef struct IppiSize {
    int32_t width;
    int32_t height;
} IppiSize;

/* A position in pixels. */
typedef struct IppiPoint {
    int32_t x;
    int32_t y;
} IppiPoint;

/* Status codes; ippGetStatusString gives the texts. */
enum {
    ippStsNoErr = 0,
    ippStsNoOperation = 1,
    ippStsNonNativeCpu = 20,
    ippStsNoPixelsWrn = 30,
    ippStsCpuNotSupported = 36,
    ippStsUnknownCacheSize = 37,
    ippStsNoAntialiasing = 46,
    ippStsSizeWrn = 48,
    ippStsFeatureNotSupported = 49,
    ippStsUnknownFeature = 50,
    ippStsIncompleteFeatures = 51,
    ippStsBadArgErr = -5,
    ippStsSizeErr = -6,
    ippStsNullPtrErr = -8,
    ippStsOutOfRangeErr = -11,
    ippStsDataTypeErr = -12,
    ippStsStepErr = -14,
    ippStsContextMatchErr = -17,
    ippStsInterpolationErr = -22,
    ippStsMaskSizeErr = -33,
    ippStsChannelErr = -47,
    ippStsNumChannelsErr = -53,
    ippStsCoeffErr = -56,
    ippStsBorderErr = -225,
    ippStsWrongDirectionErr = -231,
    ippStsExceededSizeErr = -232,
    ippStsNotSupportedModeErr = -9999
};

/* Data types of samples. */
enum {
    ipp8u = 1,   /* 8-bit unsigned, the type that the run functions take */
    ipp16u = 5,  /* 16-bit unsigned */
    ipp16s = 7,  /* 16-bit signed */
    ipp32f = 13, /* 32-bit float */
    ipp64f = 19  /* 64-bit float */
};

/* Interpolation methods. */
enum { ippNearest = 1, ippLinear = 2, ippCubic = 6, ippSuper = 8, ippLanczos = 16 };

/* A border type is one byte: a kind in the low four bits, and flags for sides whose neighbouring pixels exist
   in memory and are read there. Exactly ippBorderInMem needs no kind. */
enum {
    ippBorderRepl = 1,         /* replicate the edge */
    ippBorderMirror = 3,       /* mirror about the edge pixel, which is not repeated: filters only */
    ippBorderConst = 6,        /* the caller's border value: filters and warp */
    ippBorderTransp = 7,       /* pixels outside the source are not written: warp only */
    ippBorderInMemTop = 16,    /* rows above the source exist in memory */
    ippBorderInMemBottom = 32, /* rows below exist */
    ippBorderInMemLeft = 64,   /* columns to the left exist */
    ippBorderInMemRight = 128, /* columns to the right exist */
    ippBorderInMem = 240       /* all four sides exist: no border work at all */
};

#if defined(__cplusplus)
}
#endif

#endif
