#ifndef DORNIMAGE_TOOLS_DORNIMAGE_COMMANDS_H
#define DORNIMAGE_TOOLS_DORNIMAGE_COMMANDS_H

#include "ExitCode.h"

#include <CLI/CLI.hpp>

#include <functional>

/// What the command line asks for, to be run after all of it was understood. May throw ToolError.
using Action = std::function<ExitCode()>;

// Each adds one verb with its options to `app`. When the command line names that verb, `action` gets its
// work.
void addCleanCommand(CLI::App& app, Action& action);
void addPlanCommand(CLI::App& app, Action& action);
void addApplyCommand(CLI::App& app, Action& action);
void addInfoCommand(CLI::App& app, Action& action);
void addConvertCommand(CLI::App& app, Action& action);
void addScaleCommand(CLI::App& app, Action& action);
void addRotateCommand(CLI::App& app, Action& action);
void addUprightCommand(CLI::App& app, Action& action);
void addDeskewCommand(CLI::App& app, Action& action);
void addNormalizeCommand(CLI::App& app, Action& action);
void addSmoothCommand(CLI::App& app, Action& action);
void addFormatsCommand(CLI::App& app, Action& action);
void addSplitCommand(CLI::App& app, Action& action);
void addJoinCommand(CLI::App& app, Action& action);
void addCpuCommand(CLI::App& app, Action& action);
void addBlankCommand(CLI::App& app, Action& action);
void addSkewCommand(CLI::App& app, Action& action);
void addDescribeCommand(CLI::App& app, Action& action);

#endif
