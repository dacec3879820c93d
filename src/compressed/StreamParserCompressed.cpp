// StreamParserCompressed: returning to the constructed state (DeInit) and the
// scanners' shared log lines. Indexing is in StreamParserCompressedIndex.cpp,
// delivery in StreamParserCompressedDelivery.cpp, the dry run in
// StreamParserCompressedBufferLength.cpp.
#include "compressed/StreamParserCompressed.h"

#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

int32_t StreamParserCompressed::DeInit() {
    TS_LOGI("DeInit");
    mClientBuffers.Release();
    mState = STATE::STOPPED;
    mSawEOS = false;
    mIsSeekSet = false;
    mFileSize = 0;
    mFrameCount = 1;
    mFetchContent.bufferInfo = FetchContent::BufferInfo{};
    mSliceMode = 0;
    mBufferPtr.reset();
    mFrameOffsetTable.clear();
    mRepeats = RepeatedPass{};
    if (mInputFile.is_open()) mInputFile.close();
    return TS_OK;
}

int32_t StreamParserCompressed::OpenAndIndex(const ScannerLines& lines, bool slices,
                                             const std::function<int32_t()>& probe) {
    __android_log_print(kLogInfo, lines.tag, "Init");
    mInputFile.open(mConfigParam.mInputFileName);
    if (!mInputFile.is_open()) {
        return ReportFailure(lines.tag, "mInputFile.is_open() == false", lines.notOpen, TS_ERROR);
    }
    if (probe) {
        const int32_t probed = probe();
        if (probed != TS_OK) return probed;
    }
    MeasureInputSize();
    if (mFileSize == 0) return ReportFailure(lines.tag, "mFileSize == 0", lines.emptyFile, -4);
    mInputFile.clear();
    mInputFile.seekg(0, std::ios_base::beg);
    mSliceMode = slices && mConfigParam.mSliceMode ? 1 : 0;
    const int32_t ret = BuildOffsetTable();
    if (ret != TS_OK) return ReportFailure(lines.tag, "ret != TS_OK", lines.indexFailed, ret);
    mState = STATE::RUNNING;
    return TS_OK;
}

bool StreamParserCompressed::ScanEndsAtOnce(const ScannerLines& lines,
                                            const std::shared_ptr<unsigned char>& buffer,
                                            int32_t* status) {
    if (mInputFile.eof()) {
        *status = ReportFailure(lines.tag, "mInputFile.eof()", lines.atEof, TS_OK);
    } else if (static_cast<uint64_t>(mInputFile.tellg()) == mFileSize) {
        *status = ReportFailure(lines.tag, "(uint64_t)mInputFile.tellg() == mFileSize", lines.atEnd, TS_OK);
    } else if (buffer == nullptr) {
        *status = ReportFailure(lines.tag, "buffer == nullptr", lines.nullBuffer, -2);
    } else {
        return false;
    }
    return true;
}

void StreamParserCompressed::MeasureInputSize() {
    mInputFile.seekg(0, std::ios_base::end);
    const int64_t end = mInputFile.tellg();
    mFileSize = end < 0 ? 0 : static_cast<uint64_t>(end);
}

void StreamParserCompressed::LogLastEntry(const char* tag, const std::vector<FrameInfo>& framelist) {
    const FrameInfo& last = framelist.back();
    __android_log_print(kLogInfo, tag, "Frame[%d] BufferNum[%d] Offset[%llu] length[%d]",
                        static_cast<int>(last.mFrameNum), static_cast<int>(framelist.size()),
                        static_cast<unsigned long long>(last.mOffset), static_cast<int>(last.mLength));
}

void StreamParserCompressed::LogSliceRange(const char* tag, uint32_t sliceNum,
                                           const std::pair<uint64_t, uint64_t>& slice) {
    __android_log_print(kLogInfo, tag, "Slice[%d] Offset[%llu] length[%llu]", static_cast<int>(sliceNum),
                        static_cast<unsigned long long>(slice.first),
                        static_cast<unsigned long long>(slice.second));
}

}  // namespace tessaro
