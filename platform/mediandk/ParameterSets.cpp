#include "ParameterSets.h"

namespace mediandk {
namespace {

constexpr uint8_t kStartCode[4] = {0, 0, 0, 1};

void AppendUnit(Bytes* out, const uint8_t* unit, size_t size) {
    out->insert(out->end(), kStartCode, kStartCode + 4);
    out->insert(out->end(), unit, unit + size);
}

// Bounds-checked big-endian reader over a configuration record.
class RecordReader {
public:
    RecordReader(const uint8_t* data, size_t size) : mData(data), mSize(size) {}

    bool Skip(size_t n) {
        if (mSize - mPos < n) return false;
        mPos += n;
        return true;
    }
    bool U8(unsigned* value) {
        if (mPos >= mSize) return false;
        *value = mData[mPos++];
        return true;
    }
    bool U16(unsigned* value) {
        if (mSize - mPos < 2) return false;
        *value = (static_cast<unsigned>(mData[mPos]) << 8) | mData[mPos + 1];
        mPos += 2;
        return true;
    }
    // A unit with a 16-bit size in front, appended behind a start code.
    bool SizedUnit(Bytes* out) {
        unsigned length = 0;
        if (!U16(&length) || mSize - mPos < length) return false;
        AppendUnit(out, mData + mPos, length);
        mPos += length;
        return true;
    }

private:
    const uint8_t* mData;
    size_t mSize;
    size_t mPos = 0;
};

// avcC: version, profile, compatibility, level, 6 bits reserved + length
// size - 1, 3 bits reserved + SPS count, SPSs, PPS count, PPSs.
bool ParseAvcC(const uint8_t* data, size_t size, NalTrackConfig* config) {
    RecordReader reader(data, size);
    unsigned byte = 0;
    unsigned count = 0;
    if (!reader.Skip(4) || !reader.U8(&byte)) return false;
    config->lengthSize = (byte & 3) + 1;
    if (!reader.U8(&count)) return false;
    for (unsigned i = 0; i < (count & 0x1f); ++i) {
        if (!reader.SizedUnit(&config->csd0)) return false;
    }
    if (!reader.U8(&count)) return false;
    for (unsigned i = 0; i < count; ++i) {
        if (!reader.SizedUnit(&config->csd1)) return false;
    }
    return true;
}

// hvcC: 21 bytes of profile and format fields, then the length size - 1 in
// the low bits of byte 21, the array count, and the arrays (type, unit count,
// units).
bool ParseHvcC(const uint8_t* data, size_t size, NalTrackConfig* config) {
    RecordReader reader(data, size);
    unsigned byte = 0;
    unsigned arrays = 0;
    if (!reader.Skip(21) || !reader.U8(&byte)) return false;
    config->lengthSize = (byte & 3) + 1;
    if (!reader.U8(&arrays)) return false;
    for (unsigned a = 0; a < arrays; ++a) {
        unsigned type = 0;
        unsigned units = 0;
        if (!reader.U8(&type) || !reader.U16(&units)) return false;
        for (unsigned u = 0; u < units; ++u) {
            if (!reader.SizedUnit(&config->csd0)) return false;
        }
    }
    return true;
}

// Length of the start code at data[pos] (3 or 4), or 0 if there is none.
size_t StartCodeAt(const uint8_t* data, size_t size, size_t pos) {
    if (size - pos >= 3 && data[pos] == 0 && data[pos + 1] == 0 && data[pos + 2] == 1) return 3;
    if (size - pos >= 4 && data[pos] == 0 && data[pos + 1] == 0 && data[pos + 2] == 0 &&
        data[pos + 3] == 1) {
        return 4;
    }
    return 0;
}

// Parameter sets already in Annex-B form: H.264 SPS (type 7) to csd-0 and
// PPS (type 8) to csd-1; H.265 VPS, SPS, PPS (types 32..34) to csd-0.
void ParseAnnexBConfig(NalCodec codec, const uint8_t* data, size_t size, NalTrackConfig* config) {
    size_t pos = 0;
    while (pos < size && StartCodeAt(data, size, pos) == 0) ++pos;
    while (pos < size) {
        const size_t begin = pos + StartCodeAt(data, size, pos);
        size_t end = begin;
        while (end < size && StartCodeAt(data, size, end) == 0) ++end;
        size_t last = end;
        while (last > begin && data[last - 1] == 0) --last;  // trailing zero bytes
        if (last > begin) {
            if (codec == NalCodec::kAvc) {
                const unsigned type = data[begin] & 0x1f;
                if (type == 7) AppendUnit(&config->csd0, data + begin, last - begin);
                if (type == 8) AppendUnit(&config->csd1, data + begin, last - begin);
            } else {
                const unsigned type = (data[begin] >> 1) & 0x3f;
                if (type >= 32 && type <= 34) AppendUnit(&config->csd0, data + begin, last - begin);
            }
        }
        pos = end;
    }
}

}  // namespace

bool ParseNalTrackConfig(NalCodec codec, const uint8_t* data, size_t size, NalTrackConfig* config) {
    *config = NalTrackConfig{};
    if (data == nullptr || size == 0) return true;
    const bool annexB = StartCodeAt(data, size, 0) != 0;
    if (annexB) {
        ParseAnnexBConfig(codec, data, size, config);
        return true;
    }
    return codec == NalCodec::kAvc ? ParseAvcC(data, size, config) : ParseHvcC(data, size, config);
}

bool LengthPrefixedToAnnexB(const uint8_t* data, size_t size, unsigned lengthSize, Bytes* out) {
    size_t pos = 0;
    while (pos < size) {
        if (size - pos < lengthSize) return false;
        size_t length = 0;
        for (unsigned i = 0; i < lengthSize; ++i) length = (length << 8) | data[pos + i];
        pos += lengthSize;
        if (size - pos < length) return false;
        AppendUnit(out, data + pos, length);
        pos += length;
    }
    return true;
}

}  // namespace mediandk
