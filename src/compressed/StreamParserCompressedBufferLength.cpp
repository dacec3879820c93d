// StreamParserCompressed::GetBufferLength: adds up the byte ranges of the plan
// of the next Process call (drawn by the dry-run rules), reading nothing and
// changing nothing.
#include "compressed/StreamParserCompressed.h"
#include "compressed/StreamParserCompressedLines.h"

namespace tessaro {

using namespace compressed_lines;

uint32_t StreamParserCompressed::GetBufferLength() {
    TS_LOGI("GetBufferLength");
    TS_CHECK(mState != STATE::RUNNING, kLengthNotRunning, static_cast<uint32_t>(-3));
    uint32_t total = 0;
    for (const PlanStep& step : PlanDelivery(kDryRunRules)) {
        switch (step.kind) {
            case PlanStep::Kind::kLog:
                __android_log_write(step.priority, kLogTag, step.text.c_str());
                break;
            case PlanStep::Kind::kRead:
                total += static_cast<uint32_t>(step.read.length);
                break;
            case PlanStep::Kind::kPrelude:
                total += step.bytes;
                break;
            case PlanStep::Kind::kFail:
                return static_cast<uint32_t>(ReportFailure(kLogTag, step.text.c_str(), step.line, TS_ERROR));
            case PlanStep::Kind::kEndOfStream:
                return 0;
            case PlanStep::Kind::kClose:
                break;
        }
    }
    TS_LOGI("Total Buffer length Required = %d", static_cast<int>(total));
    return total;
}

}  // namespace tessaro
