#include "CleanReport.h"

#include "ExitCode.h"
#include "OutputFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <memory>

namespace fs = std::filesystem;

namespace {

constexpr char pictureFolder[] = "report-pictures-";

bool isPictureFolder(const std::string& name) {
    constexpr std::size_t lead = sizeof pictureFolder - 1;
    return name.size() > lead && name.compare(0, lead, pictureFolder) == 0 &&
           name.find_first_not_of("0123456789", lead) == std::string::npos;
}

// Whether all of it reached the system; errno tells why not.
bool writeFile(const fs::path& file, const void* data, std::size_t size) {
    errno = 0;
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    stream.close();
    return !stream.fail();
}

} // namespace

CleanReport::CleanReport(std::string folder) : folder_(std::move(folder)) {
    const fs::path index = folder_ / "index.html";
    std::error_code error;
    if (fs::exists(index, error)) {
        std::string start(reportMark().size() + 512, '\0');
        std::ifstream(index).read(start.data(), static_cast<std::streamsize>(start.size()));
        if (start.find(reportMark()) == std::string::npos) {
            fail(index, "is not a report of this tool and stays; name another folder");
        }
    }
    folderIsNew_ = fs::create_directories(folder_, error);
    if (error || !fs::is_directory(folder_)) {
        fail(folder_, error ? error.message() : "is not a folder");
    }
    makePictureFolder();
}

// Beside that of the report that is there.
void CleanReport::makePictureFolder() {
    constexpr int mostReports = 1000; // that were left unfinished
    for (int number = 1; number <= mostReports; ++number) {
        pictures_ = folder_ / (pictureFolder + std::to_string(number));
        std::error_code error;
        if (fs::create_directory(pictures_, error)) {
            return;
        }
        if (error) {
            fail(pictures_, error.message());
        }
    }
    fail(folder_, "holds too many reports that were not finished");
}

CleanReport::~CleanReport() {
    if (finished_) {
        return;
    }
    try {
        removePictures(pictures_);
        if (folderIsNew_) {
            std::error_code ignored;
            fs::remove(folder_, ignored);
        }
    } catch (const std::exception&) {
        // Without memory they stay, until the next report that is finished takes them away.
    }
}

// Files of other names in it stay, and the folder with them.
void CleanReport::removePictures(const fs::path& pictures) const {
    std::error_code ignored;
    for (const fs::directory_entry& file : fs::directory_iterator(pictures, ignored)) {
        const std::string name = file.path().filename().string();
        if (name.rfind("page-", 0) == 0 && file.path().extension() == ".jpg") {
            fs::remove(file.path(), ignored);
        }
    }
    fs::remove(pictures, ignored);
}

void CleanReport::add(const PageRecord& record) {
    ReportEntry entry;
    entry.before = write(record.before, "before");
    entry.after = write(record.after, "after");
    entry.record = record;
    entry.record.before = {};
    entry.record.after = {};
    entries_.push_back(std::move(entry));
}

ReportPicture CleanReport::write(const DornImage::Reference<DornImage::Image>& picture, const char* which) {
    if (!picture) {
        return {};
    }
    std::string number = std::to_string(entries_.size() + 1);
    number.insert(0, std::max<std::size_t>(number.size(), 4) - number.size(), '0');
    const fs::path file = pictures_ / ("page-" + number + "-" + which + ".jpg");
    const std::unique_ptr<FIMEMORY, void (*)(FIMEMORY*)> memory(FreeImage_OpenMemory(),
                                                                FreeImage_CloseMemory);
    BYTE* bytes = nullptr;
    DWORD size = 0;
    if (!FreeImage_SaveToMemory(FIF_JPEG, picture->getFIBTMAP(), memory.get(), JPEG_QUALITYGOOD) ||
        !FreeImage_AcquireMemory(memory.get(), &bytes, &size)) {
        return {};
    }
    if (!writeFile(file, bytes, size)) {
        fail(file, std::string("cannot be written: ") + std::strerror(errno));
    }
    return {(pictures_.filename() / file.filename()).string(), picture->GetWidth(), picture->GetHeight()};
}

void CleanReport::finish(const RunFacts& facts) {
    const std::string page = reportPage(entries_, facts, folder_);
    OutputFile index((folder_ / "index.html").string());
    if (!writeFile(index.path(), page.data(), page.size())) {
        fail(folder_ / "index.html", std::string("cannot be written: ") + std::strerror(errno));
    }
    index.commit();
    finished_ = true;
    std::error_code ignored;
    for (const fs::directory_entry& other : fs::directory_iterator(folder_, ignored)) {
        if (isPictureFolder(other.path().filename().string()) && other.path() != pictures_) {
            removePictures(other.path());
        }
    }
}

void CleanReport::fail(const fs::path& path, const std::string& cause) const {
    throw ToolError(ExitCode::output, path.string(), cause);
}

void writeCleanReport(const std::string& folder, const std::vector<PageRecord>& records,
                      const RunFacts& facts) {
    CleanReport report(folder);
    for (const PageRecord& record : records) {
        report.add(record);
    }
    report.finish(facts);
}
