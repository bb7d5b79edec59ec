#include "Commands.h"
#include "Text.h"

#include "primitives/primitives.h"

#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace {

using nlohmann::ordered_json;

std::string hexadecimal(std::uint64_t mask) {
    std::ostringstream text;
    text << "0x" << std::hex << mask;
    return text.str();
}

ordered_json variants(int chosen) {
    ordered_json list = ordered_json::array();
    for (int index = 0; index < IPP_VARIANT_COUNT; ++index) {
        list.push_back({
            {"index", index},
            {"name", ippGetVariantName(index)},
            {"built", ippIsVariantBuilt(index) == 1},
            {"runnable", ippIsVariantRunnable(index) == 1},
            {"chosen", index == chosen},
        });
    }
    return list;
}

ordered_json facts() {
    const IppStatus status = ippInit();
    std::uint64_t detected = 0;
    int cacheBytes = 0;
    if (ippGetCpuFeatures(&detected, nullptr) < 0) {
        detected = 0;
    }
    if (ippGetMaxCacheSizeB(&cacheBytes) != ippStsNoErr) {
        cacheBytes = 0;
    }
    return {
        {"status", ippGetStatusString(status)},
        {"detectedFeatures", hexadecimal(detected)},
        {"enabledFeatures", hexadecimal(ippGetEnabledCpuFeatures())},
        {"cacheBytes", cacheBytes},
        {"avxStateSaved", ippIsAvxStateSaved() == 1},
        {"avx512StateSaved", ippIsAvx512StateSaved() == 1},
        // The index that the code which ran was compiled for, not the one that was asked for.
        {"variants", variants(ippProbeVariant())},
    };
}

void print(const ordered_json& cpu) {
    std::cout << "status    " << cpu["status"].get<std::string>() << '\n'
              << "features  " << cpu["detectedFeatures"].get<std::string>() << ", enabled "
              << cpu["enabledFeatures"].get<std::string>() << '\n'
              << "cache     " << cpu["cacheBytes"] << " bytes\n"
              << "system    saves " << (cpu["avxStateSaved"].get<bool>() ? "the" : "no") << " AVX state and "
              << (cpu["avx512StateSaved"].get<bool>() ? "the" : "no") << " AVX-512 state\n"
              << "variants of the pixel primitives\n";
    for (const ordered_json& variant : cpu["variants"]) {
        std::cout << "  " << variant["index"] << "  " << std::left << std::setw(22)
                  << variant["name"].get<std::string>() << std::setw(10)
                  << (variant["built"].get<bool>() ? "built" : "not built") << "  " << std::setw(13)
                  << (variant["runnable"].get<bool>() ? "can run here" : "cannot run")
                  << (variant["chosen"].get<bool>() ? "  chosen" : "") << '\n';
    }
}

ExitCode run(bool json) {
    const ordered_json cpu = facts();
    if (json) {
        printJson(cpu);
    } else {
        print(cpu);
    }
    return ExitCode::done;
}

} // namespace

void addCpuCommand(CLI::App& app, Action& action) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* const command =
        app.add_subcommand("cpu", "Tell which variants of the pixel primitives there are and which one runs");
    command->add_flag("--json", *json, "Print JSON");
    command->callback([json, &action] { action = [json] { return run(*json); }; });
}
