#ifndef DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DORNIMAGE_H
#define DORNIMAGE_IMAGEPROCESSING_DORNIMAGE_DORNIMAGE_H

// Everything that the library exports.

#include "ImageProcessing/DornImage/Formats.h"
#include "ImageProcessing/DornImage/GrayScale.h"
#include "ImageProcessing/DornImage/Handles.h"
#include "ImageProcessing/DornImage/Image.h"
#include "ImageProcessing/DornImage/ImageItem.h"
#include "ImageProcessing/DornImage/ImageList.h"
#include "ImageProcessing/DornImage/Load.h"
#include "ImageProcessing/DornImage/ResourceLoad.h"
#include "ImageProcessing/DornImage/Smoothing.h"
#include "ImageProcessing/DornImage/Tags.h"
#include "ImageProcessing/DornImage/TempDirectory.h"
#include "ImageProcessing/DornImage/UnicodeFileIo.h"
#include "ImageProcessing/DornImage/Version.h"
#include "ImageProcessing/DornImage/analysis/EmptyPage.h"
#include "ImageProcessing/DornImage/analysis/SkewDetector.h"
#include "base/Disk.h"
#include "base/Log.h"
#include "base/Reference.h"
#include "base/ThreadMutex.h"
#include "base/Velmora.h"
#include "base/VelmoraException.h"
#include "platform/FileOperations.h"
#include "platform/FileStream.h"
#include "platform/Gdi.h"
#include "platform/MemoryStream.h"
#include "platform/Resources.h"
#include "platform/Stream.h"
#include "platform/Thread.h"
#include "platform/Types.h"
#include "primitives/primitives.h"

#endif
