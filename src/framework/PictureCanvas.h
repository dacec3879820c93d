// PictureCanvas: the memory a processor draws one picture in, for one call.
//
// A buffer the client has just created (a memfd or regular file whose pages do
// not all exist yet) gets the picture drawn in a block the processor keeps and
// written through the descriptor when it is done: its pages are never touched
// through a mapping, so they cost no page faults and are not cleared just to be
// overwritten. Memory whose pages exist, device memory, and a drawing that
// leaves bytes inside its range as the buffer had them are mapped for the call
// and drawn in place, which costs less than a second copy. A buffer is refused
// exactly where mapping it would be refused: its memory is tried with a mapping
// that touches no page.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "framework/BufferMemory.h"
#include "tessaro/Buffer.h"

namespace tessaro {

class PictureCanvas {
public:
    // block: the processor's own drawing block, grown as needed and kept.
    PictureCanvas(const Buffer& buffer, std::vector<uint8_t>& block);
    PictureCanvas(const PictureCanvas&) = delete;
    PictureCanvas& operator=(const PictureCanvas&) = delete;

    // False where the buffer's memory cannot be mapped read-write.
    bool usable() const { return mUsable; }

    // Where to draw bytes [0, reached) of the buffer (reached <= mCapacity).
    // The drawing writes every byte of [0, written); bytes of [written, reached)
    // that it does not write keep the buffer's content.
    uint8_t* Area(uint64_t written, uint64_t reached);

    // Hands the drawing over to the buffer; false when its memory took fewer
    // bytes than were drawn.
    bool Finish();

private:
    const Buffer& mBuffer;
    std::vector<uint8_t>& mBlock;
    bool mUsable = false;
    bool mThroughDescriptor = false;  // memfd or regular file with pages still to come
    uint64_t mStaged = 0;             // bytes of mBlock to write at Finish
    std::unique_ptr<PictureMapping> mMapping;
};

}  // namespace tessaro
