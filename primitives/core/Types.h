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
    int32_t width;  /* across */
    int32_t height; /* down: rows as they lie in memory */
} IppiSize;

/* A position in pixels. */
typedef struct IppiPoint {
    int32_t x; /* across, from 0 */
    int32_t y; /* down, from 0: rows as they lie in memory */
} IppiPoint;

/* Status codes; ippGetStatusString gives the texts. */
enum {
    ippStsNoErr = 0,                  /* success */
    ippStsNoOperation = 1,            /* a width or height of zero: nothing to do */
    ippStsNonNativeCpu = 20,          /* processor of another vendor */
    ippStsNoPixelsWrn = 30,           /* the destination receives no pixels */
    ippStsCpuNotSupported = 36,       /* the processor lacks SSE2 */
    ippStsUnknownCacheSize = 37,      /* the cache parameters could not be read */
    ippStsNoAntialiasing = 46,        /* antialiasing has no effect on this method */
    ippStsSizeWrn = 48,               /* the tile reaches beyond the destination and was clipped */
    ippStsFeatureNotSupported = 49,   /* a requested processor feature is absent */
    ippStsUnknownFeature = 50,        /* a requested feature bit has no meaning */
    ippStsIncompleteFeatures = 51,    /* the feature mask lacks a bit that its highest feature implies */
    ippStsBadArgErr = -5,             /* an argument is out of its domain */
    ippStsSizeErr = -6,               /* a width or height is below the limit of the method */
    ippStsNullPtrErr = -8,            /* a required pointer is null */
    ippStsOutOfRangeErr = -11,        /* a position lies outside its range */
    ippStsDataTypeErr = -12,          /* the data type is not accepted */
    ippStsStepErr = -14,              /* a row step is too small */
    ippStsContextMatchErr = -17,      /* the plan was made for another method */
    ippStsInterpolationErr = -22,     /* the interpolation is not accepted */
    ippStsMaskSizeErr = -33,          /* a filter window with a side below 1 */
    ippStsChannelErr = -47,           /* the channel count is not 1 or 3 */
    ippStsNumChannelsErr = -53,       /* the channel count is not 1, 3 or 4 */
    ippStsCoeffErr = -56,             /* the transform is singular */
    ippStsBorderErr = -225,           /* the border kind is not accepted */
    ippStsWrongDirectionErr = -231,   /* the direction is not 0 or 1 */
    ippStsExceededSizeErr = -232,     /* a plan or buffer would take 0x7FFFFFFF bytes or more */
    ippStsNotSupportedModeErr = -9999 /* the mode is not provided */
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
