#ifndef DORNIMAGE_PLATFORM_TYPES_H
#define DORNIMAGE_PLATFORM_TYPES_H

/* The desktop platform's basic types and result codes: the system's own on Windows, stand-ins elsewhere. The
   stand-ins repeat the type definitions of FreeImage.h word for word, so that both headers go together in
   either order. */
#ifdef _WIN32

#include <windows.h>

#else

#include <cstddef>
#include <cstdint>

/* A truth value, 0 for false; numbers without a sign of 8, 16 and 32 bits, and 32 bits with and without one.
 */
typedef int32_t BOOL;
typedef uint8_t BYTE;
typedef uint16_t WORD;
typedef uint32_t DWORD;
typedef int32_t LONG;
typedef uint32_t ULONG;

/* The outcome of an operation, one of the results below: negative is failure. */
typedef int32_t HRESULT;
typedef uint32_t UINT;
typedef std::size_t SIZE_T;
typedef void* HANDLE;
typedef void* HGLOBAL;

#ifndef FALSE
#define FALSE 0 /* of a BOOL */
#endif
#ifndef TRUE
#define TRUE 1 /* of a BOOL */
#endif

/* A 64-bit number with its halves. */
union LARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        LONG HighPart;
    };
    int64_t QuadPart; /* the whole number */
};

/* The same without a sign. */
union ULARGE_INTEGER {
    __extension__ struct {
        DWORD LowPart;
        DWORD HighPart;
    };
    uint64_t QuadPart; /* the whole number */
};

/* A point in time, in steps of 100 ns since the year 1601. */
struct FILETIME {
    DWORD dwLowDateTime;  /* lower 32 bits */
    DWORD dwHighDateTime; /* upper 32 bits */
};

/* Results: negative is failure. */
constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT STG_E_INVALIDFUNCTION = static_cast<HRESULT>(0x80030001u);
constexpr HRESULT STG_E_ACCESSDENIED = static_cast<HRESULT>(0x80030005u);
constexpr HRESULT STG_E_INVALIDPOINTER = static_cast<HRESULT>(0x80030009u);
constexpr HRESULT STG_E_READFAULT = static_cast<HRESULT>(0x8003001Eu);
constexpr HRESULT STG_E_INVALIDFLAG = static_cast<HRESULT>(0x800300FFu);

/* Which of the two a result is. */
constexpr bool SUCCEEDED(HRESULT result) {
    return result >= 0;
}
constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

#endif

#endif
