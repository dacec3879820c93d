// StreamParserContainer ("Parse/Container"): feeds a decoder from one track of
// a media container. Init picks the first track whose mime type matches
// mConfigParam.mCodec; Process then hands out that track's codec-specific data
// blobs one per buffer (CODEC_CONFIG, timestamp 0) and after them one sample
// per buffer with the sample's own time, the last one flagged EOS. All
// demuxing is the platform media extractor's; this class only drives it and
// cannot seek.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <queue>
#include <string>
#include <unordered_map>
#include <vector>

#include <media/NdkMediaExtractor.h>
#include <media/NdkMediaFormat.h>

#include "framework/TessaroImpl.h"
#include "framework/File.h"

namespace tessaro {

class StreamParserContainer : public TessaroImpl {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl::StreamParser::Container";

    // Size every client buffer must have (10 MiB).
    static constexpr uint32_t kBufferLength = 10485760;
    // Scratch block a sample is read into; larger samples cannot be read (8 MiB).
    static constexpr size_t kSampleScratchSize = 8388608;

    // Codec key ("AVC", "HEVC", "AV1", "VP9", "APV"; exact case) to mime type.
    static const std::unordered_map<std::string, std::string> MimeType;

    // One codec-specific-data blob (csd-N of the track), a heap copy it owns.
    struct Header {
        Header(const void* data, uint64_t size);
        ~Header();
        Header(const Header&) = delete;
        Header& operator=(const Header&) = delete;

        void* mData = nullptr;
        uint64_t mSize = 0;
    };

    struct MediaFormat_deleter {
        void operator()(AMediaFormat* format) const { AMediaFormat_delete(format); }
    };
    struct MediaExtractor_deleter {
        void operator()(AMediaExtractor* extractor) const { AMediaExtractor_delete(extractor); }
    };

    StreamParserContainer() = default;
    ~StreamParserContainer() override;

    // Opens mInputFileName through a fresh extractor, selects the first track
    // of the wanted mime type and queues its csd-0..csd-3. TS_OK and RUNNING,
    // or TS_ERROR with the state unchanged.
    int32_t Init() override;
    // Delivers the next header, else the next sample; see the class comment.
    int32_t Process(std::shared_ptr<Buffer> buffer) override;
    // Forgets the run's counters and releases the input file.
    // The extractor, its position, the queued headers and the state stay.
    int32_t DeInit() override;
    // Always refused: TS_ERROR.
    int32_t Seek() override;
    // kBufferLength while RUNNING, else -3.
    uint32_t GetBufferLength() override;

    // The frame table of the elementary-stream parsers has no use here: both
    // do nothing and return TS_OK.
    virtual int32_t BuildOffsetTable();
    virtual int32_t ReadfromInputFile();

    // Read access for tests and tools.
    bool sawEOS() const { return mSawEOS; }
    int fd() const { return mFD.fd(); }
    int trackIndex() const { return mTrackIndex; }
    int trackCount() const { return mTrackCount; }
    uint32_t frameCount() const { return mFrameCount; }
    size_t pendingHeaders() const { return mHeaders.size(); }

private:
    // Copies length bytes into the buffer at totalLength and advances it:
    // TS_OK, -2 when they do not fit, TS_ERROR for a missing address.
    int32_t fillFrame(const std::shared_ptr<Buffer>& buffer, const void* data, uint64_t length,
                      uint64_t& totalLength);
    // Steps to the current sample of the selected track; false at the end.
    bool FindNextSample();
    void QueueHeaders();

    bool mSawEOS = false;      // the extractor ran out or the last sample went out
    bool mSawInputEOS = false; // cleared with mSawEOS, otherwise unused
    File mFD;                  // the input file as handed to the extractor
    int mTrackIndex = -1;      // the selected track
    int mTrackCount = -1;      // tracks in the file
    uint32_t mFrameCount = 1;  // one more than the samples delivered
    std::shared_ptr<AMediaFormat> mFormat;
    std::shared_ptr<AMediaExtractor> mExtractor;
    std::unordered_map<uint32_t, std::vector<uint64_t>> mFrameTable;  // never filled
    std::queue<std::unique_ptr<Header>> mHeaders;  // csd blobs still to deliver
    std::unique_ptr<uint8_t[]> mSampleScratch;     // kSampleScratchSize bytes, the sample read last
    uint64_t mRunCounter = 1;  // reset by DeInit, otherwise unused
    uint32_t mRunIndex = 0;    // reset by DeInit, otherwise unused
};

}  // namespace tessaro
