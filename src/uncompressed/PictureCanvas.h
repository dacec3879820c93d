// PictureCanvas: the memory a pattern generator draws one picture in, for one
// call. A picture is all zero in its first `cleared` bytes but for a few row
// runs that the generator paints.
//
// Where the buffer's memory is a memfd or a regular file, the picture is drawn
// in a block the generator keeps and written through the descriptor: the
// client's pages are never mapped, so a buffer the client has just created
// costs no page faults and no clearing of pages about to be overwritten, and a
// buffer handed back costs no mapping. The block still holds the picture
// before, so only that picture's runs are cleared again, not the whole block.
// Device memory, a picture whose runs reach past its cleared bytes (the buffer
// then keeps its own bytes between them) and one of more than 64 MiB are
// mapped for the call and drawn in place. A buffer is refused exactly where mapping it would be: its
// memory is tried with a mapping that touches no page.
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <vector>

#include "framework/BufferMemory.h"
#include "tessaro/Buffer.h"
#include "uncompressed/PictureFormat.h"

namespace tessaro {

// What a generator keeps for its canvas from call to call.
struct CanvasBlock {
    std::vector<uint8_t> bytes;
    uint64_t zeroed = 0;           // bytes [0, zeroed) are zero but for `painted`
    std::vector<RowRun> painted;   // the runs of the picture in the block
};

class PictureCanvas {
public:
    PictureCanvas(const Buffer& buffer, CanvasBlock& block);
    PictureCanvas(const PictureCanvas&) = delete;
    PictureCanvas& operator=(const PictureCanvas&) = delete;

    // False where the buffer's memory cannot be mapped read-write.
    bool usable() const { return mUsable; }

    // Memory holding the buffer's bytes from its start, zero in [0, cleared)
    // but inside `painted`, which the caller then paints byte for byte. Every
    // run must lie inside mCapacity. Null when the mapping fails.
    uint8_t* Clear(uint64_t cleared, std::initializer_list<RowRun> painted);

    // Hands the picture over to the buffer; false when its memory took fewer
    // bytes than were drawn.
    bool Finish();

private:
    // Grows the block to hold bytes; false when the memory cannot be had.
    bool Reserve(uint64_t bytes);

    const Buffer& mBuffer;
    CanvasBlock& mBlock;
    bool mUsable = false;
    bool mThroughDescriptor = false;  // memfd or regular file
    uint64_t mStaged = 0;             // bytes of the block to write at Finish
    std::unique_ptr<PictureMapping> mMapping;
};

// Paints every row of run at base: paint(row) draws the first, and the others
// are copies of it (each is painted itself where rows overlap).
template <typename Paint>
void PaintRun(uint8_t* base, const RowRun& run, Paint paint) {
    if (run.End() == 0) return;
    uint8_t* const first = base + run.offset;
    paint(first);
    for (uint64_t row = 1; row < run.rows; ++row) {
        uint8_t* const next = first + row * run.pitch;
        if (run.pitch >= run.rowBytes) {
            std::memcpy(next, first, run.rowBytes);
        } else {
            paint(next);
        }
    }
}

}  // namespace tessaro
