#include "support/Probe.h"

#include <dirent.h>
#include <link.h>

#include <fstream>
#include <map>
#include <sstream>

#include "support/TestPaths.h"

namespace tessaro::test {
namespace {

// "key=value|key=value" lines of ffprobe's compact output.
std::vector<std::map<std::string, std::string>> CompactRecords(const std::string& command) {
    std::string output;
    std::vector<std::map<std::string, std::string>> records;
    if (RunCommand(command, &output) != 0) return records;
    std::istringstream lines(output);
    std::string line;
    while (std::getline(lines, line)) {
        std::map<std::string, std::string> record;
        std::istringstream fields(line);
        std::string field;
        while (std::getline(fields, field, '|')) {
            const size_t eq = field.find('=');
            if (eq != std::string::npos) record[field.substr(0, eq)] = field.substr(eq + 1);
        }
        records.push_back(record);
    }
    return records;
}

std::string Quote(const std::string& path) { return "'" + path + "'"; }

// ffprobe's -show_data hex dump ("00000000: 0164 000b ...  .d..") to bytes.
std::vector<uint8_t> ParseHexDump(const std::string& dump) {
    std::vector<uint8_t> bytes;
    std::istringstream lines(dump);
    std::string line;
    while (std::getline(lines, line)) {
        const size_t colon = line.find(": ");
        if (colon == std::string::npos || colon != 8) continue;
        // The hex part is 8 groups of 4 digits, then two spaces and the text.
        const std::string hex = line.substr(colon + 2, 40);
        std::string digits;
        for (char c : hex) {
            if (isxdigit(static_cast<unsigned char>(c))) digits += c;
        }
        for (size_t i = 0; i + 1 < digits.size(); i += 2) {
            bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
        }
    }
    return bytes;
}

int64_t RescaleToMicroseconds(int64_t ts, int64_t num, int64_t den) {
    const __int128 scaled = static_cast<__int128>(ts) * num * 1000000;
    const __int128 half = den / 2;
    return static_cast<int64_t>(scaled >= 0 ? (scaled + half) / den : -((-scaled + half) / den));
}

}  // namespace

std::vector<ProbeStream> ProbeStreams(const std::string& path) {
    std::vector<ProbeStream> streams;
    for (const auto& record :
         CompactRecords("ffprobe -v error -show_entries stream=index,codec_name,width,height "
                        "-of compact=p=0 " + Quote(path))) {
        if (record.count("index") == 0) continue;
        ProbeStream stream;
        stream.index = std::stoi(record.at("index"));
        stream.codecName = record.count("codec_name") ? record.at("codec_name") : "";
        if (record.count("width") && record.at("width") != "N/A") stream.width = std::stoi(record.at("width"));
        if (record.count("height") && record.at("height") != "N/A") stream.height = std::stoi(record.at("height"));
        std::string dump;
        RunCommand("ffprobe -v error -show_data -select_streams " + std::to_string(stream.index) +
                       " -show_entries stream=extradata -of default " + Quote(path),
                   &dump);
        stream.extradata = ParseHexDump(dump);
        streams.push_back(stream);
    }
    return streams;
}

std::vector<ProbePacket> ProbePackets(const std::string& path, int streamIndex) {
    std::vector<ProbePacket> packets;
    const std::string select = " -select_streams " + std::to_string(streamIndex) + " ";
    const auto base = CompactRecords("ffprobe -v error" + select + "-show_entries stream=time_base -of compact=p=0 " +
                                     Quote(path));
    if (base.empty() || base[0].count("time_base") == 0) return packets;
    const std::string& timeBase = base[0].at("time_base");
    const int64_t num = std::stoll(timeBase.substr(0, timeBase.find('/')));
    const int64_t den = std::stoll(timeBase.substr(timeBase.find('/') + 1));
    for (const auto& record : CompactRecords("ffprobe -v error" + select +
                                             "-show_entries packet=pts,dts,size,flags -of compact=p=0 " +
                                             Quote(path))) {
        if (record.count("size") == 0 || record.count("pts") == 0) continue;
        const std::string& ts = record.at("pts") != "N/A" ? record.at("pts") : record.at("dts");
        ProbePacket packet;
        packet.timeUs = ts == "N/A" ? 0 : RescaleToMicroseconds(std::stoll(ts), num, den);
        packet.size = std::stoull(record.at("size"));
        packet.key = record.count("flags") && record.at("flags").find('K') != std::string::npos;
        packets.push_back(packet);
    }
    return packets;
}

int OpenDescriptorCount() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir) != nullptr) ++count;
        closedir(dir);
        count -= 3;  // ".", ".." and the directory's own descriptor
    }
    return count;
}

bool SharedObjectLoaded(const std::string& prefix) {
    struct Search {
        const std::string* prefix;
        bool found;
    } search{&prefix, false};
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            auto* s = static_cast<Search*>(data);
            const std::string path = info->dlpi_name != nullptr ? info->dlpi_name : "";
            const std::string name = path.substr(path.rfind('/') + 1);
            s->found = s->found || name.compare(0, s->prefix->size(), *s->prefix) == 0;
            return 0;
        },
        &search);
    return search.found;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace tessaro::test
