// ffprobe's view of a media file, as the independent judge of the container
// tests: streams in file order and the packets of one stream.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tessaro::test {

struct ProbeStream {
    int index = -1;
    std::string codecName;  // "h264", "aac", ...
    int width = 0;
    int height = 0;
};

struct ProbePacket {
    int64_t timeUs = 0;  // pts (dts if none) in microseconds, rounded as libavformat does
    uint64_t size = 0;
    bool key = false;
};

// Empty when ffprobe is missing or fails.
std::vector<ProbeStream> ProbeStreams(const std::string& path);
std::vector<ProbePacket> ProbePackets(const std::string& path, int streamIndex);

// Number of descriptors the process has open (entries of /proc/self/fd).
int OpenDescriptorCount();

// True when a shared object whose file name starts with `prefix` (e.g.
// "libavformat.so") is loaded in the process.
bool SharedObjectLoaded(const std::string& prefix);

// The whole content of a file (empty if it cannot be read).
std::string ReadFile(const std::string& path);

}  // namespace tessaro::test
