#ifndef DORNIMAGE_PRIMITIVES_CORE_FRAME_H
#define DORNIMAGE_PRIMITIVES_CORE_FRAME_H

/* The choice of the implementation that all primitives run. Valid in C.

   Every entry point exists in eight variants, one for each processor generation; one variant is in force for
   the whole process. The first call of any entry point, or ippInit, detects the processor and chooses.

   index  variant                 chosen when the mask has          implied bits
     7    AVX-512 F CD BW DQ VL   all of 0x7300000                  0x73081DF
     6    AVX-512 F CD ER PF      all of 0xF00000                   0xF081DF
     5    AVX2                    0x8000 (AVX2, FMA, BMI1, BMI2)    0x81DF
     4    AVX                     0x100                             0x1DF
     3    SSE4.2                  0x80                              0xDF
     2    SSE4.1, MOVBE or SSSE3  0x40, 0x20 or 0x10                0x5F, 0x3F or 0x1F
     1    SSE3                    0x8                               0xF
     0    SSE2                    0x4                               0x7

   All of these functions may be called from several threads at once. Pinning a variant while primitives run
   in another thread is safe too, and leaves open which of the two variants serves a call that starts
   meanwhile. */

#include "base/Export.h"
#include "primitives/core/Types.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Bits of a feature mask. */
#define IPP_FEATURE_MMX UINT64_C(0x1)
#define IPP_FEATURE_SSE UINT64_C(0x2)
#define IPP_FEATURE_SSE2 UINT64_C(0x4)
#define IPP_FEATURE_SSE3 UINT64_C(0x8)
#define IPP_FEATURE_SSSE3 UINT64_C(0x10)
#define IPP_FEATURE_MOVBE UINT64_C(0x20)
#define IPP_FEATURE_SSE41 UINT64_C(0x40)
#define IPP_FEATURE_SSE42 UINT64_C(0x80)
#define IPP_FEATURE_AVX UINT64_C(0x100)
#define IPP_FEATURE_AVX_SAVED UINT64_C(0x200) /* the operating system saves the 256-bit registers */
#define IPP_FEATURE_AES UINT64_C(0x400)
#define IPP_FEATURE_PCLMULQDQ UINT64_C(0x800)
#define IPP_FEATURE_COPROCESSOR UINT64_C(0x1000)
#define IPP_FEATURE_RDRAND UINT64_C(0x2000)
#define IPP_FEATURE_F16C UINT64_C(0x4000)
#define IPP_FEATURE_AVX2 UINT64_C(0x8000) /* AVX2, FMA, BMI1 and BMI2 together */
#define IPP_FEATURE_ADX UINT64_C(0x10000)
#define IPP_FEATURE_RDSEED UINT64_C(0x20000)
#define IPP_FEATURE_PREFETCHW UINT64_C(0x40000)
#define IPP_FEATURE_SHA UINT64_C(0x80000)
#define IPP_FEATURE_AVX512F UINT64_C(0x100000)
#define IPP_FEATURE_AVX512CD UINT64_C(0x200000)
#define IPP_FEATURE_AVX512ER UINT64_C(0x400000)
#define IPP_FEATURE_AVX512PF UINT64_C(0x800000)
#define IPP_FEATURE_AVX512BW UINT64_C(0x1000000)
#define IPP_FEATURE_AVX512DQ UINT64_C(0x2000000)
#define IPP_FEATURE_AVX512VL UINT64_C(0x4000000)
#define IPP_FEATURE_AVX512VBMI UINT64_C(0x8000000)
#define IPP_FEATURE_MPX UINT64_C(0x10000000)
#define IPP_FEATURE_COPROCESSOR_MODEL UINT64_C(0x80000000)

/* In a request to ippSetCpuFeatures: take the request as it is, whatever the processor has. */
#define IPP_FEATURE_FORCE UINT64_C(0x8000000000000000)

/* The number of variants; their indices are 0 to IPP_VARIANT_COUNT - 1. */
#define IPP_VARIANT_COUNT 8

/* Detects the processor and chooses the variant. Entry points do this themselves on their first call.
   Gives ippStsNonNativeCpu on a processor of another vendor than the one that the feature table was written
   for (the variant is chosen all the same), else the status of the choice, see ippSetCpuFeatures. */
DORNIMAGE_API IppStatus ippInit(void);

/* Chooses the variant for the features in `mask` instead of the detected ones.

   Gives ippStsNoErr, ippStsUnknownFeature (a bit without meaning), ippStsFeatureNotSupported (a bit that the
   processor lacks), ippStsCpuNotSupported (no SSE2), or ippStsIncompleteFeatures (the mask lacks a bit that
   the chosen variant implies); a variant is put in force in each case. A bit that the processor lacks counts
   for the choice, so that the program may then stop at an unknown instruction, with one exception: when the
   operating system doesn't save the 256-bit registers, AVX and everything above is removed.

   With IPP_FEATURE_FORCE nothing is checked or removed, and the mask that was in force until then is taken
   for the detected one from here on: ippGetCpuFeatures then reports it. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippSetCpuFeatures(uint64_t mask);

/* Stores the detected features in `*mask`. `cpuidInfo` may be null. When `*mask` holds the eight characters
   "getinfoa" at the call and `cpuidInfo` is not null, the CPUID leaf `cpuidInfo[0]` with the sub-leaf
   `cpuidInfo[2]` is read too, and EAX, EBX, ECX, EDX are stored in the four elements of `cpuidInfo` (zeros on
   a processor without CPUID). Gives ippStsNullPtrErr when `mask` is null. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippGetCpuFeatures(uint64_t* mask, uint32_t* cpuidInfo);

/* The features in force: those asked for or detected, and all that the chosen variant implies. 7 before the
   choice. */
DORNIMAGE_API uint64_t ippGetEnabledCpuFeatures(void);

/* 1 when all bits of `mask` are in force, else 0. */
DORNIMAGE_API int ippTestFeatures(uint64_t mask);

/* Stores the size in bytes of the largest data cache in `*size`. Gives ippStsNullPtrErr when `size` is null,
   ippStsUnknownCacheSize (and 0 in `*size`) when the processor doesn't tell. */
IPP_NODISCARD DORNIMAGE_API IppStatus ippGetMaxCacheSizeB(int* size);

/* The index of the variant in force, or -1 before the choice. */
DORNIMAGE_API int ippGetVariantIndex(void);

/* Runs the variant in force, choosing it first if need be, and gives the index that its code was compiled
 * for. */
DORNIMAGE_API int ippProbeVariant(void);

/* The name of a variant, such as "AVX2", or null when there is no such index. The text lives for ever. */
DORNIMAGE_API const char* ippGetVariantName(int index);

/* The features that a variant implies, 0 when there is no such index. ippSetCpuFeatures with these bits and
   IPP_FEATURE_FORCE pins that variant. */
DORNIMAGE_API uint64_t ippGetVariantFeatures(int index);

/* 1 when the library holds code of its own for a variant, 0 when variant 0 stands in for it or there is no
   such index. */
DORNIMAGE_API int ippIsVariantBuilt(int index);

/* 1 when the processor and the operating system can run the code of a variant, else 0. Asks the processor
   itself: a forced mask doesn't change the answer. Stricter than the choice by ippInit in one point: variants
   6 and 7 also need the 512-bit registers saved. */
DORNIMAGE_API int ippIsVariantRunnable(int index);

/* 1 when the operating system saves the 256-bit registers, else 0. */
DORNIMAGE_API int ippIsAvxStateSaved(void);

/* 1 when the operating system saves the 512-bit and the mask registers, else 0. */
DORNIMAGE_API int ippIsAvx512StateSaved(void);

/* The name of a status code, such as "ippStsSizeErr"; "unknown" for any other number. */
DORNIMAGE_API const char* ippGetStatusName(IppStatus status);

/* What a status code means, in a few words; "unknown status" for any other number. */
DORNIMAGE_API const char* ippGetStatusString(IppStatus status);

#if defined(__cplusplus)
}
#endif

#endif
