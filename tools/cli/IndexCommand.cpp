// tessaro index: prints the frame offset table a compressed parser builds at
// Init, through the library's public frame index: one line per unit (frame,
// unit, offset, length, type, last, layer) and, with -v, one per slice; as a
// table or JSON.
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include <tessaro/Tessaro.h>

#include "cli/Commands.h"
#include "cli/Reporter.h"
#include "cli/RunInput.h"
#include "core/Args.h"
#include "core/Keys.h"
#include "core/Probe.h"
#include "core/Report.h"

namespace tessaro::cli {
namespace {

const std::vector<OptionSpec>& IndexOptionSpecs() {
    static const std::vector<OptionSpec> optionDefs = {
        {"key", 'k', "KEY", "parser key (default: from the file's content, else its extension)"},
        {"json", 'j', "", "print JSON instead of a table"},
        {"verbose", 'v', "", "index slices too (mSliceMode) and list them under each unit"},
        {"frames", 'n', "N", "index N frames (mFrames; wraps to the file start when larger)"},
        {"loop-frames", 0, "N", "index N frames (mLoopFrames)"},
        {"repeat-interval", 0, "N", "index N frames (mRepeatInterval)"},
        {"super-frame", 0, "N", "scanner calls per frame number; only the first call's units are kept (mSuperFrame)"},
        {"log", 0, "", "print every library log line"},
        {"help", 'h', "", "this help"},
    };
    return optionDefs;
}

const char* TypeName(uint32_t type) {
    switch (type) {
        case FrameIndexEntry::TYPE_CODEC_CONFIG: return "config";
        case FrameIndexEntry::TYPE_SYNC: return "sync";
        case FrameIndexEntry::TYPE_NON_SYNC: return "nonsync";
        default: return "?";
    }
}

void PrintTable(const std::string& key, const std::string& path, const std::vector<FrameIndexEntry>& entries,
                bool slices) {
    const uint32_t frames = entries.empty() ? 0 : entries.back().frame;
    std::printf("# %s %s: %u frames, %zu units\n", key.c_str(), path.c_str(), frames, entries.size());
    std::printf("%6s %5s %12s %10s %-8s %4s %5s\n", "frame", "unit", "offset", "length", "type", "last", "layer");
    for (const auto& u : entries) {
        std::printf("%6u %5u %12" PRIu64 " %10" PRIu64 " %-8s %4u %5u\n", u.frame, u.unit, u.offset, u.length,
                    TypeName(u.type), u.last, u.layer);
        if (!slices) continue;
        for (const auto& s : u.slices) {
            std::printf("%6s %5s %12" PRIu64 " %10" PRIu64 " slice %u\n", "", "", s.offset, s.length, s.slice);
        }
    }
}

void PrintJson(const std::string& key, const std::string& path, const std::vector<FrameIndexEntry>& entries,
               bool slices) {
    const uint32_t frames = entries.empty() ? 0 : entries.back().frame;
    std::printf("{\"key\": \"%s\", \"file\": \"%s\", \"frames\": %u, \"units\": [", JsonEscape(key).c_str(),
                JsonEscape(path).c_str(), frames);
    for (size_t i = 0; i < entries.size(); ++i) {
        const auto& u = entries[i];
        std::printf("%s\n  {\"frame\": %u, \"unit\": %u, \"offset\": %" PRIu64 ", \"length\": %" PRIu64
                    ", \"type\": \"%s\", \"last\": %u, \"layer\": %u",
                    i == 0 ? "" : ",", u.frame, u.unit, u.offset, u.length, TypeName(u.type), u.last, u.layer);
        if (slices) {
            std::printf(", \"slices\": [");
            for (size_t k = 0; k < u.slices.size(); ++k) {
                std::printf("%s{\"slice\": %u, \"offset\": %" PRIu64 ", \"length\": %" PRIu64 "}", k == 0 ? "" : ", ",
                            u.slices[k].slice, u.slices[k].offset, u.slices[k].length);
            }
            std::printf("]");
        }
        std::printf("}");
    }
    std::printf("\n]}\n");
}

ConfigParam IndexConfig(const ParsedArgs& args, const std::string& path) {
    ConfigParam config{};
    config.mInputFileName = path;
    config.mSliceMode = args.Has("verbose");
    if (args.Has("frames")) config.mFrames = ParseU32("--frames", args.Value("frames"));
    if (args.Has("loop-frames")) config.mLoopFrames = ParseU32("--loop-frames", args.Value("loop-frames"));
    if (args.Has("repeat-interval")) config.mRepeatInterval = ParseU32("--repeat-interval", args.Value("repeat-interval"));
    if (args.Has("super-frame")) config.mSuperFrame = ParseU32("--super-frame", args.Value("super-frame"));
    return config;
}

}  // namespace

std::string IndexHelp() {
    return FormatHelp("tessaro index FILE [--key KEY] [--json] [-v]",
                      "Prints the frame offset table a compressed parser builds at Init: one line per\n"
                      "unit (frame, unit, offset, length, type config/sync/nonsync, last, layer), with\n"
                      "-v also each slice. Offsets and lengths are those of the input file, so they\n"
                      "can be checked against ffprobe -show_packets.",
                      IndexOptionSpecs());
}

int IndexCommand(const std::vector<std::string>& argv) {
    const ParsedArgs args = ParseArgs(IndexOptionSpecs(), argv);
    if (args.positional().size() != 1) throw UsageError("index needs exactly one input file");
    const std::string path = args.positional()[0];
    const std::string key = args.Has("key") ? args.Value("key") : GuessCompressedKey(path);
    if (key.empty()) throw UsageError("cannot tell the codec of " + path + "; give --key Parse/AVC (or HEVC, AV1, VPX, APV)");
    const ProcessorKeyInfo* info = FindKey(key);
    if (info == nullptr || info->family != ProcessorFamily::Compressed) {
        throw UsageError("--key: '" + key + "' is not a compressed parser key");
    }
    LogRouter router(args.Has("log"));
    const Reporter report(router, false);
    if (const int status = CheckInputName(key, path, report); status != 0) return status;
    auto parser = TessaroFactory::getInstance()->getProcessorInstance(key);
    if (!parser) return report.Error("the library has no parser for " + key);
    ConfigParam config = IndexConfig(args, path);
    parser->SetConfig(config);
    report.Arm();
    const int32_t status = parser->Init();
    if (status != TS_OK) return report.Failed("Init", status);
    std::vector<FrameIndexEntry> entries;
    GetFrameIndex(*parser, entries);
    if (args.Has("json")) PrintJson(key, path, entries, args.Has("verbose"));
    else PrintTable(key, path, entries, args.Has("verbose"));
    parser->DeInit();
    return std::fflush(stdout) == 0 && !std::ferror(stdout) ? 0 : report.Error("cannot write standard output");
}

}  // namespace tessaro::cli
