// The seam between libmediandk.so and libmediandk_avformat.so (private to the
// two libraries, which are always built and installed together).
//
// libmediandk.so implements AMediaFormat itself and forwards every
// AMediaExtractor_* call through the table below. The table comes from the
// backend's one exported function, MediaNdkExtractorBackend; the backend is
// loaded from the directory libmediandk.so was loaded from by the first
// AMediaExtractor_new, so FFmpeg is mapped only by processes that open a
// container.
#pragma once

#include <cstdint>

#include "media/NdkMediaExtractor.h"

namespace mediandk {

// The functions have the semantics of the AMediaExtractor_* call of the same
// name, null extractor handling included.
struct ExtractorBackend {
    // Raised whenever a field is added, removed or changes type: a backend
    // left over from another build is refused rather than called.
    static constexpr uint32_t kVersion = 1;

    uint32_t version;
    AMediaExtractor* (*create)();
    media_status_t (*destroy)(AMediaExtractor* extractor);
    media_status_t (*setDataSourceFd)(AMediaExtractor* extractor, int fd, off64_t offset, off64_t length);
    size_t (*getTrackCount)(AMediaExtractor* extractor);
    AMediaFormat* (*getTrackFormat)(AMediaExtractor* extractor, size_t index);
    media_status_t (*selectTrack)(AMediaExtractor* extractor, size_t index);
    media_status_t (*unselectTrack)(AMediaExtractor* extractor, size_t index);
    ssize_t (*readSampleData)(AMediaExtractor* extractor, uint8_t* buffer, size_t capacity);
    ssize_t (*getSampleSize)(AMediaExtractor* extractor);
    uint32_t (*getSampleFlags)(AMediaExtractor* extractor);
    int (*getSampleTrackIndex)(AMediaExtractor* extractor);
    int64_t (*getSampleTime)(AMediaExtractor* extractor);
    bool (*advance)(AMediaExtractor* extractor);
};

// The backend's file name, looked for beside libmediandk.so.
constexpr const char* kBackendFileName = "libmediandk_avformat.so";
// The name of its entry point, MediaNdkExtractorBackend.
constexpr const char* kBackendEntryName = "MediaNdkExtractorBackend";

}  // namespace mediandk

extern "C" const mediandk::ExtractorBackend* MediaNdkExtractorBackend(void);
