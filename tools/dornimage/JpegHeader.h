#ifndef DORNIMAGE_TOOLS_DORNIMAGE_JPEGHEADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_JPEGHEADER_H

#include <optional>
#include <vector>

/// What the frame header of a JPEG file tells.
struct JpegHeader {
    unsigned width = 0;
    unsigned height = 0;
    unsigned components = 0;
    bool commonColours = false; // grey, or three colours that every reader takes for the same
};

/// None unless the file has a frame of 8 bits a sample in sequential or progressive Huffman coding.
std::optional<JpegHeader> jpegHeader(const std::vector<unsigned char>& file);

#endif
