#include "CleanJournal.h"

#include "CleanRecordJson.h"
#include "ExitCode.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;
using nlohmann::ordered_json;

namespace {

constexpr char versionKey[] = "dornimageCleanJournal";
constexpr int version = 1;

// Size and time of change, by which a file is known again; null when it isn't there.
ordered_json stateOf(const std::string& file) {
    struct stat state {};
    if (stat(file.c_str(), &state) != 0) {
        return nullptr;
    }
    return {
        {"size", state.st_size}, {"seconds", state.st_mtim.tv_sec}, {"nanoseconds", state.st_mtim.tv_nsec}};
}

// Opens what is a regular file and no link, without waiting for anybody: others may write to the folder, too.
int openRegular(const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0644);
    struct stat state {};
    if (file >= 0 && (fstat(file, &state) != 0 || !S_ISREG(state.st_mode))) {
        close(file);
        errno = EINVAL;
        return -1;
    }
    return file;
}

// Empty when there is none.
std::string contentOfRegular(const std::string& path) {
    std::string content;
    const int file = openRegular(path, O_RDONLY);
    char block[65536];
    for (ssize_t got = 0; file >= 0 && (got = ::read(file, block, sizeof(block))) > 0;) {
        content.append(block, static_cast<std::size_t>(got));
    }
    if (file >= 0) {
        close(file);
    }
    return content;
}

} // namespace

CleanJournal::CleanJournal(const std::string& folder, const CleanSettings& settings)
    : path_((fs::path(folder) / name).string()), settings_(toJson(settings)) {}

void CleanJournal::read() {
    std::istringstream lines(contentOfRegular(path_));
    std::optional<bool> ours;
    for (std::string line; std::getline(lines, line);) {
        take(line, ours);
    }
}

void CleanJournal::take(const std::string& line, std::optional<bool>& ours) {
    ordered_json entry = jsonObject(line); // null for a line that was cut off
    if (entry.contains(versionKey)) {
        ours.reset();
        if (entry[versionKey] == version && entry.contains("settings") && entry["settings"].is_object()) {
            ours = entry["settings"] == settings_;
        }
    } else if (ours && entry.contains("stem") && entry["stem"].is_string()) {
        const auto stem = entry["stem"].get<std::string>();
        done_[stem].push_back({std::move(entry), *ours});
    }
}

ordered_json CleanJournal::taskOf(const PageRecord& record, bool planned) {
    ordered_json plan = planned ? planEntry(record) : ordered_json();
    return {{"file", record.file}, {"state", stateOf(record.file)}, {"page", record.page}, {"plan", plan}};
}

bool CleanJournal::restore(PageRecord& record, const std::string& stem, const ordered_json& task) const {
    const auto found = done_.find(stem);
    if (found == done_.end()) {
        return false;
    }
    const auto& [entry, hasOurSettings] = found->second.back();
    if (!hasOurSettings || entry.value("task", ordered_json()) != task || !entry.contains("record")) {
        return false;
    }
    try {
        PageRecord finished = recordFrom(JsonReader(entry["record"], path_, stem));
        const ordered_json state = stateOf(finished.output);
        if (state.is_null() || entry.value("output", ordered_json()) != state) {
            return false;
        }
        record = finished;
        return true;
    } catch (const ToolError&) {
        return false;
    }
}

bool CleanJournal::isOurs(const std::string& path, const PageRecord& record) const {
    const auto found = done_.find(fs::path(path).stem().string());
    if (found == done_.end()) {
        return false;
    }
    const ordered_json state = stateOf(path);
    // The last one was perhaps killed before its file replaced that of an earlier one.
    return std::any_of(found->second.begin(), found->second.end(), [&](const Entry& entry) {
        const auto objectAt = [&](const char* key) {
            ordered_json value = entry.json.value(key, ordered_json());
            return value.is_object() ? value : ordered_json::object();
        };
        const ordered_json task = objectAt("task");
        return objectAt("record").value("output", ordered_json()) == path &&
               task.value("file", ordered_json()) == record.file &&
               task.value("page", ordered_json()) == record.page && objectAt("output") == state;
    });
}

void CleanJournal::add(const PageRecord& record, const std::string& file, const std::string& stem,
                       const ordered_json& task) {
    const ordered_json entry = {
        {"stem", stem}, {"task", task}, {"output", stateOf(file)}, {"record", reportEntry(record)}};
    const auto lineOf = [](const ordered_json& value) {
        return value.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + '\n';
    };
    const std::lock_guard lock(mutex_);
    if (!begun_) {
        // The last line of an earlier run may have been cut off.
        append('\n' + lineOf({{versionKey, version}, {"settings", settings_}}));
        begun_ = true;
    }
    append(lineOf(entry));
}

void CleanJournal::append(const std::string& text) {
    const int file = openRegular(path_, O_WRONLY | O_CREAT | O_APPEND);
    // In one piece: whatever comes in between, there are no lines mixed of two.
    const bool written =
        file >= 0 && write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int cause = errno;
    if (file >= 0) {
        close(file);
    }
    if (!written) {
        throw ToolError(ExitCode::output, path_, std::string("cannot be written: ") + std::strerror(cause));
    }
}
