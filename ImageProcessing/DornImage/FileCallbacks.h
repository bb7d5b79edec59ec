#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FILECALLBACKS_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_FILECALLBACKS_H

#include <FreeImage.h>

namespace DornImage {

/// Callbacks whose opaque handle is an open std::FILE, and that hand their arguments straight on to the C
/// library. Without `forWrite` there is none for writing.
FreeImageIO fileCallbacks(bool forWrite);

} // namespace DornImage

#endif
