#include "OptionTable.h"

#include "Text.h"

#include <algorithm>

namespace {

std::string namesOf(const std::vector<OptionRow>& options) {
    std::vector<std::string> names;
    for (const OptionRow& option : options) {
        names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return join(names, " ");
}

std::string verbNames(const OptionTable& table) {
    std::vector<std::string> names;
    for (const VerbRow& verb : table.verbs) {
        names.push_back(verb.name);
    }
    return join(names, " ");
}

// What bash does for the value of an option or for an argument.
std::string bashValues(const OptionRow& row) {
    if (!row.choices.empty()) {
        return "COMPREPLY=($(compgen -W '" + join(row.choices, " ") + "' -- \"$word\"))";
    }
    if (row.takesFile() || row.takesFolder()) {
        return std::string("_dornimage_names ") + (row.takesFolder() ? "-d" : "-f");
    }
    return ":"; // any text
}

// Text inside single quotes of a shell.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

// A text where zsh ends it at one of the given characters; those get a backslash.
std::string escaped(const std::string& text, const char* special) {
    std::string result;
    for (const char c : text) {
        if (std::string_view(special).find(c) != std::string_view::npos) {
            result += '\\';
        }
        result += c;
    }
    return result;
}

std::string firstSentence(const std::string& text) {
    return text.substr(0, text.find(". "));
}

// The ":MESSAGE:ACTION" by which zsh completes a value.
std::string zshValues(const OptionRow& row) {
    std::string action = " ";
    if (!row.choices.empty()) {
        action = "(" + join(row.choices, " ") + ")";
    } else if (row.takesFile() || row.takesFolder()) {
        action = row.takesFolder() ? "_files -/" : "_files";
    }
    return ":" + escaped(row.value, ":\\") + ":" + action;
}

void writeZshRows(const std::vector<OptionRow>& options, std::ostream& out) {
    for (const OptionRow& option : options) {
        for (const std::string& name : option.names) {
            out << " \\\n        "
                << quoted(name + "[" + escaped(firstSentence(option.description), "[]\\") + "]" +
                          (option.value.empty() ? "" : zshValues(option)));
        }
    }
}

} // namespace

void writeBashCompletion(const OptionTable& table, std::ostream& out) {
    out << "# bash completion for " << table.name << ", made from the tool's option table.\n"
        << "_dornimage_names() {\n"
           "    compopt -o filenames 2>/dev/null\n"
           "    mapfile -t COMPREPLY < <(compgen \"$1\" -- \"$word\")\n"
           "}\n\n"
           "_dornimage() {\n"
           "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb=\n"
           "    COMPREPLY=()\n"
           "    ((COMP_CWORD < 2)) || verb=${COMP_WORDS[1]}\n"
           "    case $verb:$before in\n";
    for (const VerbRow& verb : table.verbs) {
        for (const OptionRow& option : verb.options) {
            for (const std::string& name : option.names) {
                if (!option.value.empty()) {
                    out << "    " << verb.name << ':' << name << ") " << bashValues(option)
                        << "; return ;;\n";
                }
            }
        }
    }
    out << "    esac\n"
           "    case $verb in\n"
        << "    '') COMPREPLY=($(compgen -W '" << verbNames(table) << ' ' << namesOf(table.options)
        << "' -- \"$word\")) ;;\n";
    for (const VerbRow& verb : table.verbs) {
        out << "    " << verb.name << ")\n"
            << "        case $word in\n"
            << "        -*) COMPREPLY=($(compgen -W '" << namesOf(verb.options) << "' -- \"$word\")) ;;\n";
        if (std::any_of(verb.arguments.begin(), verb.arguments.end(),
                        [](const OptionRow& row) { return row.takesFile() || row.takesFolder(); })) {
            // Whichever argument it is: a verb takes files or folders, and a folder leads to files.
            out << "        *) _dornimage_names -f ;;\n";
        }
        out << "        esac ;;\n";
    }
    out << "    esac\n"
           "}\n"
           "complete -F _dornimage "
        << table.name << '\n';
}

void writeZshCompletion(const OptionTable& table, std::ostream& out) {
    out << "#compdef " << table.name << "\n# Made from the tool's option table.\n"
        << "_dornimage() {\n"
           "    local context state state_descr line\n"
           "    typeset -A opt_args\n"
           "    local -a verbs\n"
           "    verbs=(\n";
    for (const VerbRow& verb : table.verbs) {
        out << "        " << quoted(verb.name + ":" + escaped(firstSentence(verb.description), ":\\"))
            << '\n';
    }
    out << "    )\n"
           "    _arguments -C";
    writeZshRows(table.options, out);
    out << " \\\n        '1:verb:->verb' '*::argument:->arguments'\n"
           "    case $state in\n"
           "    verb) _describe verb verbs ;;\n"
           "    arguments)\n"
           "        case $words[1] in\n";
    for (const VerbRow& verb : table.verbs) {
        out << "        " << verb.name << ") _arguments";
        writeZshRows(verb.options, out);
        int position = 0;
        for (const OptionRow& argument : verb.arguments) {
            ++position;
            out << " \\\n        "
                << quoted((argument.repeats ? "*" : std::to_string(position)) + zshValues(argument));
        }
        out << " ;;\n";
    }
    out << "        esac ;;\n"
           "    esac\n"
           "}\n"
           "_dornimage \"$@\"\n";
}
