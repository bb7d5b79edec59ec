#include "SkewReach.h"

void addReachOption(CLI::App& command, double& reach) {
    command.add_option("--reach", reach, "Greatest angle to look for, in degrees (default 16)")
        ->check([](const std::string& text) -> std::string {
            double degrees = 0;
            // Not-a-number compares as false. Below 4 degrees no direction is far enough off to compare with.
            const bool good = CLI::detail::lexical_cast(text, degrees) && degrees >= 4 && degrees <= 45;
            return good ? "" : "not from 4 to 45: " + text;
        });
}
