// TessaroImpl: the abstract base of every processor. It holds the merged
// configuration, the life-cycle state and the running timestamp, and
// implements SetConfig once for all processors.
#pragma once

#include <cstdint>
#include <memory>

#include "framework/ClientBufferIo.h"
#include "framework/Log.h"
#include "tessaro/TessaroInterface.h"

namespace tessaro {

class TessaroImpl : public TessaroInterface {
public:
    static constexpr const char* kLogTag = "Tessaro::Impl";

    ~TessaroImpl() override = default;

    // Merges param into mConfigParam (fields only when set, init-time fields
    // only while CONFIGURED), rebases the timestamp on a frame-rate change and,
    // while RUNNING, triggers a seek. Moves UNINITIALIZED to CONFIGURED.
    int32_t SetConfig(ConfigParam& param) override;

    // Read access for tests and tools; processors use the members directly.
    const ConfigParam& config() const { return mConfigParam; }
    STATE state() const { return mState; }
    float timestamp() const { return mTimestamp; }
    float timestampDelta() const { return mTimestampDelta; }

protected:
    TessaroImpl() = default;

    float mTimestamp = 0.0f;            // microseconds of the next buffer produced
    float mTimestampDelta = 33333.0f;   // microseconds per frame (30 fps)
    ConfigParam mConfigParam;           // the merged configuration
    STATE mState = STATE::UNINITIALIZED;
    // Moves bytes into and out of the client's buffers; its staging block is
    // freed by DeInit.
    ClientBufferIo mClientBuffers;

private:
    void MergeGeometryAndCounts(const ConfigParam& param);
    void MergeFrameRate(const ConfigParam& param);
    void MergeFlagsAndNames(const ConfigParam& param);
    int32_t ApplySeekRequest(ConfigParam& param);
};

}  // namespace tessaro
