#include "tests/ImageProcessing/DornImage/ListSupport.h"

using DornImage::ImageList;

// The list beside a model of it, a plain vector with the counting rules, under random operations.
namespace {

struct ModelPage {
    ImageRef picture; // a copy of what the page shows
    bool inMemory = true;
    std::string file; // an external file's name, "temporary", or empty
    FREE_IMAGE_FORMAT format = FIF_UNKNOWN;

    unsigned bytes() const { return picture->GetRawDataSize(); }
};

FREE_IMAGE_FORMAT cacheFormatOf(DornImage::Image& picture) {
    const FREE_IMAGE_TYPE type = FreeImage_GetImageType(picture.getFIBTMAP());
    for (const PageKind& kind : pageKinds) {
        if (kind.type == type && static_cast<unsigned>(kind.bits) == picture.GetBpp()) {
            return kind.cacheFormat;
        }
    }
    return FIF_UNKNOWN;
}

class Model {
public:
    explicit Model(std::uint32_t limit_) : limit(limit_) {}

    bool add(const ImageRef& picture) {
        pages.push_back({picture, true, "", FIF_UNKNOWN});
        sum += pages.back().bytes();
        return spillAbove();
    }

    void addCopy(const ModelPage& page) {
        pages.push_back(page);
        pages.back().inMemory = page.file.empty();
        pages.back().file = page.file.empty() ? "" : "temporary";
    }

    bool replace(std::size_t index, const ImageRef& picture) {
        ModelPage& page = pages[index];
        sum += picture->GetRawDataSize() - (page.inMemory ? page.bytes() : 0);
        page = {picture, true, "", page.format};
        return spillAbove();
    }

    void get(std::size_t index) {
        ModelPage& page = pages[index];
        if (!page.inMemory && (limit == 0 || sum + page.bytes() < limit)) {
            page.inMemory = true;
            sum += page.bytes();
        }
    }

    bool spillAbove() {
        if (pages.size() < 2 || limit == 0 || sum <= limit) {
            return true;
        }
        for (ModelPage& page : pages) {
            if (page.inMemory) {
                page = {page.picture, false, "temporary", cacheFormatOf(*page.picture)};
                sum -= page.bytes();
            }
        }
        return sum == 0;
    }

    std::vector<ModelPage> pages;
    std::uint32_t limit;
    std::uint32_t sum = 0;
};

class Pair {
public:
    explicit Pair(std::uint32_t limit) : list(newList(limit)), model(limit) {}

    void expectSame() const {
        ASSERT_EQ(list->GetCount(), model.pages.size());
        ASSERT_EQ(list->currentSize, model.sum);
        for (std::size_t index = 0; index < model.pages.size(); ++index) {
            SCOPED_TRACE(index);
            const ModelPage& expected = model.pages[index];
            const Velmora::u8string path = list->GetImagePath(static_cast<unsigned>(index));
            ASSERT_EQ(list->GetImageFormat(static_cast<unsigned>(index)), expected.format);
            ASSERT_EQ(static_cast<bool>(list->items[index]->image), expected.inMemory);
            if (expected.file == "temporary") {
                ASSERT_EQ(asPath(path).parent_path(), asPath(list->tempDirectory.path()));
            } else {
                ASSERT_EQ(path, expected.file);
            }
            // A copy of the item is read, so that looking changes nothing.
            DornImage::ImageItem item = *list->items[index];
            ASSERT_TRUE(item.image || item.loadFromPath());
            ASSERT_TRUE(samePicture(item.image->getFIBTMAP(), expected.picture->getFIBTMAP()));
        }
    }

    ListRef list;
    Model model;
};

class ModelTest : public ListTest, public testing::WithParamInterface<unsigned> {
protected:
    unsigned below(std::size_t end) { return static_cast<unsigned>(random() % end); }

    ImageRef randomPage() {
        return newPage(pageKinds[below(std::size(pageKinds))], static_cast<int>(1 + below(24)),
                       static_cast<int>(1 + below(24)), below(1000));
    }

    static ImageRef cloneOf(const ImageRef& picture) {
        ImageRef clone;
        EXPECT_TRUE(picture->GetClone(clone));
        return clone;
    }

    void addExternal(Pair& pair) {
        const ImageRef picture = colourPage(static_cast<int>(1 + below(24)), 9, below(1000));
        const Velmora::u8string file = externalPage(std::to_string(files++) + ".png", picture);
        const bool move = below(2) == 0;
        ASSERT_TRUE(pair.list->AddExternalImage(
            FIF_PNG, file, move ? ImageList::ExternalImageMove : ImageList::ExternalImageRef));
        ASSERT_EQ(exists(file), !move);
        pair.model.pages.push_back({picture, false, move ? "temporary" : file, FIF_PNG});
    }

    void modify(Pair& pair, unsigned index) {
        ModelPage& page = pair.model.pages[index];
        ASSERT_EQ(pair.list->ImageModified(index), page.inMemory);
        if (!page.inMemory) {
            return;
        }
        const ImageRef got = pageOf(*pair.list, index);
        BYTE* const bits = FreeImage_GetBits(got->getFIBTMAP());
        bits[0] = static_cast<BYTE>(bits[0] ^ 0x10);
        page.picture = cloneOf(got);
        if (!page.file.empty()) {
            ASSERT_TRUE(page.file == "temporary" || !exists(page.file));
            page.file.clear();
        }
    }

    void step(Pair& pair, Pair& other) {
        const unsigned index = pair.model.pages.empty() ? 0 : below(pair.model.pages.size());
        const ImageRef fresh = randomPage();
        const unsigned operation = pair.model.pages.empty() ? below(2) : below(9);
        SCOPED_TRACE(operation);
        if (operation < 2) {
            ASSERT_EQ(pair.list->AddImage(fresh.get()), pair.model.add(cloneOf(fresh)));
        } else if (operation == 2) {
            addExternal(pair);
        } else if (operation == 3) {
            ASSERT_EQ(pair.list->ReplaceImage(index, fresh.get()), pair.model.replace(index, cloneOf(fresh)));
        } else if (operation == 4) {
            ASSERT_TRUE(other.list->AddImage(pair.list.get(), static_cast<int>(index)));
            other.model.addCopy(pair.model.pages[index]);
        } else if (operation == 5) {
            modify(pair, index);
        } else if (operation == 6 && below(4) == 0) {
            const unsigned limits[] = {0, 1, 2000, 20000, pair.model.sum + pair.model.pages[index].bytes()};
            pair.model.limit = limits[below(std::size(limits))];
            pair.list->SetMaxSize(pair.model.limit);
        } else {
            ASSERT_TRUE(hasPage(*pair.list, index, pair.model.pages[index].picture));
            pair.model.get(index);
        }
    }

    std::mt19937 random{GetParam()};
    int files = 0;
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Seeds, ModelTest, testing::Range(0u, 24u));

TEST_P(ModelTest, ListFollowsItsModel) {
    Pair pairs[] = {Pair(3000), Pair(8000)};
    for (int count = 0; count < 120 && !HasFatalFailure(); ++count) {
        const unsigned which = below(2);
        SCOPED_TRACE("step " + std::to_string(count));
        step(pairs[which], pairs[1 - which]);
        pairs[0].expectSame();
        pairs[1].expectSame();
    }
}
