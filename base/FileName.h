#ifndef DORNIMAGE_BASE_FILENAME_H
#define DORNIMAGE_BASE_FILENAME_H

#include <string>
#include <string_view>

namespace dorndisk {

/* A wide name as the system's calls take it. Empty, which names no file, when the name holds a zero. */
std::string systemName(std::wstring_view name);

} // namespace dorndisk

#endif
