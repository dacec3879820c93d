// AMediaExtractor over libavformat: the body of libmediandk_avformat.so, the
// one library of the extractor that links FFmpeg. libmediandk.so loads it on
// the first AMediaExtractor_new and forwards every call through the table
// at the end of this file.
//
// The container is read with pread through the extractor's own duplicate of
// the caller's descriptor, so the caller's file position is never moved and
// the caller may close its descriptor.
#include "media/NdkMediaExtractor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
}

#include "AMediaFormatImpl.h"
#include "ExtractorBackend.h"
#include "ParameterSets.h"

namespace {

using mediandk::Bytes;
using mediandk::NalCodec;

constexpr int kIoBufferSize = 32 * 1024;
constexpr AVRational kMicroseconds = {1, 1000000};

// Mime types as a device names them; tracks of other codecs are still listed.
const char* MimeOf(AVCodecID id) {
    switch (id) {
        case AV_CODEC_ID_H264: return "video/avc";
        case AV_CODEC_ID_HEVC: return "video/hevc";
        case AV_CODEC_ID_AV1: return "video/av01";
        case AV_CODEC_ID_VP9: return "video/x-vnd.on2.vp9";
        case AV_CODEC_ID_VP8: return "video/x-vnd.on2.vp8";
        case AV_CODEC_ID_MPEG4: return "video/mp4v-es";
        case AV_CODEC_ID_H263: return "video/3gpp";
        case AV_CODEC_ID_MPEG2VIDEO: return "video/mpeg2";
        case AV_CODEC_ID_MJPEG: return "video/mjpeg";
        case AV_CODEC_ID_AAC: return "audio/mp4a-latm";
        case AV_CODEC_ID_MP3: return "audio/mpeg";
        case AV_CODEC_ID_OPUS: return "audio/opus";
        case AV_CODEC_ID_VORBIS: return "audio/vorbis";
        case AV_CODEC_ID_FLAC: return "audio/flac";
        case AV_CODEC_ID_AMR_NB: return "audio/3gpp";
        case AV_CODEC_ID_AMR_WB: return "audio/amr-wb";
        case AV_CODEC_ID_AC3: return "audio/ac3";
        case AV_CODEC_ID_EAC3: return "audio/eac3";
        case AV_CODEC_ID_PCM_S16LE: return "audio/raw";
        case AV_CODEC_ID_WEBVTT: return "text/vtt";
        case AV_CODEC_ID_SUBRIP: return "application/x-subrip";
        case AV_CODEC_ID_MOV_TEXT: return "text/3gpp-tt";
        default: return "application/octet-stream";
    }
}

void SetBytes(AMediaFormat* format, const char* key, const Bytes& bytes) {
    if (!bytes.empty()) AMediaFormat_setBuffer(format, key, bytes.data(), bytes.size());
}

void SetInt64LE(AMediaFormat* format, const char* key, int64_t value) {
    uint8_t bytes[8];
    for (int i = 0; i < 8; ++i) bytes[i] = static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i));
    AMediaFormat_setBuffer(format, key, bytes, sizeof(bytes));
}

}  // namespace

namespace mediandk {

// One sample of a selected track, ready to hand out.
struct Sample {
    int track = -1;
    int64_t timeUs = 0;
    uint32_t flags = 0;
    Bytes data;
};

struct Track {
    AMediaFormat format;       // what getTrackFormat copies
    unsigned lengthSize = 0;   // H.264/H.265 samples to convert; 0 = as stored
    bool selected = false;
};

}  // namespace mediandk

struct AMediaExtractor {
    AMediaExtractor() = default;
    ~AMediaExtractor() { Close(); }
    AMediaExtractor(const AMediaExtractor&) = delete;
    AMediaExtractor& operator=(const AMediaExtractor&) = delete;

    media_status_t Open(int callerFd, int64_t offset, int64_t length);
    void Close();
    bool FetchCurrent();  // true when a current sample exists

    int fd = -1;  // our own duplicate of the caller's descriptor
    int64_t sourceOffset = 0;
    int64_t sourceLength = 0;
    int64_t position = 0;  // read position within the source
    AVIOContext* io = nullptr;
    AVFormatContext* context = nullptr;
    AVPacket* packet = nullptr;
    std::vector<mediandk::Track> tracks;
    mediandk::Sample current;
    bool haveCurrent = false;
    bool ended = false;

private:
    void DescribeTrack(const AVStream* stream, mediandk::Track* track);
};

namespace {

int ReadSource(void* opaque, uint8_t* buffer, int size) {
    auto* extractor = static_cast<AMediaExtractor*>(opaque);
    const int64_t left = extractor->sourceLength - extractor->position;
    if (left <= 0) return AVERROR_EOF;
    const size_t want = static_cast<size_t>(left < size ? left : size);
    ssize_t got;
    do {
        got = pread(extractor->fd, buffer, want, extractor->sourceOffset + extractor->position);
    } while (got < 0 && errno == EINTR);
    if (got < 0) return AVERROR(errno);
    if (got == 0) return AVERROR_EOF;
    extractor->position += got;
    return static_cast<int>(got);
}

int64_t SeekSource(void* opaque, int64_t offset, int whence) {
    auto* extractor = static_cast<AMediaExtractor*>(opaque);
    int64_t target;
    switch (whence & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE: return extractor->sourceLength;
        case SEEK_SET: target = offset; break;
        case SEEK_CUR: target = extractor->position + offset; break;
        case SEEK_END: target = extractor->sourceLength + offset; break;
        default: return AVERROR(EINVAL);
    }
    if (target < 0) return AVERROR(EINVAL);
    extractor->position = target;
    return target;
}

// Elementary streams without a container (an Annex-B .264, raw OBUs, a bare
// picture sequence) are not media files to a device's extractor.
bool IsBareElementaryStream(const AVInputFormat* format) {
    static const char* const kBare[] = {"h264", "hevc", "vvc", "obu", "m4v", "h261", "h263", "mpegvideo",
                                        "cavsvideo", "vc1", "mjpeg", "rawvideo", "data", "tty", "image2"};
    const std::string name = format->name;
    for (const char* bare : kBare) {
        if (name == bare) return true;
    }
    return name.size() > 5 && name.compare(name.size() - 5, 5, "_pipe") == 0;
}

// FFmpeg prints demuxing trouble on stderr; a device's extractor does not.
// Quieten it once, unless the host program has chosen a level of its own.
void QuietenLibraryLogging() {
    static const bool done = [] {
        if (av_log_get_level() == AV_LOG_INFO) av_log_set_level(AV_LOG_FATAL);
        return true;
    }();
    (void)done;
}

}  // namespace

media_status_t AMediaExtractor::Open(int callerFd, int64_t offset, int64_t length) {
    struct stat st {};
    if (fstat(callerFd, &st) != 0) return AMEDIA_ERROR_IO;
    if (S_ISREG(st.st_mode)) {
        // A length past the end of the file is cut back to the file.
        if (offset > st.st_size) return AMEDIA_ERROR_UNSUPPORTED;
        if (length > st.st_size - offset) length = st.st_size - offset;
    }
    fd = fcntl(callerFd, F_DUPFD_CLOEXEC, 0);
    if (fd < 0) return AMEDIA_ERROR_IO;
    sourceOffset = offset;
    sourceLength = length;
    position = 0;

    auto* ioBuffer = static_cast<uint8_t*>(av_malloc(kIoBufferSize));
    if (ioBuffer == nullptr) return AMEDIA_ERROR_UNKNOWN;
    io = avio_alloc_context(ioBuffer, kIoBufferSize, 0, this, ReadSource, nullptr, SeekSource);
    if (io == nullptr) {
        av_free(ioBuffer);
        return AMEDIA_ERROR_UNKNOWN;
    }
    context = avformat_alloc_context();
    if (context == nullptr) return AMEDIA_ERROR_UNKNOWN;
    context->pb = io;
    if (avformat_open_input(&context, nullptr, nullptr, nullptr) < 0) {
        return AMEDIA_ERROR_UNSUPPORTED;  // the context is freed by the failed open
    }
    if (IsBareElementaryStream(context->iformat)) return AMEDIA_ERROR_UNSUPPORTED;
    // Fills in what a header leaves open (Annex-B parameter sets of a
    // transport stream, for example); a failure leaves what the header said.
    avformat_find_stream_info(context, nullptr);
    if (context->nb_streams == 0) return AMEDIA_ERROR_UNSUPPORTED;
    packet = av_packet_alloc();
    if (packet == nullptr) return AMEDIA_ERROR_UNKNOWN;

    tracks.resize(context->nb_streams);
    for (unsigned i = 0; i < context->nb_streams; ++i) {
        DescribeTrack(context->streams[i], &tracks[i]);
        context->streams[i]->discard = AVDISCARD_ALL;  // until selected
    }
    return AMEDIA_OK;
}

void AMediaExtractor::DescribeTrack(const AVStream* stream, mediandk::Track* track) {
    const AVCodecParameters* par = stream->codecpar;
    AMediaFormat* format = &track->format;
    AMediaFormat_setString(format, AMEDIAFORMAT_KEY_MIME, MimeOf(par->codec_id));
    if (stream->id > 0) AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_TRACK_ID, stream->id);

    int64_t durationUs = -1;
    if (stream->duration != AV_NOPTS_VALUE && stream->duration > 0) {
        durationUs = av_rescale_q(stream->duration, stream->time_base, kMicroseconds);
    } else if (context->duration != AV_NOPTS_VALUE && context->duration > 0) {
        durationUs = av_rescale_q(context->duration, AV_TIME_BASE_Q, kMicroseconds);
    }
    if (durationUs >= 0) AMediaFormat_setInt64(format, AMEDIAFORMAT_KEY_DURATION, durationUs);
    if (par->bit_rate > 0 && par->bit_rate <= INT32_MAX) {
        AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_BIT_RATE, static_cast<int32_t>(par->bit_rate));
    }
    const AVDictionaryEntry* language = av_dict_get(stream->metadata, "language", nullptr, 0);
    if (language != nullptr && std::strcmp(language->value, "und") != 0) {
        AMediaFormat_setString(format, AMEDIAFORMAT_KEY_LANGUAGE, language->value);
    }

    if (par->codec_type == AVMEDIA_TYPE_VIDEO) {
        AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_WIDTH, par->width);
        AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_HEIGHT, par->height);
        if (stream->avg_frame_rate.num > 0 && stream->avg_frame_rate.den > 0) {
            AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_FRAME_RATE,
                                  static_cast<int32_t>(av_q2d(stream->avg_frame_rate) + 0.5));
        }
    } else if (par->codec_type == AVMEDIA_TYPE_AUDIO) {
        AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_SAMPLE_RATE, par->sample_rate);
        AMediaFormat_setInt32(format, AMEDIAFORMAT_KEY_CHANNEL_COUNT, par->ch_layout.nb_channels);
    }

    const uint8_t* extra = par->extradata;
    const size_t extraSize = par->extradata != nullptr ? static_cast<size_t>(par->extradata_size) : 0;
    if (par->codec_id == AV_CODEC_ID_H264 || par->codec_id == AV_CODEC_ID_HEVC) {
        mediandk::NalTrackConfig config;
        const NalCodec codec = par->codec_id == AV_CODEC_ID_H264 ? NalCodec::kAvc : NalCodec::kHevc;
        if (mediandk::ParseNalTrackConfig(codec, extra, extraSize, &config)) {
            SetBytes(format, AMEDIAFORMAT_KEY_CSD_0, config.csd0);
            SetBytes(format, AMEDIAFORMAT_KEY_CSD_1, config.csd1);
            track->lengthSize = config.lengthSize;
        }
    } else if (extraSize > 0) {
        AMediaFormat_setBuffer(format, AMEDIAFORMAT_KEY_CSD_0, extra, extraSize);
        if (par->codec_id == AV_CODEC_ID_OPUS) {
            // Opus decoders take the codec delay and the seek pre-roll in
            // nanoseconds as csd-1 and csd-2.
            SetInt64LE(format, AMEDIAFORMAT_KEY_CSD_1,
                       av_rescale(par->initial_padding, 1000000000, 48000));
            SetInt64LE(format, AMEDIAFORMAT_KEY_CSD_2, 80000000);
        }
    }
}

void AMediaExtractor::Close() {
    av_packet_free(&packet);
    avformat_close_input(&context);  // null-safe; with custom I/O the context is ours to free
    if (io != nullptr) {
        av_freep(&io->buffer);
        avio_context_free(&io);
    }
    if (fd >= 0) close(fd);
    fd = -1;
    tracks.clear();
    haveCurrent = false;
    ended = false;
}

bool AMediaExtractor::FetchCurrent() {
    if (haveCurrent) return true;
    if (ended || context == nullptr) return false;
    while (av_read_frame(context, packet) >= 0) {
        const int index = packet->stream_index;
        if (index < 0 || static_cast<size_t>(index) >= tracks.size() || !tracks[index].selected) {
            av_packet_unref(packet);
            continue;
        }
        const AVStream* stream = context->streams[index];
        const int64_t ts = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
        current.track = index;
        current.timeUs = ts != AV_NOPTS_VALUE ? av_rescale_q(ts, stream->time_base, kMicroseconds) : 0;
        current.flags = (packet->flags & AV_PKT_FLAG_KEY) ? AMEDIAEXTRACTOR_SAMPLE_FLAG_SYNC : 0;
        current.data.clear();
        bool ok = true;
        if (tracks[index].lengthSize != 0) {
            ok = mediandk::LengthPrefixedToAnnexB(packet->data, static_cast<size_t>(packet->size),
                                                  tracks[index].lengthSize, &current.data);
        } else if (packet->size > 0) {
            current.data.assign(packet->data, packet->data + packet->size);
        }
        av_packet_unref(packet);
        if (!ok) break;  // a sample cut short or malformed ends the track, as on a device
        haveCurrent = true;
        return true;
    }
    ended = true;
    return false;
}

namespace {

AMediaExtractor* Create() {
    QuietenLibraryLogging();
    return new (std::nothrow) AMediaExtractor();
}

media_status_t Delete(AMediaExtractor* extractor) {
    if (extractor == nullptr) return AMEDIA_ERROR_INVALID_PARAMETER;
    delete extractor;
    return AMEDIA_OK;
}

media_status_t SetDataSourceFd(AMediaExtractor* extractor, int fd, off64_t offset, off64_t length) {
    if (extractor == nullptr || fd < 0 || offset < 0 || length < 0) return AMEDIA_ERROR_INVALID_PARAMETER;
    if (extractor->context != nullptr) return AMEDIA_ERROR_INVALID_OPERATION;
    const media_status_t status = extractor->Open(fd, offset, length);
    if (status != AMEDIA_OK) extractor->Close();
    return status;
}

size_t GetTrackCount(AMediaExtractor* extractor) {
    return extractor != nullptr ? extractor->tracks.size() : 0;
}

AMediaFormat* GetTrackFormat(AMediaExtractor* extractor, size_t index) {
    if (extractor == nullptr || index >= extractor->tracks.size()) return nullptr;
    return new (std::nothrow) AMediaFormat(extractor->tracks[index].format);
}

media_status_t SelectTrack(AMediaExtractor* extractor, size_t index) {
    if (extractor == nullptr || index >= extractor->tracks.size()) return AMEDIA_ERROR_INVALID_PARAMETER;
    extractor->tracks[index].selected = true;
    extractor->context->streams[index]->discard = AVDISCARD_DEFAULT;
    return AMEDIA_OK;
}

media_status_t UnselectTrack(AMediaExtractor* extractor, size_t index) {
    if (extractor == nullptr || index >= extractor->tracks.size()) return AMEDIA_ERROR_INVALID_PARAMETER;
    extractor->tracks[index].selected = false;
    extractor->context->streams[index]->discard = AVDISCARD_ALL;
    if (extractor->haveCurrent && extractor->current.track == static_cast<int>(index)) {
        extractor->haveCurrent = false;
    }
    return AMEDIA_OK;
}

ssize_t ReadSampleData(AMediaExtractor* extractor, uint8_t* buffer, size_t capacity) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return -1;
    const Bytes& data = extractor->current.data;
    if (buffer == nullptr || capacity < data.size()) return -1;
    if (!data.empty()) std::memcpy(buffer, data.data(), data.size());
    return static_cast<ssize_t>(data.size());
}

ssize_t GetSampleSize(AMediaExtractor* extractor) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return -1;
    return static_cast<ssize_t>(extractor->current.data.size());
}

uint32_t GetSampleFlags(AMediaExtractor* extractor) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return UINT32_MAX;
    return extractor->current.flags;
}

int GetSampleTrackIndex(AMediaExtractor* extractor) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return -1;
    return extractor->current.track;
}

int64_t GetSampleTime(AMediaExtractor* extractor) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return -1;
    return extractor->current.timeUs;
}

bool Advance(AMediaExtractor* extractor) {
    if (extractor == nullptr || !extractor->FetchCurrent()) return false;
    extractor->haveCurrent = false;
    return true;
}

// In the order of the table's fields.
constexpr mediandk::ExtractorBackend kBackend = {
    mediandk::ExtractorBackend::kVersion,
    Create, Delete, SetDataSourceFd, GetTrackCount, GetTrackFormat, SelectTrack, UnselectTrack,
    ReadSampleData, GetSampleSize, GetSampleFlags, GetSampleTrackIndex, GetSampleTime, Advance,
};

}  // namespace

extern "C" __attribute__((visibility("default"))) const mediandk::ExtractorBackend* MediaNdkExtractorBackend(void) {
    return &kBackend;
}
