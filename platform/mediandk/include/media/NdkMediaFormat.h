// AMediaFormat: a typed key/value record describing one track (mime type,
// geometry, codec-specific data "csd-0".."csd-3", ...).
//
// Pointers handed out by the getters (strings, buffers) point into the format
// and stay valid until the key is set again or the format is deleted.
#ifndef TESSARO_PLATFORM_NDK_MEDIA_FORMAT_H
#define TESSARO_PLATFORM_NDK_MEDIA_FORMAT_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "media/NdkMediaError.h"

#ifdef __cplusplus
extern "C" {
#endif

struct AMediaFormat;
typedef struct AMediaFormat AMediaFormat;

AMediaFormat* AMediaFormat_new(void);
media_status_t AMediaFormat_delete(AMediaFormat* format);

// A readable dump of every entry; valid until the next call on this format.
const char* AMediaFormat_toString(AMediaFormat* format);

bool AMediaFormat_getInt32(AMediaFormat* format, const char* name, int32_t* out);
bool AMediaFormat_getInt64(AMediaFormat* format, const char* name, int64_t* out);
bool AMediaFormat_getString(AMediaFormat* format, const char* name, const char** out);
bool AMediaFormat_getBuffer(AMediaFormat* format, const char* name, void** data, size_t* size);

void AMediaFormat_setInt32(AMediaFormat* format, const char* name, int32_t value);
void AMediaFormat_setInt64(AMediaFormat* format, const char* name, int64_t value);
void AMediaFormat_setString(AMediaFormat* format, const char* name, const char* value);
void AMediaFormat_setBuffer(AMediaFormat* format, const char* name, const void* data, size_t size);

extern const char* AMEDIAFORMAT_KEY_MIME;
extern const char* AMEDIAFORMAT_KEY_WIDTH;
extern const char* AMEDIAFORMAT_KEY_HEIGHT;
extern const char* AMEDIAFORMAT_KEY_DURATION;
extern const char* AMEDIAFORMAT_KEY_FRAME_RATE;
extern const char* AMEDIAFORMAT_KEY_SAMPLE_RATE;
extern const char* AMEDIAFORMAT_KEY_CHANNEL_COUNT;
extern const char* AMEDIAFORMAT_KEY_BIT_RATE;
extern const char* AMEDIAFORMAT_KEY_LANGUAGE;
extern const char* AMEDIAFORMAT_KEY_MAX_INPUT_SIZE;
extern const char* AMEDIAFORMAT_KEY_TRACK_ID;
extern const char* AMEDIAFORMAT_KEY_CSD_0;
extern const char* AMEDIAFORMAT_KEY_CSD_1;
extern const char* AMEDIAFORMAT_KEY_CSD_2;

#ifdef __cplusplus
}  // extern "C"
#endif

#endif  // TESSARO_PLATFORM_NDK_MEDIA_FORMAT_H
