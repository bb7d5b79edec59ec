#ifndef DORNIMAGE_TOOLS_DORNIMAGE_JSONREADER_H
#define DORNIMAGE_TOOLS_DORNIMAGE_JSONREADER_H

#include <nlohmann/json.hpp>

#include <optional>
#include <set>
#include <string>
#include <vector>

/// Takes the values out of a JSON object that people may have edited. What is not as it should be ends in a
/// ToolError (ExitCode::input) that names the file and the place in it, such as "pages[3].skew". A key that
/// is not there has the fallback for its value.
class JsonReader {
public:
    /// @param file for messages.
    /// @param place of the value in the file, such as "pages[3]"; empty for the whole.
    JsonReader(const nlohmann::ordered_json& value, std::string file, std::string place);

    bool has(const std::string& key) const { return object_.contains(key); }

    bool flag(const std::string& key, bool fallback);
    std::string text(const std::string& key, const std::string& fallback);
    std::vector<std::string> texts(const std::string& key);
    /// A whole number from `least` to `greatest`.
    template <class Number>
    Number whole(const std::string& key, Number fallback, long long least, long long greatest) {
        return static_cast<Number>(wholeNumber(key, static_cast<long long>(fallback), least, greatest));
    }
    double number(const std::string& key, double fallback, double least, double greatest);
    /// None for null as well as for no key.
    std::optional<double> numberOrNull(const std::string& key, double least, double greatest);
    /// The index of a text among `names`.
    std::size_t choice(const std::string& key, std::size_t fallback, const std::vector<std::string>& names);
    /// Null when the key isn't there.
    const nlohmann::ordered_json* value(const std::string& key);

    /// Throws when there are keys that nobody asked for: a slip of the pen would go unnoticed.
    void finish() const;

    [[noreturn]] void fail(const std::string& key, const std::string& cause) const;
    /// The place of a key, and of an element of an array.
    std::string placeOf(const std::string& key) const;
    static std::string placeOf(const std::string& array, std::size_t index) {
        return array + "[" + std::to_string(index) + "]";
    }

private:
    long long wholeNumber(const std::string& key, long long fallback, long long least, long long greatest);

    const nlohmann::ordered_json& object_;
    std::string file_;
    std::string place_;
    std::set<std::string> asked_;
};

/// The JSON value in a text. Throws ToolError (ExitCode::input) in the name of `file`: with line and column
/// where the text is none, and for values that are nested too deeply or objects of too many keys.
nlohmann::ordered_json parsedJson(const std::string& text, const std::string& file);

/// The JSON object in a text; null when there is none, or parsedJson would refuse it.
nlohmann::ordered_json jsonObject(const std::string& text);

#endif
