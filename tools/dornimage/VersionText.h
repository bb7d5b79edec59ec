#ifndef DORNIMAGE_TOOLS_DORNIMAGE_VERSIONTEXT_H
#define DORNIMAGE_TOOLS_DORNIMAGE_VERSIONTEXT_H

#include <string>

/// What --version prints: the version, how it was built, and which variants of the primitives there are.
std::string versionText();

#endif
