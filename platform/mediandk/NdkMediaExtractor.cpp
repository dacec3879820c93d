// AMediaExtractor as clients link it. The extractor itself lives in
// libmediandk_avformat.so, the only library here that links FFmpeg; it is
// loaded from this library's own directory by the first AMediaExtractor_new
// and then stays loaded for the life of the process. Until then no FFmpeg
// library is mapped, so the many clients that never open a container do not
// pay for loading and relocating them.
//
// If the backend cannot be loaded, AMediaExtractor_new returns null (once, with
// one line on stderr saying why) and every other call answers as it does for a
// null extractor.
#include "media/NdkMediaExtractor.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <string>
#include <type_traits>

#include "ExtractorBackend.h"

namespace {

using mediandk::ExtractorBackend;

// Set at most once, by the first AMediaExtractor_new; null until then or when
// the backend could not be loaded. A handle that is not null can only come
// from the backend, so the other calls never need to load it themselves.
std::atomic<const ExtractorBackend*> gBackend{nullptr};
std::once_flag gLoadOnce;

// The backend beside this library: the build tree, an installed prefix and a
// prefix moved elsewhere all keep the two together.
std::string BackendPath() {
    Dl_info info{};
    if (dladdr(&gBackend, &info) != 0 && info.dli_fname != nullptr) {
        const std::string self = info.dli_fname;
        const size_t slash = self.rfind('/');
        if (slash != std::string::npos) return self.substr(0, slash + 1) + mediandk::kBackendFileName;
    }
    return mediandk::kBackendFileName;  // left to the dynamic linker's search
}

const ExtractorBackend* LoadBackend() {
    const std::string path = BackendPath();
    // Never closed: extractors, and formats the backend allocated, may outlive
    // any point at which unloading would be safe.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (handle == nullptr) {
        fprintf(stderr, "libmediandk: cannot load the extractor: %s\n", dlerror());
        return nullptr;
    }
    using Entry = decltype(&MediaNdkExtractorBackend);
    const auto entry = reinterpret_cast<Entry>(dlsym(handle, mediandk::kBackendEntryName));
    const ExtractorBackend* backend = entry != nullptr ? entry() : nullptr;
    if (backend == nullptr || backend->version != ExtractorBackend::kVersion) {
        fprintf(stderr, "libmediandk: %s does not match this libmediandk\n", path.c_str());
        return nullptr;
    }
    return backend;
}

// Calls the backend's entry, or answers `none` as the backend would for a
// null extractor when no backend is loaded.
template <typename Result, typename... Params, typename... Args>
Result Forward(Result (*ExtractorBackend::*entry)(Params...), std::common_type_t<Result> none, Args... args) {
    const ExtractorBackend* backend = gBackend.load(std::memory_order_acquire);
    return backend != nullptr ? (backend->*entry)(args...) : none;
}

}  // namespace

extern "C" {

AMediaExtractor* AMediaExtractor_new(void) {
    std::call_once(gLoadOnce, [] { gBackend.store(LoadBackend(), std::memory_order_release); });
    return Forward(&ExtractorBackend::create, nullptr);
}

media_status_t AMediaExtractor_delete(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::destroy, AMEDIA_ERROR_INVALID_PARAMETER, extractor);
}

media_status_t AMediaExtractor_setDataSourceFd(AMediaExtractor* extractor, int fd, off64_t offset,
                                               off64_t length) {
    return Forward(&ExtractorBackend::setDataSourceFd, AMEDIA_ERROR_INVALID_PARAMETER, extractor, fd, offset,
                   length);
}

size_t AMediaExtractor_getTrackCount(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::getTrackCount, 0, extractor);
}

AMediaFormat* AMediaExtractor_getTrackFormat(AMediaExtractor* extractor, size_t index) {
    return Forward(&ExtractorBackend::getTrackFormat, nullptr, extractor, index);
}

media_status_t AMediaExtractor_selectTrack(AMediaExtractor* extractor, size_t index) {
    return Forward(&ExtractorBackend::selectTrack, AMEDIA_ERROR_INVALID_PARAMETER, extractor, index);
}

media_status_t AMediaExtractor_unselectTrack(AMediaExtractor* extractor, size_t index) {
    return Forward(&ExtractorBackend::unselectTrack, AMEDIA_ERROR_INVALID_PARAMETER, extractor, index);
}

ssize_t AMediaExtractor_readSampleData(AMediaExtractor* extractor, uint8_t* buffer, size_t capacity) {
    return Forward(&ExtractorBackend::readSampleData, -1, extractor, buffer, capacity);
}

ssize_t AMediaExtractor_getSampleSize(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::getSampleSize, -1, extractor);
}

uint32_t AMediaExtractor_getSampleFlags(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::getSampleFlags, UINT32_MAX, extractor);
}

int AMediaExtractor_getSampleTrackIndex(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::getSampleTrackIndex, -1, extractor);
}

int64_t AMediaExtractor_getSampleTime(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::getSampleTime, -1, extractor);
}

bool AMediaExtractor_advance(AMediaExtractor* extractor) {
    return Forward(&ExtractorBackend::advance, false, extractor);
}

}  // extern "C"
