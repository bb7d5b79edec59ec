#include "DecodeProtocol.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <array>
#include <limits>
#include <new>
#include <string_view>

namespace {

// The tool's own gatherer keeps fewer.
constexpr std::uint32_t mostMessages = 64;

void require(bool holds) {
    if (!holds) {
        throw BadReply();
    }
}

// What FreeImage keeps for a tag beside its texts and its value counts as if it were sent: many short tags
// must not come to more than the limit.
constexpr std::uint64_t costOfTag = 512;

// Bytes of one value; 0 for what is no type.
unsigned widthOf(std::uint32_t type) {
    constexpr std::array<unsigned, 19> widths = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 4, 0, 8, 8, 8};
    return type < widths.size() ? widths[type] : 0;
}

// Bits of a pixel of each kind; 0 for the usual bitmaps, which come in several depths.
unsigned depthOf(FREE_IMAGE_TYPE type) {
    constexpr std::array<unsigned, FIT_RGBAF + 1> depths = {0,  0,   16, 16, 32, 32, 32,
                                                            64, 128, 48, 64, 96, 128};
    return depths[type];
}

bool isUsualDepth(unsigned depth) {
    return depth == 1 || depth == 4 || depth == 8 || depth == 16 || depth == 24 || depth == 32;
}

// FreeImage's writers take these for granted, and read behind a tag that is otherwise.
bool isAsWritersExpect(FREE_IMAGE_MDMODEL model, std::string_view key, std::uint32_t type,
                       std::uint32_t count) {
    if (model == FIMD_COMMENTS) {
        return type == FIDT_ASCII;
    }
    if (model == FIMD_ANIMATION) {
        return count > 0;
    }
    if (model == FIMD_GEOTIFF) {
        return type == (key == "GeoKeyDirectory"        ? FIDT_SHORT
                        : key == "GeoASCIIParams"       ? FIDT_ASCII
                        : key == "JPL Carto IFD offset" ? FIDT_LONG
                                                        : FIDT_DOUBLE);
    }
    return true;
}

class Reader {
public:
    Reader(ByteSource& source, std::uint64_t limit) : source_(source), left_(limit) {}

    void bytes(void* to, std::uint64_t size) {
        take(size);
        source_.read(to, size);
    }

    std::uint32_t number() {
        std::uint32_t value = 0;
        bytes(&value, sizeof(value));
        return value;
    }

    bool flag() {
        const std::uint32_t value = number();
        require(value <= 1);
        return value == 1;
    }

    std::string block() {
        const std::uint32_t size = number();
        require(size <= left_);
        std::string result(size, '\0');
        bytes(result.data(), size);
        return result;
    }

    std::string text() {
        std::string result = block();
        require(result.find('\0') == std::string::npos);
        return result;
    }

    BitmapHolder bitmap(bool withThumbnail) {
        BitmapHolder result = emptyBitmap();
        FIBITMAP* const bitmap = result.get();
        FreeImage_SetDotsPerMeterX(bitmap, number());
        FreeImage_SetDotsPerMeterY(bitmap, number());
        colours(bitmap);
        for (const FREE_IMAGE_MDMODEL model : metadataModels) {
            for (std::uint32_t count = number(); count > 0; --count) {
                tag(model, bitmap);
            }
        }
        if (flag()) {
            require(withThumbnail);
            const BitmapHolder thumbnail = this->bitmap(false);
            FreeImage_SetThumbnail(bitmap, thumbnail.get());
        }
        bytes(FreeImage_GetBits(bitmap), sizeOf(bitmap));
        return result;
    }

private:
    void take(std::uint64_t size) {
        require(size <= left_);
        left_ -= size;
    }

    static std::uint64_t sizeOf(FIBITMAP* bitmap) {
        return std::uint64_t{FreeImage_GetPitch(bitmap)} * FreeImage_GetHeight(bitmap);
    }

    BitmapHolder emptyBitmap() {
        const std::uint32_t type = number();
        const std::uint32_t width = number();
        const std::uint32_t height = number();
        const std::uint32_t depth = number();
        const std::uint32_t red = number();
        const std::uint32_t green = number();
        const std::uint32_t blue = number();
        constexpr auto largest = static_cast<std::uint32_t>(std::numeric_limits<int>::max());
        require(type >= FIT_BITMAP && type <= FIT_RGBAF);
        const auto kind = static_cast<FREE_IMAGE_TYPE>(type);
        require(kind == FIT_BITMAP ? isUsualDepth(depth) : depth == depthOf(kind));
        require(width > 0 && width <= largest && height > 0 && height <= largest);
        const std::uint64_t pitch = (std::uint64_t{width} * depth + 31) / 32 * 4;
        require(pitch <= largest && pitch * height <= left_);
        BitmapHolder result(FreeImage_AllocateT(kind, static_cast<int>(width), static_cast<int>(height),
                                                static_cast<int>(depth), red, green, blue));
        if (!result) {
            throw std::bad_alloc();
        }
        return result;
    }

    void colours(FIBITMAP* bitmap) {
        const std::size_t entries = FreeImage_GetColorsUsed(bitmap);
        require(number() == entries * sizeof(RGBQUAD));
        if (entries > 0) {
            bytes(FreeImage_GetPalette(bitmap), entries * sizeof(RGBQUAD));
        }
        const bool isTransparent = flag();
        std::string table = block();
        constexpr std::size_t longestTable = 256;
        require(table.size() <= longestTable);
        if (entries > 0) {
            FreeImage_SetTransparencyTable(bitmap, reinterpret_cast<BYTE*>(table.data()),
                                           static_cast<int>(table.size()));
            FreeImage_SetTransparent(bitmap, isTransparent);
        }
        const bool hasBackground = flag();
        RGBQUAD background{};
        bytes(&background, sizeof(background));
        if (hasBackground) {
            FreeImage_SetBackgroundColor(bitmap, &background);
        }
        const std::uint32_t flags = number();
        std::string profile = block();
        require(profile.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max()));
        if (!profile.empty()) {
            FreeImage_CreateICCProfile(bitmap, profile.data(), static_cast<long>(profile.size()));
        }
        FreeImage_GetICCProfile(bitmap)->flags = static_cast<WORD>(flags);
    }

    void tag(FREE_IMAGE_MDMODEL model, FIBITMAP* bitmap) {
        take(costOfTag);
        const std::string key = text();
        const bool isDescribed = flag();
        const std::string description = isDescribed ? text() : "";
        const std::uint32_t id = number();
        const std::uint32_t type = number();
        const std::uint32_t count = number();
        const std::string value = block();
        require(id <= std::numeric_limits<WORD>::max());
        require(type == FIDT_NOTYPE || widthOf(type) > 0);
        require(std::uint64_t{count} * widthOf(type) == value.size());
        require(isAsWritersExpect(model, key, type, count));
        DornImage::FITagPtr tag;
        const bool isMade = tag.Create() && tag.SetTagKey(key.c_str()) &&
                            tag.SetTagID(static_cast<unsigned short>(id)) &&
                            tag.SetTagType(static_cast<FREE_IMAGE_MDTYPE>(type)) && tag.SetTagCount(count) &&
                            tag.SetTagLength(value.size()) && tag.SetTagValue(value.data());
        if (!isMade) {
            throw std::bad_alloc();
        }
        if (isDescribed) {
            FreeImage_SetTagDescription(tag.Get(), description.c_str());
        }
        FreeImage_SetMetadata(model, bitmap, key.c_str(), tag.Get());
    }

    ByteSource& source_;
    std::uint64_t left_;
};

} // namespace

PageReply readPage(ByteSource& source, std::uint64_t limit) {
    Reader reader(source, limit);
    PageReply result;
    const std::uint32_t messages = reader.number();
    require(messages <= mostMessages);
    for (std::uint32_t i = 0; i < messages; ++i) {
        result.page.messages.push_back(reader.block());
    }
    result.needsMemory = reader.flag();
    if (reader.flag()) {
        require(!result.needsMemory);
        result.page.bitmap = reader.bitmap(true);
    }
    return result;
}

std::optional<PageSize> readSize(ByteSource& source) {
    Reader reader(source, sizeof(PageSize));
    PageSize size;
    size.width = reader.number();
    size.height = reader.number();
    size.depth = reader.number();
    if (size.width == 0 || size.height == 0 || size.depth == 0) {
        return std::nullopt;
    }
    return size;
}

FileContents contentsOf(const OpenReply& reply) {
    require(reply.format >= FIF_UNKNOWN && reply.format < FreeImage_GetFIFCount() && reply.pageCount >= 1);
    return {static_cast<FREE_IMAGE_FORMAT>(reply.format), reply.pageCount, ""};
}
