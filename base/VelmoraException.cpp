#include "base/VelmoraException.h"

VelmoraException::~VelmoraException() = default;

Velmora::u8string VelmoraException::getMessage() const {
    return errors_.empty() ? Velmora::u8string() : errors_.back().message;
}

void VelmoraException::clear() {
    errors_.clear();
}

void VelmoraException::setError(const Velmora::u8string& fileName, unsigned line,
                                const Velmora::u8string& message) {
    errors_.push_back(Error{fileName, line, message});
}
