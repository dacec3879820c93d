// AMediaFormat: an ordered map from key to a typed value.
#include "media/NdkMediaFormat.h"

#include <cinttypes>
#include <cstdio>
#include <map>
#include <new>
#include <string>
#include <vector>

#include "AMediaFormatImpl.h"

extern "C" {
const char* AMEDIAFORMAT_KEY_MIME = "mime";
const char* AMEDIAFORMAT_KEY_WIDTH = "width";
const char* AMEDIAFORMAT_KEY_HEIGHT = "height";
const char* AMEDIAFORMAT_KEY_DURATION = "durationUs";
const char* AMEDIAFORMAT_KEY_FRAME_RATE = "frame-rate";
const char* AMEDIAFORMAT_KEY_SAMPLE_RATE = "sample-rate";
const char* AMEDIAFORMAT_KEY_CHANNEL_COUNT = "channel-count";
const char* AMEDIAFORMAT_KEY_BIT_RATE = "bitrate";
const char* AMEDIAFORMAT_KEY_LANGUAGE = "language";
const char* AMEDIAFORMAT_KEY_MAX_INPUT_SIZE = "max-input-size";
const char* AMEDIAFORMAT_KEY_TRACK_ID = "track-id";
const char* AMEDIAFORMAT_KEY_CSD_0 = "csd-0";
const char* AMEDIAFORMAT_KEY_CSD_1 = "csd-1";
const char* AMEDIAFORMAT_KEY_CSD_2 = "csd-2";
}

namespace {

using Entry = AMediaFormat::Entry;

const Entry* Find(const AMediaFormat* format, const char* name, Entry::Type type) {
    if (format == nullptr || name == nullptr) return nullptr;
    auto it = format->entries.find(name);
    if (it == format->entries.end() || it->second.type != type) return nullptr;
    return &it->second;
}

Entry* Slot(AMediaFormat* format, const char* name, Entry::Type type) {
    if (format == nullptr || name == nullptr) return nullptr;
    Entry& entry = format->entries[name];
    entry = Entry{};
    entry.type = type;
    return &entry;
}

}  // namespace

extern "C" {

AMediaFormat* AMediaFormat_new(void) { return new (std::nothrow) AMediaFormat(); }

media_status_t AMediaFormat_delete(AMediaFormat* format) {
    if (format == nullptr) return AMEDIA_ERROR_INVALID_PARAMETER;
    delete format;
    return AMEDIA_OK;
}

const char* AMediaFormat_toString(AMediaFormat* format) {
    if (format == nullptr) return nullptr;
    std::string text = "{";
    const char* separator = "";
    for (const auto& [key, entry] : format->entries) {
        char value[64];
        text += separator;
        text += key;
        switch (entry.type) {
            case Entry::Type::kInt32:
                snprintf(value, sizeof(value), ": int32(%" PRId32 ")", static_cast<int32_t>(entry.number));
                text += value;
                break;
            case Entry::Type::kInt64:
                snprintf(value, sizeof(value), ": int64(%" PRId64 ")", entry.number);
                text += value;
                break;
            case Entry::Type::kString:
                text += ": string(" + entry.text + ")";
                break;
            case Entry::Type::kBuffer:
                snprintf(value, sizeof(value), ": data(%zu bytes)", entry.bytes.size());
                text += value;
                break;
        }
        separator = ", ";
    }
    text += "}";
    format->description = text;
    return format->description.c_str();
}

bool AMediaFormat_getInt32(AMediaFormat* format, const char* name, int32_t* out) {
    const Entry* entry = Find(format, name, Entry::Type::kInt32);
    if (entry == nullptr || out == nullptr) return false;
    *out = static_cast<int32_t>(entry->number);
    return true;
}

bool AMediaFormat_getInt64(AMediaFormat* format, const char* name, int64_t* out) {
    const Entry* entry = Find(format, name, Entry::Type::kInt64);
    if (entry == nullptr || out == nullptr) return false;
    *out = entry->number;
    return true;
}

bool AMediaFormat_getString(AMediaFormat* format, const char* name, const char** out) {
    const Entry* entry = Find(format, name, Entry::Type::kString);
    if (entry == nullptr || out == nullptr) return false;
    *out = entry->text.c_str();
    return true;
}

bool AMediaFormat_getBuffer(AMediaFormat* format, const char* name, void** data, size_t* size) {
    const Entry* entry = Find(format, name, Entry::Type::kBuffer);
    if (entry == nullptr || data == nullptr || size == nullptr) return false;
    *data = const_cast<uint8_t*>(entry->bytes.data());
    *size = entry->bytes.size();
    return true;
}

void AMediaFormat_setInt32(AMediaFormat* format, const char* name, int32_t value) {
    if (Entry* entry = Slot(format, name, Entry::Type::kInt32)) entry->number = value;
}

void AMediaFormat_setInt64(AMediaFormat* format, const char* name, int64_t value) {
    if (Entry* entry = Slot(format, name, Entry::Type::kInt64)) entry->number = value;
}

void AMediaFormat_setString(AMediaFormat* format, const char* name, const char* value) {
    if (value == nullptr) return;
    if (Entry* entry = Slot(format, name, Entry::Type::kString)) entry->text = value;
}

void AMediaFormat_setBuffer(AMediaFormat* format, const char* name, const void* data, size_t size) {
    if (data == nullptr && size != 0) return;
    if (Entry* entry = Slot(format, name, Entry::Type::kBuffer)) {
        const auto* bytes = static_cast<const uint8_t*>(data);
        entry->bytes.assign(bytes, bytes + size);
    }
}

}  // extern "C"
