#include <cstdio>

#include "commands/commands.h"
#include "frame/processor.h"
#include "uvek/uvek.h"

namespace uvek::tool {
namespace {

const char* const kCodes[] = {"mx", "m7", "u8", "y8"};
const char* const kExtensions[] = {"SSE2", "SSE3", "SSSE3", "SSE4.1"};

void PrintInfo()
{
    const VekLibVersion& version = *vekjGetLibVersion();
    const Vek32s processorClass = ClassifyProcessor(AskProcessor()), slotTier = WaterfallRowOfClass(processorClass);
    std::printf("version          %s (%d.%d, series %d, build %d, %s)\n", version.versionText, version.versionMajor, version.versionMinor,
                version.buildSeries, version.buildNumber, version.dateText);
    std::printf("tier library     %s\n", version.libraryName);
    std::printf("table exports    %.4s\n", version.tierCode);
    std::printf("slot exports     %s (%s)\n", kCodes[slotTier], kExtensions[slotTier]);
    std::printf("processor class  %d\n", processorClass);
}

}  // namespace

void AddInfo(CLI::App& app, int&)
{
    app.add_subcommand("info", "Show the version record, the tiers in use and the processor class")->callback(PrintInfo);
}

}  // namespace uvek::tool
