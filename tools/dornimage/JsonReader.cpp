#include "JsonReader.h"

#include "ExitCode.h"
#include "Text.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

using nlohmann::ordered_json;

namespace {

// Looks on while a text is read, and throws std::length_error for more than any file of ours has. Each key is
// compared with those before it, and copies of a value go as deep as it does: a crafted file would take
// hours, or all of the stack.
class Limits {
public:
    bool operator()(int depth, ordered_json::parse_event_t event, const ordered_json&) {
        using Event = ordered_json::parse_event_t;
        if (depth > deepest) {
            throw std::length_error("nested too deeply");
        }
        if (event == Event::object_start) {
            keys_.push_back(0);
        } else if (event == Event::object_end) {
            keys_.pop_back();
        } else if (event == Event::key && ++keys_.back() > mostKeys) {
            throw std::length_error("an object of too many keys");
        }
        return true;
    }

private:
    static constexpr int deepest = 20;
    static constexpr int mostKeys = 1000;

    std::vector<int> keys_; // of the objects that are open
};

std::string shown(double number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

} // namespace

JsonReader::JsonReader(const ordered_json& value, std::string file, std::string place)
    : object_(value), file_(std::move(file)), place_(std::move(place)) {
    if (!value.is_object()) {
        throw ToolError(ExitCode::input, file_, (place_.empty() ? "" : place_ + ": ") + "not a JSON object");
    }
}

const ordered_json* JsonReader::value(const std::string& key) {
    asked_.insert(key);
    const auto found = object_.find(key);
    return found == object_.end() ? nullptr : &*found;
}

bool JsonReader::flag(const std::string& key, bool fallback) {
    const ordered_json* const found = value(key);
    if (found && !found->is_boolean()) {
        fail(key, "neither true nor false");
    }
    return found ? found->get<bool>() : fallback;
}

std::string JsonReader::text(const std::string& key, const std::string& fallback) {
    const ordered_json* const found = value(key);
    if (found && !found->is_string()) {
        fail(key, "not a text");
    }
    return found ? found->get<std::string>() : fallback;
}

std::vector<std::string> JsonReader::texts(const std::string& key) {
    const ordered_json* const found = value(key);
    const auto isText = [](const ordered_json& element) { return element.is_string(); };
    if (found && !(found->is_array() && std::all_of(found->begin(), found->end(), isText))) {
        fail(key, "not an array of texts");
    }
    return found ? found->get<std::vector<std::string>>() : std::vector<std::string>();
}

long long JsonReader::wholeNumber(const std::string& key, long long fallback, long long least,
                                  long long greatest) {
    const ordered_json* const found = value(key);
    if (!found) {
        return fallback;
    }
    // What is beyond the 64 bits of a whole number was read as a floating-point one.
    const bool fits = found->is_number_unsigned()
                          ? found->get<std::uint64_t>() <= static_cast<std::uint64_t>(greatest) &&
                                static_cast<long long>(found->get<std::uint64_t>()) >= least
                          : found->is_number_integer() && found->get<std::int64_t>() >= least &&
                                found->get<std::int64_t>() <= greatest;
    if (!fits) {
        fail(key, "not a whole number from " + std::to_string(least) + " to " + std::to_string(greatest));
    }
    return found->get<std::int64_t>();
}

double JsonReader::number(const std::string& key, double fallback, double least, double greatest) {
    const ordered_json* const found = value(key);
    if (!found) {
        return fallback;
    }
    const double number = found->is_number() ? found->get<double>() : least - 1;
    if (!(number >= least && number <= greatest)) {
        fail(key, "not a number from " + shown(least) + " to " + shown(greatest));
    }
    return number;
}

std::optional<double> JsonReader::numberOrNull(const std::string& key, double least, double greatest) {
    const ordered_json* const found = value(key);
    return !found || found->is_null() ? std::nullopt : std::optional<double>(number(key, 0, least, greatest));
}

std::size_t JsonReader::choice(const std::string& key, std::size_t fallback,
                               const std::vector<std::string>& names) {
    if (!value(key)) {
        return fallback;
    }
    const auto found = std::find(names.begin(), names.end(), text(key, ""));
    if (found == names.end()) {
        fail(key, "not one of " + join(names, ", "));
    }
    return static_cast<std::size_t>(found - names.begin());
}

void JsonReader::finish() const {
    for (const auto& [key, ignored] : object_.items()) {
        if (asked_.count(key) == 0) {
            fail(key, "there is no such key");
        }
    }
}

std::string JsonReader::placeOf(const std::string& key) const {
    return place_.empty() ? key : place_ + "." + key;
}

void JsonReader::fail(const std::string& key, const std::string& cause) const {
    throw ToolError(ExitCode::input, file_, placeOf(key) + ": " + cause);
}

ordered_json parsedJson(const std::string& text, const std::string& file) {
    try {
        return ordered_json::parse(text, Limits());
    } catch (const ordered_json::exception& error) {
        const std::string what = error.what();
        const std::size_t name = what.find("] ");
        throw ToolError(ExitCode::input, file, name == std::string::npos ? what : what.substr(name + 2));
    } catch (const std::length_error& error) {
        throw ToolError(ExitCode::input, file, error.what());
    }
}

ordered_json jsonObject(const std::string& text) {
    try {
        if (ordered_json value = ordered_json::parse(text, Limits(), false); value.is_object()) {
            return value;
        }
    } catch (const std::length_error&) {
        // as if it were none
    }
    return nullptr;
}
