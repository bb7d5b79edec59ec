#ifndef DORNIMAGE_TOOLS_DORNIMAGE_SKEWREACH_H
#define DORNIMAGE_TOOLS_DORNIMAGE_SKEWREACH_H

#include <CLI/CLI.hpp>

// Degrees. Below the least no direction is far enough off to compare with.
constexpr double defaultReach = 16;
constexpr double leastReach = 4;
constexpr double greatestReach = 45;

/// Adds --reach, the greatest angle to look for.
void addReachOption(CLI::App& command, double& reach);

#endif
