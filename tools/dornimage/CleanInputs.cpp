#include "CleanInputs.h"

#include "CodecMessages.h"
#include "ExitCode.h"
#include "Source.h"
#include "Text.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <glob.h>
#include <set>

namespace fs = std::filesystem;

namespace {

bool isDigit(char character) {
    return std::isdigit(static_cast<unsigned char>(character)) != 0;
}

// Digits in a row count as a number, so that scan9 comes before scan10.
bool comesBefore(const std::string& one, const std::string& other) {
    std::size_t i = 0;
    std::size_t j = 0;
    while (i < one.size() && j < other.size()) {
        if (!isDigit(one[i]) || !isDigit(other[j])) {
            if (one[i] != other[j]) {
                return static_cast<unsigned char>(one[i]) < static_cast<unsigned char>(other[j]);
            }
            ++i;
            ++j;
            continue;
        }
        const auto number = [](const std::string& text, std::size_t& at) {
            while (at < text.size() && text[at] == '0') {
                ++at;
            }
            const std::size_t first = at;
            while (at < text.size() && isDigit(text[at])) {
                ++at;
            }
            return text.substr(first, at - first);
        };
        const std::string left = number(one, i);
        const std::string right = number(other, j);
        if (left != right) {
            return left.size() != right.size() ? left.size() < right.size() : left < right;
        }
    }
    // What differs in zeros before a number only has to have an order as well.
    return one.size() - i != other.size() - j ? one.size() - i < other.size() - j : one < other;
}

// By its name, so that a damaged picture is one as well, or by its content.
bool isPicture(const fs::path& file) {
    FREE_IMAGE_FORMAT format = DornImage::FreeImage_GetFIFFromFilename(file.string());
    if (format == FIF_UNKNOWN) {
        format = FreeImage_GetFileType(file.c_str(), 0);
    }
    return format != FIF_UNKNOWN && FreeImage_FIFSupportsReading(format);
}

class Listing {
public:
    explicit Listing(const Decoding& decoding) : decoding_(decoding) {}

    std::vector<PageRecord> pages;

    /// @param mayBeList a leading @ means a list; lists and patterns name no lists.
    void add(const std::string& argument, bool mayBeList) {
        try {
            if (mayBeList && argument.size() > 1 && argument[0] == '@') {
                addList(argument.substr(1));
            } else {
                addNames(argument);
            }
        } catch (const ToolError& error) {
            addFailed(error);
        }
    }

private:
    void addFailed(const ToolError& error) {
        PageRecord failed;
        failed.file = error.file();
        failed.fate = PageFate::failed;
        failed.reason = error.what();
        pages.push_back(failed);
    }

    void addList(const std::string& list) {
        std::ifstream lines(list);
        if (!lines) {
            throw ToolError(ExitCode::input, list, "cannot be read");
        }
        bool isEmpty = true;
        for (std::string line; std::getline(lines, line);) {
            if (!line.empty() && line.back() == '\r') {
                line.pop_back();
            }
            if (!line.empty()) {
                add(line, false);
                isEmpty = false;
            }
        }
        if (isEmpty) {
            throw ToolError(ExitCode::input, list, "there are no names in this list");
        }
    }

    void addNames(const std::string& argument) {
        std::error_code error;
        if (argument.find_first_of("*?[") == std::string::npos || fs::exists(argument, error)) {
            addPath(argument);
            return;
        }
        glob_t found{};
        glob(argument.c_str(), 0, nullptr, &found);
        std::vector<std::string> names(found.gl_pathv, found.gl_pathv + found.gl_pathc);
        globfree(&found);
        if (names.empty()) {
            throw ToolError(ExitCode::input, argument, "no file has such a name");
        }
        std::sort(names.begin(), names.end(), comesBefore);
        for (const std::string& name : names) {
            add(name, false);
        }
    }

    void addPath(const std::string& path) {
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            addFile(path);
            return;
        }
        std::vector<std::string> names;
        for (const fs::directory_entry& entry : fs::directory_iterator(path, error)) {
            const bool hidden = entry.path().filename().native()[0] == '.';
            if (!hidden && entry.is_regular_file(error) && isPicture(entry.path())) {
                names.push_back(entry.path().string());
            }
        }
        if (error) {
            throw ToolError(ExitCode::input, path, error.message());
        }
        if (names.empty()) {
            throw ToolError(ExitCode::input, path, "there are no pictures in this folder");
        }
        std::sort(names.begin(), names.end(), comesBefore);
        for (const std::string& name : names) {
            addFile(name);
        }
    }

    void addFile(const std::string& file) {
        try {
            const Source source(file, messages_, Frames::played, decoding_);
            for (int page = 1; page <= source.pageCount(); ++page) {
                PageRecord record;
                record.file = file;
                record.page = page;
                record.pageCount = source.pageCount();
                record.format = formatName(source.format());
                pages.push_back(record);
            }
        } catch (const ToolError& error) {
            addFailed(error);
        }
    }

    const Decoding& decoding_;
    CodecMessages messages_;
};

} // namespace

std::vector<PageRecord> pagesOf(const std::vector<std::string>& arguments, const Decoding& decoding) {
    Listing listing(decoding);
    for (const std::string& argument : arguments) {
        listing.add(argument, true);
    }
    return std::move(listing.pages);
}

std::vector<std::string> outputStems(const std::vector<PageRecord>& pages) {
    std::vector<std::string> stems;
    std::set<std::string> taken;
    for (const PageRecord& page : pages) {
        std::string stem = fs::path(page.file).stem().string();
        if (page.pageCount > 1) {
            stem.append("-").append(numbered(page.page, page.pageCount));
        }
        std::string unlike = stem;
        for (int other = 2; !taken.insert(unlike).second; ++other) {
            unlike = stem;
            unlike.append("-").append(std::to_string(other));
        }
        stems.push_back(unlike);
    }
    return stems;
}
