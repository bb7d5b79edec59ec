#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SKEWREACH_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SKEWREACH_H

#include <CLI/CLI.hpp>

constexpr double defaultReach = 16; // degrees

/// Adds --reach, the greatest angle to look for.
void addReachOption(CLI::App& command, double& reach);

#endif
