#include "core/RunOptions.h"

#include "core/Geometry.h"

namespace tessaro::cli {

const std::vector<OptionSpec>& RunOptionSpecs() {
    static const std::vector<OptionSpec> optionDefs = {
        {"input", 'i', "FILE", "input file (mInputFileName); not for Pattern/ keys"},
        {"output", 'o', "FILE", "hand every delivered buffer to the matching writer, writing FILE (VP8, VP9 and AV1 in IVF when FILE ends in .ivf)"},
        {"writer", 0, "KEY", "writer for -o (default: Write/Compressed or Write/UnCompressed)"},
        {"dump", 0, "FILE", "write the delivered bytes straight to FILE (no writer)"},
        {"frames", 'n', "N", "frames to deliver (mFrames; 0 = the whole input)"},
        {"size", 's', "WxH", "picture size (mWidth, mHeight)"},
        {"width", 0, "W", "picture width (mWidth)"},
        {"height", 0, "H", "picture height (mHeight)"},
        {"stride", 0, "S", "buffer row pitch (mStride; bytes for 8-bit, pixels otherwise); default: the layout's pitch for YUV patterns, the width otherwise; not below the width"},
        {"scanlines", 0, "N", "buffer luma rows (mScanlines); default: the layout's rows for YUV patterns, the height otherwise; not below the height"},
        {"super-frame", 0, "N", "mSuperFrame: raw keys put N pictures in a buffer; compressed parsers scan N times per frame number and keep only the first scan's units"},
        {"fps", 0, "NUM[/DEN]", "frame rate of raw readers and patterns (mFrameRateNum, mFrameRateDen); compressed and container timestamps do not use it"},
        {"slice-mode", 0, "", "deliver one slice per buffer (mSliceMode)"},
        {"skip-slices", 0, "LIST", "slices to leave out of the next sliced frame, e.g. 1,3 (mSkipSlices)"},
        {"slice-order", 0, "LIST", "delivery order of the next sliced frame, e.g. 2,1 (mSliceOrder)"},
        {"loop-frames", 0, "N", "index only N frames and loop over them (mLoopFrames)"},
        {"repeat-interval", 0, "N", "wrap back after every N frames (mRepeatInterval)"},
        {"loop-forever", 0, "", "no end at --frames (mLoopForever); needs --max-buffers"},
        {"delivery-mode", 0, "N", "1: the first frame's codec config travels alone (mDeliveryMode)"},
        {"pix-format", 0, "CODE", "pixel-format code 1-13 (mPixFormat); also the raw writer's format"},
        {"codec", 0, "NAME", "container track codec: AVC, HEVC, AV1, VP9, APV (mCodec)"},
        {"static-pattern", 0, "", "pattern block stays still (mStaticPattern)"},
        {"interlaced", 0, "", "pattern counts two fields per frame (mInterlaced)"},
        {"reserved", 0, "N", "mReserved (carried, read by no processor)"},
        {"spare", 0, "N", "mSpare (never merged by SetConfig)"},
        {"flag-a", 0, "", "mFlagA (carried, read by no processor)"},
        {"flag-c", 0, "", "mFlagC (carried, read by no processor)"},
        {"name", 0, "TEXT", "mName (carried, never merged)"},
        {"seek", 0, "N", "seek to frame N (mSeekFrame) once --seek-after buffers are done"},
        {"seek-mode", 0, "MODE", "sync (nearest sync frame, default), exact, or a raw mSeekMode number"},
        {"seek-after", 0, "M", "issue the seek after buffer M (default 0: before the first)"},
        {"max-buffers", 0, "N", "stop after N buffers even without end of stream"},
        {"capacity", 0, "BYTES", "fixed buffer capacity instead of GetBufferLength's answer"},
        {"buffer-type", 0, "TYPE", "linear or graphic (default: what the key fills)"},
        {"md5", 0, "", "print buffer, timestamp, flags, offset, size and md5 of every buffer (size and md5 line up with ffmpeg -f framemd5)"},
        {"md5-file", 0, "FILE", "write those lines to FILE instead of stdout"},
        {"progress", 0, "", "show progress even when stderr is not a terminal"},
        {"no-progress", 0, "", "never show progress"},
        {"force", 0, "", "run even when the input looks like another codec than the key's"},
        {"verbose", 'v', "", "print every library log line (default: none)"},
        {"quiet", 'q', "", "print nothing but errors"},
        {"help", 'h', "", "this help"},
    };
    return optionDefs;
}

namespace {

void SetIf(const ParsedArgs& args, const std::string& name, uint32_t& field) {
    if (args.Has(name)) field = ParseU32("--" + name, args.Value(name));
}

// The producer's ConfigParam, one flag per field, in the record's terms.
void ParseConfig(const ParsedArgs& args, RunOptions& o) {
    ConfigParam& c = o.config;
    c.mInputFileName = args.Value("input");
    if (o.family == ProcessorFamily::Pattern && !c.mInputFileName.empty()) {
        throw UsageError(o.key + " draws its pictures and reads no --input");
    }
    if (o.family != ProcessorFamily::Pattern && c.mInputFileName.empty()) throw UsageError(o.key + " needs --input FILE");

    SetIf(args, "frames", c.mFrames);
    if (args.Has("size")) {
        const auto size = ParseSize("--size", args.Value("size"));
        c.mWidth = size.first;
        c.mHeight = size.second;
    }
    SetIf(args, "width", c.mWidth);
    SetIf(args, "height", c.mHeight);
    SetIf(args, "stride", c.mStride);
    SetIf(args, "scanlines", c.mScanlines);
    ApplyGeometry(o.key, c);
    SetIf(args, "super-frame", c.mSuperFrame);
    if (args.Has("fps") && !FillsGraphicBuffers(o.family)) {
        throw UsageError("--fps: " + o.key + " stamps buffers without it (compressed parsers: frame n at n x 1000000 us; containers: the sample times)");
    }
    if (args.Has("fps")) {
        const auto rate = ParseRate("--fps", args.Value("fps"));
        c.mFrameRateNum = rate.first;
        c.mFrameRateDen = rate.second;
    }
    c.mSliceMode = args.Has("slice-mode");
    if (args.Has("skip-slices")) c.mSkipSlices = ParseU32List("--skip-slices", args.Value("skip-slices"));
    if (args.Has("slice-order")) c.mSliceOrder = ParseU32List("--slice-order", args.Value("slice-order"));
    SetIf(args, "loop-frames", c.mLoopFrames);
    SetIf(args, "repeat-interval", c.mRepeatInterval);
    c.mLoopForever = args.Has("loop-forever");
    SetIf(args, "delivery-mode", c.mDeliveryMode);
    SetIf(args, "pix-format", c.mPixFormat);
    c.mCodec = args.Value("codec");
    if (o.family == ProcessorFamily::Container && c.mCodec.empty()) {
        throw UsageError("Parse/Container needs --codec (AVC, HEVC, AV1, VP9 or APV)");
    }
    c.mStaticPattern = args.Has("static-pattern");
    c.mInterlaced = args.Has("interlaced");
    SetIf(args, "reserved", c.mReserved);
    SetIf(args, "spare", c.mSpare);
    c.mFlagA = args.Has("flag-a");
    c.mFlagC = args.Has("flag-c");
    if (args.Has("name")) c.mName = args.Value("name");
}

// Where the delivered buffers go (-o through a writer, --dump).
void ParseOutputs(const ParsedArgs& args, const ProcessorKeyInfo& info, RunOptions& o) {
    const ConfigParam& c = o.config;
    o.outputPath = args.Value("output");
    o.writerKey = args.Value("writer", MatchingWriter(o.family));
    const ProcessorKeyInfo* writer = FindKey(o.writerKey);
    if (writer == nullptr || writer->family != ProcessorFamily::Writer) throw UsageError("--writer: '" + o.writerKey + "' is not a writer key");
    if (!o.outputPath.empty() && o.writerKey == "Write/UnCompressed") {
        o.writerPixFormat = c.mPixFormat != 255 ? c.mPixFormat : info.pixFormat;
        if (o.writerPixFormat == 0) throw UsageError("the raw writer has no format for " + o.key + "; give --pix-format");
        if (c.mWidth == 0 || c.mHeight == 0) throw UsageError("-o with raw pictures needs --size");
    }
    o.dumpPath = args.Value("dump");
}

// The seek issued during the run.
void ParseSeek(const ParsedArgs& args, RunOptions& o) {
    if (args.Has("seek")) {
        o.seek = true;
        o.seekFrame = ParseU32("--seek", args.Value("seek"));
        const std::string mode = args.Value("seek-mode", "sync");
        if (mode == "sync") o.seekMode = 1;
        else if (mode == "exact") o.seekMode = 2;
        else o.seekMode = ParseU32("--seek-mode", mode);
        if (args.Has("seek-after")) o.seekAfter = ParseU32("--seek-after", args.Value("seek-after"));
    } else if (args.Has("seek-mode") || args.Has("seek-after")) {
        throw UsageError("--seek-mode and --seek-after go with --seek N");
    }
}

// How buffers are made and what the run reports.
void ParseRunControls(const ParsedArgs& args, RunOptions& o) {
    const ConfigParam& c = o.config;
    if (args.Has("max-buffers")) o.maxBuffers = ParseU32("--max-buffers", args.Value("max-buffers"));
    if (c.mLoopForever && o.maxBuffers == 0) throw UsageError("--loop-forever never ends by itself; add --max-buffers N");
    if (args.Has("capacity")) o.capacity = ParseU32("--capacity", args.Value("capacity"));
    o.bufferType = FillsGraphicBuffers(o.family) ? 1 : 0;
    if (args.Has("buffer-type")) {
        const std::string type = args.Value("buffer-type");
        if (type == "linear") o.bufferType = 0;
        else if (type == "graphic") o.bufferType = 1;
        else throw UsageError("--buffer-type: expected linear or graphic, got '" + type + "'");
    }

    o.md5 = args.Has("md5") || args.Has("md5-file");
    o.md5Path = args.Value("md5-file");
    o.verbose = args.Has("verbose");
    o.quiet = args.Has("quiet");
    o.force = args.Has("force");
    if (args.Has("progress")) o.progress = 1;
    if (args.Has("no-progress")) o.progress = 0;
}

}  // namespace

RunOptions ParseRunOptions(const std::vector<std::string>& argv) {
    const ParsedArgs args = ParseArgs(RunOptionSpecs(), argv);
    RunOptions o;
    if (args.positional().empty()) throw UsageError("run needs a key, e.g. tessaro run Parse/AVC -i in.264");
    if (args.positional().size() > 1) throw UsageError("unexpected argument '" + args.positional()[1] + "'");
    o.key = args.positional()[0];
    const ProcessorKeyInfo* info = FindKey(o.key);
    if (info == nullptr) throw UsageError("unknown key '" + o.key + "' (tessaro list shows the keys)");
    if (info->family == ProcessorFamily::Writer) throw UsageError(o.key + " is a writer; run takes a parser or generator (use -o)");
    o.family = info->family;
    ParseConfig(args, o);
    ParseOutputs(args, *info, o);
    ParseSeek(args, o);
    ParseRunControls(args, o);
    return o;
}

}  // namespace tessaro::cli
