#include "Commands.h"
#include "PictureWriter.h"
#include "Source.h"
#include "Text.h"

#include <iomanip>
#include <iostream>
#include <list>
#include <memory>
#include <set>

namespace {

using nlohmann::ordered_json;

struct Options {
    std::string forFile;
    int page = 1;
    bool json = false;
    Decoding decoding;
};

std::string narrow(const Velmora::astring& text) {
    std::string result;
    Velmora::c_u16u8(result, text);
    return result;
}

std::vector<std::string> extensionsOf(FREE_IMAGE_FORMAT format) {
    std::list<Velmora::astring> extensions;
    DornImage::FreeImage_ParseExtensions(format, extensions);
    std::vector<std::string> result;
    for (const Velmora::astring& extension : extensions) {
        result.push_back(narrow(extension));
    }
    return result;
}

std::vector<std::string> exportTypes(FREE_IMAGE_FORMAT format) {
    std::vector<std::string> types;
    for (int type = FIT_UINT16; type <= FIT_RGBAF; ++type) {
        if (FreeImage_FIFSupportsExportType(format, static_cast<FREE_IMAGE_TYPE>(type))) {
            types.push_back(pixelTypeName(static_cast<FREE_IMAGE_TYPE>(type)));
        }
    }
    return types;
}

ordered_json formatsAsJson() {
    std::set<std::string> offered;
    DornImage::FreeImage_GetSupportedMimeTypes(offered);
    ordered_json list = ordered_json::array();
    for (int number = 0; number < FreeImage_GetFIFCount(); ++number) {
        const auto format = static_cast<FREE_IMAGE_FORMAT>(number);
        if (FreeImage_IsPluginEnabled(format) != 1) {
            continue;
        }
        const char* const description = FreeImage_GetFIFDescription(format);
        list.push_back({
            {"format", formatName(format)},
            {"number", number},
            {"description", description ? description : ""},
            {"extensions", extensionsOf(format)},
            {"mime", mimeType(format)},
            {"offered", offered.count(mimeType(format)) > 0},
            {"reads", FreeImage_FIFSupportsReading(format) != FALSE},
            {"writes", FreeImage_FIFSupportsWriting(format) != FALSE},
            {"depths", exportDepths(format)},
            {"types", exportTypes(format)},
            {"multiPage", DornImage::FreeImage_IsMultiPageFormat(format)},
        });
    }
    return list;
}

void printTable(const ordered_json& formats) {
    std::cout << std::left << std::setw(9) << "format" << std::setw(8) << "access" << std::setw(7) << "pages"
              << std::setw(34) << "MIME type" << std::setw(20) << "bits to write"
              << "extensions\n";
    for (const ordered_json& format : formats) {
        std::vector<std::string> held;
        for (const int depth : format["depths"]) {
            held.push_back(std::to_string(depth));
        }
        const std::string access = std::string(format["reads"] ? "r" : "-") + (format["writes"] ? "w" : "-");
        std::cout << std::setw(9) << format["format"].get<std::string>() << std::setw(8) << access
                  << std::setw(7) << (format["multiPage"] ? "many" : "one") << std::setw(34)
                  << format["mime"].get<std::string>() << std::setw(20) << join(held, " ")
                  << join(format["extensions"].get<std::vector<std::string>>(), " ") << '\n';
    }
}

ExitCode saveChoices(const Options& options) {
    CodecMessages messages;
    Source source(options.forFile, messages, Frames::stored, options.decoding);
    const Page page = source.load(options.page);
    std::list<FREE_IMAGE_FORMAT> formats;
    Velmora::astring extension;
    Velmora::astring filter;
    const FREE_IMAGE_FORMAT standard =
        DornImage::FreeImage_GetExtensionsForSave(page.image->getFIBTMAP(), formats, extension, filter);
    std::vector<std::string> names;
    for (const FREE_IMAGE_FORMAT format : formats) {
        names.push_back(formatName(format));
    }
    if (options.json) {
        printJson({
            {"file", options.forFile},
            {"depth", page.image->GetBpp()},
            {"default", standard == FIF_UNKNOWN ? ordered_json(nullptr) : ordered_json(formatName(standard))},
            {"extension", narrow(extension)},
            {"formats", names},
            {"filter", narrow(filter)},
        });
    } else if (standard == FIF_UNKNOWN) {
        std::cout << "No formats are offered for " << countOf(page.image->GetBpp(), "bit") << " a pixel.\n";
    } else {
        std::cout << "default    " << formatName(standard) << '\n'
                  << "extension  " << narrow(extension) << '\n'
                  << "formats    " << join(names, " ") << '\n'
                  << "filter     " << narrow(filter) << '\n';
    }
    return ExitCode::done;
}

ExitCode run(const Options& options) {
    if (!options.forFile.empty()) {
        return saveChoices(options);
    }
    const ordered_json formats = formatsAsJson();
    if (options.json) {
        printJson(formats);
    } else {
        printTable(formats);
    }
    return ExitCode::done;
}

} // namespace

void addFormatsCommand(CLI::App& app, Action& action) {
    const auto options = std::make_shared<Options>();
    CLI::App* const command = app.add_subcommand("formats", "List the formats that can be read and written");
    CLI::Option* const forFile =
        command
            ->add_option("--for", options->forFile,
                         "Instead list what to offer for saving this picture, with the filter text")
            ->type_name("FILE");
    command->add_option("--page", options->page, "Page of that picture, counted from 1 (default 1)")
        ->check(CLI::PositiveNumber)
        ->needs(forFile);
    command->add_flag("--json", options->json, "Print JSON");
    addDecodingOptions(*command, options->decoding);
    command->callback([options, &action] { action = [options] { return run(*options); }; });
}
