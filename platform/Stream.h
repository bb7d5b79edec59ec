#ifndef DORNIMAGE_PLATFORM_STREAM_H
#define DORNIMAGE_PLATFORM_STREAM_H

#include "base/Export.h"
#include "platform/Types.h"

/* The desktop platform's stream of bytes: the system's own on Windows, a stand-in elsewhere. */
#ifdef _WIN32

#include <objidl.h>

#else

/* What Seek counts from. */
constexpr DWORD STREAM_SEEK_SET = 0;
constexpr DWORD STREAM_SEEK_CUR = 1;
constexpr DWORD STREAM_SEEK_END = 2;

/* STATFLAG_NONAME: Stat need not tell the name. */
constexpr DWORD STATFLAG_DEFAULT = 0;
constexpr DWORD STATFLAG_NONAME = 1;

/* Type of a stream in STATSTG. */
constexpr DWORD STGTY_STREAM = 2;

/* What Stat tells. The library looks at `cbSize` alone, the length in bytes. */
struct STATSTG {
    wchar_t* pwcsName;       /* null with STATFLAG_NONAME */
    DWORD type;              /* STGTY_STREAM */
    ULARGE_INTEGER cbSize;   /* bytes */
    FILETIME mtime;          /* last written */
    FILETIME ctime;          /* made */
    FILETIME atime;          /* last read */
    DWORD grfMode;           /* how it was opened */
    DWORD grfLocksSupported; /* 0: none */
    DWORD grfStateBits;      /* 0 */
    DWORD reserved;          /* 0 */
};

/* A counted stream that a user of the library may implement. The count starts at 1 with its maker; AddRef and
   Release may be called from any thread, the rest from one thread at a time. The library reads only: it calls
   AddRef, Release, Read, Seek and Stat, which have to be implemented; the others answer E_NOTIMPL unless
   overridden. There is no other interface to ask a stream for, so there is no QueryInterface. */
class DORNIMAGE_API IStream {
public:
    /* Takes and drops a reference; both return the new count, and the stream is gone at 0. */
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

    /* Reads up to `size` bytes from where the stream stands, moves it on, and stores the number of bytes read
       in `read`, which may be null. S_OK, or S_FALSE when fewer were left; a failure code when nothing was
       read. */
    virtual HRESULT Read(void* buffer, ULONG size, ULONG* read) = 0;
    /* Writes `size` bytes where the stream stands and moves it on; `written` may be null. */
    virtual HRESULT Write(const void* data, ULONG size, ULONG* written);
    /* Moves by `offset` from `origin` (STREAM_SEEK_SET, _CUR or _END) and stores the new place, in bytes from
       the start, in `position`, which may be null. A place beyond the end is allowed, one before the start
       fails and leaves the stream where it stood. */
    virtual HRESULT Seek(LARGE_INTEGER offset, DWORD origin, ULARGE_INTEGER* position) = 0;
    /* The rest of the desktop system's interface, which the library never calls. */
    virtual HRESULT SetSize(ULARGE_INTEGER size);
    virtual HRESULT CopyTo(IStream* target, ULARGE_INTEGER size, ULARGE_INTEGER* read,
                           ULARGE_INTEGER* written);
    virtual HRESULT Commit(DWORD flags);
    virtual HRESULT Revert();
    virtual HRESULT LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type);
    virtual HRESULT UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type);
    /* Tells about the stream; `flags` is STATFLAG_DEFAULT or STATFLAG_NONAME. */
    virtual HRESULT Stat(STATSTG* stat, DWORD flags) = 0;
    /* A second stream over the same bytes, which the library never asks for. */
    virtual HRESULT Clone(IStream** stream);

protected:
    IStream() = default;
    IStream(const IStream&) = default;
    IStream& operator=(const IStream&) = default;
    /* A stream goes by Release alone. */
    virtual ~IStream();
};

#endif

#endif
