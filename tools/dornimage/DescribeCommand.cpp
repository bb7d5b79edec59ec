#include "Commands.h"
#include "OptionTable.h"

#include <iostream>
#include <memory>

namespace {

struct Form {
    const char* name;
    void (*write)(const OptionTable& table, std::ostream& out);
};

constexpr Form forms[] = {
    {"man", writeManPage},
    {"bash", writeBashCompletion},
    {"zsh", writeZshCompletion},
};

} // namespace

void addDescribeCommand(CLI::App& app, Action& action) {
    CLI::App* const command =
        app.add_subcommand("describe", "Print the man page or the completion for a shell");
    command->group(""); // for the build, which installs what it prints
    command->require_subcommand(1);
    for (const Form& form : forms) {
        command->add_subcommand(form.name)->callback([&app, &action, &form] {
            action = [&app, &form] {
                form.write(optionTableOf(app), std::cout);
                return ExitCode::done;
            };
        });
    }
}
