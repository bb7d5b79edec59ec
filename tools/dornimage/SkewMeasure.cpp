#include "SkewMeasure.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double degree = 3.141592653589793 / 180;
// Long side in pixels that suffices: finer copies measured no better, coarser ones did.
constexpr unsigned workingSide = 1600;
// A copy of half that size finds the rough direction.
constexpr unsigned roughSide = 800;
// A stroke is thinner than this part of the page: 7 mm on A4.
constexpr unsigned thickShare = 40;
constexpr double roughStep = 0.2;
constexpr double narrowReach = 1.0;
constexpr double narrowStep = 0.05;

// Limits, chosen on real pages, photographs, blank paper and noise; docs/analysis.md has the figures.
constexpr double leastContrast = 40; // grey levels between the means of dark and light
constexpr std::size_t leastVoters = 100;
constexpr double leastClearness = 1.25;
constexpr double apart = 2.0;          // degrees from the best direction to one that counts as another
constexpr double greatestSpread = 0.2; // degrees
constexpr double greatestGap = 0.15;   // degrees

struct Voter {
    float x; // from the middle of the page
    float y;
};

// The upper edges of dark strokes.
std::vector<Voter> votersOf(const GreyPage& page, unsigned threshold) {
    std::vector<Voter> voters;
    const float middle = static_cast<float>(page.width) / 2;
    for (unsigned y = 1; y < page.height; ++y) {
        const unsigned char* const before = page.line(y - 1);
        const unsigned char* const now = page.line(y);
        for (unsigned x = 0; x < page.width; ++x) {
            if (before[x] <= threshold && now[x] > threshold) {
                voters.push_back({static_cast<float>(x) - middle, static_cast<float>(y)});
            }
        }
    }
    return voters;
}

std::vector<DirectionScore> scoresOf(const std::vector<Voter>& voters, const GreyPage& page, double reach,
                                     double step) {
    std::vector<DirectionScore> scores;
    const auto steps = static_cast<int>(std::lround(reach / step));
    for (int i = -steps; i <= steps; ++i) {
        const double angle = i * step;
        const double slope = std::tan(angle * degree);
        const double margin = std::ceil(std::abs(slope) * page.width / 2) + 1;
        std::vector<unsigned> votes(page.height + 2 * static_cast<std::size_t>(margin));
        for (const Voter& voter : voters) {
            const float place = voter.y + voter.x * static_cast<float>(slope) + static_cast<float>(margin);
            ++votes[static_cast<std::size_t>(place)];
        }
        double sum = 0;
        for (const unsigned count : votes) {
            sum += static_cast<double>(count) * count;
        }
        scores.push_back({angle, sum / static_cast<double>(voters.size())});
    }
    return scores;
}

// The middle of the highest peak: of its part above four fifths, which is steadier than its top.
double peakOf(const std::vector<DirectionScore>& scores) {
    const auto best = std::max_element(scores.begin(), scores.end(),
                                       [](const auto& a, const auto& b) { return a.score < b.score; });
    const double limit = best->score * 0.8;
    double weights = 0;
    double sum = 0;
    const auto add = [&](const DirectionScore& at) {
        weights += at.score - limit;
        sum += (at.score - limit) * at.angle;
    };
    for (auto at = best; at != scores.end() && at->score > limit; ++at) {
        add(*at);
    }
    for (auto at = best; at != scores.begin() && std::prev(at)->score > limit; --at) {
        add(*std::prev(at));
    }
    return sum / weights;
}

double clearnessOf(const std::vector<DirectionScore>& scores, double peak) {
    double best = 0;
    double other = 0;
    for (const DirectionScore& at : scores) {
        double& greatest = std::abs(at.angle - peak) <= apart ? best : other;
        greatest = std::max(greatest, at.score);
    }
    return other > 0 ? best / other : 1;
}

// The angle of lines that have `rest` left after shearing by `sheared`.
double together(double sheared, double rest) {
    return std::atan(std::tan(sheared * degree) + std::tan(rest * degree)) / degree;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 == 1 ? values[half] : (values[half - 1] + values[half]) / 2;
}

// Measures the quarters of a level page and compares them with the whole.
void compareParts(GreyPage& level, const std::vector<Voter>& voters, double whole, SkewMeasure& measure) {
    SkewDetector detector(static_cast<float>(narrowReach), 50);
    detector.setThreshold(measure.threshold);
    const unsigned width = level.width / 2;
    const unsigned height = level.height / 2;
    std::vector<double> distances;
    for (const bool right : {false, true}) {
        for (const bool upper : {false, true}) {
            const auto inside = std::count_if(voters.begin(), voters.end(), [&](const Voter& voter) {
                return (voter.x >= 0) == right && (voter.y >= static_cast<float>(height)) == upper;
            });
            if (static_cast<std::size_t>(inside) >= leastVoters) {
                unsigned char* const corner = level.line(upper ? height : 0) + (right ? width : 0);
                const double angle =
                    detector.detectSkew(corner, static_cast<int>(level.width), width, height);
                distances.push_back(std::abs(angle - whole));
            }
        }
    }
    measure.partsCompared = static_cast<int>(distances.size());
    measure.partSpread = distances.size() < 2 ? 0 : median(distances);
}

double confidenceOf(const SkewMeasure& measure) {
    const auto agreement = [](double distance, double limit) {
        return 1 / (1 + distance * distance / (limit * limit));
    };
    const double clear = std::clamp((measure.clearness - 1) / (2 * (leastClearness - 1)), 0.0, 1.0);
    const double parts = measure.partsCompared < 2 ? 0.5 : agreement(measure.partSpread, greatestSpread);
    return clear * parts * agreement(measure.methodGap, greatestGap);
}

} // namespace

SkewMeasure measureSkew(FIBITMAP* bitmap, double reach) {
    const unsigned longSide = std::max(FreeImage_GetWidth(bitmap), FreeImage_GetHeight(bitmap));
    SkewMeasure measure;
    const unsigned factor = std::max(1U, (longSide + workingSide / 2) / workingSide);
    measure.page = reduced(bitmap, factor, factor);
    if (measure.page.pixels.empty()) {
        measure.reason = "the picture is too narrow";
        return measure;
    }
    const GreySplit split = splitLevels(measure.page);
    measure.threshold = split.threshold;
    if (split.lightMean - split.darkMean < leastContrast) {
        measure.reason = "the page is empty: nothing on it is clearly darker than the rest";
        return measure;
    }
    GreyPage text = measure.page;
    removeThick(text, measure.threshold, text.longSide() / thickShare);
    const bool small = measure.page.longSide() < 2 * roughSide;
    const GreyPage half = small ? GreyPage() : reduced(text, 2);
    const GreyPage& rough = small ? text : half;
    const std::vector<Voter> roughVoters = votersOf(rough, measure.threshold);
    if (roughVoters.size() < leastVoters) {
        measure.reason = "the page is empty, or nearly";
        return measure;
    }
    measure.scores = scoresOf(roughVoters, rough, reach, roughStep);
    double angle = peakOf(measure.scores);
    measure.clearness = clearnessOf(measure.scores, angle);
    if (measure.clearness < leastClearness) {
        measure.reason = "no direction stands out";
        return measure;
    }
    if (std::abs(angle) > reach - narrowReach) {
        measure.reason = "the answer lies at the edge of the band";
        return measure;
    }

    GreyPage level = sheared(text, std::tan(angle * degree));
    const std::vector<Voter> voters = votersOf(level, measure.threshold);
    const double rest = peakOf(scoresOf(voters, level, narrowReach, narrowStep));
    SkewDetector detector(static_cast<float>(narrowReach), 100);
    detector.setThreshold(measure.threshold);
    const double detected =
        detector.detectSkew(level.pixels.data(), static_cast<int>(level.width), level.width, level.height);
    measure.methodGap = std::abs(detected - rest);
    compareParts(level, voters, detected, measure);
    if (measure.partSpread > greatestSpread) {
        measure.reason = "the parts of the page disagree";
    } else if (measure.methodGap > greatestGap || std::abs(rest) > narrowReach / 2) {
        measure.reason = "two ways of measuring disagree";
    } else {
        measure.angle = together(angle, rest);
        measure.confidence = confidenceOf(measure);
    }
    return measure;
}
