#include "OptionTable.h"

#include "Text.h"

#include "ImageProcessing/DornImage/DornImage.h"

#include <algorithm>
#include <cctype>

namespace {

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

// Format names as people type them, those that can be written.
std::vector<std::string> writableFormats() {
    std::vector<std::string> names;
    for (int i = 0; i < FreeImage_GetFIFCount(); ++i) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(i);
        if (FreeImage_FIFSupportsWriting(format)) {
            std::string name = formatName(format);
            std::transform(name.begin(), name.end(), name.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
            names.push_back(name);
        }
    }
    return names;
}

// The kind of a value as people say it.
std::string placeholder(const std::string& typeName) {
    const std::string kind = typeName.substr(0, typeName.find(':'));
    return kind == "INT" || kind == "UINT" || kind == "FLOAT" ? "N" : kind;
}

// The "{8,24,grey}" that a list of values adds to the name of an option's type.
std::vector<std::string> listedChoices(const std::string& typeName) {
    const std::size_t from = typeName.find('{');
    const std::size_t to = typeName.find('}', from);
    return to == std::string::npos ? std::vector<std::string>()
                                   : CLI::detail::split(typeName.substr(from + 1, to - from - 1), ',');
}

OptionRow rowOf(const CLI::Option& option) {
    OptionRow row;
    for (const std::string& name : option.get_snames()) {
        row.names.push_back("-" + name);
    }
    for (const std::string& name : option.get_lnames()) {
        row.names.push_back("--" + name);
    }
    const std::string typeName = option.get_type_name();
    if (!option.nonpositional()) {
        row.value = option.get_name(true);
    } else if (option.get_items_expected_max() > 0) {
        row.value = option.get_option_text().empty() ? placeholder(typeName) : option.get_option_text();
    }
    row.choices = row.value == "FORMAT" ? writableFormats() : listedChoices(typeName);
    row.description = option.get_description();
    row.preset = option.get_default_str();
    row.required = option.get_required();
    row.repeats = option.get_items_expected_max() > 1;
    return row;
}

std::vector<const CLI::App*> subcommandsOf(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

bool isOptionGroup(const CLI::App& command) {
    return command.get_name().empty();
}

void addRows(const CLI::App& from, VerbRow& verb) {
    for (const CLI::Option* option : from.get_options()) {
        if (!option->nonpositional()) {
            verb.arguments.push_back(rowOf(*option));
        } else if (!option->get_group().empty()) {
            verb.options.push_back(rowOf(*option));
        }
    }
}

VerbRow verbOf(const CLI::App& command) {
    VerbRow verb;
    verb.name = command.get_name();
    verb.description = command.get_description();
    addRows(command, verb);
    for (const CLI::App* group : subcommandsOf(command)) {
        if (isOptionGroup(*group)) {
            const std::size_t first = verb.options.size();
            addRows(*group, verb);
            for (std::size_t i = first; i < verb.options.size(); ++i) {
                verb.options[i].note = group->get_description();
            }
        }
    }
    return verb;
}

} // namespace

bool OptionRow::takesFile() const {
    return contains(value, "FILE") || value == "IN" || value == "OUT";
}

bool OptionRow::takesFolder() const {
    return !takesFile() && contains(value, "DIR");
}

OptionTable optionTableOf(const CLI::App& app) {
    OptionTable table;
    const VerbRow whole = verbOf(app);
    table.name = whole.name;
    table.description = whole.description;
    table.options = whole.options;
    table.footer = app.get_footer();
    table.version = DornImage::versionText;
    for (const CLI::App* command : subcommandsOf(app)) {
        if (!isOptionGroup(*command) && !command->get_group().empty()) {
            table.verbs.push_back(verbOf(*command));
        }
    }
    return table;
}
