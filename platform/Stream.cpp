#include "platform/Stream.h"

IStream::~IStream() = default;

HRESULT IStream::Write(const void*, ULONG, ULONG*) {
    return E_NOTIMPL;
}

HRESULT IStream::SetSize(ULARGE_INTEGER) {
    return E_NOTIMPL;
}

HRESULT IStream::CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) {
    return E_NOTIMPL;
}

HRESULT IStream::Commit(DWORD) {
    return E_NOTIMPL;
}

HRESULT IStream::Revert() {
    return E_NOTIMPL;
}

HRESULT IStream::LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
    return E_NOTIMPL;
}

HRESULT IStream::UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) {
    return E_NOTIMPL;
}

HRESULT IStream::Clone(IStream**) {
    return E_NOTIMPL;
}
