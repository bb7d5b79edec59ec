#include "JpegHeader.h"

#include <cstddef>
#include <string_view>

namespace {

constexpr unsigned char firstFrame = 0xC0; // baseline, extended, progressive
constexpr unsigned char lastFrame = 0xC2;
constexpr unsigned char otherFrames = 0xCF; // lossless, hierarchical, arithmetic, and two that are no frames
constexpr unsigned char huffmanTables = 0xC4;
constexpr unsigned char arithmeticTables = 0xCC;
constexpr unsigned char startOfScan = 0xDA;
constexpr unsigned char adobeSegment = 0xEE;

JpegHeader frameHeader(std::string_view frame, bool adobe) {
    const auto at = [frame](std::size_t index) { return static_cast<unsigned char>(frame[index]); };
    JpegHeader header;
    header.height = at(1) * 256U + at(2);
    header.width = at(3) * 256U + at(4);
    header.components = at(5);
    if (header.components == 3 && frame.size() >= 15) {
        // Readers differ about pictures that name their components so and say nothing more.
        header.commonColours = adobe || at(6) != 'R' || at(9) != 'G' || at(12) != 'B';
    } else {
        header.commonColours = header.components == 1;
    }
    return header;
}

} // namespace

std::optional<JpegHeader> jpegHeader(const std::vector<unsigned char>& file) {
    if (file.size() < 4 || file[0] != 0xFF || file[1] != 0xD8) {
        return std::nullopt;
    }
    bool adobe = false;
    for (std::size_t at = 2; at + 4 <= file.size() && file[at] == 0xFF;) {
        const unsigned char marker = file[at + 1];
        if (marker == 0xFF) { // fill byte
            ++at;
            continue;
        }
        const std::size_t size = file[at + 2] * 256U + file[at + 3];
        if (size < 2 || size > file.size() - at - 2 || marker == startOfScan) {
            return std::nullopt;
        }
        const std::string_view content(reinterpret_cast<const char*>(&file[at + 2]) + 2, size - 2);
        if (marker >= firstFrame && marker <= lastFrame) {
            constexpr std::size_t fixedPart = 6;
            const bool eightBits = content.size() >= fixedPart && content[0] == 8;
            return eightBits ? std::optional(frameHeader(content, adobe)) : std::nullopt;
        }
        if (marker > lastFrame && marker <= otherFrames && marker != huffmanTables &&
            marker != arithmeticTables) {
            return std::nullopt;
        }
        adobe = adobe || (marker == adobeSegment && content.substr(0, 5) == "Adobe");
        at += 2 + size;
    }
    return std::nullopt;
}
