#include "SkewReach.h"

void addReachOption(CLI::App& command, double& reach) {
    command.add_option("--reach", reach, "Greatest angle to look for, in degrees (default 16)")
        ->check([](const std::string& text) -> std::string {
            double degrees = 0;
            // Not-a-number compares as false.
            const bool good =
                CLI::detail::lexical_cast(text, degrees) && degrees >= leastReach && degrees <= greatestReach;
            return good ? "" : "not from 4 to 45: " + text;
        });
}
