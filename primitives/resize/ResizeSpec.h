#ifndef DORNIMAGE_PRIMITIVES_RESIZE_RESIZESPEC_H
#define DORNIMAGE_PRIMITIVES_RESIZE_RESIZESPEC_H

/* Plans of the resize methods and the sizes of the memory that a resize needs. Valid in C.

   A resize takes these steps: ippiResizeGetSize_8u tells the size of the plan, the Init function of the
   method builds it for one source size and one destination size, ippiResizeGetBufferSize_8u tells the size of
   the work buffer, and the run functions make the whole destination or any tile of it, as often as wanted.
   Threads may share a plan; each needs a work buffer of its own. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* The first word of every plan. */
#define IPP_RESIZE_MAGIC UINT32_C(0x4B617389)

/* A plan begins at the first address in its block that is a multiple of this. */
#define IPP_RESIZE_ALIGNMENT 64

/* One axis of a plan. Tables that a method doesn't use are null. */
typedef struct IppiResizeAxis {
    uint32_t srcSize;    /* source extent in pixels */
    uint32_t dstSize;    /* destination extent in pixels */
    uint32_t srcReduced; /* both extents divided by their greatest common divisor */
    uint32_t dstReduced; /* likewise */
    int32_t* index;      /* source positions */
    float* coef32f;      /* coefficients; a run takes the first table of coef32f, coef16 and coef64f */
    double* coef64f;     /* the same in double precision */
    uint16_t* coef16;    /* the same as weights of 14 bits */
    void* reserved;      /* null */
    uint32_t leadCount;  /* destination positions whose taps reach below the first source pixel */
    uint32_t trailCount; /* and past the last one */
} IppiResizeAxis;

/* The plan at the start of its block. The tables lie behind it in the same block, so that a plan can't be
   copied or moved. */
typedef struct IppiResizeSpec {
    uint32_t magic;         /* IPP_RESIZE_MAGIC */
    uint32_t tableType;     /* ipp32f */
    uint32_t interpolation; /* ippLinear, ippCubic, ippSuper or ippLanczos */
    uint32_t tapsX; /* source pixels that the method reads on each side of a position; 0 for ippSuper */
    uint32_t tapsY; /* the same for rows */
    uint32_t antialiasing; /* 0 */
    uint32_t borderTop;    /* source pixels that are read above a tile */
    uint32_t borderLeft;   /* to its left */
    uint32_t borderBottom; /* below it */
    uint32_t borderRight;  /* to its right */
    IppiResizeAxis axisY;  /* rows */
    IppiResizeAxis axisX;  /* columns */
} IppiResizeSpec;

/* The sizes in bytes of a plan and of the scratch block that some Init functions need. A plan's block may lie
   at any address, which is why functions take `spec` as the block's address: the plan itself begins at the
   next multiple of IPP_RESIZE_ALIGNMENT.

   `interpolation` is ippNearest, ippLinear, ippCubic, ippSuper or ippLanczos. `antialiasing` other than 0
   gives the sizes that plans for it would have; no Init function builds one.

   Statuses, in the order of the tests, nothing being stored for those other than 0 and 46: ippStsNullPtrErr
   (an output pointer is null), ippStsNoOperation (a side of 0), ippStsSizeErr (a side below 1),
   ippStsInterpolationErr, ippStsSizeErr (the source is smaller than the method's least size: 2 for ippLinear,
   4 for ippCubic and ippLanczos, the destination for ippSuper), ippStsExceededSizeErr (0x7FFFFFFF bytes or
   more); ippStsNoAntialiasing when it is asked for ippNearest or ippSuper, where it has no effect. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeGetSize_8u(IppiSize srcSize, IppiSize dstSize,
                                                           int32_t interpolation, uint32_t antialiasing,
                                                           int32_t* specSize, int32_t* initBufSize);

/* The size in bytes of the work buffer for runs that make tiles of up to `dstSize` pixels with `numChannels`
   channels. The buffer may lie at any address.

   Statuses, in the order of the tests: ippStsNullPtrErr, ippStsNoOperation (a side of 0),
   ippStsContextMatchErr (`spec` holds no plan), ippStsNumChannelsErr (not 1, 3 or 4), ippStsSizeErr (a side
   below 1), ippStsExceededSizeErr (0x7FFFFFFF bytes or more); ippStsSizeWrn when `dstSize` exceeds the plan's
   destination, and the size for that destination is stored. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippiResizeGetBufferSize_8u(const IppiResizeSpec* spec, IppiSize dstSize,
                                                                 uint32_t numChannels, int32_t* bufferSize);

#if defined(__cplusplus)
}
#endif

#endif
