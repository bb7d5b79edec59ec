#ifndef DORNIMAGE_BASE_LOG_H
#define DORNIMAGE_BASE_LOG_H

#include "base/Export.h"
#include "base/Velmora.h"

#include <memory>

namespace dornutils {

/* Takes the lines that the library logs. An implementation may be called from several threads at once and out
   of a codec written in C: it must be safe for threads and may not throw. */
class DORNIMAGE_API LogFormaterInterface {
public:
    virtual ~LogFormaterInterface();

    /* `level` is 0 for an error and 2 for a message of the TIFF codec; `fileName` and `line` are the place in
       the library's source that reports it, the name without an extension. */
    virtual void writeMessage(unsigned level, const Velmora::u8string& message, const char* fileName,
                              unsigned line) = 0;
    /* The same with a C string in UTF-8, null for an empty message; hands on to the other form unless it is
       overridden. */
    virtual void writeMessage(unsigned level, const char* message, const char* fileName, unsigned line);
};

/* The formatter of this process, never null. Without an installed one, lines are dropped. */
DORNIMAGE_API std::shared_ptr<LogFormaterInterface> getSystemLogFormater();

/* Installs a formatter for the whole process; null goes back to dropping lines. May be called at any time
   from any thread: the old formatter lives until the last call that uses it has returned. The library keeps
   the new one until it is replaced, also beyond the end of main. */
DORNIMAGE_API void setSystemLogFormater(std::shared_ptr<LogFormaterInterface> formater);

} // namespace dornutils

#endif
