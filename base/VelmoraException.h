#ifndef DORNIMAGE_BASE_VELMORAEXCEPTION_H
#define DORNIMAGE_BASE_VELMORAEXCEPTION_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <vector>

/* An error record that an operation writes to and its caller reads afterwards; it is never thrown. It keeps
   every message that it is told, in order. A record has no lock: it is written by one call at a time, and
   read after that call.

   Virtual operations in slot order, the destructor counted as one slot: 0 destructor, 1 getMessage, 2 clear,
   3 setError. Derived classes may override setError to listen in. */
class DORNIMAGE_API VelmoraException {
public:
    /* One message with the source position that reported it. */
    struct Error {
        Velmora::u8string fileName; /* without an extension */
        unsigned line;              /* from 1 */
        Velmora::u8string message;  /* UTF-8, as it was told */
    };

    VelmoraException() = default;
    VelmoraException(const VelmoraException&) = default;
    VelmoraException& operator=(const VelmoraException&) = default;
    virtual ~VelmoraException();

    /* The last message, empty when there is none. */
    virtual Velmora::u8string getMessage() const;
    /* Forgets all messages. */
    virtual void clear();
    /* Adds a message. `fileName` and `line` are the place in the source that reports it. */
    virtual void setError(const Velmora::u8string& fileName, unsigned line, const Velmora::u8string& message);

    /* Whether there is any message. */
    bool hasError() const { return !errors_.empty(); }
    /* All messages, the oldest first. Valid until the next setError or clear. */
    const std::vector<Error>& getErrors() const { return errors_; }

private:
    std::vector<Error> errors_;
};

#endif
