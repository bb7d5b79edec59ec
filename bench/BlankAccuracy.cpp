// How well empty pages are told from pages with little on them: pages are made of real paper and real marks,
// and judged by the tool's method and by the library's detector alone.
//
// Papers: white and tinted paper with grain, rough paper, uneven light; real paper, real paper that the other
// side shows through, and the specks of a real 1-bit scan, each continued in mirrored tiles. On them come
// what should not matter (dust, punched holes, dark scan edges, folds) and, for pages with content, one
// thing: a character, a line of text, a stamp, a signature, cut from real pages. Further samples are cut from
// pages of 1 bit, where one can tell from the pixels whether there is anything on them.
//
// Usage: blank_accuracy FOLDER [ROUNDS [SEED]]   FOLDER with the test pictures, ROUNDS of random pages.

#include "ImageProcessing/DornImage/DornImage.h"
#include "tools/dornimage/BlankMeasure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

using DornImage::FIBitmapPtr;

namespace {

std::mt19937 dice;

int pick(int from, int to) {
    return std::uniform_int_distribution<int>(from, to)(dice);
}

// Grey levels from the top left.
struct Plane {
    int width = 0;
    int height = 0;
    std::vector<int> levels;

    Plane() = default;
    Plane(int w, int h, int level)
        : width(w), height(h), levels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h), level) {}
    int& at(int x, int y) {
        return levels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                      static_cast<std::size_t>(x)];
    }
    int at(int x, int y) const { return const_cast<Plane*>(this)->at(x, y); }

    Plane cut(int left, int top, int w, int h) const {
        Plane result(w, h, 0);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                result.at(x, y) = at(left + x, top + y);
            }
        }
        return result;
    }
};

Plane planeOf(FIBITMAP* bitmap) {
    const FIBitmapPtr grey(FreeImage_ConvertToGreyscale(bitmap));
    Plane plane(static_cast<int>(FreeImage_GetWidth(grey.get())),
                static_cast<int>(FreeImage_GetHeight(grey.get())), 0);
    for (int y = 0; y < plane.height; ++y) {
        for (int x = 0; x < plane.width; ++x) {
            plane.at(x, y) = FreeImage_GetScanLine(grey.get(), plane.height - 1 - y)[x];
        }
    }
    return plane;
}

std::vector<Plane> pagesOf(const std::string& file) {
    const FREE_IMAGE_FORMAT format = FreeImage_GetFileType(file.c_str(), 0);
    std::vector<Plane> pages;
    if (format == FIF_TIFF) {
        FIMULTIBITMAP* const pile = FreeImage_OpenMultiBitmap(format, file.c_str(), FALSE, TRUE, FALSE, 0);
        for (int i = 0; pile && i < FreeImage_GetPageCount(pile); ++i) {
            FIBITMAP* const page = FreeImage_LockPage(pile, i);
            pages.push_back(planeOf(page));
            FreeImage_UnlockPage(pile, page, FALSE);
        }
        FreeImage_CloseMultiBitmap(pile, 0);
    } else if (const FIBitmapPtr page(FreeImage_Load(format, file.c_str(), 0)); page.get()) {
        pages.push_back(planeOf(page.get()));
    }
    if (pages.empty()) {
        std::fprintf(stderr, "%s can't be read\n", file.c_str());
        std::exit(1);
    }
    return pages;
}

struct Resolution {
    int x, y; // dots per inch
};
constexpr Resolution usual = {300, 300};

// A page of the usual resolution as a coarser scan has it: means of blocks.
Plane coarser(const Plane& page, Resolution to) {
    Plane result(page.width * to.x / usual.x, page.height * to.y / usual.y, 0);
    for (int y = 0; y < result.height; ++y) {
        const int top = y * usual.y / to.y;
        const int bottom = (y + 1) * usual.y / to.y;
        for (int x = 0; x < result.width; ++x) {
            const int left = x * usual.x / to.x;
            const int right = (x + 1) * usual.x / to.x;
            int sum = 0;
            for (int row = top; row < bottom; ++row) {
                for (int column = left; column < right; ++column) {
                    sum += page.at(column, row);
                }
            }
            result.at(x, y) = sum / ((bottom - top) * (right - left));
        }
    }
    return result;
}

FIBITMAP* bitmapOf(const Plane& plane, Resolution dpi) {
    FIBITMAP* const bitmap = FreeImage_Allocate(plane.width, plane.height, 8);
    for (int y = 0; y < plane.height; ++y) {
        BYTE* const line = FreeImage_GetScanLine(bitmap, plane.height - 1 - y);
        for (int x = 0; x < plane.width; ++x) {
            line[x] = static_cast<BYTE>(std::clamp(plane.at(x, y), 0, 255));
        }
    }
    FreeImage_SetDotsPerMeterX(bitmap, static_cast<unsigned>(std::lround(dpi.x / 0.0254)));
    FreeImage_SetDotsPerMeterY(bitmap, static_cast<unsigned>(std::lround(dpi.y / 0.0254)));
    return bitmap;
}

// ---- papers, A4 at 300 dots per inch

constexpr int pageWidth = 2480;
constexpr int pageHeight = 3508;

Plane grainy(int level, double grain, bool coarse, int falloff) {
    std::normal_distribution<double> noise(0, grain);
    Plane page(pageWidth, pageHeight, 0);
    Plane spots(pageWidth / 3 + 1, pageHeight / 3 + 1, 0);
    std::generate(spots.levels.begin(), spots.levels.end(), [&] { return static_cast<int>(noise(dice)); });
    for (int y = 0; y < pageHeight; ++y) {
        for (int x = 0; x < pageWidth; ++x) {
            const int rough = coarse ? spots.at(x / 3, y / 3) : static_cast<int>(noise(dice));
            page.at(x, y) = level + rough - falloff * x / pageWidth;
        }
    }
    return page;
}

// The picture without its outermost pixels, continued beyond its sides as in a mirror: no seam is seen, but
// what lies on one is doubled.
Plane tiled(const Plane& picture) {
    constexpr int rim = 80;
    const Plane tile = picture.cut(rim, rim, picture.width - 2 * rim, picture.height - 2 * rim);
    const auto mirrored = [](int i, int length) {
        const int at = i % (2 * length);
        return at < length ? at : 2 * length - 1 - at;
    };
    Plane page(pageWidth, pageHeight, 0);
    for (int y = 0; y < pageHeight; ++y) {
        for (int x = 0; x < pageWidth; ++x) {
            page.at(x, y) = tile.at(mirrored(x, tile.width), mirrored(y, tile.height));
        }
    }
    return page;
}

// White with specks needs no mirror.
Plane repeated(const Plane& tile) {
    Plane page(pageWidth, pageHeight, 0);
    for (int y = 0; y < pageHeight; ++y) {
        for (int x = 0; x < pageWidth; ++x) {
            page.at(x, y) = tile.at(x % tile.width, y % tile.height);
        }
    }
    return page;
}

// ---- what should not matter

void disc(Plane& page, int centreX, int centreY, double radius, int level) {
    const int reach = static_cast<int>(radius) + 1;
    for (int y = std::max(0, centreY - reach); y <= std::min(page.height - 1, centreY + reach); ++y) {
        for (int x = std::max(0, centreX - reach); x <= std::min(page.width - 1, centreX + reach); ++x) {
            if (std::hypot(x - centreX, y - centreY) <= radius) {
                page.at(x, y) = level;
            }
        }
    }
}

void addHoles(Plane& page) {
    const int level = pick(0, 60);
    for (const int offset : {-472, 472}) { // 80 mm apart, 12 mm from the edge
        disc(page, pick(135, 150), page.height / 2 + offset, pick(32, 37), level);
    }
}

void addDarkEdges(Plane& page) {
    const int band = pick(8, 60);
    for (int y = 0; y < page.height; ++y) {
        const int end = band + y * 20 / page.height; // a little askew
        for (int x = 0; x < end; ++x) {
            page.at(page.width - 1 - x, y) = 25;
        }
        for (int x = 0; x < 90; ++x) { // the shadow of the lid
            page.at(x, y) -= 70 - 70 * x / 90;
        }
    }
}

void addDust(Plane& page) {
    for (int i = pick(10, 40); i > 0; --i) {
        disc(page, pick(0, page.width - 1), pick(0, page.height - 1), pick(2, 10) / 4.0, pick(30, 120));
    }
}

void addFold(Plane& page) {
    const int at = page.height / 3 + pick(-50, 50);
    for (int x = 0; x < page.width; ++x) {
        for (int i = -3; i <= 3; ++i) {
            page.at(x, at + i + x / 400) -= 24 - 6 * std::abs(i);
        }
    }
}

// ---- content

// Darkens the page by as much as the mark is darker than its own paper, `strength` of it.
void stick(Plane& page, const Plane& mark, int left, int top, double strength) {
    std::vector<int> sorted = mark.levels;
    std::nth_element(sorted.begin(), sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() * 3 / 4),
                     sorted.end());
    const int paper = sorted[sorted.size() * 3 / 4];
    for (int y = 0; y < mark.height; ++y) {
        for (int x = 0; x < mark.width; ++x) {
            if (left + x >= 0 && left + x < page.width && top + y >= 0 && top + y < page.height) {
                int& level = page.at(left + x, top + y);
                const int darker = std::max(0, paper - mark.at(x, y) - 10);
                level = std::max(std::min(level, 15), level - static_cast<int>(darker * strength));
            }
        }
    }
}

struct Box {
    int left, top, right, bottom; // inclusive
    int height() const { return bottom - top + 1; }
    int width() const { return right - left + 1; }
};

// Bounding boxes of connected black marks.
std::vector<Box> marksOf(const Plane& page) {
    std::vector<Box> boxes;
    std::vector<bool> seen(page.levels.size());
    std::vector<std::pair<int, int>> open;
    const auto visit = [&](int x, int y) {
        if (x < 0 || y < 0 || x >= page.width || y >= page.height || page.at(x, y) > 127) {
            return;
        }
        const auto index =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(page.width) + static_cast<std::size_t>(x);
        if (!seen[index]) {
            seen[index] = true;
            open.emplace_back(x, y);
        }
    };
    for (int y = 0; y < page.height; ++y) {
        for (int x = 0; x < page.width; ++x) {
            visit(x, y);
            Box box{x, y, x, y};
            const bool isNew = !open.empty();
            while (!open.empty()) {
                const auto [i, k] = open.back();
                open.pop_back();
                box = {std::min(box.left, i), std::min(box.top, k), std::max(box.right, i),
                       std::max(box.bottom, k)};
                for (int n = 0; n < 9; ++n) {
                    visit(i - 1 + n % 3, k - 1 + n / 3);
                }
            }
            if (isNew) {
                boxes.push_back(box);
            }
        }
    }
    return boxes;
}

struct Marks {
    std::vector<Plane> characters;
    std::vector<Plane> thinCharacters;
    std::vector<Plane> lines;
    std::vector<Plane> stamps;
    std::vector<Plane> signatures;
    std::vector<Plane> pencilled; // a folio number
};

Plane cutOut(const Plane& page, const Box& box) {
    return page.cut(box.left - 1, box.top - 1, box.width() + 2, box.height() + 2);
}

Marks gather(const std::string& folder, const std::vector<Plane>& report) {
    Marks marks;
    for (const Plane& page : report) {
        for (const Box& box : marksOf(page)) {
            if (box.left < 2 || box.top < 2 || box.right > page.width - 3 || box.bottom > page.height - 3 ||
                box.height() < 24 || box.height() > 44) {
                continue;
            }
            if (box.width() >= 12 && box.width() <= 34) {
                marks.characters.push_back(cutOut(page, box));
            } else if (box.width() >= 4 && box.width() <= 9) {
                marks.thinCharacters.push_back(cutOut(page, box));
            }
        }
        // Lines of text: stretches of rows with ink between rows without.
        int start = -1;
        for (int y = 0; y < page.height; ++y) {
            const auto row = page.levels.begin() + std::ptrdiff_t{y} * page.width;
            const bool ink =
                std::count_if(row + 200, row + page.width - 200, [](int l) { return l < 128; }) > 8;
            if (ink && start < 0) {
                start = y;
            } else if (!ink && start >= 0) {
                if (y - start >= 28 && y - start <= 55) {
                    marks.lines.push_back(page.cut(200, start, page.width - 400, y - start));
                }
                start = -1;
            }
        }
    }
    const Plane letter = pagesOf(folder + "/pages/letter_colour_300dpi.jpg")[0];
    marks.stamps.push_back(letter.cut(110, 230, 480, 480));
    const Plane envelope = pagesOf(folder + "/blank/few_words_colour_300dpi.jpg")[0];
    marks.signatures.push_back(envelope.cut(400, 395, 650, 145));
    marks.signatures.push_back(envelope.cut(850, 880, 260, 170));
    marks.pencilled.push_back(envelope.cut(1380, 60, 60, 60));
    return marks;
}

const Plane& anyOf(const std::vector<Plane>& marks) {
    return marks[static_cast<std::size_t>(pick(0, static_cast<int>(marks.size()) - 1))];
}

// ---- judging

struct Score {
    int empty = 0;
    int unsure = 0;
    int content = 0;
};

// Answers by kind of page, and those of other methods.
struct Scores {
    std::map<std::string, Score> empties;
    std::map<std::string, Score> contents;
    std::map<std::string, std::pair<int, int>> others; // empty pages and pages with content called empty
};

void judge(Scores& scores, bool hasContent, const std::string& kind, const Plane& plane,
           Resolution dpi = usual) {
    const FIBitmapPtr bitmap(bitmapOf(plane, dpi));
    const BlankPage page(bitmap.get());
    const BlankMeasure measure = measureBlank(page);
    Score& score = (hasContent ? scores.contents : scores.empties)[kind];
    (measure.verdict == BlankVerdict::empty    ? score.empty
     : measure.verdict == BlankVerdict::unsure ? score.unsure
                                               : score.content)++;
    if (hasContent == (measure.verdict == BlankVerdict::empty)) {
        const SmallCell& cell = measure.decisive;
        std::printf("%s page, %s: %s; %.4f at %u, mark %.1f mm, at %u %% of the width, %u %% of the height; "
                    "ink %.4f, mark %.1f mm",
                    hasContent ? "full" : "empty", kind.c_str(), measure.reason.c_str(), cell.share,
                    cell.contrast, cell.markLength, 100 * cell.left / page.width(),
                    100 * cell.bottom / page.height(), measure.ink.share, measure.ink.markLength);
        for (const SmallCell& faint : measure.faint) {
            std::printf("; at %u %.4f, mark %.1f mm", faint.contrast, faint.share, faint.markLength);
        }
        std::puts("");
    }
    const auto note = [&](const std::string& method, bool empty) {
        auto& counts = scores.others[method];
        (hasContent ? counts.second : counts.first) += empty ? 1 : 0;
    };
    note("--ignore-faint", measureBlank(page, true).verdict == BlankVerdict::empty);
    for (const int contrast : {20, 40, 60}) {
        for (const double limit : {0.0002, 0.001, 0.005}) {
            DornImage::EmptyPage3Params params{static_cast<std::uint8_t>(contrast), limit, 50, 0, {}};
            char name[48];
            std::snprintf(name, sizeof name, "detector, contrast %d, limit %.4f", contrast, limit);
            note(name, DornImage::detectEmptyPage(bitmap.get(), params));
        }
    }
}

using Change = std::function<void(Plane&)>;

std::vector<std::pair<std::string, Change>> blemishes() {
    return {{"clean", [](Plane&) {}},
            {"dust", addDust},
            {"holes", addHoles},
            {"dark edges", addDarkEdges},
            {"fold", addFold},
            {"all of them", [](Plane& page) {
                 addDust(page);
                 addHoles(page);
                 addDarkEdges(page);
                 addFold(page);
             }}};
}

// Where one thing may stand: its left and top as shares of the room that there is.
Change at(std::function<const Plane&()> choose, double x, double y, double strength) {
    return [=](Plane& page) {
        const Plane& mark = choose();
        // 15 mm from the sides, 12 from top and bottom, give or take.
        const int left = 177 + static_cast<int>(x * (page.width - 354 - mark.width)) + pick(-15, 15);
        const int top = 142 + static_cast<int>(y * (page.height - 284 - mark.height)) + pick(-15, 15);
        stick(page, mark, left, top, strength);
    };
}

// A character that one of the page's edges cuts in half.
Change cutByAnEdge(const std::vector<Plane>& from) {
    return [&from](Plane& page) {
        const Plane& mark = anyOf(from);
        const Plane before = page;
        const bool upright = pick(0, 1) == 1;
        const bool far = pick(0, 1) == 1;
        const int along = pick(200, (upright ? page.height : page.width) - 200);
        const int size = upright ? mark.width : mark.height;
        const int across = (far ? upright ? page.width : page.height : 0) - size / 2;
        stick(page, mark, upright ? across : along, upright ? along : across, 0.8);
        // Half of an F may be white: then the other half of it, or of another one.
        int left = 0;
        for (std::size_t i = 0; i < page.levels.size(); ++i) {
            left += before.levels[i] - page.levels[i] > 60 ? 1 : 0;
        }
        if (left < 80) {
            cutByAnEdge(from)(page);
        }
    };
}

std::vector<std::pair<std::string, Change>> contents(const Marks& marks) {
    const auto any = [](const std::vector<Plane>& from) {
        return [&from]() -> const Plane& { return anyOf(from); };
    };
    return {{"character below", at(any(marks.characters), 0.5, 1, 0.8)},
            {"character above", at(any(marks.characters), 1, 0, 0.8)},
            {"pale character", at(any(marks.characters), 0.5, 1, 0.45)},
            {"thin character (i, l, 1)", at(any(marks.thinCharacters), 0.5, 1, 0.8)},
            {"line above", at(any(marks.lines), 0.5, 0, 0.8)},
            {"line in the middle", at(any(marks.lines), 0.5, 0.5, 0.8)},
            {"line below", at(any(marks.lines), 0.5, 1, 0.8)},
            {"pale line", at(any(marks.lines), 0.5, 0.3, 0.35)},
            {"character cut by an edge", cutByAnEdge(marks.characters)},
            {"stamp", at(any(marks.stamps), 0.8, 0.1, 1)},
            {"signature", at(any(marks.signatures), 0.7, 0.8, 1)},
            {"pencilled number", at(any(marks.pencilled), 0.95, 0.03, 1)}};
}

// Each paper with dust, and with one thing on it as well, scanned more coarsely.
void judgeCoarser(Scores& scores, const Plane& paper,
                  const std::vector<std::pair<std::string, Change>>& contents) {
    for (const Resolution to : {Resolution{75, 75}, {100, 100}, {150, 150}, {200, 200}, {204, 98}}) {
        const std::string name = " at " + std::to_string(to.x) + " x " + std::to_string(to.y);
        Plane page = paper;
        addDust(page);
        judge(scores, false, "dust" + name, coarser(page, to), to);
        contents[static_cast<std::size_t>(pick(0, static_cast<int>(contents.size()) - 1))].second(page);
        judge(scores, true, "any of these" + name, coarser(page, to), to);
    }
}

// Windows of real 1-bit pages: empty without a single black pixel, with content when a whole character lies
// well inside.
void judgeCuts(Scores& scores, const std::vector<Plane>& pages, int rounds) {
    constexpr int side = 900;
    for (const Plane& page : pages) {
        for (int i = 0; i < 20 * rounds; ++i) {
            const Plane cut = page.cut(pick(0, page.width - side), pick(0, page.height - side), side, side);
            const std::vector<Box> boxes = marksOf(cut);
            const bool character = std::any_of(boxes.begin(), boxes.end(), [](const Box& box) {
                return box.height() >= 24 && box.width() >= 12 && box.left > 90 && box.top > 90 &&
                       box.right < side - 90 && box.bottom < side - 90;
            });
            if (boxes.empty() || character) {
                judge(scores, character, "window of a 1-bit page", cut);
            }
        }
    }
}

int print(const char* title, const std::map<std::string, Score>& scores, Score& sum) {
    std::printf("\n%-32s %7s %7s %8s\n", title, "empty", "unsure", "content");
    for (const auto& [kind, score] : scores) {
        std::printf("  %-30s %7d %7d %8d\n", kind.c_str(), score.empty, score.unsure, score.content);
        sum.empty += score.empty;
        sum.unsure += score.unsure;
        sum.content += score.content;
    }
    const int all = sum.empty + sum.unsure + sum.content;
    std::printf("  %-30s %7d %7d %8d\n", "together", sum.empty, sum.unsure, sum.content);
    return all;
}

void printRates(int emptyFound, int empties, int contentCalledEmpty) {
    std::printf("precision %5.1f %%, recall %5.1f %%, pages with content called empty %d\n",
                emptyFound == 0 ? 0.0 : 100.0 * emptyFound / (emptyFound + contentCalledEmpty),
                100.0 * emptyFound / empties, contentCalledEmpty);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs("usage: blank_accuracy FOLDER [ROUNDS [SEED]]\n", stderr);
        return 1;
    }
    const std::string folder = argv[1];
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    dice.seed(argc > 3 ? static_cast<unsigned>(std::atoi(argv[3])) : 1);
    const std::vector<Plane> report = pagesOf(folder + "/multipage/report_5pages_1bit_g4.tif");
    const Marks marks = gather(folder, report);
    std::printf("%zu characters, %zu thin ones, %zu lines\n", marks.characters.size(),
                marks.thinCharacters.size(), marks.lines.size());
    const std::vector<std::pair<std::string, Plane>> papers = {
        {"white", grainy(246, 2.5, false, 0)},
        {"tinted", grainy(214, 5, false, 30)},
        {"rough", grainy(196, 9, true, 20)},
        // Without the strokes of ink at its upper edge and what is torn at its lower one.
        {"real paper",
         tiled(pagesOf(folder + "/blank/blank_paper_colour_300dpi.jpg")[0].cut(0, 220, 1500, 1180))},
        {"show-through", tiled(pagesOf(folder + "/blank/blank_show_through_grey_300dpi.jpg")[0])},
        {"1-bit specks", repeated(pagesOf(folder + "/blank/blank_specks_1bit_g4_300dpi.tif")[0])}};

    Scores scores;
    for (int round = 0; round < rounds; ++round) {
        for (const auto& [paperName, paper] : papers) {
            for (const auto& [blemishName, blemish] : blemishes()) {
                Plane empty = paper;
                blemish(empty);
                judge(scores, false, paperName + ", " + blemishName, empty);
            }
            for (const auto& [contentName, content] : contents(marks)) {
                Plane page = paper;
                if (round % 2 == 1) {
                    addDust(page);
                    addHoles(page);
                    addDarkEdges(page);
                }
                content(page);
                judge(scores, true, contentName, page);
            }
            judgeCoarser(scores, paper, contents(marks));
        }
    }
    std::vector<Plane> bilevel = report;
    for (const char* const name : {"article_1bit_g4_300dpi.tif", "note_skewed_1bit_g4.tif"}) {
        bilevel.push_back(pagesOf(folder + "/pages/" + name)[0]);
    }
    judgeCuts(scores, bilevel, rounds);

    Score onEmpty;
    Score onContent;
    const int empties = print("empty pages", scores.empties, onEmpty);
    print("pages with content", scores.contents, onContent);
    std::puts("\nthe tool:");
    printRates(onEmpty.empty, empties, onContent.empty);
    std::puts("\nother methods; the detector alone with a margin of 50 per mille:");
    for (const auto& [name, counts] : scores.others) {
        std::printf("  %-38s ", name.c_str());
        printRates(counts.first, empties, counts.second);
    }
    return 0;
}
