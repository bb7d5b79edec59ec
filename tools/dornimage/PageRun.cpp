#include "PageRun.h"

#include "Text.h"

using nlohmann::ordered_json;

namespace {

class FileRun {
public:
    FileRun(const PageRun& run, CodecMessages& messages, const PageLook& look)
        : run_(run), messages_(messages), look_(look) {}

    ordered_json lookAt(const std::string& name) {
        entry_ = {{"file", name}, {"ok", true}, {"pages", ordered_json::array()}};
        try {
            Source source(name, messages_, Frames::played);
            const int first = run_.page == 0 ? 1 : run_.page;
            const int last = run_.page == 0 ? source.pageCount() : run_.page;
            for (int page = first; page <= last; ++page) {
                lookAt(source, page);
            }
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input) {
                throw;
            }
            report(name, error.what());
            entry_["ok"] = false;
            entry_["error"] = error.what();
        }
        return std::move(entry_);
    }

    /// Pages of all files that could be read.
    std::size_t pagesRead() const { return read_; }

private:
    void lookAt(Source& source, int page) {
        try {
            const Page loaded = source.load(page);
            for (const std::string& message : loaded.messages) {
                report(source.name(), message);
            }
            ++read_;
            ordered_json found = {{"page", page}};
            found.update(look_(source, page, *loaded.image, !loaded.messages.empty()));
            entry_["pages"].push_back(std::move(found));
        } catch (const ToolError& error) {
            if (error.code() != ExitCode::input || source.pageCount() == 1 || run_.page != 0) {
                throw;
            }
            report(source.name(), error.what());
            entry_["ok"] = false;
            entry_["pages"].push_back({{"page", page}, {"error", error.what()}});
        }
    }

    const PageRun& run_;
    CodecMessages& messages_;
    const PageLook& look_;
    ordered_json entry_;
    std::size_t read_ = 0;
};

} // namespace

ExitCode lookAtPages(const PageRun& run, CodecMessages& messages, const PageLook& look) {
    ordered_json list = ordered_json::array();
    FileRun fileRun(run, messages, look);
    std::size_t failed = 0;
    for (const std::string& file : run.files) {
        list.push_back(fileRun.lookAt(file));
        failed += list.back()["ok"] ? 0 : 1;
    }
    if (run.json) {
        printJson(list);
    }
    if (failed == 0) {
        return ExitCode::done;
    }
    return fileRun.pagesRead() == 0 ? ExitCode::input : ExitCode::some;
}

std::string pageName(const Source& source, int page) {
    return printable(source.name()) + (source.pageCount() > 1 ? " page " + std::to_string(page) : "");
}
