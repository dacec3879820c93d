// RowRun: one run of picture rows inside a client buffer, as the raw readers
// fill them and the raw writer drains them.
#pragma once

#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessaro {

// `rows` rows of `rowBytes` bytes; the first starts `offset` bytes into the
// picture, each next one `pitch` bytes after the one before.
struct RowRun {
    uint64_t offset;
    uint64_t rows;
    uint64_t rowBytes;
    uint64_t pitch;

    // One past the last byte the run touches; 0 when it touches nothing.
    // Saturates instead of wrapping, so an absurd geometry never looks small.
    uint64_t End() const {
        if (rows == 0 || rowBytes == 0) return 0;
        const unsigned __int128 end = static_cast<unsigned __int128>(offset) +
                                      static_cast<unsigned __int128>(rows - 1) * pitch + rowBytes;
        return end > UINT64_MAX ? UINT64_MAX : static_cast<uint64_t>(end);
    }
};

// One past the last byte any of the runs touches.
inline uint64_t RowRunsEnd(const RowRun* runs, size_t count) {
    uint64_t end = 0;
    for (size_t i = 0; i < count; ++i) {
        if (runs[i].End() > end) end = runs[i].End();
    }
    return end;
}

// Appends one piece for each of `count` rows of run from row `first` on, for
// a picture starting at base.
inline void AppendRowPieces(const uint8_t* base, const RowRun& run, uint64_t first, uint64_t count,
                            std::vector<iovec>& pieces) {
    for (uint64_t row = first; row < first + count; ++row) {
        pieces.push_back(iovec{const_cast<uint8_t*>(base + run.offset + row * run.pitch),
                               static_cast<size_t>(run.rowBytes)});
    }
}

}  // namespace tessaro
