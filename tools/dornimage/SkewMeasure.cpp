#include "SkewMeasure.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr double degree = 3.141592653589793 / 180;
// Long side in pixels that suffices: finer copies measured no better, coarser ones did.
constexpr unsigned workingSide = 1600;
// A copy of half that size finds the rough direction.
constexpr unsigned roughSide = 800;
// A stroke is thinner than this part of the page: 7 mm on A4.
constexpr unsigned thickShare = 40;
constexpr double roughStep = 0.2;
// Pixels that vote together: the ends of a piece are off by half a line at the ends of the band.
constexpr unsigned roughPiece = 4;
constexpr unsigned narrowPiece = 16;
constexpr double narrowReach = 1.0;
constexpr double narrowStep = 0.05;

// Limits, chosen on real pages, photographs, blank paper and noise; docs/analysis.md has the figures.
constexpr double leastContrast = 40; // grey levels between the means of dark and light
constexpr std::size_t leastVoters = 100;
constexpr double leastClearness = 1.25;
constexpr double apart = 2.0;          // degrees from the best direction to one that counts as another
constexpr double greatestSpread = 0.2; // degrees
constexpr double greatestGap = 0.15;   // degrees

// Neighbouring pixels of a line, which vote together for the line through their middle.
struct Voter {
    float x; // from the middle of the page
    float y;
    unsigned votes;
};

void markSteps(const unsigned char* before, const unsigned char* now, unsigned char limit,
               unsigned char* steps, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        steps[x] = (before[x] <= limit) & (now[x] > limit);
    }
}

// The upper edges of dark strokes, in pieces of `longest` pixels at most.
std::vector<Voter> votersOf(const GreyPage& page, unsigned threshold, unsigned longest) {
    std::vector<Voter> voters;
    std::vector<unsigned char> steps(page.width);
    const auto limit = static_cast<unsigned char>(threshold);
    const float middle = static_cast<float>(page.width) / 2;
    for (unsigned y = 1; y < page.height; ++y) {
        const unsigned char* const before = page.line(y - 1);
        const unsigned char* const now = page.line(y);
        markSteps(before, now, limit, steps.data(), page.width);
        unsigned end = 0; // behind the last voter of this line
        eachMarked(steps, [&](unsigned x) {
            if (x > 0 && x == end && voters.back().votes < longest) {
                voters.back().x += 0.5F;
                ++voters.back().votes;
            } else {
                voters.push_back({static_cast<float>(x) - middle, static_cast<float>(y), 1});
            }
            end = x + 1;
        });
    }
    return voters;
}

std::size_t votesOf(const std::vector<Voter>& voters) {
    std::size_t votes = 0;
    for (const Voter& voter : voters) {
        votes += voter.votes;
    }
    return votes;
}

std::vector<DirectionScore> scoresOf(const std::vector<Voter>& voters, const GreyPage& page, double reach,
                                     double step) {
    std::vector<DirectionScore> scores;
    const auto all = static_cast<double>(votesOf(voters));
    const auto steps = static_cast<int>(std::lround(reach / step));
    std::vector<unsigned> votes;
    for (int i = -steps; i <= steps; ++i) {
        const double angle = i * step;
        const double slope = std::tan(angle * degree);
        const double margin = std::ceil(std::abs(slope) * page.width / 2) + 1;
        votes.assign(page.height + 2 * static_cast<std::size_t>(margin), 0);
        const auto slopeAsFloat = static_cast<float>(slope);
        const auto marginAsFloat = static_cast<float>(margin);
        for (const Voter& voter : voters) {
            const float place = voter.y + voter.x * slopeAsFloat + marginAsFloat;
            votes[static_cast<std::size_t>(static_cast<int>(place))] += voter.votes;
        }
        double sum = 0;
        for (const unsigned count : votes) {
            sum += static_cast<double>(count) * count;
        }
        scores.push_back({angle, sum / all});
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

// Measures a level page and its quarters with the detector and compares: the whole with the angle that the
// scores gave, the quarters with the whole.
void check(GreyPage& level, double fromScores, SkewMeasure& measure) {
    SkewDetector detector(static_cast<float>(narrowReach), 50);
    detector.setThreshold(measure.threshold);
    const auto stride = static_cast<int>(level.width);
    const double whole = detector.detectSkew(level.pixels.data(), stride, level.width, level.height);
    measure.methodGap = std::abs(whole - fromScores);

    const unsigned width = level.width / 2;
    const unsigned height = level.height / 2;
    std::array<std::size_t, 4> voters{}; // of the lower and upper left, then right quarter
    for (const Voter& voter : votersOf(level, measure.threshold, narrowPiece)) {
        voters[(voter.x >= 0 ? 2U : 0U) + (voter.y >= static_cast<float>(height) ? 1U : 0U)] += voter.votes;
    }
    std::vector<double> distances;
    for (unsigned i = 0; i < voters.size(); ++i) {
        if (voters[i] >= leastVoters / 2) {
            unsigned char* const corner = level.line(i % 2 == 1 ? height : 0) + (i >= 2 ? width : 0);
            distances.push_back(std::abs(detector.detectSkew(corner, stride, width, height) - whole));
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
    const std::vector<Voter> roughVoters = votersOf(rough, measure.threshold, roughPiece);
    if (votesOf(roughVoters) < leastVoters) {
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
    const std::vector<Voter> voters = votersOf(level, measure.threshold, narrowPiece);
    const double rest = peakOf(scoresOf(voters, level, narrowReach, narrowStep));
    // Strokes of a page that was reduced before are thick enough for once more.
    GreyPage checked = factor > 1 ? reduced(level, 2) : std::move(level);
    check(checked, rest, measure);
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
