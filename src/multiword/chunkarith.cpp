#include "multiword/chunkarith.h"

namespace ORVEX::multiword
{

namespace
{

/// The chunks of a value's magnitude: the value's own unless it is negative.
class Magnitude
{
public:
    Magnitude(Chunk const* chunks, fxpDataTypeProp const& type, int count)
        : negative_(chunksAreNegative(chunks, type, count)), copy_(negative_ ? count : 0), data_(chunks)
    {
        if (!negative_) return;
        copyMagnitude(copy_.data(), chunks, type, count);
        data_ = copy_.data();
    }
    bool negative() const { return negative_; }
    Chunk const* data() const { return data_; }

private:
    bool negative_;
    ChunkBuffer copy_;
    Chunk const* data_;
};

} // namespace

void multiplyMagnitudes(Chunk* dst, int n, Chunk const* a, fxpDataTypeProp const& aType, int aCount,
                        Chunk const* b, fxpDataTypeProp const& bType, int bCount)
{
    Magnitude const x(a, aType, aCount);
    Magnitude const y(b, bType, bCount);
    clearChunks(dst, n);
    for (int j = 0; j < bCount && j < n; ++j) {
        int const row = std::min(aCount, n - j);
        Chunk const carry = addProductOfRow(dst + j, x.data(), y.data()[j], row);
        // The place above the row has not been written yet, so that the carry needs no ripple.
        if (j + row < n) dst[j + row] = carry;
    }
    if (x.negative() != y.negative()) negateChunks(dst, n);
}

} // namespace ORVEX::multiword
