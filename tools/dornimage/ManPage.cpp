#include "OptionTable.h"

#include "Text.h"

#include <algorithm>

namespace {

// Text of the page: characters that the formatter takes for its own are made safe.
std::string roff(const std::string& text) {
    std::string safe;
    for (const char c : text) {
        if (c == '\\') {
            safe += "\\e";
        } else if (c == '-') {
            safe += "\\-";
        } else if (safe.empty() && (c == '.' || c == '\'')) {
            safe += std::string("\\&") + c;
        } else {
            safe += c;
        }
    }
    return safe;
}

std::string bold(const std::string& text) {
    return "\\fB" + roff(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + roff(text) + "\\fR";
}

std::string sentence(std::string text) {
    if (!text.empty() && text.back() != '.') {
        text += '.';
    }
    return roff(text);
}

void writeOption(const OptionRow& option, std::ostream& out) {
    std::vector<std::string> names;
    std::transform(option.names.begin(), option.names.end(), std::back_inserter(names), bold);
    out << ".TP\n" << (names.empty() ? italic(option.value) : join(names, ", "));
    if (!names.empty() && !option.value.empty()) {
        out << ' ' << italic(option.value);
    }
    out << '\n' << sentence(option.description);
    if (!option.choices.empty()) {
        out << " One of " << roff(join(option.choices, ", ")) << '.';
    }
    if (!option.preset.empty()) {
        out << " Without it " << roff(option.preset) << '.';
    }
    if (option.required && !option.names.empty()) {
        out << " Must be given.";
    }
    if (!option.note.empty()) {
        out << ' ' << sentence(option.note);
    }
    out << '\n';
}

void writeVerb(VerbRow verb, std::ostream& out) {
    // Every verb has it; it stands once, with the options of the whole tool.
    verb.options.erase(std::remove_if(verb.options.begin(), verb.options.end(),
                                      [](const OptionRow& row) { return row.names.back() == "--help"; }),
                       verb.options.end());
    out << ".SS " << roff(verb.name) << '\n' << ".B " << roff(verb.name) << "\n";
    for (const OptionRow& option : verb.options) {
        const std::string name = bold(option.names.back());
        const std::string text = option.value.empty() ? name : name + " " + italic(option.value);
        out << (option.required ? text : "[" + text + "]") << '\n';
    }
    for (const OptionRow& argument : verb.arguments) {
        const std::string text = italic(argument.value) + (argument.repeats ? "..." : "");
        out << (argument.required ? text : "[" + text + "]") << '\n';
    }
    out << ".PP\n" << sentence(verb.description) << '\n';
    for (const std::vector<OptionRow>* rows : {&verb.arguments, &verb.options}) {
        for (const OptionRow& row : *rows) {
            writeOption(row, out);
        }
    }
}

} // namespace

void writeManPage(const OptionTable& table, std::ostream& out) {
    out << ".\\\" Made from the tool's option table by \"" << table.name << " describe man\".\n"
        << ".TH " << table.name << " 1 \"\" \"" << table.name << ' ' << table.version << "\"\n"
        << ".SH NAME\n"
        << table.name << " \\- pictures of scanned documents and photographs\n"
        << ".SH SYNOPSIS\n"
        << ".B " << table.name << "\n.I VERB\n[\\fIOPTION\\fR...]\n[\\fIFILE\\fR...]\n"
        << ".SH DESCRIPTION\n"
        << sentence(table.description) << '\n'
        << ".PP\nA file name that begins with a dash goes behind " << bold("--") << ".\n"
        << ".SH OPTIONS\n";
    for (const OptionRow& option : table.options) {
        writeOption(option, out);
    }
    out << ".SH VERBS\n";
    for (const VerbRow& verb : table.verbs) {
        writeVerb(verb, out);
    }
    out << ".SH EXIT STATUS\n" << roff(table.footer) << '\n';
}
