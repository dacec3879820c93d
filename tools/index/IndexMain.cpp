// tessaro-index (run as "tessaro index"): prints the frame offset table that
// a compressed parser builds at Init: one line per unit (frame, unit, offset,
// length, type, last, layer) and, with -v, one per slice; as a table or JSON.
// The table is internal to the parser, so this program links the library's
// internals; everything else in the tool goes through the public API.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include <tessaro/Tessaro.h>

#include "compressed/StreamParserCompressed.h"
#include "core/Args.h"
#include "core/Keys.h"
#include "core/Report.h"

namespace {

using namespace tessaro;
using namespace tessaro::cli;

const std::vector<OptionSpec>& OptionDefs() {
    static const std::vector<OptionSpec> optionDefs = {
        {"key", 'k', "KEY", "parser key (default: from an IVF header or the file extension)"},
        {"json", 'j', "", "print JSON instead of a table"},
        {"verbose", 'v', "", "index slices too (mSliceMode) and list them under each unit"},
        {"frames", 'n', "N", "index N frames (mFrames; wraps to the file start when larger)"},
        {"loop-frames", 0, "N", "index N frames (mLoopFrames)"},
        {"repeat-interval", 0, "N", "index N frames (mRepeatInterval)"},
        {"super-frame", 0, "N", "scanner calls per frame number (mSuperFrame)"},
        {"log", 0, "", "print every library log line (default: warnings and errors)"},
        {"help", 'h', "", "this help"},
    };
    return optionDefs;
}

const char* TypeName(uint32_t type) {
    switch (type) {
        case StreamParserCompressed::FRAME_TYPE_CODEC_CONFIG: return "config";
        case StreamParserCompressed::FRAME_TYPE_SYNC: return "sync";
        case StreamParserCompressed::FRAME_TYPE_NON_SYNC: return "nonsync";
        default: return "?";
    }
}

using Table = std::unordered_map<uint32_t, std::vector<StreamParserCompressed::FrameInfo>>;
using Slice = std::pair<uint32_t, std::pair<uint64_t, uint64_t>>;

std::vector<uint32_t> SortedFrames(const Table& table) {
    std::vector<uint32_t> frames;
    for (const auto& entry : table) frames.push_back(entry.first);
    std::sort(frames.begin(), frames.end());
    return frames;
}

std::vector<Slice> SortedSlices(const StreamParserCompressed::FrameInfo& unit) {
    std::vector<Slice> slices(unit.mSliceOffsetTable.begin(), unit.mSliceOffsetTable.end());
    std::sort(slices.begin(), slices.end());
    return slices;
}

void PrintTable(const std::string& key, const std::string& path, const Table& table, bool slices) {
    size_t units = 0;
    for (const auto& entry : table) units += entry.second.size();
    std::printf("# %s %s: %zu frames, %zu units\n", key.c_str(), path.c_str(), table.size(), units);
    std::printf("%6s %5s %12s %10s %-8s %4s %5s\n", "frame", "unit", "offset", "length", "type", "last", "layer");
    for (uint32_t frame : SortedFrames(table)) {
        const auto& list = table.at(frame);
        for (size_t i = 0; i < list.size(); ++i) {
            const auto& u = list[i];
            std::printf("%6u %5zu %12" PRIu64 " %10" PRIu64 " %-8s %4u %5u\n", frame, i, u.mOffset, u.mLength,
                        TypeName(u.mFrameType), u.mIsLastFrame, u.mLayerId);
            if (!slices) continue;
            for (const auto& s : SortedSlices(u)) {
                std::printf("%6s %5s %12" PRIu64 " %10" PRIu64 " slice %u\n", "", "", s.second.first, s.second.second, s.first);
            }
        }
    }
}

void PrintJson(const std::string& key, const std::string& path, const Table& table, bool slices) {
    std::printf("{\"key\": \"%s\", \"file\": \"%s\", \"frames\": %zu, \"units\": [", JsonEscape(key).c_str(),
                JsonEscape(path).c_str(), table.size());
    bool first = true;
    for (uint32_t frame : SortedFrames(table)) {
        const auto& list = table.at(frame);
        for (size_t i = 0; i < list.size(); ++i) {
            const auto& u = list[i];
            std::printf("%s\n  {\"frame\": %u, \"unit\": %zu, \"offset\": %" PRIu64 ", \"length\": %" PRIu64
                        ", \"type\": \"%s\", \"last\": %u, \"layer\": %u",
                        first ? "" : ",", frame, i, u.mOffset, u.mLength, TypeName(u.mFrameType), u.mIsLastFrame,
                        u.mLayerId);
            first = false;
            if (slices) {
                std::printf(", \"slices\": [");
                bool firstSlice = true;
                for (const auto& s : SortedSlices(u)) {
                    std::printf("%s{\"slice\": %u, \"offset\": %" PRIu64 ", \"length\": %" PRIu64 "}",
                                firstSlice ? "" : ", ", s.first, s.second.first, s.second.second);
                    firstSlice = false;
                }
                std::printf("]");
            }
            std::printf("}");
        }
    }
    std::printf("\n]}\n");
}

int Index(const ParsedArgs& args) {
    if (args.positional().size() != 1) throw UsageError("index needs exactly one input file");
    const std::string path = args.positional()[0];
    const std::string key = args.Has("key") ? args.Value("key") : GuessCompressedKey(path);
    if (key.empty()) throw UsageError("cannot tell the codec of " + path + "; give --key Parse/AVC (or HEVC, AV1, VPX, APV)");
    const KeyInfo* info = FindKey(key);
    if (info == nullptr || info->family != Family::Compressed) {
        throw UsageError("--key: '" + key + "' is not a compressed parser key");
    }
    ConfigParam config{};
    config.mInputFileName = path;
    config.mSliceMode = args.Has("verbose");
    if (args.Has("frames")) config.mFrames = ParseU32("--frames", args.Value("frames"));
    if (args.Has("loop-frames")) config.mLoopFrames = ParseU32("--loop-frames", args.Value("loop-frames"));
    if (args.Has("repeat-interval")) config.mRepeatInterval = ParseU32("--repeat-interval", args.Value("repeat-interval"));
    if (args.Has("super-frame")) config.mSuperFrame = ParseU32("--super-frame", args.Value("super-frame"));

    LogRouter router(args.Has("log"));
    auto processor = TessaroFactory::getInstance()->getProcessorInstance(key);
    auto* parser = dynamic_cast<StreamParserCompressed*>(processor.get());
    if (parser == nullptr) {
        std::fprintf(stderr, "tessaro: the library has no parser for %s\n", key.c_str());
        return 1;
    }
    parser->SetConfig(config);
    router.ClearErrors();
    const int32_t status = parser->Init();
    if (status != TS_OK) {
        std::fprintf(stderr, "tessaro: Init failed with status %d (%s)", status, StatusName(status).c_str());
        if (!router.errors().empty()) std::fprintf(stderr, ": %s", router.errors().c_str());
        std::fprintf(stderr, "\n");
        return 1;
    }
    if (args.Has("json")) PrintJson(key, path, parser->frameOffsetTable(), args.Has("verbose"));
    else PrintTable(key, path, parser->frameOffsetTable(), args.Has("verbose"));
    parser->DeInit();
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> argsList(argv + 1, argv + argc);
    try {
        const ParsedArgs args = ParseArgs(OptionDefs(), argsList);
        if (args.Has("help")) {
            std::fputs(FormatHelp("tessaro index FILE [--key KEY] [--json] [-v]",
                                  "Prints the frame offset table a compressed parser builds at Init: one line per\n"
                                  "unit (frame, unit, offset, length, type config/sync/nonsync, last, layer), with\n"
                                  "-v also each slice. Offsets and lengths are those of the input file, so they\n"
                                  "can be checked against ffprobe -show_packets.",
                                  OptionDefs()).c_str(),
                       stdout);
            return 0;
        }
        return Index(args);
    } catch (const UsageError& error) {
        std::fprintf(stderr, "tessaro: %s\n", error.what());
        return 2;
    }
}
