// FreeImage functions that answer with their failure value when our code calls them. FreeImage calls some of
// them itself, and isn't asked.

#include "Interposed.h"

#include <FreeImage.h>

// A template can't have the name of each function.
#define DORN_FAULTY(Result, failure, name, parameters, arguments)                                            \
    Result name parameters {                                                                                 \
        if (faults::isOurs(__builtin_return_address(0)) && faults::fails(faults::Kind::codec)) {             \
            return failure;                                                                                  \
        }                                                                                                    \
        return faults::next(name, #name) arguments;                                                          \
    }

// Pictures.
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Allocate,
            (int width, int height, int bits, unsigned red, unsigned green, unsigned blue),
            (width, height, bits, red, green, blue))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_AllocateT,
            (FREE_IMAGE_TYPE type, int width, int height, int bits, unsigned red, unsigned green,
             unsigned blue),
            (type, width, height, bits, red, green, blue))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Clone, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_CreateView,
            (FIBITMAP * bitmap, unsigned left, unsigned top, unsigned right, unsigned bottom),
            (bitmap, left, top, right, bottom))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_ConvertTo8Bits, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_ConvertTo24Bits, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_ConvertTo32Bits, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_ConvertToRGB16, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_ConvertToGreyscale, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Composite,
            (FIBITMAP * front, BOOL usesBackground, RGBQUAD* colour, FIBITMAP* back),
            (front, usesBackground, colour, back))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Threshold, (FIBITMAP * bitmap, BYTE level), (bitmap, level))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Rescale,
            (FIBITMAP * bitmap, int width, int height, FREE_IMAGE_FILTER filter),
            (bitmap, width, height, filter))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_Rotate, (FIBITMAP * bitmap, double angle, const void* colour),
            (bitmap, angle, colour))
DORN_FAULTY(BOOL, FALSE, FreeImage_FlipHorizontal, (FIBITMAP * bitmap), (bitmap))
DORN_FAULTY(BOOL, FALSE, FreeImage_FlipVertical, (FIBITMAP * bitmap), (bitmap))

// Loads and saves.
DORN_FAULTY(FREE_IMAGE_FORMAT, FIF_UNKNOWN, FreeImage_GetFileType, (const char* name, int size), (name, size))
DORN_FAULTY(FREE_IMAGE_FORMAT, FIF_UNKNOWN, FreeImage_GetFileTypeFromHandle,
            (FreeImageIO * io, fi_handle handle, int size), (io, handle, size))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_LoadFromHandle,
            (FREE_IMAGE_FORMAT format, FreeImageIO* io, fi_handle handle, int flags),
            (format, io, handle, flags))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_LoadFromMemory,
            (FREE_IMAGE_FORMAT format, FIMEMORY* memory, int flags), (format, memory, flags))
DORN_FAULTY(FIMULTIBITMAP*, nullptr, FreeImage_OpenMultiBitmapFromHandle,
            (FREE_IMAGE_FORMAT format, FreeImageIO* io, fi_handle handle, int flags),
            (format, io, handle, flags))
DORN_FAULTY(FIBITMAP*, nullptr, FreeImage_LockPage, (FIMULTIBITMAP * pages, int page), (pages, page))
DORN_FAULTY(BOOL, FALSE, FreeImage_SaveToHandle,
            (FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, FreeImageIO* io, fi_handle handle, int flags),
            (format, bitmap, io, handle, flags))
DORN_FAULTY(BOOL, FALSE, FreeImage_SaveToMemory,
            (FREE_IMAGE_FORMAT format, FIBITMAP* bitmap, FIMEMORY* memory, int flags),
            (format, bitmap, memory, flags))
DORN_FAULTY(FIMEMORY*, nullptr, FreeImage_OpenMemory, (BYTE * bytes, DWORD size), (bytes, size))
DORN_FAULTY(BOOL, FALSE, FreeImage_AcquireMemory, (FIMEMORY * memory, BYTE** bytes, DWORD* size),
            (memory, bytes, size))

// Metadata.
DORN_FAULTY(FITAG*, nullptr, FreeImage_CreateTag, (), ())
DORN_FAULTY(BOOL, FALSE, FreeImage_SetTagKey, (FITAG * tag, const char* key), (tag, key))
DORN_FAULTY(BOOL, FALSE, FreeImage_SetTagValue, (FITAG * tag, const void* value), (tag, value))
DORN_FAULTY(BOOL, FALSE, FreeImage_SetMetadata,
            (FREE_IMAGE_MDMODEL model, FIBITMAP* bitmap, const char* key, FITAG* tag),
            (model, bitmap, key, tag))
DORN_FAULTY(FIICCPROFILE*, nullptr, FreeImage_CreateICCProfile, (FIBITMAP * bitmap, void* data, long size),
            (bitmap, data, size))
