#include "support/Probe.h"

#include <dirent.h>
#include <link.h>

#include <fstream>
#include <map>
#include <sstream>

#include "support/TestPaths.h"

namespace tessaro::test {
namespace {

using Record = std::map<std::string, std::string>;

// The "key=value|key=value" lines ffprobe prints for `entries` of the file.
std::vector<Record> Records(const std::string& options, const std::string& path) {
    std::string output;
    std::vector<Record> records;
    if (RunCommand("ffprobe -v error " + options + " -of compact=p=0 '" + path + "'", &output) != 0) return records;
    std::istringstream lines(output);
    for (std::string line, field; std::getline(lines, line);) {
        std::istringstream fields(line);
        Record& record = records.emplace_back();
        while (std::getline(fields, field, '|')) {
            if (field.find('=') != std::string::npos) record[field.substr(0, field.find('='))] = field.substr(field.find('=') + 1);
        }
    }
    return records;
}

int Number(const Record& record, const std::string& key) {
    return record.count(key) && record.at(key) != "N/A" ? std::stoi(record.at(key)) : 0;
}

}  // namespace

std::vector<ProbeStream> ProbeStreams(const std::string& path) {
    std::vector<ProbeStream> streams;
    for (const Record& record : Records("-show_entries stream=index,codec_name,width,height", path)) {
        if (record.count("index") == 0) continue;
        ProbeStream& stream = streams.emplace_back();
        stream.index = Number(record, "index");
        stream.codecName = record.count("codec_name") ? record.at("codec_name") : "";
        stream.width = Number(record, "width");
        stream.height = Number(record, "height");
    }
    return streams;
}

std::vector<ProbePacket> ProbePackets(const std::string& path, int streamIndex) {
    std::vector<ProbePacket> packets;
    const std::string select = "-select_streams " + std::to_string(streamIndex);
    const auto base = Records(select + " -show_entries stream=time_base", path);
    if (base.empty() || base[0].count("time_base") == 0) return packets;
    const std::string& timeBase = base[0].at("time_base");
    const __int128 num = std::stoll(timeBase), den = std::stoll(timeBase.substr(timeBase.find('/') + 1));
    for (const Record& record : Records(select + " -show_entries packet=pts,dts,size,flags", path)) {
        if (record.count("size") == 0 || record.count("pts") == 0) continue;
        const std::string& ts = record.at("pts") != "N/A" ? record.at("pts") : record.at("dts");
        // Rescaled to microseconds, half away from zero, as libavformat rounds.
        const __int128 scaled = (ts == "N/A" ? 0 : std::stoll(ts)) * num * 1000000;
        const __int128 us = scaled >= 0 ? (scaled + den / 2) / den : -((-scaled + den / 2) / den);
        packets.push_back({static_cast<int64_t>(us), std::stoull(record.at("size")),
                           record.count("flags") && record.at("flags").find('K') != std::string::npos});
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
    std::pair<const std::string*, bool> search{&prefix, false};
    dl_iterate_phdr(
        [](dl_phdr_info* info, size_t, void* data) {
            auto* s = static_cast<std::pair<const std::string*, bool>*>(data);
            const std::string path = info->dlpi_name != nullptr ? info->dlpi_name : "";
            s->second = s->second || path.substr(path.rfind('/') + 1).compare(0, s->first->size(), *s->first) == 0;
            return 0;
        },
        &search);
    return search.second;
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

}  // namespace tessaro::test
