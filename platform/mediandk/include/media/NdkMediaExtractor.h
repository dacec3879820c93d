// AMediaExtractor: pulls the tracks and samples out of a media container.
//
// Tracks are listed in file order. Only samples of selected tracks are
// returned, in the order the container stores them; the "current sample" is
// the next one not yet advanced past. H.264 and H.265 samples come in Annex-B
// byte-stream form (every NAL unit behind a 00 00 00 01 start code), sample
// times are presentation times in microseconds, and at the end of the data
// getSampleTrackIndex, getSampleTime and getSampleSize return -1.
#ifndef TESSARO_PLATFORM_NDK_MEDIA_EXTRACTOR_H
#define TESSARO_PLATFORM_NDK_MEDIA_EXTRACTOR_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

#include "media/NdkMediaError.h"
#include "media/NdkMediaFormat.h"

#if !defined(__ANDROID__) && !defined(__USE_LARGEFILE64)
typedef int64_t off64_t;
#endif

#ifdef __cplusplus
extern "C" {
#endif

struct AMediaExtractor;
typedef struct AMediaExtractor AMediaExtractor;

enum {
    AMEDIAEXTRACTOR_SAMPLE_FLAG_SYNC = 1,
    AMEDIAEXTRACTOR_SAMPLE_FLAG_ENCRYPTED = 2,
};

AMediaExtractor* AMediaExtractor_new(void);
media_status_t AMediaExtractor_delete(AMediaExtractor* extractor);

// Reads the container from length bytes of fd starting at offset. The
// extractor keeps its own duplicate of fd, so the caller may close fd at once.
media_status_t AMediaExtractor_setDataSourceFd(AMediaExtractor* extractor, int fd,
                                               off64_t offset, off64_t length);

size_t AMediaExtractor_getTrackCount(AMediaExtractor* extractor);
// A new format that the caller owns (AMediaFormat_delete); null for a bad index.
AMediaFormat* AMediaExtractor_getTrackFormat(AMediaExtractor* extractor, size_t index);

media_status_t AMediaExtractor_selectTrack(AMediaExtractor* extractor, size_t index);
media_status_t AMediaExtractor_unselectTrack(AMediaExtractor* extractor, size_t index);

// Copies the current sample into buffer; its size, or -1 at the end or when
// capacity is too small (the sample then stays current).
ssize_t AMediaExtractor_readSampleData(AMediaExtractor* extractor, uint8_t* buffer, size_t capacity);
ssize_t AMediaExtractor_getSampleSize(AMediaExtractor* extractor);
uint32_t AMediaExtractor_getSampleFlags(AMediaExtractor* extractor);
int AMediaExtractor_getSampleTrackIndex(AMediaExtractor* extractor);
int64_t AMediaExtractor_getSampleTime(AMediaExtractor* extractor);
// Drops the current sample; false when there was none (the end of the data).
bool AMediaExtractor_advance(AMediaExtractor* extractor);

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // TESSARO_PLATFORM_NDK_MEDIA_EXTRACTOR_H
