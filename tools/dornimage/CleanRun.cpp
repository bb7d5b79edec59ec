#include "CleanRun.h"

#include "CleanInputs.h"
#include "CleanJournal.h"
#include "CleanOutput.h"
#include "CleanPage.h"
#include "CleanRecordJson.h"
#include "CleanReport.h"
#include "Interrupt.h"
#include "MemoryBudget.h"
#include "SideBySide.h"
#include "Text.h"
#include "Thumbnail.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <new>
#include <optional>

using nlohmann::ordered_json;

namespace {

class CleanRun {
public:
    CleanRun(CleanPlan& plan, const CleanOptions& options)
        : plan_(plan), options_(options), stems_(outputStems(plan.pages)), causes_(plan.pages.size()),
          budget_(options.memory) {}

    ExitCode run();

private:
    // What a thread keeps from one page to the next.
    struct Worker {
        CleanRun& run;
        std::unique_ptr<CodecMessages> messages = std::make_unique<CodecMessages>();
        std::unique_ptr<Source> source = {};

        void operator()(std::size_t index) { run.process(index, *this); }
        Source& sourceOf(const std::string& file);
    };

    bool writes() const { return options_.writes && !options_.dryRun; }
    void prepareOutput();
    ExitCode workOnAll();
    void deliver(PageRecord& record, CleanProgress& progress);
    RunFacts factsOfRun() const;
    void process(std::size_t index, Worker& worker);
    void work(std::size_t index, Worker& worker);
    void showFinished(PageRecord& record, Worker& worker);
    DornImage::Reference<DornImage::Image> smallCopy(Source& source, PageRecord page, Worker& worker);
    void fail(std::size_t index, ExitCode code, const std::string& cause);
    void tell() const;
    ordered_json reportOfAll() const;
    void printTimes() const;
    std::size_t count(PageFate fate) const;
    ExitCode result() const;

    CleanPlan& plan_;
    const CleanOptions& options_;
    std::optional<CleanOutput> output_;
    std::optional<CleanJournal> journal_; // when something is written
    std::optional<CleanReport> report_;   // when there is to be one for people
    const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
    const std::vector<std::string> stems_;
    std::vector<ExitCode> causes_;         // of the pages that have failed
    std::atomic<std::size_t> earlier_ = 0; // pages that an earlier run has made
    MemoryBudget budget_;
};

Source& CleanRun::Worker::sourceOf(const std::string& file) {
    if (!source || source->name() != file) {
        source.reset(); // before the next file is opened
        source = std::make_unique<Source>(file, *messages, Frames::played, run.options_.decoding);
    }
    return *source;
}

ExitCode CleanRun::run() {
    if (options_.writes) {
        prepareOutput();
    }
    if (!options_.reportFolder.empty()) {
        report_.emplace(options_.reportFolder);
    }
    const Interrupt interrupt;
    try {
        return workOnAll();
    } catch (const Interrupted&) {
        const bool canGoOn = writes();
        report("", canGoOn ? "interrupted; what is finished stays, and --resume goes on" : "interrupted");
        return ExitCode::interrupted;
    }
}

void CleanRun::prepareOutput() {
    output_.emplace(options_.output, plan_.settings);
    journal_.emplace(output_->folder(), plan_.settings);
    if (options_.resume) {
        journal_->read();
    }
    output_->check(
        plan_.pages, stems_, options_.force,
        [this](const std::string& path, const PageRecord& record) { return journal_->isOurs(path, record); });
    if (writes() && options_.resume) {
        output_->discardAbandoned();
    } else if (writes()) {
        output_->discardEarlier();
    }
}

ExitCode CleanRun::workOnAll() {
    {
        CleanProgress progress(options_.progress, writes() ? "cleaning" : "looking", plan_.pages.size());
        SideBySide threads(
            plan_.pages.size(), [this] { return Worker{*this}; },
            [&](std::size_t index) { deliver(plan_.pages[index], progress); });
        threads.run(options_.jobs);
    }
    if (writes()) {
        CodecMessages messages;
        output_->finish(messages);
    }
    if (report_) {
        report_->finish(factsOfRun());
    }
    tell();
    return result();
}

void CleanRun::deliver(PageRecord& record, CleanProgress& progress) {
    if (writes()) {
        output_->enter(record);
    }
    progress.page(record);
    if (report_) {
        report_->add(record);
        record.before = {};
        record.after = {};
    }
}

RunFacts CleanRun::factsOfRun() const {
    RunFacts facts;
    facts.command = options_.command;
    const ordered_json settings = toJson(plan_.settings);
    for (const auto& [name, value] : settings.items()) {
        facts.settings.emplace_back(name, value.is_string() ? value.get<std::string>()
                                          : value.is_null() ? "as it is"
                                                            : value.dump());
    }
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start_;
    facts.seconds = taken.count();
    facts.jobs = options_.jobs;
    facts.earlier = earlier_;
    facts.dryRun = options_.dryRun;
    return facts;
}

void CleanRun::process(std::size_t index, Worker& worker) {
    if (plan_.pages[index].fate == PageFate::failed) {
        causes_[index] = ExitCode::input;
        return;
    }
    try {
        work(index, worker);
    } catch (const ToolError& error) {
        Interrupt::check(); // it may have ended a decoder as well
        if (error.code() == ExitCode::output) {
            throw;
        }
        fail(index, error.code(), error.what());
    } catch (const std::bad_alloc&) {
        fail(index, ExitCode::limits, "out of memory");
    }
}

void CleanRun::work(std::size_t index, Worker& worker) {
    PageRecord& record = plan_.pages[index];
    Interrupt::check();
    const ordered_json task =
        writes() ? CleanJournal::taskOf(record, !options_.analyses) : ordered_json(nullptr);
    if (options_.resume && writes() && journal_->restore(record, stems_[index], task)) {
        ++earlier_;
        if (report_) {
            showFinished(record, worker);
        }
        return;
    }
    CleanPage page(record, plan_.settings, *worker.messages);
    Source& source = worker.sourceOf(record.file);
    const MemoryBudget::Share share(budget_, page.readHeader(source, options_.maxPixels));
    Interrupt::check();
    page.load(source, options_.maxPixels);
    if (report_) {
        record.before = thumbnailOf(page.image());
    }
    if (options_.analyses) {
        page.readOrientation();
    }
    Interrupt::check();
    page.normalise();
    Interrupt::check();
    if (options_.analyses) {
        page.judge();
    }
    page.decideTurn();
    Interrupt::check();
    if (!options_.writes) {
        return;
    }
    const FREE_IMAGE_FORMAT format = output_->formatFor(record, page.image());
    const std::string path = output_->pathFor(record, stems_[index], format);
    if (options_.dryRun) {
        record.output = output_->isBook() && !output_->isAside(record) ? options_.output : path;
        return;
    }
    page.mend(format);
    output_->checkHolds(record, page.image());
    if (report_) {
        record.after = thumbnailOf(page.image());
    }
    Interrupt::check();
    output_->checkPlace(path, record);
    CleanOutput::makeFolderOf(path);
    CleanOutput::makeFolderOf(journal_->path());
    // Should the process be killed at the very moment, then a line tells of a file that isn't there, and the
    // page is made again. The other way round, the next run would find a file that it knows nothing of.
    page.save(path, format, output_->joins() && !output_->isAside(record),
              [&](const std::string& file) { journal_->add(record, file, stems_[index], task); });
}

// The report is of all pages. One that can't be shown any longer is finished all the same.
void CleanRun::showFinished(PageRecord& record, Worker& worker) {
    try {
        record.before = smallCopy(worker.sourceOf(record.file), record, worker);
        PageRecord finished;
        finished.file = record.output;
        Source output(record.output, *worker.messages, Frames::played, options_.decoding);
        record.after = smallCopy(output, finished, worker);
    } catch (const ToolError&) {
        Interrupt::check(); // it may have ended a decoder
    } catch (const std::bad_alloc&) {
        // It stays without a picture.
    }
}

DornImage::Reference<DornImage::Image> CleanRun::smallCopy(Source& source, PageRecord page, Worker& worker) {
    CleanPage stored(page, plan_.settings, *worker.messages);
    const MemoryBudget::Share share(budget_, stored.readHeader(source, options_.maxPixels));
    Interrupt::check();
    stored.load(source, options_.maxPixels);
    return thumbnailOf(stored.image());
}

void CleanRun::fail(std::size_t index, ExitCode code, const std::string& cause) {
    plan_.pages[index].fate = PageFate::failed;
    plan_.pages[index].reason = cause;
    plan_.pages[index].output.clear();
    causes_[index] = code;
}

std::size_t CleanRun::count(PageFate fate) const {
    return static_cast<std::size_t>(std::count_if(plan_.pages.begin(), plan_.pages.end(),
                                                  [&](const PageRecord& page) { return page.fate == fate; }));
}

ordered_json CleanRun::reportOfAll() const {
    ordered_json pages = ordered_json::array();
    for (const PageRecord& record : plan_.pages) {
        pages.push_back(reportEntry(record));
    }
    ordered_json counts = ordered_json::object();
    for (std::size_t fate = 0; fate < fateNames().size(); ++fate) {
        counts[fateNames()[fate]] = count(static_cast<PageFate>(fate));
    }
    return {{"settings", toJson(plan_.settings)}, {"counts", counts}, {"pages", pages}};
}

void CleanRun::tell() const {
    if (!options_.writes) {
        printJson(toJson(plan_));
    } else if (options_.json) {
        printJson(reportOfAll());
    } else {
        if (options_.dryRun) {
            for (const PageRecord& record : plan_.pages) {
                std::cout << printable(pageName(record)) << ": " << printable(textOf(record)) << '\n';
            }
        }
        const auto empty = static_cast<long>(count(PageFate::empty));
        const bool aside = plan_.settings.empty == EmptyPages::aside;
        const std::size_t kept =
            count(PageFate::kept) + count(PageFate::unsure) + (aside ? 0 : static_cast<std::size_t>(empty));
        std::cout << printable(options_.output) << ": " << countOf(static_cast<long>(kept), "page");
        if (count(PageFate::unsure) > 0) {
            std::cout << ", unsure of " << count(PageFate::unsure);
        }
        if (empty > 0) {
            std::cout << ", " << empty
                      << (aside ? " empty in " + printable(output_->sideFolder()) : " of them empty");
        }
        if (count(PageFate::failed) > 0) {
            std::cout << ", " << count(PageFate::failed) << " failed";
        }
        std::cout << '\n';
    }
    if (options_.verbose) {
        printTimes();
    }
}

// Of all pages together; threads side by side have more of it than the clock.
void CleanRun::printTimes() const {
    std::array<double, 9> seconds{};
    double all = 0;
    for (const PageRecord& record : plan_.pages) {
        for (const auto& [step, time] : record.seconds) {
            seconds[static_cast<std::size_t>(step)] += time;
            all += time;
        }
    }
    for (std::size_t step = 0; step < seconds.size(); ++step) {
        if (seconds[step] > 0) {
            std::fprintf(stderr, "%-8s %8.3f s %5.1f %%\n", cleanStepNames()[step].c_str(), seconds[step],
                         100 * seconds[step] / all);
        }
    }
}

ExitCode CleanRun::result() const {
    const std::size_t failed = count(PageFate::failed);
    if (failed == 0) {
        return ExitCode::done;
    }
    if (failed < plan_.pages.size()) {
        return ExitCode::some;
    }
    const bool limits =
        std::all_of(causes_.begin(), causes_.end(), [](ExitCode cause) { return cause == ExitCode::limits; });
    return limits ? ExitCode::limits : ExitCode::input;
}

} // namespace

ExitCode runClean(CleanPlan& plan, const CleanOptions& options) {
    return CleanRun(plan, options).run();
}
