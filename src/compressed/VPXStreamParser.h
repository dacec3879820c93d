// VPXStreamParser: the scanner for VP8 and VP9 streams in IVF framing (a
// 32-byte file header, then per frame a 12-byte header - size and timestamp -
// and the frame's bytes), and for the headerless ".ivfnh" variant. Each frame
// is one entry of the frame offset table; frames are never split into slices.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "compressed/IvfReader.h"
#include "compressed/StreamParserCompressed.h"

namespace tessaro {

class VPXStreamParser : public StreamParserCompressed {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Compressed::VPX";

    // Framing of the input (IvfReader's), chosen by Init.
    static constexpr uint32_t kIvfWithFileHeader = IvfReader::kWithFileHeader;
    static constexpr uint32_t kIvfHeaderless = IvfReader::kHeaderless;

    VPXStreamParser() = default;
    ~VPXStreamParser() override = default;

    // Opens mConfigParam.mInputFileName, chooses the framing from the name's
    // extension (".ivfnh") or the "DKIF" signature, measures the file and
    // indexes it. A name without any '.' throws std::out_of_range.
    int32_t Init() override;

    // Reads the next frame header (and the file header on the first call and
    // after a rewind) and appends the frame's entry.
    int32_t ReadfromInputFile(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                              uint32_t maxBufSize, std::shared_ptr<unsigned char> buffer) override;

    // True when the first four bytes of the input are "DKIF"; leaves the
    // position after them.
    bool SawDKIFHeader();

    // Appends the entry for the frameSize bytes at the current position (cut
    // to the bytes left in the file) and reads them into buffer, which must
    // hold maxBufSize bytes. At the end of the file the entry is marked last,
    // or the file is rewound when more frames are wanted.
    int32_t CreateEntryInFrameList(uint32_t frameNum, std::vector<FrameInfo>& framelist,
                                   uint32_t maxBufSize, uint32_t frameSize,
                                   std::shared_ptr<unsigned char> buffer);

    uint32_t ivfMode() const { return mIvfMode; }

protected:
    // A call for frame 1 reads the IVF file header wherever the file stands.
    bool ScansDependOnFrameOne() const override { return true; }
    // With a file header, whether the call reads one first.
    uint32_t RestartMark(uint32_t frameNum) const override {
        return mIvfMode == kIvfWithFileHeader && (frameNum == 1 || mRestarted) ? 1 : 0;
    }

    // Clears the stream state and moves to offset from the file start.
    void SeekInput(uint64_t offset);

    uint32_t mIvfMode = 0;    // framing: kIvfWithFileHeader, kIvfHeaderless, other = size only
    bool mRestarted = false;  // the file was rewound: skip the file header again
};

}  // namespace tessaro
