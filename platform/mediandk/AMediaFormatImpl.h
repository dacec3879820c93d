// The layout behind the opaque AMediaFormat handle (private to the library).
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct AMediaFormat {
    struct Entry {
        enum class Type { kInt32, kInt64, kString, kBuffer };
        Type type = Type::kInt32;
        int64_t number = 0;          // kInt32 and kInt64
        std::string text;            // kString
        std::vector<uint8_t> bytes;  // kBuffer
    };
    std::map<std::string, Entry> entries;
    std::string description;  // storage for AMediaFormat_toString
};
