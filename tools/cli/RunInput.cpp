#include "cli/RunInput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <vector>

#include "core/Geometry.h"
#include "core/Ivf.h"
#include "core/Probe.h"

namespace tessaro::cli {
namespace {

// 0, or 1 after "cannot open <path>: <reason>" / "<path> is empty".
int CheckReadable(const std::string& path, const Reporter& report) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return report.Error("cannot open " + path + ": " + std::strerror(errno));
    struct stat info {};
    const bool statted = fstat(fd, &info) == 0;
    close(fd);
    if (statted && S_ISDIR(info.st_mode)) return report.Error("cannot open " + path + ": " + std::strerror(EISDIR));
    if (statted && S_ISREG(info.st_mode) && info.st_size == 0) return report.Error(path + " is empty");
    return 0;
}

// Width and height of an IVF input's header (0 when it is not IVF).
void IvfSize(const std::string& path, IvfFraming* framing) {
    uint8_t header[32] = {};
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(header), sizeof header) || std::memcmp(header, "DKIF", 4) != 0) return;
    framing->width = uint16_t(header[12] | header[13] << 8);
    framing->height = uint16_t(header[14] | header[15] << 8);
}

// The fourcc an .ivf output gets, or empty when the stream has no IVF form.
std::string FourccFor(const RunOptions& o, Framing input) {
    if (o.family == ProcessorFamily::Container) {
        return o.config.mCodec == "VP9" ? "VP90" : o.config.mCodec == "AV1" ? "AV01" : "";
    }
    switch (input) {
        case Framing::IvfVp8: return "VP80";
        case Framing::IvfVp9: return "VP90";
        case Framing::IvfAv1:
        case Framing::ObuAv1: return "AV01";
        default: return "";
    }
}

int PlanIvf(const RunOptions& o, Framing input, const Reporter& report, IvfFraming* framing) {
    if (o.outputPath.empty() || !NamesIvf(o.outputPath) || FillsGraphicBuffers(o.family)) return 0;
    if (input == Framing::AnnexBAv1) {
        report.Error("-o " + o.outputPath + ": AV1 Annex-B temporal units cannot go into IVF; name the output .obu");
        return 2;
    }
    framing->fourcc = FourccFor(o, input);
    if (framing->fourcc.empty()) {
        report.Warn(o.key + " output is not VP8, VP9 or AV1; " + o.outputPath + " gets the bare stream");
        return 0;
    }
    framing->width = uint16_t(o.config.mWidth);
    framing->height = uint16_t(o.config.mHeight);
    if (o.family != ProcessorFamily::Container) IvfSize(o.config.mInputFileName, framing);
    return 0;
}

}  // namespace

int CheckInputName(const std::string& key, const std::string& path, const Reporter& report) {
    if (key != "Parse/VPX" || path.find('.') != std::string::npos) return 0;
    return report.Error(key + " takes the text after the last '.' of the input name and throws without one: "
                        "give " + path + " an extension such as .ivf");
}

int CheckInput(const RunOptions& o, const Reporter& report, IvfFraming* framing) {
    if (o.family == ProcessorFamily::Pattern) return 0;
    const std::string& path = o.config.mInputFileName;
    if (const int status = CheckReadable(path, report); status != 0) return status;
    if (const int status = CheckInputName(o.key, path, report); status != 0) return status;
    if (o.family != ProcessorFamily::Compressed && o.family != ProcessorFamily::Container) return 0;
    const Framing input = o.family == ProcessorFamily::Compressed ? SniffFile(path) : Framing::Unknown;
    if (o.family == ProcessorFamily::Compressed) {
        const std::string looksLike = ParserFor(input);
        if (looksLike.empty()) {
            report.Warn(path + " does not look like " + KeyCodecName(o.key));
        } else if (looksLike != o.key) {
            const std::string line = path + " looks like " + FramingName(input) + ", not " + KeyCodecName(o.key);
            if (!o.force) return report.Error(line + " (run " + looksLike + ", or add --force)");
            report.Warn(line);
        }
    }
    return PlanIvf(o, input, report, framing);
}

uint64_t ExpectedFrames(const TessaroInterface& producer, const RunOptions& o) {
    const ConfigParam& c = o.config;
    switch (o.family) {
        case ProcessorFamily::Compressed: {
            std::vector<FrameIndexEntry> entries;
            if (GetFrameIndex(producer, entries) != TS_OK || entries.empty()) return 0;
            return entries.back().frame;
        }
        case ProcessorFamily::Pattern: return c.mFrames;
        case ProcessorFamily::Raw: {
            if (c.mFrames != 0) return c.mFrames;
            struct stat info {};
            const uint64_t packed = PackedPictureBytes(o.key, c.mWidth, c.mHeight);
            if (packed == 0 || stat(c.mInputFileName.c_str(), &info) != 0) return 0;
            return uint64_t(info.st_size) / packed;
        }
        default: return 0;
    }
}

}  // namespace tessaro::cli
