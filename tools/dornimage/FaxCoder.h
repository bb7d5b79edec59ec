#ifndef DORNIMAGE_TOOLS_DORNIMAGE_FAXCODER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_FAXCODER_H

#include <FreeImage.h>

#include <vector>

/// The rows of a 1-bit picture in fax coding (CCITT group 4), as one strip from top to bottom, with the bits
/// of 1 coded as black. Empty when the codec refuses.
std::vector<unsigned char> codeFax(FIBITMAP* bitmap);

#endif
