#include "DecodeProtocol.h"

#include <cstring>
#include <string_view>

namespace {

class Writer {
public:
    explicit Writer(ByteSink& sink) : sink_(sink) {}

    void number(std::uint32_t value) { sink_.write(&value, sizeof(value)); }

    void block(const void* bytes, std::uint32_t size) {
        number(size);
        sink_.write(bytes, size);
    }

    void text(std::string_view text) { block(text.data(), static_cast<std::uint32_t>(text.size())); }

    void optionalText(const char* text) {
        number(text != nullptr);
        if (text) {
            this->text(text);
        }
    }

    void bitmap(FIBITMAP* bitmap, bool withThumbnail) {
        number(static_cast<std::uint32_t>(FreeImage_GetImageType(bitmap)));
        number(FreeImage_GetWidth(bitmap));
        number(FreeImage_GetHeight(bitmap));
        number(FreeImage_GetBPP(bitmap));
        number(FreeImage_GetRedMask(bitmap));
        number(FreeImage_GetGreenMask(bitmap));
        number(FreeImage_GetBlueMask(bitmap));
        number(FreeImage_GetDotsPerMeterX(bitmap));
        number(FreeImage_GetDotsPerMeterY(bitmap));
        colours(bitmap);
        for (const FREE_IMAGE_MDMODEL model : metadataModels) {
            tags(model, bitmap);
        }
        FIBITMAP* const thumbnail = withThumbnail ? FreeImage_GetThumbnail(bitmap) : nullptr;
        number(thumbnail != nullptr);
        if (thumbnail) {
            this->bitmap(thumbnail, false);
        }
        // With the bytes that fill up the rows: some writers store them as well.
        sink_.write(FreeImage_GetBits(bitmap),
                    std::size_t{FreeImage_GetPitch(bitmap)} * FreeImage_GetHeight(bitmap));
    }

private:
    void colours(FIBITMAP* bitmap) {
        block(FreeImage_GetPalette(bitmap),
              static_cast<std::uint32_t>(FreeImage_GetColorsUsed(bitmap) * sizeof(RGBQUAD)));
        number(FreeImage_IsTransparent(bitmap) != FALSE);
        block(FreeImage_GetTransparencyTable(bitmap), FreeImage_GetTransparencyCount(bitmap));
        RGBQUAD background{};
        number(FreeImage_GetBackgroundColor(bitmap, &background) != FALSE);
        sink_.write(&background, sizeof(background));
        const FIICCPROFILE* const profile = FreeImage_GetICCProfile(bitmap);
        number(profile->flags);
        block(profile->data, profile->size);
    }

    void tags(FREE_IMAGE_MDMODEL model, FIBITMAP* bitmap) {
        const unsigned count = FreeImage_GetMetadataCount(model, bitmap);
        number(count);
        if (count == 0) {
            return;
        }
        FITAG* tag = nullptr;
        FIMETADATA* const search = FreeImage_FindFirstMetadata(model, bitmap, &tag);
        do {
            this->tag(tag);
        } while (FreeImage_FindNextMetadata(search, &tag));
        FreeImage_FindCloseMetadata(search);
    }

    void tag(FITAG* tag) {
        text(FreeImage_GetTagKey(tag));
        optionalText(FreeImage_GetTagDescription(tag));
        number(FreeImage_GetTagID(tag));
        number(static_cast<std::uint32_t>(FreeImage_GetTagType(tag)));
        number(FreeImage_GetTagCount(tag));
        block(FreeImage_GetTagValue(tag), FreeImage_GetTagLength(tag));
    }

    ByteSink& sink_;
};

} // namespace

void writePage(ByteSink& sink, const DecodedPage& page, bool needsMemory) {
    Writer writer(sink);
    writer.number(static_cast<std::uint32_t>(page.messages.size()));
    for (const std::string& message : page.messages) {
        writer.text(message);
    }
    writer.number(needsMemory);
    writer.number(page.bitmap != nullptr);
    if (page.bitmap) {
        writer.bitmap(page.bitmap.get(), true);
    }
}

void writeSize(ByteSink& sink, const std::optional<PageSize>& size) {
    Writer writer(sink);
    const PageSize value = size.value_or(PageSize{});
    writer.number(value.width);
    writer.number(value.height);
    writer.number(value.depth);
}
