#include "container/StreamParserContainer.h"

#include <cstdlib>
#include <cstring>

namespace tessaro {

const std::unordered_map<std::string, std::string> StreamParserContainer::MimeType = [] {
    std::unordered_map<std::string, std::string> table;
    table.max_load_factor(1.0f);
    table.emplace("AVC", "video/avc");
    table.emplace("HEVC", "video/hevc");
    table.emplace("AV1", "video/av01");
    table.emplace("VP9", "video/x-vnd.on2.vp9");
    table.emplace("APV", "video/apv");
    return table;
}();

StreamParserContainer::Header::Header(const void* data, uint64_t size) {
    mData = malloc(size);
    if (mData == nullptr) return;
    memcpy(mData, data, size);
    mSize = size;
}

StreamParserContainer::Header::~Header() { free(mData); }

// Headers go first (they free their blobs), then the format and extractor;
// the input file, still open if DeInit never ran, close last.
StreamParserContainer::~StreamParserContainer() {
    while (!mHeaders.empty()) mHeaders.pop();
    mFormat.reset();
    mExtractor.reset();
}

int32_t StreamParserContainer::Init() {
    TS_LOGI("Init");
    const auto mime = MimeType.find(mConfigParam.mCodec);
    TS_CHECK_TEXT(mime == MimeType.end(), "MimeType.find(mConfigParam.mCodec) == MimeType.end()", 34,
                  TS_ERROR);
    const std::string& wanted = mime->second;
    const char* path = mConfigParam.mInputFileName.c_str();

    mExtractor.reset(AMediaExtractor_new(), MediaExtractor_deleter());
    // A second Init replaces the input of the first one.
    mFD.Close();
    TS_CHECK_TEXT(!mFD.OpenForReading(path), "mFD < 0", 44, TS_ERROR);
    const off64_t size = static_cast<off64_t>(mFD.Size());
    if (AMediaExtractor_setDataSourceFd(mExtractor.get(), mFD.fd(), 0, size) != AMEDIA_OK) {
        TS_LOGE("Failed to set the data source for extractor");
        return TS_ERROR;
    }
    mTrackCount = static_cast<int>(AMediaExtractor_getTrackCount(mExtractor.get()));
    if (mTrackCount < 1) {
        TS_LOGE("Couldn't find a track in the file (%s)", path);
        return TS_ERROR;
    }
    TS_LOGI("Found %d tracks in the file", mTrackCount);

    // The first track of the wanted mime type wins; later ones are not looked at.
    std::unique_ptr<AMediaFormat, MediaFormat_deleter> match;
    int index = 0;
    for (; index < mTrackCount; ++index) {
        std::unique_ptr<AMediaFormat, MediaFormat_deleter> format(
            AMediaExtractor_getTrackFormat(mExtractor.get(), static_cast<size_t>(index)));
        const char* trackMime = nullptr;
        if (format == nullptr || !AMediaFormat_getString(format.get(), AMEDIAFORMAT_KEY_MIME, &trackMime)) {
            TS_LOGE("No mimetype detected in (%s)", path);
            mExtractor.reset();
            return TS_ERROR;
        }
        if (wanted == trackMime) {
            match = std::move(format);
            break;
        }
        TS_LOGI("Found track (%s) in file (%s)", trackMime, path);
    }
    if (match == nullptr) {
        TS_LOGE("Couldn't find track in (%s)", path);
        return TS_ERROR;
    }

    mTrackIndex = index;
    mFormat.reset(match.release(), MediaFormat_deleter());
    AMediaExtractor_selectTrack(mExtractor.get(), static_cast<size_t>(mTrackIndex));
    TS_LOGI("Found track (%s) in file (%s)", wanted.c_str(), path);

    QueueHeaders();
    TS_LOGI("Header count in Track = %u", static_cast<unsigned>(mHeaders.size()));
    mState = STATE::RUNNING;
    return TS_OK;
}

// csd-0 to csd-3 in order; a missing one is skipped, so csd-2 may follow csd-0.
// The queue is appended to: a second Init queues the track's headers again.
void StreamParserContainer::QueueHeaders() {
    for (int n = 0; n < 4; ++n) {
        char name[128] = {};
        snprintf(name, sizeof(name), "csd-%d", n);
        void* data = nullptr;
        size_t size = 0;
        if (!AMediaFormat_getBuffer(mFormat.get(), name, &data, &size) || data == nullptr || size == 0) {
            continue;
        }
        auto header = std::make_unique<Header>(data, size);
        if (header->mData != nullptr) mHeaders.push(std::move(header));
    }
}

int32_t StreamParserContainer::fillFrame(const std::shared_ptr<Buffer>& buffer, const void* data,
                                         uint64_t length, uint64_t& totalLength) {
    TS_LOGW("buffer->capacity() %u totalLength %u length %u", static_cast<unsigned>(buffer->capacity()),
            static_cast<unsigned>(totalLength), static_cast<unsigned>(length));
    TS_CHECK(buffer->capacity() - totalLength < length, 746, -2);
    const uint64_t copied = data != nullptr ? length : 0;
    const ClientBufferIo::Moved moved = mClientBuffers.FillFromMemory(*buffer, totalLength, data, copied);
    // A buffer whose memory cannot take the bytes counts as a missing destination.
    const bool noDestination = !moved.usable || moved.bytes < copied;
    if (noDestination || data == nullptr) {
        if (noDestination) {
            TS_LOGE("Invalid Destination Address");
        } else {
            TS_LOGE("Invalid Source Address");
        }
        TS_REPORT("copyData(mapping->vaddr() + totalLength, data, length) == TS_ERROR", 750);
        return TS_ERROR;
    }
    totalLength += length;
    return TS_OK;
}

// A sample of another track is skipped; if that skipped sample was track 0,
// the sample after it is taken without looking at its track.
bool StreamParserContainer::FindNextSample() {
    AMediaExtractor* extractor = mExtractor.get();
    for (;;) {
        const int track = AMediaExtractor_getSampleTrackIndex(extractor);
        if (track < 0) return false;
        if (track == mTrackIndex) return true;
        AMediaExtractor_advance(extractor);
        if (track == 0) return true;
    }
}

int32_t StreamParserContainer::Process(std::shared_ptr<Buffer> buffer) {
    TS_LOGW("Process");
    TS_CHECK(buffer == nullptr, 705, -2);
    TS_CHECK(mState != STATE::RUNNING, 706, -3);
    TS_CHECK(buffer->isLinear() == false, 707, -4);

    const uint32_t frames = mConfigParam.mFrames;
    if (mSawEOS || (frames != 0 && frames < mFrameCount)) {
        TS_LOGW("Already reached EOS");
        buffer->mFlags = Buffer::FLAG_EOS;
        return TS_OK;
    }

    uint64_t totalLength = 0;
    if (!mHeaders.empty()) {
        TS_LOGI("Fill CSD buffer");
        const Header& header = *mHeaders.front();
        static_cast<void>(fillFrame(buffer, header.mData, header.mSize, totalLength));
        mHeaders.pop();
        buffer->mTimestamp = 0;
        buffer->mOffset = 0;
        buffer->mLength = totalLength;
        buffer->mFlags = Buffer::FLAG_CODEC_CONFIG;
        return TS_OK;
    }

    if (!FindNextSample()) {
        mSawEOS = true;
        TS_LOGI("Reached the End of Stream");
    } else {
        AMediaExtractor* extractor = mExtractor.get();
        // One scratch block per run, taken by the first sample and kept.
        if (mSampleScratch == nullptr) mSampleScratch.reset(new (std::nothrow) uint8_t[kSampleScratchSize]);
        uint8_t* const localBuffer = mSampleScratch.get();
        const ssize_t sampleSize =
            localBuffer ? AMediaExtractor_readSampleData(extractor, localBuffer, kSampleScratchSize) : -1;
        if (sampleSize < 0) {
            TS_LOGE("Failed to read the sample data");
            return TS_ERROR;
        }
        const int64_t sampleTime = AMediaExtractor_getSampleTime(extractor);
        const int32_t filled =
            fillFrame(buffer, localBuffer, static_cast<uint64_t>(sampleSize), totalLength);
        TS_CHECK_TEXT(filled != TS_OK, "fillFrame(localBuffer, sampleSize) != TS_OK", 803, TS_ERROR);
        buffer->mFlags = 0;
        buffer->mTimestamp = static_cast<uint64_t>(sampleTime);
        ++mFrameCount;
        AMediaExtractor_advance(extractor);
        if (AMediaExtractor_getSampleTrackIndex(extractor) < 0) {
            mSawEOS = true;
            buffer->mFlags = Buffer::FLAG_EOS;
        }
    }

    buffer->mOffset = 0;
    buffer->mLength = totalLength;
    if (frames != 0 && frames < mFrameCount) {
        buffer->mFlags = Buffer::FLAG_EOS;
        TS_LOGI("Last Frame to Process. Adding EOS Flag");
    } else {
        TS_LOGI("Total length of content read = %d", static_cast<int>(totalLength));
    }
    return TS_OK;
}

int32_t StreamParserContainer::DeInit() {
    TS_LOGW("DeInit");
    mClientBuffers.Release();
    mSampleScratch.reset();
    mSawEOS = false;
    mSawInputEOS = false;
    mFD.Close();  // the extractor reads through a descriptor of its own
    mTrackIndex = -1;
    mTrackCount = -1;
    mFrameCount = 1;
    mRunCounter = 1;
    mRunIndex = 0;
    return TS_OK;
}

int32_t StreamParserContainer::Seek() {
    TS_LOGW("Seek");
    TS_LOGE("The Seek functionality is disabled");
    return TS_ERROR;
}

uint32_t StreamParserContainer::GetBufferLength() {
    TS_CHECK(mState != STATE::RUNNING, 846, static_cast<uint32_t>(-3));
    return kBufferLength;
}

int32_t StreamParserContainer::BuildOffsetTable() { return TS_OK; }

int32_t StreamParserContainer::ReadfromInputFile() {
    TS_LOGW("ReadfromInputFile");
    return TS_OK;
}

}  // namespace tessaro
