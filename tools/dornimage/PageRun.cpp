#include "PageRun.h"

#include "Text.h"

#include <new>
#include <optional>

using nlohmann::ordered_json;

namespace {

class FileRun {
public:
    FileRun(const PageRun& run, CodecMessages& messages, const PageLook& look)
        : run_(run), messages_(messages), look_(look) {}

    ordered_json lookAt(const std::string& name) {
        entry_ = {{"file", name}, {"ok", true}, {"pages", ordered_json::array()}};
        try {
            Source source(name, messages_, Frames::played, run_.decoding);
            const int first = run_.page == 0 ? 1 : run_.page;
            const int last = run_.page == 0 ? source.pageCount() : run_.page;
            for (int page = first; page <= last; ++page) {
                lookAt(source, page);
            }
        } catch (const ToolError& error) {
            note(error);
            entry_["error"] = error.what();
        }
        return std::move(entry_);
    }

    /// done, some, or why nothing could be looked at.
    ExitCode exitCode() const {
        if (!failure_) {
            return ExitCode::done;
        }
        return seen_ == 0 ? *failure_ : ExitCode::some;
    }

private:
    void lookAt(Source& source, int page) {
        try {
            entry_["pages"].push_back(found(source, page));
            ++seen_;
        } catch (const ToolError& error) {
            if (source.pageCount() == 1 || run_.page != 0) {
                throw;
            }
            note(error);
            entry_["pages"].push_back({{"page", page}, {"error", error.what()}});
        }
    }

    ordered_json found(Source& source, int page) {
        try {
            const Page loaded = source.load(page);
            for (const std::string& message : loaded.messages) {
                report(source.name(), message);
            }
            ordered_json result = {{"page", page}};
            result.update(look_(source, page, *loaded.image, !loaded.messages.empty()));
            return result;
        } catch (const std::bad_alloc&) {
            throw ToolError(ExitCode::limits, source.name(), "out of memory");
        }
    }

    // What is not about the page at hand, such as a result that can't be written, ends the run.
    void note(const ToolError& error) {
        if (error.code() != ExitCode::input && error.code() != ExitCode::limits) {
            throw error;
        }
        report(entry_["file"], error.what());
        entry_["ok"] = false;
        failure_ = failure_.value_or(error.code());
    }

    const PageRun& run_;
    CodecMessages& messages_;
    const PageLook& look_;
    ordered_json entry_;
    std::size_t seen_ = 0;            // pages of all files
    std::optional<ExitCode> failure_; // the first one
};

} // namespace

ExitCode lookAtPages(const PageRun& run, CodecMessages& messages, const PageLook& look) {
    ordered_json list = ordered_json::array();
    FileRun fileRun(run, messages, look);
    for (const std::string& file : run.files) {
        list.push_back(fileRun.lookAt(file));
    }
    if (run.json) {
        printJson(list);
    }
    return fileRun.exitCode();
}

std::string pageName(const Source& source, int page) {
    return printable(source.name()) + (source.pageCount() > 1 ? " page " + std::to_string(page) : "");
}
